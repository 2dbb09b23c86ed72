#include "offload/queue_from_interop.hpp"

#include <cstdint>
#include <vorlex/orv/stats.hpp>

#include "offload/interop_binding.hpp"
#include "offload/native_objects.hpp"
#include "offload/opencl_table.hpp"

namespace vorlex::orv::stats::detail::offload {
namespace {

sycl::queue default_queue() {
  return sycl::queue{sycl::property_list{}};
}

sycl::queue unusable(std::int32_t* backend) {
  *backend = runtime_none;
  return default_queue();
}

// The caller's queue, copied.
sycl::queue sycl_road(void* interop, std::int32_t* backend) {
  void* queue = nullptr;
  if (get_interop_property(interop, property_queue, &queue) != 0 || queue == nullptr) {
    return unusable(backend);
  }
  return *static_cast<const sycl::queue*>(queue);
}

// A queue of the library's own on the runtime's context and device: work does not go to the
// runtime's queue, whose handle is read and dropped.
sycl::queue level_zero_road(void* interop, std::int32_t* backend) {
  void* platform = nullptr;
  void* device = nullptr;
  void* context = nullptr;
  if (get_interop_property(interop, property_platform, &platform) != 0 ||
      get_interop_property(interop, property_device, &device) != 0 ||
      get_interop_property(interop, property_context, &context) != 0) {
    return unusable(backend);
  }
  sycl::device sycl_device = level_zero_device(level_zero_platform(platform), device);
  void* queue = nullptr;
  if (get_interop_property(interop, property_queue, &queue) != 0) {
    return unusable(backend);
  }
  const sycl::context* cached = gpu::lookup_and_cache_kelpa_context(
      context, device, gpu::orv_gpu_backend_level_zero, &sycl_device);
  return sycl::queue(*cached, sycl_device, sycl::property_list{});
}

// Without a complete OpenCL library the road goes on with a default queue and backend 3.
sycl::queue opencl_road(void* interop, std::int32_t* backend) {
  if (load_opencl_table() != 0) {
    return default_queue();
  }
  void* context = nullptr;
  void* queue = nullptr;
  if (get_interop_property(interop, property_context, &context) != 0 ||
      get_interop_property(interop, property_queue, &queue) != 0) {
    return unusable(backend);
  }
  const sycl::context* cached =
      gpu::lookup_and_cache_kelpa_context(context, nullptr, gpu::orv_gpu_backend_opencl, nullptr);
  return opencl_queue(queue, *cached);
}

}  // namespace

sycl::queue queue_from_interop(void* interop, std::int32_t* backend) {
  int return_code = -1;
  *backend = get_interop_int(interop, property_foreign_runtime, &return_code);
  if (return_code != 0) {
    // No foreign runtime number: the backend kind decides, and without it the value of the failed
    // call stays.
    void* kind = nullptr;
    if (get_interop_property(interop, property_backend_kind, &kind) != 0 || kind == nullptr) {
      return default_queue();
    }
    switch (*static_cast<const std::int32_t*>(kind)) {
      case 1:
        *backend = runtime_opencl;
        return opencl_road(interop, backend);
      case 2:
        *backend = runtime_level_zero;
        return level_zero_road(interop, backend);
      default:
        return unusable(backend);
    }
  }
  switch (*backend) {
    case runtime_opencl:
      return opencl_road(interop, backend);
    case runtime_level_zero:
      return level_zero_road(interop, backend);
    case runtime_sycl:
      return sycl_road(interop, backend);
    default:
      return unusable(backend);
  }
}

}  // namespace vorlex::orv::stats::detail::offload
