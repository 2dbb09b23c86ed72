#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>

namespace vorlex::orv::stats::detail::gpu {

inline sycl::nd_range<1> launch_range(std::uint64_t group_count, std::uint64_t local_size) {
  return sycl::nd_range<1>(sycl::range<1>(group_count * local_size), sycl::range<1>(local_size));
}

}  // namespace vorlex::orv::stats::detail::gpu
