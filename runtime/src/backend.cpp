#include "sycl/backend.hpp"

#include <string>

namespace sycl {
namespace detail {
namespace {

const char* backend_name(backend b) {
  switch (b) {
    case backend::ext_tessel_host:
      return "Tessel host";
    case backend::opencl:
      return "OpenCL";
    case backend::ext_tessel_level_zero:
      return "Level Zero";
  }
  return "unknown";
}

}  // namespace

void throw_missing_backend(backend wanted) {
  throw exception(
      make_error_code(errc::backend_mismatch),
      std::string("Backends mismatch: this runtime has no ") + backend_name(wanted) + " backend");
}

void throw_backend_mismatch(backend wanted, backend actual) {
  throw exception(make_error_code(errc::backend_mismatch),
                  std::string("Backends mismatch: the object belongs to the ") +
                      backend_name(actual) + " backend, not to the " + backend_name(wanted) +
                      " backend, which this runtime does not have");
}

}  // namespace detail

namespace ext::tessel::level_zero {

platform make_platform(std::uintptr_t) {
  detail::throw_missing_backend(backend::ext_tessel_level_zero);
}
device make_device(const platform&, std::uintptr_t) {
  detail::throw_missing_backend(backend::ext_tessel_level_zero);
}
context make_context(const std::vector<device>&, std::uintptr_t, bool) {
  detail::throw_missing_backend(backend::ext_tessel_level_zero);
}
queue make_queue(const context&, const device&, std::uintptr_t, bool, bool, const property_list&) {
  detail::throw_missing_backend(backend::ext_tessel_level_zero);
}
queue make_queue(const context&, std::uintptr_t, bool) {
  detail::throw_missing_backend(backend::ext_tessel_level_zero);
}
event make_event(const context&, std::uintptr_t, bool) {
  detail::throw_missing_backend(backend::ext_tessel_level_zero);
}

}  // namespace ext::tessel::level_zero
}  // namespace sycl
