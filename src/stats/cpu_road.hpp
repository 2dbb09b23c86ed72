// The road of a CPU queue. Entries hand it everything they were given, after the checks and
// once the device has answered is_cpu; here the CPU engine builds its functor and scratch and
// calls detail::cpu::submit. Until that engine is part of the library, a CPU queue is refused.
#pragma once

#include <sycl/sycl.hpp>

#include <vector>
#include <vorlex/orv/stats.hpp>

namespace vorlex::orv::stats::detail {

template <typename Row, method M, typename T, layout L, typename Mean, typename... Out>
sycl::event cpu_road_usm(sycl::queue& /*queue*/, Mean /*mean*/, const dataset<L, T*>& /*data*/,
                         const std::vector<sycl::event>& /*dependencies*/, Out... /*outputs*/) {
  throw unimplemented("stats", Row::name, "for this device");
}

template <typename Row, method M, typename T, layout L, typename Mean, typename... Out>
void cpu_road_buffer(sycl::queue& /*queue*/, Mean /*mean*/,
                     const dataset<L, sycl::buffer<T, 1>>& /*data*/, Out... /*outputs*/) {
  throw unimplemented("stats", Row::name, "for this device");
}

}  // namespace vorlex::orv::stats::detail
