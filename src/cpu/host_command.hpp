// Host code as a command of the task graph, ordered like a kernel by its command group's accessors
// and dependencies: handler::host_task where the SYCL implementation has it, else AdaptiveCpp's
// custom operation, which runs on a thread of its runtime as well.
#pragma once

#include <sycl/sycl.hpp>

#include <utility>

#include "tessel/sycl_features.hpp"

#if !TESSEL_SYCL_HAS_HOST_TASK
#include <exception>
#include <string>
#endif

namespace vorlex::orv::stats::detail::cpu {

template <typename Body>
void host_command(sycl::handler& cgh, Body body) {
#if TESSEL_SYCL_HAS_HOST_TASK
  cgh.host_task(std::move(body));
#else
  // No exception may leave a custom operation: the runtime's worker thread would end the process.
  // The runtime keeps asynchronous errors as texts, added by register_error (found through the
  // source location that __acpp_here() makes), and hands them to the queue's asynchronous handler
  // as sycl::exception.
  cgh.AdaptiveCpp_enqueue_custom_operation([body = std::move(body)](sycl::interop_handle&) {
    try {
      body();
    } catch (const std::exception& e) {
      register_error(__acpp_here(), std::string(e.what()));
    } catch (...) {
      register_error(__acpp_here(), std::string("a host command ended with an unknown exception"));
    }
  });
#endif
}

}  // namespace vorlex::orv::stats::detail::cpu
