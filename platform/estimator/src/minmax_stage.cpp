#include "parallel.hpp"
#include "stages.hpp"

#include <limits>
#include <new>

namespace tessel::estimator {
namespace {

// Extremes that pass over NaN values; a dimension of NaN only has NaN extremes.
template <class T>
struct extremes {
  T min = std::numeric_limits<T>::quiet_NaN();
  T max = std::numeric_limits<T>::quiet_NaN();

  void add(T x) {
    if (x < min || min != min)
      min = x;
    if (x > max || max != max)
      max = x;
  }
  void merge(const extremes& other) {
    add(other.min);
    add(other.max);
  }
};

}  // namespace

template <class T>
std::int32_t minmax_stage(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method,
                          const ss_threading_entry* threading_table) {
  task_shape shape;
  if (const std::int32_t status = read_task_shape(task, sizeof(T), shape))
    return status;
  if ((estimate_mask & SS_STAGE_MINMAX) == 0)
    return SS_STATUS_OK;
  if (!known_method(method))
    return SS_STATUS_BAD_METHOD;
  T* const min_out = (estimate_mask & SS_MIN) != 0 ? static_cast<T*>(task->min) : nullptr;
  T* const max_out = (estimate_mask & SS_MAX) != 0 ? static_cast<T*>(task->max) : nullptr;
  if ((estimate_mask & SS_MIN) != 0 && min_out == nullptr)
    return SS_STATUS_NULL_RESULT;
  if ((estimate_mask & SS_MAX) != 0 && max_out == nullptr)
    return SS_STATUS_NULL_RESULT;
  const T* const x = static_cast<const T*>(task->observations);
  auto block = [&](std::int64_t d0, std::int64_t d1, std::int64_t i0, std::int64_t i1,
                   extremes<T>* out) {
    for (std::int64_t i = i0; i < i1; ++i) {
      for (std::int64_t d = d0; d < d1; ++d) {
        if (shape.selected(d))
          out[d - d0].add(x[shape.offset(d, i)]);
      }
    }
  };
  try {
    const auto found = reduce_blocks<extremes<T>>(
        shape, threading(threading_table), block,
        [](extremes<T>& total, const extremes<T>& part) { total.merge(part); });
    for (std::int64_t d = 0; d < shape.n_dims; ++d) {
      if (!shape.selected(d))
        continue;
      if (min_out != nullptr)
        min_out[d] = found[d].min;
      if (max_out != nullptr)
        max_out[d] = found[d].max;
    }
  } catch (const std::bad_alloc&) {
    return SS_STATUS_NO_MEMORY;
  }
  return SS_STATUS_OK;
}

template std::int32_t minmax_stage<float>(ss_task*, std::uint64_t, std::intptr_t,
                                          const ss_threading_entry*);
template std::int32_t minmax_stage<double>(ss_task*, std::uint64_t, std::intptr_t,
                                           const ss_threading_entry*);

}  // namespace tessel::estimator
