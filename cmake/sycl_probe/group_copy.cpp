#include <sycl/sycl.hpp>

void probe(sycl::queue& queue, const float* in) {
  queue.submit([=](sycl::handler& cgh) {
    sycl::local_accessor<float, 1> local(sycl::range<1>(4), cgh);
    cgh.parallel_for(sycl::nd_range<1>(4, 4), [=](sycl::nd_item<1> item) {
      auto destination = sycl::address_space_cast<sycl::access::address_space::local_space,
                                                  sycl::access::decorated::yes>(&local[0]);
      auto source = sycl::address_space_cast<sycl::access::address_space::global_space,
                                             sycl::access::decorated::yes>(in);
      item.async_work_group_copy(destination, source, 4).wait();
    });
  });
}
