// Runs a test body on every device of the runtime, one instance per device, and catches the errors
// that tests expect.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <sycl/sycl.hpp>
#include <vector>

namespace tessel::test {

inline std::vector<sycl::device> all_devices() {
  return sycl::device::get_devices();
}

inline std::string device_label(const testing::TestParamInfo<sycl::device>& info) {
  return info.param.is_gpu() ? "gpu" : "cpu";
}

class on_each_device : public testing::TestWithParam<sycl::device> {};

// The sycl::exception that action throws; a failure, and errc::success, when it throws none.
template <typename Action>
sycl::exception expect_sycl_error(Action&& action) {
  try {
    action();
  } catch (const sycl::exception& e) {
    return e;
  }
  ADD_FAILURE() << "no sycl::exception";
  return sycl::exception(sycl::make_error_code(sycl::errc::success), "none");
}

}  // namespace tessel::test
