#include "basic_passes.hpp"
#include "basic_request.hpp"
#include "stages.hpp"

#include <new>

namespace tessel::estimator {

template <class T>
std::int32_t basic_stage(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method,
                         const ss_threading_entry* threading_table) {
  task_shape shape;
  if (const std::int32_t status = read_task_shape(task, sizeof(T), shape)) {
    return status;
  }
  if ((estimate_mask & SS_STAGE_BASIC) == 0) {
    return SS_STATUS_OK;
  }
  if (!basic_estimates_provided(estimate_mask)) {
    return SS_STATUS_NOT_PROVIDED;
  }
  if (!known_method(method)) {
    return SS_STATUS_BAD_METHOD;
  }
  basic_request<T> r;
  if (const std::int32_t status = read_basic_request(*task, estimate_mask, method, r)) {
    return status;
  }
  const observations<T> data{static_cast<const T*>(task->observations),
                             static_cast<const T*>(task->weights), shape,
                             threading(threading_table)};
  try {
    const auto sums =
        basic_sums(data, sums_request<T>{r.raw_degree, r.central_degree, r.user_mean});
    for (std::int64_t d = 0; d < shape.n_dims; ++d) {
      if (shape.selected(d)) {
        store_estimates(r, d, sums[static_cast<std::size_t>(d)]);
      }
    }
  } catch (const std::bad_alloc&) {
    return SS_STATUS_NO_MEMORY;
  }
  return SS_STATUS_OK;
}

template std::int32_t basic_stage<float>(ss_task*, std::uint64_t, std::intptr_t,
                                         const ss_threading_entry*);
template std::int32_t basic_stage<double>(ss_task*, std::uint64_t, std::intptr_t,
                                          const ss_threading_entry*);

}  // namespace tessel::estimator
