// What stands behind sycl::platform and sycl::device.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sycl/aspect.hpp"
#include "sycl/detail/backend_enum.hpp"
#include "sycl/detail/kernel_launch.hpp"

namespace sycl::detail {

class context_impl;
class platform_impl;

class device_impl {
 public:
  device_impl(std::unique_ptr<device_backend> runner, bool emulated, platform_impl& owner);

  const device_limits& limits() const noexcept { return limits_; }
  device_backend& runner() const noexcept { return *runner_; }
  bool emulated() const noexcept { return emulated_; }
  platform_impl& platform() const noexcept { return *platform_; }
  backend get_backend() const noexcept;
  bool has(aspect a) const noexcept;

 private:
  std::unique_ptr<device_backend> runner_;
  device_limits limits_;
  bool emulated_;
  platform_impl* platform_;
};

class platform_impl {
 public:
  platform_impl(std::string name, std::string vendor, std::string version, backend b)
      : name_(std::move(name)),
        vendor_(std::move(vendor)),
        version_(std::move(version)),
        backend_(b) {}

  const std::string& name() const noexcept { return name_; }
  const std::string& vendor() const noexcept { return vendor_; }
  const std::string& version() const noexcept { return version_; }
  backend get_backend() const noexcept { return backend_; }
  const std::vector<std::shared_ptr<device_impl>>& devices() const noexcept { return devices_; }
  void add(std::shared_ptr<device_impl> d) { devices_.push_back(std::move(d)); }

  // The context of queues made without one: all devices of the platform.
  std::shared_ptr<context_impl> default_context();

 private:
  std::string name_;
  std::string vendor_;
  std::string version_;
  backend backend_;
  std::vector<std::shared_ptr<device_impl>> devices_;
  std::once_flag default_context_once_;
  std::shared_ptr<context_impl> default_context_;
};

}  // namespace sycl::detail
