// sycl::group: the work-group that a work-item belongs to.
#pragma once

#include <cstddef>
#include <type_traits>

#include "sycl/access.hpp"
#include "sycl/atomic_fence.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/group_ops.hpp"
#include "sycl/device_event.hpp"
#include "sycl/id.hpp"
#include "sycl/multi_ptr.hpp"
#include "sycl/range.hpp"

namespace sycl {

template <int Dimensions>
class nd_item;

namespace detail {
struct group_access;
}

template <int Dimensions = 1>
class group;

// One-dimensional groups: the only kind this runtime launches.
template <>
class group<1> {
 public:
  using id_type = id<1>;
  using range_type = range<1>;
  using linear_id_type = std::size_t;
  static constexpr int dimensions = 1;
  static constexpr memory_scope fence_scope = memory_scope::work_group;

  group() = delete;

  id<1> get_group_id() const { return id<1>(group_id_); }
  std::size_t get_group_id(int) const { return group_id_; }
  id<1> get_local_id() const { return id<1>(local_id_); }
  std::size_t get_local_id(int) const { return local_id_; }
  range<1> get_local_range() const { return range<1>(local_range_); }
  std::size_t get_local_range(int) const { return local_range_; }
  range<1> get_group_range() const { return range<1>(group_range_); }
  std::size_t get_group_range(int) const { return group_range_; }
  range<1> get_max_local_range() const { return range<1>(local_range_); }
  std::size_t operator[](int) const { return group_id_; }
  std::size_t get_group_linear_id() const { return group_id_; }
  std::size_t get_local_linear_id() const { return local_id_; }
  std::size_t get_group_linear_range() const { return group_range_; }
  std::size_t get_local_linear_range() const { return local_range_; }
  bool leader() const { return local_id_ == 0; }

  // Global to local memory; src_stride is in elements.
  template <typename Dest, typename Src, access::decorated DestDecoration,
            access::decorated SrcDecoration>
  device_event async_work_group_copy(
      multi_ptr<Dest, access::address_space::local_space, DestDecoration> dest,
      multi_ptr<Src, access::address_space::global_space, SrcDecoration> src, std::size_t count,
      std::size_t src_stride = 1) const {
    return detail::device_event_factory::copy(item_, dest.get_raw(), src.get_raw(), count,
                                              src_stride, 1);
  }

  // Local to global memory; dest_stride is in elements.
  template <typename Dest, typename Src, access::decorated DestDecoration,
            access::decorated SrcDecoration>
  device_event async_work_group_copy(
      multi_ptr<Dest, access::address_space::global_space, DestDecoration> dest,
      multi_ptr<Src, access::address_space::local_space, SrcDecoration> src, std::size_t count,
      std::size_t dest_stride = 1) const {
    return detail::device_event_factory::copy(item_, dest.get_raw(), src.get_raw(), count, 1,
                                              dest_stride);
  }

  template <typename... Events>
  void wait_for(Events... events) const {
    static_assert((std::is_same_v<Events, device_event> && ...), "wait_for takes device_events");
    (events.wait(), ...);
  }

 private:
  friend class nd_item<1>;
  friend struct detail::group_access;

  group(std::size_t group_id, std::size_t local_id, std::size_t local_range,
        std::size_t group_range, detail::work_item* item)
      : group_id_(group_id),
        local_id_(local_id),
        local_range_(local_range),
        group_range_(group_range),
        item_(item) {}

  std::size_t group_id_;
  std::size_t local_id_;
  std::size_t local_range_;
  std::size_t group_range_;
  detail::work_item* item_;
};

template <typename T>
struct is_group : std::false_type {};
template <int Dimensions>
struct is_group<group<Dimensions>> : std::true_type {};
template <typename T>
inline constexpr bool is_group_v = is_group<T>::value;

namespace detail {
struct group_access {
  static work_item* item(const group<1>& g) { return g.item_; }
};
}  // namespace detail

}  // namespace sycl
