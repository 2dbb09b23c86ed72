// SYCL objects made from native OpenCL and Level Zero handles, and the native OpenCL event of a
// SYCL event. How an implementation spells these backends is fixed when the library is built
// (TESSEL_OPENCL_BACKEND, TESSEL_LEVEL_ZERO_NAMESPACE); a backend it does not have throws
// sycl::exception with errc::backend_mismatch here, so that road ends like any failure.
#pragma once

#include <sycl/sycl.hpp>

namespace vorlex::orv::stats::detail::offload {

sycl::context opencl_context(void* native_context);
// Ownership of the native queue stays with its owner.
sycl::queue opencl_queue(void* native_queue, const sycl::context& context);
// The first native handle of an OpenCL event, null for an event of another backend.
void* opencl_native_event(const sycl::event& event);

sycl::platform level_zero_platform(void* native_platform);
sycl::device level_zero_device(const sycl::platform& platform, void* native_device);
// The context of one device; the library keeps ownership of the native context.
sycl::context level_zero_context(const sycl::device& device, void* native_context);
sycl::queue level_zero_queue(const sycl::context& context, const sycl::device& device,
                             void* native_queue, bool immediate_command_list);

}  // namespace vorlex::orv::stats::detail::offload
