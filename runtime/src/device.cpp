#include "sycl/device.hpp"

#include <utility>

#include "device_impl.hpp"
#include "device_registry.hpp"
#include "sycl/device_selector.hpp"
#include "sycl/exception.hpp"

namespace sycl {

using detail::impl_access;

device::device() : device(detail::select_device(default_selector_v)) {}
device::device(std::shared_ptr<detail::device_impl> impl) : impl_(std::move(impl)) {}

bool device::is_cpu() const {
  return impl_->limits().is_cpu;
}
bool device::is_gpu() const {
  return impl_->limits().is_gpu;
}
bool device::is_accelerator() const {
  return impl_->limits().is_accelerator;
}
platform device::get_platform() const {
  for (const auto& p : detail::device_registry::get().platforms()) {
    if (p.get() == &impl_->platform()) {
      return impl_access::make<platform>(p);
    }
  }
  throw exception(make_error_code(errc::runtime), "The device belongs to no known platform");
}
backend device::get_backend() const noexcept {
  return impl_->get_backend();
}
bool device::has(aspect a) const {
  return impl_->has(a);
}

std::vector<device> device::get_devices(info::device_type type) {
  std::vector<device> found;
  for (const auto& d : detail::device_registry::get().devices()) {
    const auto& limits = d->limits();
    const bool wanted = type == info::device_type::all ||
                        (type == info::device_type::cpu && limits.is_cpu) ||
                        (type == info::device_type::gpu && limits.is_gpu) ||
                        (type == info::device_type::accelerator && limits.is_accelerator);
    if (wanted) {
      found.push_back(impl_access::make<device>(d));
    }
  }
  if (type == info::device_type::automatic) {
    found.push_back(device());
  }
  return found;
}

template <>
info::device_type device::get_info<info::device::device_type>() const {
  const auto& limits = impl_->limits();
  if (limits.is_cpu) {
    return info::device_type::cpu;
  }
  if (limits.is_gpu) {
    return info::device_type::gpu;
  }
  if (limits.is_accelerator) {
    return info::device_type::accelerator;
  }
  return info::device_type::custom;
}
template <>
std::string device::get_info<info::device::name>() const {
  return impl_->limits().name;
}
template <>
std::string device::get_info<info::device::vendor>() const {
  return impl_->limits().vendor;
}
template <>
std::string device::get_info<info::device::driver_version>() const {
  return impl_->platform().version();
}
template <>
std::string device::get_info<info::device::version>() const {
  return impl_->platform().version();
}
template <>
std::size_t device::get_info<info::device::max_work_group_size>() const {
  return impl_->limits().max_work_group_size;
}
template <>
std::uint64_t device::get_info<info::device::local_mem_size>() const {
  return impl_->limits().local_mem_size;
}
template <>
std::uint32_t device::get_info<info::device::max_compute_units>() const {
  return impl_->limits().max_compute_units;
}
template <>
std::uint64_t device::get_info<info::device::global_mem_size>() const {
  return impl_->limits().global_mem_size;
}

}  // namespace sycl
