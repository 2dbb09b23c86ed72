#include <sycl/sycl.hpp>

bool probe(const sycl::buffer<float, 1>& buffer, const sycl::device& device) {
  return buffer.has_allocation(device);
}
