// Handing the completion of a nowait offload call back to the OpenMP runtime: the interop object's
// completion function (property 4) is called with the object once the last event has finished.
#pragma once

#include <sycl/sycl.hpp>

namespace vorlex::orv::stats::detail::offload {

// On the OpenCL runtime's callback thread. False when the callback could not be set, as for an
// event that is not OpenCL's: then no completion comes.
bool complete_through_opencl(const sycl::event& last, void* interop);

// On a detached thread of its own, which waits for last. Throws std::system_error when no thread
// can be started.
void complete_on_thread(const sycl::event& last, void* interop);

}  // namespace vorlex::orv::stats::detail::offload
