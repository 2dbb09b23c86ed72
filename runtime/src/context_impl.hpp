// What stands behind sycl::context.
#pragma once

#include <memory>
#include <vector>

#include "device_impl.hpp"
#include "sycl/exception.hpp"

namespace sycl::detail {

class context_impl {
 public:
  // devices is not empty and all of one platform.
  context_impl(std::vector<std::shared_ptr<device_impl>> devices, async_handler handler)
      : devices_(std::move(devices)), handler_(std::move(handler)) {}

  const std::vector<std::shared_ptr<device_impl>>& devices() const noexcept { return devices_; }
  platform_impl& platform() const noexcept { return devices_.front()->platform(); }
  const async_handler& handler() const noexcept { return handler_; }
  bool holds(const device_impl& d) const noexcept {
    for (const auto& mine : devices_) {
      if (mine.get() == &d) {
        return true;
      }
    }
    return false;
  }

 private:
  std::vector<std::shared_ptr<device_impl>> devices_;
  async_handler handler_;
};

}  // namespace sycl::detail
