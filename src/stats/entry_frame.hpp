// The road that every statistics entry takes: check the arguments, ask the queue's device what it
// is, and hand the call to the CPU road or to the GPU engine. Only the statistic's description
// differs from one statistic to the next.
#pragma once

#include <sycl/sycl.hpp>

#include <array>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "stats/cpu_road.hpp"
#include "stats/gpu_road.hpp"
#include "stats/output_checks.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

enum class road { cpu, gpu };

// The device is asked afresh for each question, as a queue may be shared with other threads.
template <typename Statistic>
road choose_road(sycl::queue& queue) {
  if (queue.get_device().is_cpu()) {
    return road::cpu;
  }
  const sycl::device device = queue.get_device();
  if (!device.is_gpu()) {
    throw unsupported_device("stats", Statistic::name, device);
  }
  return road::gpu;
}

// Mean is no_mean for the plain forms and the caller's mean otherwise; Out are the outputs in the
// order of the public signature.
template <typename Statistic, method M, typename T, layout L, typename Mean, typename... Out>
sycl::event usm_entry(sycl::queue& queue, Mean mean, const dataset<L, T*>& data,
                      const std::vector<sycl::event>& dependencies, Out... outputs) {
  check_outputs<Statistic>(form::usm, std::array<bool, sizeof...(Out)>{is_given(outputs)...});
  check_mean<Statistic>(form::usm, mean);
  if (choose_road<Statistic>(queue) == road::cpu) {
    return cpu_road_usm<Statistic, M>(queue, mean, data, dependencies, outputs...);
  }
  if constexpr (M == method::estimator) {
    throw unimplemented("stats", Statistic::name, "for this method");
  } else {
    return gpu_road_usm<Statistic>(queue, mean, data, dependencies, outputs...);
  }
}

template <typename Statistic, method M, typename T, layout L, typename Mean, typename... Out>
void buffer_entry(sycl::queue& queue, Mean mean, const dataset<L, sycl::buffer<T, 1>>& data,
                  Out... outputs) {
  check_outputs<Statistic>(form::buffer, std::array<bool, sizeof...(Out)>{is_given(outputs)...});
  check_mean<Statistic>(form::buffer, mean);
  if (choose_road<Statistic>(queue) == road::cpu) {
    cpu_road_buffer<Statistic, M>(queue, mean, data, outputs...);
    return;
  }
  if constexpr (M == method::estimator) {
    throw unimplemented("stats", Statistic::name, "for this method");
  } else {
    gpu_road_buffer<Statistic>(queue, mean, data, outputs...);
  }
}

}  // namespace vorlex::orv::stats::detail
