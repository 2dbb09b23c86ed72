#include <sycl/sycl.hpp>

void probe(sycl::queue& queue) {
  queue.submit([](sycl::handler& cgh) { cgh.host_task([] {}); });
}
