// The seam between the host-side runtime (queue, handler, scheduler) and the devices that execute
// kernels. A handler type-erases a kernel into a launch record; a device runs every work-group of
// it and returns, or throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace sycl {
template <int Dimensions>
class nd_item;
class handler;
}  // namespace sycl

namespace sycl::detail {

using nd_kernel_invoker = void (*)(const void* kernel, const sycl::nd_item<1>& it);
// A range kernel gets its index and the range; the handler builds the item or id that the kernel
// takes.
using range_kernel_invoker = void (*)(const void* kernel, std::size_t index, std::size_t size);

// One buffer that a kernel reaches through an accessor. A backend that runs kernels in memory of
// its own finds the accessor in its copy of the kernel object by the tag
// (detail/accessor_state.hpp) and points it at that memory.
struct requirement {
  std::uint64_t tag = 0;
  void* host_data = nullptr;  // the buffer's storage, element 0
  std::size_t bytes = 0;      // of the whole buffer
  bool reads = false;
  bool writes = false;
};

struct nd_range_launch {
  std::size_t global_size = 0;
  std::size_t local_size = 0;
  std::size_t local_mem_bytes = 0;  // reserved by the command group's local_accessors
  const void* kernel = nullptr;     // the command's own copy of the kernel object
  nd_kernel_invoker invoke = nullptr;
  std::size_t kernel_size = 0;                // bytes of *kernel
  const requirement* requirements = nullptr;  // requirement_count of them
  std::size_t requirement_count = 0;
};

struct range_launch {
  std::size_t size = 0;
  const void* kernel = nullptr;
  range_kernel_invoker invoke = nullptr;
  std::size_t kernel_size = 0;
  const requirement* requirements = nullptr;
  std::size_t requirement_count = 0;
};

struct device_limits {
  std::string name;
  std::string vendor;
  bool is_cpu = false;
  bool is_gpu = false;
  bool is_accelerator = false;
  bool fp64 = true;
  std::size_t max_work_group_size = 0;
  std::size_t local_mem_size = 0;
  std::uint32_t max_compute_units = 0;
  std::uint64_t global_mem_size = 0;
};

// What executes kernels for one device. run() blocks until every group has finished; it is called
// from the scheduler's worker threads, possibly from several at once for independent commands.
class device_backend {
 public:
  virtual ~device_backend() = default;
  virtual const device_limits& limits() const = 0;
  virtual void run(const nd_range_launch& launch) = 0;
  virtual void run(const range_launch& launch) = 0;
};

// Made by the emulated-device half (runtime/src/emu); both read their settings from the environment
// once.
std::unique_ptr<device_backend> make_emulated_gpu();
// Kernel execution for the host CPU device, given that device's limits.
std::unique_ptr<device_backend> make_host_cpu_executor(device_limits limits);

// Implemented by the handler: reserves bytes of the group's local memory for a local_accessor and
// returns their offset in the group's arena.
std::size_t reserve_local_memory(sycl::handler& cgh, std::size_t bytes, std::size_t alignment);

// Implemented by the executor: base of the local memory arena of the group that the calling thread
// is running; null outside a kernel.
char* current_local_arena() noexcept;

}  // namespace sycl::detail
