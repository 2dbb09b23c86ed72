// Native handle types per backend, and the errors for a missing backend.
#pragma once

#include <vector>

#include "sycl/defines.hpp"
#include "sycl/detail/backend_enum.hpp"

namespace sycl {
class event;

namespace detail {
// Native handles are opaque here: OpenCL's cl_* handle types convert to void*.
template <backend Backend, typename SyclType>
struct interop_types {
  using input_type = void*;
  using return_type = void*;
};
template <typename SyclType>
struct interop_types<backend::ext_tessel_host, SyclType> {};
template <>
struct interop_types<backend::opencl, event> {
  using input_type = void*;
  using return_type = std::vector<void*>;
};

[[noreturn]] TESSEL_SYCL_API void throw_missing_backend(backend wanted);
[[noreturn]] TESSEL_SYCL_API void throw_backend_mismatch(backend wanted, backend actual);
}  // namespace detail

template <backend Backend>
class backend_traits {
 public:
  template <typename SyclType>
  using input_type = typename detail::interop_types<Backend, SyclType>::input_type;
  template <typename SyclType>
  using return_type = typename detail::interop_types<Backend, SyclType>::return_type;
};

template <backend Backend, typename SyclType>
using backend_input_t = typename backend_traits<Backend>::template input_type<SyclType>;
template <backend Backend, typename SyclType>
using backend_return_t = typename backend_traits<Backend>::template return_type<SyclType>;

}  // namespace sycl
