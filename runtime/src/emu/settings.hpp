// The emulated devices' settings, read from the environment.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sycl/detail/kernel_launch.hpp"

namespace sycl::detail::emu {

struct executor_settings {
  std::size_t max_work_group_size = 0;
  std::size_t local_mem_size = 0;
  std::uint32_t compute_units = 1;
  std::uint64_t shuffle_seed = 0;   // 0: items and groups run in index order
  bool check_local_memory = false;  // fail a launch whose groups touch past their request
};

// TESSEL_EMU_GPU_WORK_GROUP_SIZE, TESSEL_EMU_GPU_LOCAL_MEM_SIZE and TESSEL_EMU_GPU_COMPUTE_UNITS;
// throws sycl::exception (errc::invalid) for a value that is not a number in range.
device_limits emulated_gpu_limits_from_environment();

// TESSEL_EMU_SHUFFLE_SEED.
std::uint64_t shuffle_seed_from_environment();

// The limits and the shuffle as given; the check of local memory from TESSEL_EMU_CHECK_LOCAL_MEMORY
// (0 or 1).
executor_settings settings_for(const device_limits& limits, std::uint64_t shuffle_seed);

}  // namespace sycl::detail::emu
