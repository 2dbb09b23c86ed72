#include "sycl/context.hpp"

#include <utility>

#include "context_impl.hpp"
#include "device_impl.hpp"
#include "sycl/device_selector.hpp"

namespace sycl {
namespace {

using detail::impl_access;

std::shared_ptr<detail::context_impl> make_context_impl(const std::vector<device>& devices,
                                                        async_handler handler) {
  if (devices.empty()) {
    throw exception(make_error_code(errc::invalid), "A context needs at least one device");
  }
  std::vector<std::shared_ptr<detail::device_impl>> impls;
  for (const device& d : devices) {
    const auto& impl = impl_access::get(d);
    if (&impl->platform() != &impl_access::get(devices.front())->platform()) {
      throw exception(make_error_code(errc::invalid),
                      "The devices of a context belong to one platform");
    }
    impls.push_back(impl);
  }
  return std::make_shared<detail::context_impl>(std::move(impls), std::move(handler));
}

}  // namespace

context::context(const property_list& props) : context(device(default_selector_v), props) {}
context::context(async_handler handler, const property_list& props)
    : context(device(default_selector_v), std::move(handler), props) {}
context::context(const device& d, const property_list& props)
    : context(std::vector<device>{d}, props) {}
context::context(const device& d, async_handler handler, const property_list& props)
    : context(std::vector<device>{d}, std::move(handler), props) {}
context::context(const std::vector<device>& devices, const property_list&)
    : impl_(make_context_impl(devices, {})) {}
context::context(const std::vector<device>& devices, async_handler handler, const property_list&)
    : impl_(make_context_impl(devices, std::move(handler))) {}
context::context(std::shared_ptr<detail::context_impl> impl) : impl_(std::move(impl)) {}

backend context::get_backend() const noexcept {
  return impl_->platform().get_backend();
}
platform context::get_platform() const {
  return get_devices().front().get_platform();
}
std::vector<device> context::get_devices() const {
  std::vector<device> found;
  for (const auto& d : impl_->devices()) {
    found.push_back(impl_access::make<device>(d));
  }
  return found;
}

}  // namespace sycl
