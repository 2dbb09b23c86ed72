#include "test_setup.hpp"

namespace tessel::test {

sycl::queue& gpu_queue() {
  static sycl::queue queue{sycl::gpu_selector_v};
  return queue;
}

std::size_t gpu_group_size() {
  return gpu_queue().get_device().get_info<sycl::info::device::max_work_group_size>();
}

std::string name_of(element e) {
  return e == element::f32 ? "float" : "double";
}

std::string name_of(st::layout l) {
  return l == st::layout::row_major ? "row" : "col";
}

std::string name_of(entry_form f) {
  return f == entry_form::usm ? "usm" : "buffer";
}

}  // namespace tessel::test
