// sycl::device: one device of the runtime, a cheap handle with reference semantics.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sycl/aspect.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/backend_enum.hpp"
#include "sycl/detail/impl_access.hpp"
#include "sycl/detail/selector.hpp"
#include "sycl/info.hpp"
#include "sycl/platform.hpp"

namespace sycl {
namespace detail {
class device_impl;
}

class TESSEL_SYCL_API device {
 public:
  // The device that default_selector_v picks.
  device();
  template <typename DeviceSelector, typename = detail::enable_if_selector_t<DeviceSelector>>
  explicit device(const DeviceSelector& selector) : device(detail::select_device(selector)) {}

  bool is_cpu() const;
  bool is_gpu() const;
  bool is_accelerator() const;
  platform get_platform() const;
  backend get_backend() const noexcept;
  bool has(aspect a) const;
  template <typename Param>
  typename Param::return_type get_info() const;

  static std::vector<device> get_devices(info::device_type type = info::device_type::all);

  friend bool operator==(const device& a, const device& b) { return a.impl_ == b.impl_; }
  friend bool operator!=(const device& a, const device& b) { return !(a == b); }

 private:
  friend struct detail::impl_access;
  friend struct std::hash<device>;
  explicit device(std::shared_ptr<detail::device_impl> impl);

  std::shared_ptr<detail::device_impl> impl_;
};

template <>
TESSEL_SYCL_API info::device_type device::get_info<info::device::device_type>() const;
template <>
TESSEL_SYCL_API std::string device::get_info<info::device::name>() const;
template <>
TESSEL_SYCL_API std::string device::get_info<info::device::vendor>() const;
template <>
TESSEL_SYCL_API std::string device::get_info<info::device::driver_version>() const;
template <>
TESSEL_SYCL_API std::string device::get_info<info::device::version>() const;
template <>
TESSEL_SYCL_API std::size_t device::get_info<info::device::max_work_group_size>() const;
template <>
TESSEL_SYCL_API std::uint64_t device::get_info<info::device::local_mem_size>() const;
template <>
TESSEL_SYCL_API std::uint32_t device::get_info<info::device::max_compute_units>() const;
template <>
TESSEL_SYCL_API std::uint64_t device::get_info<info::device::global_mem_size>() const;

}  // namespace sycl

template <>
struct std::hash<sycl::device> {
  std::size_t operator()(const sycl::device& d) const noexcept {
    return std::hash<std::shared_ptr<sycl::detail::device_impl>>()(d.impl_);
  }
};
