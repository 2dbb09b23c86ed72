#include "offload/completion.hpp"

#include <CL/cl.h>

#include <memory>
#include <thread>

#include "offload/interop_binding.hpp"
#include "offload/native_objects.hpp"

namespace vorlex::orv::stats::detail::offload {
namespace {

using completion_fn = void (*)(void* interop);

// A failed read, or no function, completes nothing.
bool call_completion(void* interop) {
  void* function = nullptr;
  if (get_interop_property(interop, property_completion, &function) != 0 || function == nullptr) {
    return false;
  }
  reinterpret_cast<completion_fn>(function)(interop);
  return true;
}

// A failed event, or a completion that could not be called, keeps the reference that the entry
// retained.
void CL_CALLBACK opencl_completion(cl_event event, cl_int status, void* interop) {
  if (status == CL_COMPLETE && call_completion(interop)) {
    clReleaseEvent(event);
  }
}

struct completion_block {
  void* interop;
  sycl::event last;
};

}  // namespace

bool complete_through_opencl(const sycl::event& last, void* interop) {
  const auto event = static_cast<cl_event>(opencl_native_event(last));
  clRetainEvent(event);
  return clSetEventCallback(event, CL_COMPLETE, opencl_completion, interop) == CL_SUCCESS;
}

void complete_on_thread(const sycl::event& last, void* interop) {
  auto block = std::make_unique<completion_block>(completion_block{interop, last});
  std::thread([block = std::move(block)]() mutable {
    sycl::event event = block->last;
    event.wait();
    call_completion(block->interop);
    block.reset();
  }).detach();
}

}  // namespace vorlex::orv::stats::detail::offload
