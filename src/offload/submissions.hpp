// The offload road's submissions, one for each family of estimates: the GPU engine's USM drivers
// with the plan, kernels and scratch of the public forms, instantiated with the ex:: functors
// (which also store the mean and raw moments met on the way) and with the model's width of the
// selection elements. A submission reads no task record and throws nothing of its own: it refuses a
// bad method or a missing result array with a status, before anything reaches the device.
//
// Which orders are computed is decided by the arrays given; the mask only says which of them must
// be there. A statistic that stores an array the mask did not require has it stored into an array
// of the call when it is null, never through null.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <initializer_list>
#include <type_traits>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "common/memory_domain.hpp"
#include "gpu/minmax_gpu_impl.hpp"
#include "gpu/moments_gpu_impl.hpp"
#include "offload/task_model.hpp"
#include "orv/ss_task.h"

namespace vorlex::orv::stats::detail::offload {

// Method 256 is this road's alone: fast, with the task's mean array as the caller's mean.
inline constexpr std::int64_t method_fast = 1;
inline constexpr std::int64_t method_user_mean = 256;
inline constexpr std::int32_t bad_method = -4029;

// A result array that a bit of the mask requires.
struct required_result {
  std::uint64_t bits;
  const void* array;
  std::int32_t status;
};
inline constexpr std::uint64_t always = ~std::uint64_t{0};

// The status of the first rule whose bits meet the mask and whose array is null; 0 if none.
inline std::int32_t first_missing(std::uint64_t mask,
                                  std::initializer_list<required_result> rules) {
  for (const required_result& rule : rules) {
    if ((mask & rule.bits) != 0 && rule.array == nullptr) {
      return rule.status;
    }
  }
  return 0;
}

inline offload_result refused(std::int32_t status) {
  return {sycl::event{}, status};
}

inline std::uint8_t given(const void* array) {
  return array != nullptr ? 1 : 0;
}

// Arrays of n_dims elements that stand in for null results for the length of a submission.
template <typename T>
class spare_outputs {
 public:
  spare_outputs(sycl::queue& queue, std::int64_t n_dims) : queue_(queue), n_dims_(n_dims) {}
  spare_outputs(const spare_outputs&) = delete;
  spare_outputs& operator=(const spare_outputs&) = delete;
  ~spare_outputs() {
    for (T* spare : spares_) {
      sycl::free(spare, queue_);
    }
  }

  T* unless(T* array) {
    if (array != nullptr) {
      return array;
    }
    T* spare = sycl::malloc_device<T>(static_cast<std::size_t>(n_dims_), queue_);
    if (spare == nullptr) {
      throw device_bad_alloc(memory_domain, "omp_offload", queue_.get_device());
    }
    spares_.push_back(spare);
    return spare;
  }

