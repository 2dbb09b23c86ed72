// Device selection shared by device, platform, context and queue constructors: any callable that
// scores a device.
#pragma once

#include <functional>
#include <type_traits>

#include "sycl/defines.hpp"

namespace sycl {
class device;

namespace detail {

template <typename Selector>
using enable_if_selector_t =
    std::enable_if_t<std::is_invocable_r_v<int, const Selector&, const device&>>;

// The device with the highest non-negative score; the first one listed wins a tie. Throws
// errc::runtime when every device scores below zero.
TESSEL_SYCL_API device select_device(const std::function<int(const device&)>& selector);

}  // namespace detail
}  // namespace sycl
