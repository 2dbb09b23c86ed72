// The stand-in OpenMP offload runtime: the two interop entry points over stand_in_interop records,
// and a maker of SYCL-road objects for programs that cannot make a sycl::queue.
#include "stand_in_interop.h"

#include <sycl/sycl.hpp>

#include <cstdint>
#include <string>

#define STAND_IN_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

stand_in_interop* counted(void* object) {
  auto* interop = static_cast<stand_in_interop*>(object);
  __atomic_fetch_add(&interop->reads, 1, __ATOMIC_RELAXED);
  return interop;
}

}  // namespace

STAND_IN_EXPORT std::int32_t __tgt_get_interop_property(void* object, std::int32_t property,
                                                        void** value) {
  stand_in_interop* interop = counted(object);
  if (property < 0 || property >= STAND_IN_PROPERTIES ||
      (interop->readable & (1U << property)) == 0) {
    return 1;
  }
  *value = interop->property[property];
  return 0;
}

#ifndef STAND_IN_WITHOUT_INTEROP_INT
STAND_IN_EXPORT std::intptr_t omp_get_interop_int(void* object, std::int32_t property, int* code) {
  stand_in_interop* interop = counted(object);
  switch (property) {
    case -1:
      *code = interop->foreign_runtime_code;
      return interop->foreign_runtime;
    case 10:
      *code = 0;
      return interop->immediate;
    default:
      *code = -1;
      return 0;
  }
}
#endif

STAND_IN_EXPORT stand_in_interop* stand_in_sycl_interop(const char* device, int nowait,
                                                        void (*completion)(void*)) {
  const std::string kind = device != nullptr ? device : "";
  if (kind != "gpu" && kind != "cpu") {
    return nullptr;
  }
  auto* queue =
      kind == "gpu" ? new sycl::queue(sycl::gpu_selector_v) : new sycl::queue(sycl::cpu_selector_v);
  auto* interop = new stand_in_interop{};
  interop->foreign_runtime = 4;
  interop->nowait = nowait != 0 ? 1 : 0;
  interop->readable = (1U << 2) | (1U << 5) | (completion != nullptr ? 1U << 4 : 0U);
  interop->property[2] = &interop->nowait;
  interop->property[4] = reinterpret_cast<void*>(completion);
  interop->property[5] = queue;
  return interop;
}

STAND_IN_EXPORT void stand_in_release(stand_in_interop* interop) {
  if (interop != nullptr) {
    delete static_cast<sycl::queue*>(interop->property[5]);
    delete interop;
  }
}
