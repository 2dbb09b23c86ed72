#include "offload/interop_binding.hpp"

#include <dlfcn.h>

#include <atomic>
#include <cstdint>

#include "orv/orv_serv.h"

namespace vorlex::orv::stats::detail::offload {
namespace {

using interop_property_fn_t = std::int32_t (*)(void* interop, std::int32_t property, void** result);
// The OpenMP signature returns omp_intptr_t; 32 bits of it are used.
using interop_int_fn_t = std::intptr_t (*)(void* interop, std::int32_t property, int* return_code);

// Written under interop_lock; read without it on the fast path, where a reader sees null or the
// final value.
std::atomic<interop_property_fn_t> interop_property_fn{nullptr};
std::atomic<interop_int_fn_t> interop_int_fn{nullptr};
volatile int interop_lock = 0;
std::int32_t interop_state = 0;  // 0 not tried, 1 bound, -1 failed
std::int32_t interop_status = -1;

template <typename Fn>
Fn symbol(void* module, const char* name) {
  return reinterpret_cast<Fn>(dlsym(module, name));
}

// A half-bound state stays as it is: with only the first name found, its pointer stays set and the
// state says failed.
std::int32_t bind_locked() {
  if (interop_state != 0) {
    interop_status = interop_state == 1 ? 0 : -1;
    return interop_status;
  }
  // Never closed: the pointers outlive every caller.
  if (void* module = dlopen("libomptarget.so", RTLD_NOW)) {
    interop_property_fn = symbol<interop_property_fn_t>(module, "__tgt_get_interop_property");
    if (interop_property_fn.load() != nullptr) {
      interop_int_fn = symbol<interop_int_fn_t>(module, "omp_get_interop_int");
      if (interop_int_fn.load() != nullptr) {
        interop_status = 0;
      }
    }
  }
  interop_state = interop_status == 0 ? 1 : -1;
  return interop_status;
}

// The entry point, bound if need be; a caller that reaches a missing one ends the process.
template <typename Fn>
Fn bound_or_exit(std::atomic<Fn>& slot, const char* quoted_name) {
  Fn fn = slot.load();
  if (fn == nullptr) {
    bind_interop();
    fn = slot.load();
    if (fn == nullptr) {
      orv_serv_print(0, ORV_SERV_MSG_RUNTIME_ENTRY_MISSING, 1, quoted_name);
      orv_serv_exit(2);
    }
  }
  return fn;
}

}  // namespace

std::int32_t bind_interop() {
  orv_serv_lock(&interop_lock);
  const std::int32_t status = bind_locked();
  orv_serv_unlock(&interop_lock);
  return status;
}

std::int32_t get_interop_property(void* interop, std::int32_t property, void** result) {
  return bound_or_exit(interop_property_fn, "'__tgt_get_interop_property'")(interop, property,
                                                                            result);
}

std::int32_t get_interop_int(void* interop, std::int32_t property, int* return_code) {
  return static_cast<std::int32_t>(
      bound_or_exit(interop_int_fn, "'omp_get_interop_int'")(interop, property, return_code));
}

std::int32_t opencl_usm_allowed() {
  char value[10] = {};
  const int length = orv_serv_getenv("LIBOMPTARGET_OPENCL_USE_SVM", value, sizeof value);
  return length >= 1 && value[0] == '1' ? 0 : 1;
}

}  // namespace vorlex::orv::stats::detail::offload
