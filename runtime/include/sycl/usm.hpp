// Unified shared memory. Every kind is host memory on the devices of this runtime; the runtime
// records each allocation so that get_pointer_type and get_pointer_device answer for it. Allocation
// failures return null.
#pragma once

#include <cstddef>

#include "sycl/context.hpp"
#include "sycl/defines.hpp"
#include "sycl/device.hpp"
#include "sycl/property_list.hpp"
#include "sycl/queue.hpp"

namespace sycl {
namespace usm {
enum class alloc { host, device, shared, unknown };
}

TESSEL_SYCL_API void* malloc_device(std::size_t bytes, const device& d, const context& ctx,
                                    const property_list& props = {});
TESSEL_SYCL_API void* malloc_device(std::size_t bytes, const queue& q,
                                    const property_list& props = {});
TESSEL_SYCL_API void* aligned_alloc_device(std::size_t alignment, std::size_t bytes,
                                           const device& d, const context& ctx,
                                           const property_list& props = {});
TESSEL_SYCL_API void* aligned_alloc_device(std::size_t alignment, std::size_t bytes, const queue& q,
                                           const property_list& props = {});

TESSEL_SYCL_API void* malloc_host(std::size_t bytes, const context& ctx,
                                  const property_list& props = {});
TESSEL_SYCL_API void* malloc_host(std::size_t bytes, const queue& q,
                                  const property_list& props = {});
TESSEL_SYCL_API void* aligned_alloc_host(std::size_t alignment, std::size_t bytes,
                                         const context& ctx, const property_list& props = {});
TESSEL_SYCL_API void* aligned_alloc_host(std::size_t alignment, std::size_t bytes, const queue& q,
                                         const property_list& props = {});

TESSEL_SYCL_API void* malloc_shared(std::size_t bytes, const device& d, const context& ctx,
                                    const property_list& props = {});
TESSEL_SYCL_API void* malloc_shared(std::size_t bytes, const queue& q,
                                    const property_list& props = {});
TESSEL_SYCL_API void* aligned_alloc_shared(std::size_t alignment, std::size_t bytes,
                                           const device& d, const context& ctx,
                                           const property_list& props = {});
TESSEL_SYCL_API void* aligned_alloc_shared(std::size_t alignment, std::size_t bytes, const queue& q,
                                           const property_list& props = {});

TESSEL_SYCL_API void* malloc(std::size_t bytes, const device& d, const context& ctx,
                             usm::alloc kind, const property_list& props = {});
TESSEL_SYCL_API void* malloc(std::size_t bytes, const queue& q, usm::alloc kind,
                             const property_list& props = {});
TESSEL_SYCL_API void* aligned_alloc(std::size_t alignment, std::size_t bytes, const device& d,
                                    const context& ctx, usm::alloc kind,
                                    const property_list& props = {});
TESSEL_SYCL_API void* aligned_alloc(std::size_t alignment, std::size_t bytes, const queue& q,
                                    usm::alloc kind, const property_list& props = {});

// Null is ignored, as by std::free.
TESSEL_SYCL_API void free(void* ptr, const context& ctx);
TESSEL_SYCL_API void free(void* ptr, const queue& q);

// unknown for memory that this context did not allocate; interior pointers of an allocation answer
// as its start does.
TESSEL_SYCL_API usm::alloc get_pointer_type(const void* ptr, const context& ctx);
// Throws errc::invalid for memory that this context did not allocate.
TESSEL_SYCL_API device get_pointer_device(const void* ptr, const context& ctx);

namespace detail {
// Null when count * sizeof(T) overflows.
TESSEL_SYCL_API void* typed_alloc(std::size_t alignment, std::size_t count, std::size_t size,
                                  const device* d, const context& ctx, usm::alloc kind);
}  // namespace detail

template <typename T>
T* malloc_device(std::size_t count, const device& d, const context& ctx,
                 const property_list& = {}) {
  return static_cast<T*>(
      detail::typed_alloc(alignof(T), count, sizeof(T), &d, ctx, usm::alloc::device));
}
template <typename T>
T* malloc_device(std::size_t count, const queue& q, const property_list& props = {}) {
  return malloc_device<T>(count, q.get_device(), q.get_context(), props);
}
template <typename T>
T* malloc_host(std::size_t count, const context& ctx, const property_list& = {}) {
  return static_cast<T*>(
      detail::typed_alloc(alignof(T), count, sizeof(T), nullptr, ctx, usm::alloc::host));
}
template <typename T>
T* malloc_host(std::size_t count, const queue& q, const property_list& props = {}) {
  return malloc_host<T>(count, q.get_context(), props);
}
template <typename T>
T* malloc_shared(std::size_t count, const device& d, const context& ctx,
                 const property_list& = {}) {
  return static_cast<T*>(
      detail::typed_alloc(alignof(T), count, sizeof(T), &d, ctx, usm::alloc::shared));
}
template <typename T>
T* malloc_shared(std::size_t count, const queue& q, const property_list& props = {}) {
  return malloc_shared<T>(count, q.get_device(), q.get_context(), props);
}
template <typename T>
T* malloc(std::size_t count, const device& d, const context& ctx, usm::alloc kind,
          const property_list& = {}) {
  return static_cast<T*>(detail::typed_alloc(alignof(T), count, sizeof(T), &d, ctx, kind));
}
template <typename T>
T* malloc(std::size_t count, const queue& q, usm::alloc kind, const property_list& props = {}) {
  return malloc<T>(count, q.get_device(), q.get_context(), kind, props);
}

namespace detail {
// For tests of callers' allocation failure paths: after `successes` more successful calls, every
// malloc_shared (all its forms) returns null until this is called again; a negative value switches
// the failure off. Off at start.
TESSEL_SYCL_API void fail_malloc_shared_after(long long successes) noexcept;
}  // namespace detail

}  // namespace sycl
