// Backend interoperability. The generic functions follow SYCL 2020; the ext::tessel::level_zero
// ones are the handle-based Level Zero forms (native handles as integers, ownership as a flag). No
// backend of these has devices in this runtime, so each throws sycl::exception with
// errc::backend_mismatch and names the missing backend.
#pragma once

#include <cstdint>
#include <vector>

#include "sycl/context.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/backend_enum.hpp"
#include "sycl/detail/backend_traits.hpp"
#include "sycl/device.hpp"
#include "sycl/event.hpp"
#include "sycl/exception.hpp"
#include "sycl/platform.hpp"
#include "sycl/property_list.hpp"
#include "sycl/queue.hpp"

namespace sycl {

template <backend Backend, typename SyclType>
backend_return_t<Backend, SyclType> get_native(const SyclType& object) {
  detail::throw_backend_mismatch(Backend, object.get_backend());
}

template <backend Backend>
platform make_platform(const backend_input_t<Backend, platform>&) {
  detail::throw_missing_backend(Backend);
}
template <backend Backend>
device make_device(const backend_input_t<Backend, device>&) {
  detail::throw_missing_backend(Backend);
}
template <backend Backend>
context make_context(const backend_input_t<Backend, context>&, const async_handler& = {}) {
  detail::throw_missing_backend(Backend);
}
template <backend Backend>
queue make_queue(const backend_input_t<Backend, queue>&, const context&,
                 const async_handler& = {}) {
  detail::throw_missing_backend(Backend);
}
template <backend Backend>
event make_event(const backend_input_t<Backend, event>&, const context&) {
  detail::throw_missing_backend(Backend);
}

namespace ext::tessel::level_zero {

enum class ownership { transfer, keep };

TESSEL_SYCL_API platform make_platform(std::uintptr_t native_platform);
TESSEL_SYCL_API device make_device(const platform& p, std::uintptr_t native_device);
TESSEL_SYCL_API context make_context(const std::vector<device>& devices,
                                     std::uintptr_t native_context, bool keep_ownership = false);
TESSEL_SYCL_API queue make_queue(const context& ctx, const device& d, std::uintptr_t native_queue,
                                 bool is_immediate, bool keep_ownership,
                                 const property_list& props = {});
TESSEL_SYCL_API queue make_queue(const context& ctx, std::uintptr_t native_queue,
                                 bool keep_ownership = false);
TESSEL_SYCL_API event make_event(const context& ctx, std::uintptr_t native_event,
                                 bool keep_ownership = false);

}  // namespace ext::tessel::level_zero
}  // namespace sycl
