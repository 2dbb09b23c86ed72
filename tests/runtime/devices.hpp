// Runs a test body on every device of the runtime, one instance per device.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <sycl/sycl.hpp>
#include <vector>

namespace tessel_test {

inline std::vector<sycl::device> all_devices() {
  return sycl::device::get_devices();
}

inline std::string device_label(const testing::TestParamInfo<sycl::device>& info) {
  return info.param.is_gpu() ? "gpu" : info.param.is_cpu() ? "cpu" : "other";
}

class on_each_device : public testing::TestWithParam<sycl::device> {};

}  // namespace tessel_test
