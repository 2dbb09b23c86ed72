// Access modes, targets, address spaces and the tags that pick them.
#pragma once

namespace sycl {

enum class access_mode {
  read,
  write,
  read_write,
  discard_write,
  discard_read_write,
  atomic,
};

enum class target {
  device,
  host_task,
  constant_buffer,
  local,
  host_buffer,
  global_buffer = device,
};

namespace access {
using mode = sycl::access_mode;
using sycl::target;

enum class address_space {
  global_space,
  local_space,
  constant_space,
  private_space,
  generic_space,
};

enum class decorated {
  no,
  yes,
  legacy,
};

enum class placeholder {
  false_t,
  true_t,
};
}  // namespace access

namespace detail {
template <access_mode Mode, target Target>
struct access_tag {};

constexpr bool writes(access_mode mode) {
  return mode != access_mode::read;
}
constexpr bool reads(access_mode mode) {
  return mode != access_mode::write && mode != access_mode::discard_write &&
         mode != access_mode::discard_read_write;
}
}  // namespace detail

inline constexpr detail::access_tag<access_mode::read, target::device> read_only{};
inline constexpr detail::access_tag<access_mode::write, target::device> write_only{};
inline constexpr detail::access_tag<access_mode::read_write, target::device> read_write{};
inline constexpr detail::access_tag<access_mode::read, target::host_task> read_only_host_task{};
inline constexpr detail::access_tag<access_mode::write, target::host_task> write_only_host_task{};
inline constexpr detail::access_tag<access_mode::read_write, target::host_task>
    read_write_host_task{};

}  // namespace sycl
