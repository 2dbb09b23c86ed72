#include "sycl/platform.hpp"

#include <utility>

#include "device_impl.hpp"
#include "device_registry.hpp"
#include "sycl/device.hpp"
#include "sycl/device_selector.hpp"

namespace sycl {

using detail::impl_access;

platform::platform() : platform(platform_of(detail::select_device(default_selector_v))) {}
platform::platform(std::shared_ptr<detail::platform_impl> impl) : impl_(std::move(impl)) {}
platform platform::platform_of(const device& d) {
  return d.get_platform();
}

backend platform::get_backend() const noexcept {
  return impl_->get_backend();
}

bool platform::has(aspect a) const {
  for (const auto& d : impl_->devices()) {
    if (!d->has(a)) {
      return false;
    }
  }
  return true;
}

std::vector<device> platform::get_devices(info::device_type type) const {
  std::vector<device> found;
  for (const device& d : device::get_devices(type)) {
    if (&impl_access::get(d)->platform() == impl_.get()) {
      found.push_back(d);
    }
  }
  return found;
}

std::vector<platform> platform::get_platforms() {
  std::vector<platform> found;
  for (const auto& p : detail::device_registry::get().platforms()) {
    found.push_back(impl_access::make<platform>(p));
  }
  return found;
}

template <>
std::string platform::get_info<info::platform::name>() const {
  return impl_->name();
}
template <>
std::string platform::get_info<info::platform::vendor>() const {
  return impl_->vendor();
}
template <>
std::string platform::get_info<info::platform::version>() const {
  return impl_->version();
}

}  // namespace sycl
