// Device-side reach into memory: the base pointer of a handle, and group copies into local memory.
// Kernels address data through base pointers so that the USM and buffer forms share one formula.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>

#include "tessel/sycl_features.hpp"

namespace vorlex::orv::stats::detail::gpu {

template <typename T>
inline T* device_pointer(T* pointer) {
  return pointer;
}

template <typename T, sycl::access_mode Mode>
inline auto device_pointer(const sycl::accessor<T, 1, Mode, sycl::target::device>& accessor) {
  return accessor.template get_multi_ptr<sycl::access::decorated::no>().get();
}

// Local blocks are addressed from the accessor's base; every block a kernel touches lies inside its
// request.
template <typename T>
inline T* local_pointer(const sycl::local_accessor<T, 1>& local) {
  return &local[0];
}

#if TESSEL_SYCL_HAS_GROUP_COPY
// Starts a group copy of count consecutive elements from global to local memory. Every work-item of
// the group calls it with the same arguments.
template <typename T>
inline sycl::device_event start_group_copy(const sycl::nd_item<1>& item, T* local_destination,
                                           const T* global_source, std::uint64_t count) {
  auto destination = sycl::address_space_cast<sycl::access::address_space::local_space,
                                              sycl::access::decorated::yes>(local_destination);
  auto source = sycl::address_space_cast<sycl::access::address_space::global_space,
                                         sycl::access::decorated::yes>(global_source);
  return item.async_work_group_copy(destination, source, count);
}
#else
// The copy is done when this returns; waiting on it is a no-op.
struct finished_group_copy {
  void wait() const {}
};

// Where async_work_group_copy lacks the decorated form, the group copies by hand: each work-item
// moves every group-size-th element, and the barrier makes the block whole for all.
template <typename T>
inline finished_group_copy start_group_copy(const sycl::nd_item<1>& item, T* local_destination,
                                            const T* global_source, std::uint64_t count) {
  const std::uint64_t group_size = item.get_local_range(0);
  for (std::uint64_t i = item.get_local_id(0); i < count; i += group_size) {
    local_destination[i] = global_source[i];
  }
  sycl::group_barrier(item.get_group(), sycl::memory_scope::work_group);
  return {};
}
#endif

template <typename T>
inline void group_copy(const sycl::nd_item<1>& item, T* local_destination, const T* global_source,
                       std::uint64_t count) {
  start_group_copy(item, local_destination, global_source, count).wait();
}

// A work-item past the end of the data: in the last of group_count groups and at or beyond
// remainder. In unsigned arithmetic remainder 0 wraps, so a full last group has no tail.
inline bool is_tail(const sycl::nd_item<1>& item, std::uint64_t group_count,
                    std::uint64_t remainder) {
  return item.get_group(0) == group_count - 1 &&
         remainder - 1 < static_cast<std::uint64_t>(item.get_local_id(0));
}

inline bool is_tail(const sycl::nd_item<1>& item, std::uint64_t remainder) {
  return is_tail(item, item.get_group_range(0), remainder);
}

// Elements that a group's block copy moves: a whole group, or the valid part of the last one, so
// that no copy reads past the end of a run or of the data.
inline std::uint64_t valid_count(const sycl::nd_item<1>& item, std::uint64_t group_count,
                                 std::uint64_t remainder) {
  const bool last_group = item.get_group(0) == group_count - 1;
  return last_group && remainder != 0 ? remainder : item.get_local_range(0);
}

inline std::uint64_t valid_count(const sycl::nd_item<1>& item, std::uint64_t remainder) {
  return valid_count(item, item.get_group_range(0), remainder);
}

}  // namespace vorlex::orv::stats::detail::gpu
