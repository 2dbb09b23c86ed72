// Runs kernels straight on a device backend, below the queue, so that tests can make devices with
// settings of their own and see errors as run() throws them.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <sycl/detail/kernel_launch.hpp>
#include <sycl/sycl.hpp>

namespace tessel::test {

template <typename Kernel>
void run_nd(sycl::detail::device_backend& device, std::size_t global, std::size_t local,
            const Kernel& kernel, std::size_t local_mem_bytes = 0) {
  sycl::detail::nd_range_launch launch;
  launch.global_size = global;
  launch.local_size = local;
  launch.local_mem_bytes = local_mem_bytes;
  launch.kernel = &kernel;
  launch.kernel_size = sizeof(Kernel);
  launch.invoke = [](const void* k, const sycl::nd_item<1>& it) {
    (*static_cast<const Kernel*>(k))(it);
  };
  device.run(launch);
}

// Sets an environment variable for one scope. The tests here make every device they use with
// make_emulated_gpu(), which reads it, so nothing needs the value from before.
struct scoped_env {
  scoped_env(const char* variable, const std::string& value) : name(variable) {
    setenv(variable, value.c_str(), 1);
  }
  scoped_env(const scoped_env&) = delete;
  ~scoped_env() { unsetenv(name); }
  const char* name;
};

// The local memory of the running group, as the kernels below the queue see it.
template <typename T>
T* local_memory(std::size_t byte_offset = 0) {
  return reinterpret_cast<T*>(sycl::detail::current_local_arena() + byte_offset);
}

}  // namespace tessel::test
