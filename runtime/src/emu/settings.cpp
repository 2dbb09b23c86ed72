#include "settings.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string>
#include <thread>

#include "sycl/exception.hpp"

namespace sycl::detail::emu {

namespace {

// Work-items each hold a fiber stack; beyond this a group is more likely a typo than a plan.
constexpr std::uint64_t largest_work_group = 65536;
constexpr std::uint64_t largest_local_memory = std::uint64_t{1} << 30;
constexpr std::uint64_t most_compute_units = 1024;

std::uint64_t read_number(const char* name, std::uint64_t fallback, std::uint64_t lowest,
                          std::uint64_t highest) {
  const char* text = std::getenv(name);
  if (text == nullptr || *text == '\0') {
    return fallback;
  }
  char* end = nullptr;
  errno = 0;
  const unsigned long long value = std::strtoull(text, &end, 10);
  const bool digits_only = *text >= '0' && *text <= '9' && *end == '\0';
  if (!digits_only || errno == ERANGE || value < lowest || value > highest) {
    throw sycl::exception(make_error_code(errc::invalid),
                          std::string(name) + " must be a whole number from " +
                              std::to_string(lowest) + " to " + std::to_string(highest) +
                              ", not '" + text + "'");
  }
  return value;
}

std::uint64_t physical_memory() {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long page_size = sysconf(_SC_PAGE_SIZE);
  if (pages <= 0 || page_size <= 0) {
    return 0;
  }
  return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(page_size);
}

}  // namespace

device_limits emulated_gpu_limits_from_environment() {
  const std::uint64_t hardware_threads = std::max(1U, std::thread::hardware_concurrency());
  device_limits limits;
  limits.name = "Tessel emulated GPU";
  limits.vendor = "Tessel Stats";
  limits.is_gpu = true;
  limits.fp64 = true;
  limits.max_work_group_size = static_cast<std::size_t>(
      read_number("TESSEL_EMU_GPU_WORK_GROUP_SIZE", 256, 1, largest_work_group));
  limits.local_mem_size = static_cast<std::size_t>(
      read_number("TESSEL_EMU_GPU_LOCAL_MEM_SIZE", 65536, 1, largest_local_memory));
  limits.max_compute_units = static_cast<std::uint32_t>(
      read_number("TESSEL_EMU_GPU_COMPUTE_UNITS", std::min(hardware_threads, most_compute_units), 1,
                  most_compute_units));
  limits.global_mem_size = physical_memory();
  return limits;
}

std::uint64_t shuffle_seed_from_environment() {
  return read_number("TESSEL_EMU_SHUFFLE_SEED", 0, 0, std::numeric_limits<std::uint64_t>::max());
}

executor_settings settings_for(const device_limits& limits, std::uint64_t shuffle_seed) {
  executor_settings s;
  s.max_work_group_size = std::min<std::size_t>(limits.max_work_group_size, largest_work_group);
  s.local_mem_size = limits.local_mem_size;
  s.compute_units = std::max<std::uint32_t>(1, limits.max_compute_units);
  s.shuffle_seed = shuffle_seed;
  s.check_local_memory = read_number("TESSEL_EMU_CHECK_LOCAL_MEMORY", 0, 0, 1) != 0;
  return s;
}

}  // namespace sycl::detail::emu
