// The OpenMP offload runtime, reached at run time without a link-time dependency: the two entry
// points that read an interop object's properties are bound on first use, from libomptarget.so as
// the dynamic loader finds it, and never again if that fails.
#pragma once

#include <cstdint>

namespace vorlex::orv::stats::detail::offload {

// Property numbers of __tgt_get_interop_property and omp_get_interop_int as read here.
enum interop_property : std::int32_t {
  property_foreign_runtime = -1,  // omp_get_interop_int: 3 OpenCL, 4 SYCL, 6 Level Zero
  property_nowait = 2,            // pointer to a byte, non-zero for nowait
  property_completion = 4,        // pointer to a function that takes the interop object
  property_queue = 5,             // pointer to a sycl::queue (SYCL), else the native queue
  property_platform = 6,  // Level Zero platform; the OpenCL context for the combined look-up
  property_device = 7,
  property_backend_kind = 8,  // pointer to a 32-bit word: 1 OpenCL, 2 Level Zero
  property_context = 9,
  property_immediate_command_list = 10,  // omp_get_interop_int: non-zero for an immediate list
};

// Binds both entry points under the binding's lock; 0 when both are there, -1 otherwise, for the
// life of the process.
std::int32_t bind_interop();

// The runtime's property readers. Reached before the binding succeeded, each binds first and, when
// its entry point is still missing, prints message 3 and ends the process with code 2.
std::int32_t get_interop_property(void* interop, std::int32_t property, void** result);
std::int32_t get_interop_int(void* interop, std::int32_t property, int* return_code);

// 0 when LIBOMPTARGET_OPENCL_USE_SVM begins with the digit 1 (the OpenCL runtime uses shared
// virtual memory, which this library does not serve), 1 otherwise.
std::int32_t opencl_usm_allowed();

}  // namespace vorlex::orv::stats::detail::offload
