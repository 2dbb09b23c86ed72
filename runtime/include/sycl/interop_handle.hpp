// sycl::interop_handle: what a host task may take to reach the native objects of its queue. The
// devices of this runtime have none to give.
#pragma once

#include "sycl/defines.hpp"
#include "sycl/detail/backend_enum.hpp"
#include "sycl/detail/backend_traits.hpp"

namespace sycl {
class context;
class device;
class queue;

namespace detail {
struct host_task_runner;
}

class TESSEL_SYCL_API interop_handle {
 public:
  interop_handle() = delete;

  backend get_backend() const noexcept { return backend_; }

  template <backend Backend>
  backend_return_t<Backend, queue> get_native_queue() const {
    detail::throw_backend_mismatch(Backend, backend_);
  }
  template <backend Backend>
  backend_return_t<Backend, device> get_native_device() const {
    detail::throw_backend_mismatch(Backend, backend_);
  }
  template <backend Backend>
  backend_return_t<Backend, context> get_native_context() const {
    detail::throw_backend_mismatch(Backend, backend_);
  }

 private:
  friend struct detail::host_task_runner;
  explicit interop_handle(backend b) : backend_(b) {}

  backend backend_;
};

}  // namespace sycl
