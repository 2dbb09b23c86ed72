// Information descriptors: each names what get_info returns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace sycl::info {

enum class device_type {
  cpu,
  gpu,
  accelerator,
  custom,
  automatic,
  host,
  all,
};

enum class event_command_status {
  submitted,
  running,
  complete,
};

namespace platform {
struct name {
  using return_type = std::string;
};
struct vendor {
  using return_type = std::string;
};
struct version {
  using return_type = std::string;
};
}  // namespace platform

namespace device {
struct device_type {
  using return_type = info::device_type;
};
struct name {
  using return_type = std::string;
};
struct vendor {
  using return_type = std::string;
};
struct driver_version {
  using return_type = std::string;
};
struct version {
  using return_type = std::string;
};
struct max_work_group_size {
  using return_type = std::size_t;
};
struct local_mem_size {
  using return_type = std::uint64_t;
};
struct max_compute_units {
  using return_type = std::uint32_t;
};
struct global_mem_size {
  using return_type = std::uint64_t;
};
}  // namespace device

namespace event {
struct command_execution_status {
  using return_type = info::event_command_status;
};
}  // namespace event

}  // namespace sycl::info
