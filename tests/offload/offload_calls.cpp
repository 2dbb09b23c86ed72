#include "offload_calls.hpp"

namespace tessel::test {

std::int32_t compute(element e, model m, form f, ss_task* task, std::uint64_t mask,
                     std::int64_t method, void* interop) {
  const auto narrow = static_cast<std::int32_t>(method);
  const bool s = e == element::f32;
  if (f == form::direct) {
    if (m == model::lp64) {
      return s ? orv_ksu_sSSCompute_omp_offload_lp64(task, mask, narrow, interop)
               : orv_ksu_dSSCompute_omp_offload_lp64(task, mask, narrow, interop);
    }
    return s ? orv_ksu_sSSCompute_omp_offload_ilp64(task, mask, method, interop)
             : orv_ksu_dSSCompute_omp_offload_ilp64(task, mask, method, interop);
  }
  if (m == model::lp64) {
    return s ? orv_ksu_ssscompute_omp_offload_lp64(&task, &mask, &narrow, interop)
             : orv_ksu_dsscompute_omp_offload_lp64(&task, &mask, &narrow, interop);
  }
  return s ? orv_ksu_ssscompute_omp_offload(&task, &mask, &method, interop)
           : orv_ksu_dsscompute_omp_offload(&task, &mask, &method, interop);
}

void*& slot(ss_task& task, field f) {
  const std::size_t at = 88 + 8 * static_cast<std::size_t>(f);
  return *reinterpret_cast<void**>(reinterpret_cast<unsigned char*>(&task) + at);
}

expectation expected_field(field f, const dimension_expectations& e, bool user_mean) {
  using enum statistic;
  // Each field's statistic and which of its outputs, in field order.
  constexpr statistic statistics[field_count] = {
      mean,           raw_moment,     raw_moment,  raw_moment,  central_moment,
      central_moment, central_moment, raw_sum,     raw_sum,     raw_sum,
      raw_sum,        central_sum,    central_sum, central_sum, kurtosis,
      skewness,       variation,      min,         max};
  constexpr std::size_t outputs[field_count] = {0, 1, 2, 3, 0, 1, 2, 0, 1, 2,
                                                3, 0, 1, 2, 0, 0, 0, 0, 0};
  const auto k = static_cast<std::size_t>(f);
  return expected_output(statistics[k], outputs[k], e, user_mean);
}

template <typename T>
offload_task<T>::offload_task(sycl::queue& queue, const problem<T>& p, st::layout layout, model m)
    : dims(p.n_dims), count(p.n_obs), storage(static_cast<std::int64_t>(layout)) {
  task_.int_width = 1;
  task_.dims = &dims;
  task_.obs_count = &count;
  task_.storage = &storage;
  task_.observations = arrays_.emplace_back(queue, p.values).pointer;
  task_.weights = arrays_.emplace_back(queue, p.weights).pointer;
  if (m == model::ilp64) {
    task_.indices = wide_selection_.emplace(queue, p.indices).pointer;
  } else {
    task_.indices =
        narrow_selection_
            .emplace(queue, std::vector<std::int32_t>(p.indices.begin(), p.indices.end()))
            .pointer;
  }
  const std::vector<T> poisoned(static_cast<std::size_t>(p.n_dims), poison);
  for (std::size_t f = 0; f < field_count; ++f) {
    const bool user_mean = f == 0 && !p.user_mean.empty();
    slot(task_, field(f)) = arrays_.emplace_back(queue, user_mean ? p.user_mean : poisoned).pointer;
  }
}

stand_in_interop sycl_interop(sycl::queue& queue) {
  stand_in_interop interop{};
  interop.foreign_runtime = 4;
  interop.readable = 1U << 5;
  interop.property[5] = &queue;
  return interop;
}

template class offload_task<float>;
template class offload_task<double>;

}  // namespace tessel::test
