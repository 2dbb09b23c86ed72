// The host CPU device: host tasks on runtime threads, kernels through the work-group executor.
#pragma once

#include <memory>

#include "sycl/detail/kernel_launch.hpp"

namespace sycl::detail {

device_limits host_cpu_limits();
std::unique_ptr<device_backend> make_host_cpu_device();

}  // namespace sycl::detail
