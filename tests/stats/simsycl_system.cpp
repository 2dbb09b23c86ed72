// Writes SimSYCL's built-in system with a smaller largest work-group on every device, so that the
// statistics run plans of many launches there.
//
// usage: simsycl_system GROUP_SIZE FILE
#include <simsycl/system.hh>
#include <sycl/sycl.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>

int main(int argc, char** argv) {
  if (argc != 3 || std::atoi(argv[1]) < 1) {
    std::fprintf(stderr, "usage: %s GROUP_SIZE FILE\n", argv[0]);
    return 2;
  }
  const auto group_size = static_cast<std::size_t>(std::atoi(argv[1]));
  simsycl::system_config system = simsycl::builtin_system;
  for (auto& [name, device] : system.devices) {
    device.max_work_group_size = group_size;
    device.max_work_item_sizes_1 = sycl::range<1>(group_size);
    device.max_work_item_sizes_2 = sycl::range<2>(group_size, group_size);
    device.max_work_item_sizes_3 = sycl::range<3>(group_size, group_size, group_size);
  }
  try {
    simsycl::write_system_config(argv[2], system);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "simsycl_system: %s\n", e.what());
    return 1;
  }
  return 0;
}
