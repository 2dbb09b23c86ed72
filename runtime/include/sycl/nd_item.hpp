// sycl::nd_item: what an nd_range kernel gets for each work-item.
#pragma once

#include <cstddef>

#include "sycl/access.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/group_ops.hpp"
#include "sycl/device_event.hpp"
#include "sycl/group.hpp"
#include "sycl/id.hpp"
#include "sycl/multi_ptr.hpp"
#include "sycl/nd_range.hpp"
#include "sycl/range.hpp"

namespace sycl {

namespace detail {
struct nd_item_factory;
}

template <int Dimensions = 1>
class nd_item;

template <>
class nd_item<1> {
 public:
  static constexpr int dimensions = 1;

  nd_item() = delete;

  id<1> get_global_id() const { return id<1>(global_id()); }
  std::size_t get_global_id(int) const { return global_id(); }
  std::size_t get_global_linear_id() const { return global_id(); }
  id<1> get_local_id() const { return id<1>(group_.local_id_); }
  std::size_t get_local_id(int) const { return group_.local_id_; }
  std::size_t get_local_linear_id() const { return group_.local_id_; }
  group<1> get_group() const { return group_; }
  std::size_t get_group(int) const { return group_.group_id_; }
  std::size_t get_group_linear_id() const { return group_.group_id_; }
  range<1> get_group_range() const { return group_.get_group_range(); }
  std::size_t get_group_range(int) const { return group_.group_range_; }
  range<1> get_global_range() const { return range<1>(global_range()); }
  std::size_t get_global_range(int) const { return global_range(); }
  range<1> get_local_range() const { return group_.get_local_range(); }
  std::size_t get_local_range(int) const { return group_.local_range_; }
  nd_range<1> get_nd_range() const { return nd_range<1>(get_global_range(), get_local_range()); }

  template <typename Dest, typename Src, access::address_space DestSpace,
            access::address_space SrcSpace, access::decorated DestDecoration,
            access::decorated SrcDecoration>
  device_event async_work_group_copy(multi_ptr<Dest, DestSpace, DestDecoration> dest,
                                     multi_ptr<Src, SrcSpace, SrcDecoration> src,
                                     std::size_t count) const {
    return group_.async_work_group_copy(dest, src, count);
  }
  template <typename Dest, typename Src, access::address_space DestSpace,
            access::address_space SrcSpace, access::decorated DestDecoration,
            access::decorated SrcDecoration>
  device_event async_work_group_copy(multi_ptr<Dest, DestSpace, DestDecoration> dest,
                                     multi_ptr<Src, SrcSpace, SrcDecoration> src, std::size_t count,
                                     std::size_t stride) const {
    return group_.async_work_group_copy(dest, src, count, stride);
  }

  template <typename... Events>
  void wait_for(Events... events) const {
    group_.wait_for(events...);
  }

 private:
  friend struct detail::nd_item_factory;

  nd_item(std::size_t local_id, std::size_t group_id, std::size_t local_range,
          std::size_t group_range, detail::work_item* item)
      : group_(group_id, local_id, local_range, group_range, item) {}

  std::size_t global_id() const {
    return group_.group_id_ * group_.local_range_ + group_.local_id_;
  }
  std::size_t global_range() const { return group_.group_range_ * group_.local_range_; }

  group<1> group_;
};

namespace detail {
// nd_items are made by the executor only, as in SYCL.
struct nd_item_factory {
  static nd_item<1> make(std::size_t local_id, std::size_t group_id, std::size_t local_range,
                         std::size_t group_range, work_item* item) {
    return nd_item<1>(local_id, group_id, local_range, group_range, item);
  }
};
}  // namespace detail

}  // namespace sycl