 private:
  sycl::queue& queue_;
  std::int64_t n_dims_;
  std::vector<T*> spares_;
};

template <stats::layout L, typename T>
dataset<L, T*> as_dataset(const task_dataset<T>& data) {
  return {data.n_dims, data.n_observations, const_cast<T*>(data.observations),
          const_cast<T*>(data.weights),
          const_cast<std::int64_t*>(static_cast<const std::int64_t*>(data.indices))};
}

// The moment drivers return when their kernels have finished, so spare arrays may go then.
template <stats::layout L, typename Model, typename T, typename F>
offload_result run_moments(sycl::queue& queue, const task_dataset<T>& data, F functor,
                           const T* mean = nullptr) {
  return {gpu::submit_basic_usm<T, L, F, Model::wide_indices>(queue, as_dataset<L>(data), functor,
                                                              {}, mean),
          0};
}

template <stats::layout L, typename Model, bool Max, typename T>
offload_result submit_extreme(sycl::queue& queue, T* extreme, const task_dataset<T>& data,
                              typename Model::integer method) {
  if (method != method_fast) {
    return refused(bad_method);
  }
  if (extreme == nullptr) {
    return refused(Max ? -4016 : -4015);
  }
  using F = std::conditional_t<Max, gpu::max_func<T, true>, gpu::min_func<T, true>>;
  F functor(extreme);
  return {
      gpu::submit_minmax_usm<T, L, F, Model::wide_indices>(queue, as_dataset<L>(data), functor, {}),
      0};
}

// The raw families: the first array is always stored, the others as given. Functor is raw_sum_func
// or raw_moment_func.
template <stats::layout L, typename Model, template <typename, bool> class Functor, typename T>
offload_result submit_raw(sycl::queue& queue, std::initializer_list<required_result> required,
                          T* first, T* second, T* third, T* fourth, const task_dataset<T>& data,
                          typename Model::integer method, std::uint64_t mask) {
  if (method != method_fast) {
    return refused(bad_method);
  }
  if (const std::int32_t status = first_missing(mask, required)) {
    return refused(status);
  }
  spare_outputs<T> spares(queue, data.n_dims);
  Functor<T, true> functor(given(second), given(third), given(fourth), spares.unless(first), second,
                           third, fourth);
  return run_moments<L, Model>(queue, data, functor);
}

template <stats::layout L, typename Model, typename T>
offload_result submit_raw_sum(sycl::queue& queue, T* sum, T* sum2, T* sum3, T* sum4,
                              const task_dataset<T>& data, typename Model::integer method,
                              std::uint64_t mask) {
  return submit_raw<L, Model, gpu::raw_sum_func>(queue,
                                                 {{SS_SUM, sum, -4074},
                                                  {SS_RAW_SUM2, sum2, -4075},
                                                  {SS_RAW_SUM3, sum3, -4076},
                                                  {SS_RAW_SUM4, sum4, -4077}},
                                                 sum, sum2, sum3, sum4, data, method, mask);
}

template <stats::layout L, typename Model, typename T>
offload_result submit_raw_moment(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4,
                                 const task_dataset<T>& data, typename Model::integer method,
                                 std::uint64_t mask) {
  return submit_raw<L, Model, gpu::raw_moment_func>(queue,
                                                    {{SS_MEAN, mean, -4006},
                                                     {SS_RAW_MOMENT2, raw2, -4007},
                                                     {SS_RAW_MOMENT3, raw3, -4008},
                                                     {SS_RAW_MOMENT4, raw4, -4009}},
                                                    mean, raw2, raw3, raw4, data, method, mask);
}

// central_moment and central_sum: their mask bits and missing-array statuses of orders 2 to 4.
struct central_family {
  std::uint64_t bit2, bit3, bit4;
  std::int32_t missing2, missing3, missing4;
};
inline constexpr central_family central_moments{
    SS_CENTRAL_MOMENT2, SS_CENTRAL_MOMENT3, SS_CENTRAL_MOMENT4, -4010, -4011, -4012};
inline constexpr central_family central_sums{SS_CENTRAL_SUM2, SS_CENTRAL_SUM3, SS_CENTRAL_SUM4,
                                             -4078,           -4079,           -4080};

// Each order needs its own array, and for method 1 the raw moments it expands through. The
// second-order result and the raw moments that the orders given need are always stored.
template <stats::layout L, typename Model, typename Family, typename T>
offload_result submit_central(sycl::queue& queue, const central_family& f, T* mean, T* raw2,
                              T* raw3, T* raw4, T* second, T* third, T* fourth,
                              const task_dataset<T>& data, typename Model::integer method,
                              std::uint64_t mask) {
  if (mean == nullptr) {
    return refused(-4006);
  }
  std::int32_t status = 0;
  if (method == method_user_mean) {
    status = first_missing(
        mask,
        {{f.bit2, second, f.missing2}, {f.bit3, third, f.missing3}, {f.bit4, fourth, f.missing4}});
  } else if (method != method_fast) {
    status = bad_method;
  } else {
    status = first_missing(mask, {{f.bit2, second, f.missing2},
                                  {f.bit2, raw2, -4007},
                                  {f.bit3, third, f.missing3},
                                  {f.bit3, raw2, -4007},
                                  {f.bit3, raw3, -4008},
                                  {f.bit4, fourth, f.missing4},
                                  {f.bit4, raw2, -4007},
                                  {f.bit4, raw3, -4008},
                                  {f.bit4, raw4, -4009}});
  }
  if (status != 0) {
    return refused(status);
  }
  spare_outputs<T> spares(queue, data.n_dims);
  if (method == method_user_mean) {
    gpu::central_func<T, true, true, Family> functor(given(third), given(fourth),
                                                     spares.unless(second), third, fourth);
    return run_moments<L, Model>(queue, data, functor, mean);
  }
  gpu::ex::with_raw_moments<gpu::central_func<T, true, false, Family>> functor(
      mean, spares.unless(raw2), spares.unless(raw3), spares.unless(raw4), given(third),
      given(fourth), spares.unless(second), third, fourth);
  return run_moments<L, Model>(queue, data, functor);
}

template <stats::layout L, typename Model, typename T>
offload_result submit_central_sum(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4, T* sum2,
                                  T* sum3, T* sum4, const task_dataset<T>& data,
                                  typename Model::integer method, std::uint64_t mask) {
  return submit_central<L, Model, gpu::central_sums>(queue, central_sums, mean, raw2, raw3, raw4,
                                                     sum2, sum3, sum4, data, method, mask);
}

template <stats::layout L, typename Model, typename T>
offload_result submit_central_moment(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4,
                                     T* moment2, T* moment3, T* moment4,
                                     const task_dataset<T>& data, typename Model::integer method,
                                     std::uint64_t mask) {
  return submit_central<L, Model, gpu::central_moments>(queue, central_moments, mean, raw2, raw3,
                                                        raw4, moment2, moment3, moment4, data,
                                                        method, mask);
}

// variation, skewness and kurtosis: the mean is needed by both methods (as the caller's mean for
// method 256); method 1 needs the raw moments that it stores on the way. fast_required lists them
// after the result's own rule.
template <stats::layout L, typename Model, typename T, typename MakeFast, typename MakeUserMean>
offload_result submit_shape(sycl::queue& queue, const required_result& own,
                            std::initializer_list<required_result> fast_required, const T* mean,
                            const task_dataset<T>& data, typename Model::integer method,
                            MakeFast make_fast, MakeUserMean make_user_mean) {
  if (mean == nullptr) {
    return refused(-4006);
  }
  if (method == method_user_mean) {
    if (own.array == nullptr) {
      return refused(own.status);
    }
    return run_moments<L, Model>(queue, data, make_user_mean(), mean);
  }
  if (method != method_fast) {
    return refused(bad_method);
  }
  if (own.array == nullptr) {
    return refused(own.status);
  }
  if (const std::int32_t status = first_missing(always, fast_required)) {
    return refused(status);
  }
  return run_moments<L, Model>(queue, data, make_fast());
}

template <stats::layout L, typename Model, typename T>
offload_result submit_variation(sycl::queue& queue, T* mean, T* raw2, T* variation,
                                const task_dataset<T>& data, typename Model::integer method) {
  return submit_shape<L, Model>(
      queue, {always, variation, -4017}, {{always, raw2, -4007}}, mean, data, method,
      [&] {
        return gpu::ex::with_raw_moments<gpu::variation_func<T, true, false>>(mean, raw2, nullptr,
                                                                              nullptr, variation);
      },
      [&] { return gpu::variation_func<T, true, true>(variation); });
}

template <stats::layout L, typename Model, typename T>
offload_result submit_skewness(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* skewness,
                               const task_dataset<T>& data, typename Model::integer method) {
  return submit_shape<L, Model>(
      queue, {always, skewness, -4014}, {{always, raw3, -4008}, {always, raw2, -4007}}, mean, data,
      method,
      [&] {
        return gpu::ex::with_raw_moments<gpu::skewness_func<T, true, false>>(mean, raw2, raw3,
                                                                             nullptr, skewness);
      },
      [&] { return gpu::skewness_func<T, true, true>(skewness); });
}

template <stats::layout L, typename Model, typename T>
offload_result submit_kurtosis(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4, T* kurtosis,
                               const task_dataset<T>& data, typename Model::integer method) {
  return submit_shape<L, Model>(
      queue, {always, kurtosis, -4013},
      {{always, raw4, -4009}, {always, raw3, -4008}, {always, raw2, -4007}}, mean, data, method,
      [&] {
        return gpu::ex::with_raw_moments<gpu::kurtosis_func<T, true, false>>(mean, raw2, raw3, raw4,
                                                                             kurtosis);
      },
      [&] { return gpu::kurtosis_func<T, true, true>(kurtosis); });
}

}  // namespace vorlex::orv::stats::detail::offload
