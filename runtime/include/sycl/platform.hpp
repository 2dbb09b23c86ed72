// sycl::platform: a set of devices of one backend.
#pragma once

#include <memory>
#include <vector>

#include "sycl/aspect.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/backend_enum.hpp"
#include "sycl/detail/impl_access.hpp"
#include "sycl/detail/selector.hpp"
#include "sycl/info.hpp"

namespace sycl {
class device;

namespace detail {
class platform_impl;
}

class TESSEL_SYCL_API platform {
 public:
  // The platform of the device that default_selector_v picks.
  platform();
  template <typename DeviceSelector, typename = detail::enable_if_selector_t<DeviceSelector>>
  explicit platform(const DeviceSelector& selector)
      : platform(platform_of(detail::select_device(selector))) {}

  backend get_backend() const noexcept;
  template <typename Param>
  typename Param::return_type get_info() const;
  // True when every device of the platform has the aspect.
  bool has(aspect a) const;
  std::vector<device> get_devices(info::device_type type = info::device_type::all) const;

  static std::vector<platform> get_platforms();

  friend bool operator==(const platform& a, const platform& b) { return a.impl_ == b.impl_; }
  friend bool operator!=(const platform& a, const platform& b) { return !(a == b); }

 private:
  friend struct detail::impl_access;
  explicit platform(std::shared_ptr<detail::platform_impl> impl);
  static platform platform_of(const device& d);

  std::shared_ptr<detail::platform_impl> impl_;
};

template <>
TESSEL_SYCL_API std::string platform::get_info<info::platform::name>() const;
template <>
TESSEL_SYCL_API std::string platform::get_info<info::platform::vendor>() const;
template <>
TESSEL_SYCL_API std::string platform::get_info<info::platform::version>() const;

}  // namespace sycl
