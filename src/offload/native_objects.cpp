#include "offload/native_objects.hpp"

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace vorlex::orv::stats::detail::offload {
namespace {

// Handles travel as pointers; a native type that could not hold one would lose bits.
template <typename Native>
Native native_cast(void* handle) {
  static_assert(sizeof(Native) >= sizeof handle, "a native handle does not fit");
  if constexpr (std::is_pointer_v<Native>) {
    return reinterpret_cast<Native>(handle);
  } else {
    return static_cast<Native>(reinterpret_cast<std::uintptr_t>(handle));
  }
}

[[noreturn, maybe_unused]] void no_backend(const char* backend) {
  throw sycl::exception(
      sycl::make_error_code(sycl::errc::backend_mismatch),
      std::string("Backends mismatch: this build of the library has no ") + backend + " interop");
}

}  // namespace

#ifdef TESSEL_OPENCL_BACKEND
constexpr sycl::backend opencl_backend = sycl::backend::TESSEL_OPENCL_BACKEND;

sycl::context opencl_context(void* native_context) {
  return sycl::make_context<opencl_backend>(
      native_cast<sycl::backend_input_t<opencl_backend, sycl::context>>(native_context),
      sycl::async_handler{});
}

sycl::queue opencl_queue(void* native_queue, const sycl::context& context) {
  return sycl::make_queue<opencl_backend>(
      native_cast<sycl::backend_input_t<opencl_backend, sycl::queue>>(native_queue), context,
      sycl::async_handler{});
}

void* opencl_native_event(const sycl::event& event) {
  if (event.get_backend() != opencl_backend) {
    return nullptr;
  }
  const auto natives = sycl::get_native<opencl_backend>(event);
  return natives.empty() ? nullptr : reinterpret_cast<void*>(natives.front());
}
#else
sycl::context opencl_context(void*) {
  no_backend("OpenCL");
}
sycl::queue opencl_queue(void*, const sycl::context&) {
  no_backend("OpenCL");
}
void* opencl_native_event(const sycl::event&) {
  return nullptr;
}
#endif

#ifdef TESSEL_LEVEL_ZERO_NAMESPACE
namespace level_zero = TESSEL_LEVEL_ZERO_NAMESPACE;

sycl::platform level_zero_platform(void* native_platform) {
  return level_zero::make_platform(native_cast<std::uintptr_t>(native_platform));
}

sycl::device level_zero_device(const sycl::platform& platform, void* native_device) {
  return level_zero::make_device(platform, native_cast<std::uintptr_t>(native_device));
}

sycl::context level_zero_context(const sycl::device& device, void* native_context) {
  return level_zero::make_context(std::vector<sycl::device>{device},
                                  native_cast<std::uintptr_t>(native_context), true);
}

sycl::queue level_zero_queue(const sycl::context& context, const sycl::device& device,
                             void* native_queue, bool immediate_command_list) {
  return level_zero::make_queue(context, device, native_cast<std::uintptr_t>(native_queue),
                                immediate_command_list, true, sycl::property_list{});
}
#else
sycl::platform level_zero_platform(void*) {
  no_backend("Level Zero");
}
sycl::device level_zero_device(const sycl::platform&, void*) {
  no_backend("Level Zero");
}
sycl::context level_zero_context(const sycl::device&, void*) {
  no_backend("Level Zero");
}
sycl::queue level_zero_queue(const sycl::context&, const sycl::device&, void*, bool) {
  no_backend("Level Zero");
}
#endif

}  // namespace vorlex::orv::stats::detail::offload
