// sycl::context: the devices a queue's work and USM allocations belong to.
#pragma once

#include <memory>
#include <vector>

#include "sycl/defines.hpp"
#include "sycl/detail/backend_enum.hpp"
#include "sycl/detail/impl_access.hpp"
#include "sycl/device.hpp"
#include "sycl/exception.hpp"
#include "sycl/platform.hpp"
#include "sycl/property_list.hpp"

namespace sycl {
namespace detail {
class context_impl;
}

class TESSEL_SYCL_API context {
 public:
  // A context of the device that default_selector_v picks.
  explicit context(const property_list& props = {});
  explicit context(async_handler handler, const property_list& props = {});
  explicit context(const device& d, const property_list& props = {});
  explicit context(const device& d, async_handler handler, const property_list& props = {});
  explicit context(const std::vector<device>& devices, const property_list& props = {});
  explicit context(const std::vector<device>& devices, async_handler handler,
                   const property_list& props = {});

  backend get_backend() const noexcept;
  platform get_platform() const;
  std::vector<device> get_devices() const;

  friend bool operator==(const context& a, const context& b) { return a.impl_ == b.impl_; }
  friend bool operator!=(const context& a, const context& b) { return !(a == b); }

 private:
  friend struct detail::impl_access;
  explicit context(std::shared_ptr<detail::context_impl> impl);

  std::shared_ptr<detail::context_impl> impl_;
};

}  // namespace sycl
