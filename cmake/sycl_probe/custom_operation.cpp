// AdaptiveCpp's custom operation, and its runtime's list of asynchronous errors, reached through
// the source location that __acpp_here() makes.
#include <sycl/sycl.hpp>

#include <string>

void probe(sycl::queue& queue) {
  queue.submit([](sycl::handler& cgh) {
    cgh.AdaptiveCpp_enqueue_custom_operation(
        [](sycl::interop_handle&) { register_error(__acpp_here(), std::string("probe")); });
  });
}
