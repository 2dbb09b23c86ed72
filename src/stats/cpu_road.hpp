// The road of a CPU queue. Entries hand it everything they were given, after the checks and once
// the device has answered is_cpu; the statistic's CPU frame builds its functor and scratch and
// hands the work to the estimator module in one host task (detail::cpu::submit).
#pragma once

#include <sycl/sycl.hpp>

#include <type_traits>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "cpu/frames_central.hpp"
#include "cpu/frames_raw.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

// The caller's mean as the frames take it: null for the plain forms.
template <typename T, typename Mean>
T* cpu_user_mean(Mean mean) {
  if constexpr (std::is_same_v<Mean, no_mean>) {
    return nullptr;
  } else {
    return mean;
  }
}

template <typename T, typename Mean>
const sycl::buffer<T, 1>* cpu_user_mean_buffer(const Mean& mean) {
  if constexpr (std::is_same_v<Mean, no_mean>) {
    return nullptr;
  } else {
    return &mean;
  }
}

template <typename Statistic, method M, typename T, layout L, typename Mean, typename... Out>
sycl::event cpu_road_usm(sycl::queue& queue, Mean mean, const dataset<L, T*>& data,
                         const std::vector<sycl::event>& dependencies, Out... outputs) {
  return Statistic::cpu_frame::template usm<M, T, L>(queue, cpu_user_mean<T>(mean), data,
                                                     dependencies, outputs...);
}

template <typename Statistic, method M, typename T, layout L, typename Mean, typename... Out>
void cpu_road_buffer(sycl::queue& queue, Mean mean, const dataset<L, sycl::buffer<T, 1>>& data,
                     Out... outputs) {
  Statistic::cpu_frame::template buffer<M, T, L>(queue, cpu_user_mean_buffer<T>(mean), data,
                                                 outputs...);
}

}  // namespace vorlex::orv::stats::detail
