// The devices of this process, made once on first use from the environment.
#pragma once

#include <memory>
#include <vector>

#include "device_impl.hpp"

namespace sycl::detail {

class device_registry {
 public:
  // Throws sycl::exception (errc::runtime) while TESSEL_SYCL_DEVICES names an unknown kind of
  // device.
  static device_registry& get();

  const std::vector<std::shared_ptr<platform_impl>>& platforms() const noexcept {
    return platforms_;
  }
  // Every device of every platform, in the order selectors see them.
  const std::vector<std::shared_ptr<device_impl>>& devices() const noexcept { return devices_; }

 private:
  device_registry();

  std::vector<std::shared_ptr<platform_impl>> platforms_;
  std::vector<std::shared_ptr<device_impl>> devices_;
};

}  // namespace sycl::detail
