#include "offload/cache_lookups.hpp"

#include <sycl/sycl.hpp>

#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vorlex/orv/stats.hpp>

#include "offload/interop_binding.hpp"
#include "offload/native_objects.hpp"

namespace vorlex::orv::stats::detail::offload {

context_cache_t context_cache;
queue_cache_t queue_cache;

namespace {

std::uint64_t word_of(void* handle) {
  return reinterpret_cast<std::uintptr_t>(handle);
}

// Every value but Level Zero's acts as OpenCL.
bool is_level_zero(gpu::orv_gpu_backend_t backend) {
  return backend == gpu::orv_gpu_backend_level_zero;
}

sycl::context make_context(void* native_context, gpu::orv_gpu_backend_t backend,
                           const sycl::device* device) {
  if (!is_level_zero(backend)) {
    return opencl_context(native_context);
  }
  if (device == nullptr) {
    throw sycl::exception(sycl::make_error_code(sycl::errc::invalid),
                          "a Level Zero context needs its device");
  }
  return level_zero_context(*device, native_context);
}

// The Level Zero queue is on the context's first device; return_code is what the caller's reads
// left in it.
sycl::queue make_queue(void* native_queue, gpu::orv_gpu_backend_t backend,
                       const sycl::context& context, void* interop, int return_code) {
  if (!is_level_zero(backend)) {
    return opencl_queue(native_queue, context);
  }
  const bool immediate =
      get_interop_int(interop, property_immediate_command_list, &return_code) != 0 &&
      return_code == 0;
  return level_zero_queue(context, context.get_devices().front(), native_queue, immediate);
}

// Reads the properties in order into handles; false at the first that fails.
bool read_properties(void* interop, std::initializer_list<std::pair<std::int32_t, void**>> reads) {
  for (const auto& [property, handle] : reads) {
    if (get_interop_property(interop, property, handle) != 0) {
      return false;
    }
  }
  return true;
}

}  // namespace
}  // namespace vorlex::orv::stats::detail::offload

namespace vorlex::orv::gpu {

namespace offload = stats::detail::offload;

sycl::context* lookup_and_cache_kelpa_context(void* native_context, void* native_device,
                                              orv_gpu_backend_t backend, sycl::device* device) {
  const offload::context_key key{offload::word_of(native_context), offload::word_of(native_device)};
  return offload::lookup_or_create(offload::context_cache, key, [&] {
    return offload::make_context(native_context, backend, device);
  });
}

sycl::queue* lookup_and_cache_kelpa_queue(void* native_queue, orv_gpu_backend_t backend,
                                          sycl::context context, void* interop) {
  return offload::lookup_or_create(offload::queue_cache, {offload::word_of(native_queue)}, [&] {
    return offload::make_queue(native_queue, backend, context, interop, -1);
  });
}

// Unlike the look-ups above, the OpenCL context comes from property 6 here. A failed read of the
// Level Zero platform leaves the context cache write-held for good, as every later use of it then
// shows.
sycl::queue* lookup_and_cache_kelpa_queue_and_context(void* interop) {
  using namespace offload;
  void* kind = nullptr;
  if (get_interop_property(interop, property_backend_kind, &kind) != 0) {
    return nullptr;
  }
  const auto backend = *static_cast<const std::int32_t*>(kind) == 2 ? orv_gpu_backend_level_zero
                                                                    : orv_gpu_backend_opencl;
  void* native_context = nullptr;
  void* queue_handle = nullptr;
  void* device_handle = nullptr;
  const bool read = is_level_zero(backend)
                        ? read_properties(interop, {{property_context, &native_context},
                                                    {property_queue, &queue_handle},
                                                    {property_device, &device_handle}})
                        : read_properties(interop, {{property_platform, &native_context},
                                                    {property_queue, &queue_handle}});
  if (!read) {
    return nullptr;
  }
  const queue_key queue_id{word_of(queue_handle)};
  if (sycl::queue* hit = queue_cache.find_shared(queue_id)) {
    return hit;
  }
  sycl::context context;  // of the default device, with no properties
  const context_key context_id{word_of(native_context), word_of(device_handle)};
  if (sycl::context* hit = context_cache.find_shared(context_id)) {
    context = *hit;
  } else {
    context_cache.lock.write_enter();
    if (sycl::context* again = context_cache.find(context_id)) {
      context = *again;
    } else if (is_level_zero(backend)) {
      void* platform_handle = nullptr;
      if (get_interop_property(interop, property_platform, &platform_handle) != 0) {
        return nullptr;
      }
      const sycl::device device =
          level_zero_device(level_zero_platform(platform_handle), device_handle);
      context = level_zero_context(device, native_context);
      context_cache.insert(context_id, context);
    } else {
      context = opencl_context(native_context);
      context_cache.insert(context_id, context);
    }
    context_cache.lock.write_leave();
  }
  queue_cache.lock.write_enter();
  if (sycl::queue* hit = queue_cache.find(queue_id)) {
    queue_cache.lock.write_leave();
    return hit;
  }
  // The return code as the last successful read left it: 0.
  auto* made =
      queue_cache.keep(new sycl::queue(make_queue(queue_handle, backend, context, interop, 0)));
  queue_cache.insert(queue_id, *made);
  queue_cache.lock.write_leave();
  return made;
}

}  // namespace vorlex::orv::gpu
