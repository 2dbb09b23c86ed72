#include "host/host_cpu_device.hpp"

#include <unistd.h>

#include <cstdint>
#include <thread>

namespace sycl::detail {

device_limits host_cpu_limits() {
  device_limits limits;
  limits.name = "Tessel host CPU";
  limits.vendor = "Tessel";
  limits.is_cpu = true;
  limits.fp64 = true;
  // Each work-item of a group is a fiber with a stack of its own, which bounds a useful group size
  // on the host.
  limits.max_work_group_size = 1024;
  limits.local_mem_size = 65536;
  const unsigned threads = std::thread::hardware_concurrency();
  limits.max_compute_units = threads == 0 ? 1 : threads;
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long page_size = sysconf(_SC_PAGE_SIZE);
  limits.global_mem_size = pages > 0 && page_size > 0 ? static_cast<std::uint64_t>(pages) *
                                                            static_cast<std::uint64_t>(page_size)
                                                      : 0;
  return limits;
}

std::unique_ptr<device_backend> make_host_cpu_device() {
  return make_host_cpu_executor(host_cpu_limits());
}

}  // namespace sycl::detail
