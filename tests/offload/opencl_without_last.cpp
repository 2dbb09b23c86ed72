// A test OpenCL library, built as libOpenCL.so.1: it exports every name of the offload road's
// OpenCL table but the last, so that the table fails as a whole. The three entries that the library
// calls directly refuse a null event as an ICD loader does; the others are never called.
#include "offload/opencl_entry_names.hpp"

namespace {
constexpr int cl_success = 0;
constexpr int cl_invalid_event = -58;
constexpr int cl_invalid_operation = -59;
}  // namespace

// The three real entries and the missing last name are renamed away before the list expands.
#define clRetainEvent stub_clRetainEvent
#define clReleaseEvent stub_clReleaseEvent
#define clSetEventCallback stub_clSetEventCallback
#define clSVMFree absent_clSVMFree
#define TESSEL_STUB(name)        \
  extern "C" int name() {        \
    return cl_invalid_operation; \
  }
TESSEL_OPENCL_ENTRY_NAMES(TESSEL_STUB)
#undef clRetainEvent
#undef clReleaseEvent
#undef clSetEventCallback
#undef clSVMFree

extern "C" int clRetainEvent(void* event) {
  return event != nullptr ? cl_success : cl_invalid_event;
}
extern "C" int clReleaseEvent(void* event) {
  return event != nullptr ? cl_success : cl_invalid_event;
}
extern "C" int clSetEventCallback(void* event, int, void (*)(void*, int, void*), void*) {
  return event != nullptr ? cl_success : cl_invalid_event;
}
