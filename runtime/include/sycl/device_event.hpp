// sycl::device_event: the completion of a group copy.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "sycl/defines.hpp"
#include "sycl/detail/group_ops.hpp"

namespace sycl {

namespace detail {
struct device_event_factory;
}

class device_event {
 public:
  // Every work-item of the group waits; the copy is complete for all of them when it returns.
  void wait() const { detail::collective_wait(item_, copy_); }

 private:
  friend struct detail::device_event_factory;
  device_event(detail::work_item* item, std::uint64_t copy) : item_(item), copy_(copy) {}

  detail::work_item* item_;
  std::uint64_t copy_;
};

namespace detail {

struct device_event_factory {
  template <typename Dest, typename Src>
  static device_event copy(work_item* item, Dest* dest, Src* src, std::size_t count,
                           std::size_t src_stride, std::size_t dest_stride) {
    static_assert(std::is_same_v<Dest, std::remove_const_t<Src>>,
                  "async_work_group_copy copies between pointers to one element type");
    return device_event(
        item, collective_copy(item, dest, src, sizeof(Dest), count, src_stride, dest_stride));
  }
};

}  // namespace detail

}  // namespace sycl
