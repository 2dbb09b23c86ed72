// sycl::nd_range: a global range split into work-groups.
#pragma once

#include "sycl/defines.hpp"
#include "sycl/id.hpp"
#include "sycl/range.hpp"

namespace sycl {

template <int Dimensions = 1>
class nd_range {
 public:
  static constexpr int dimensions = Dimensions;

  nd_range(range<Dimensions> global_size, range<Dimensions> local_size,
           id<Dimensions> offset = id<Dimensions>())
      : global_(global_size), local_(local_size), offset_(offset) {}

  range<Dimensions> get_global_range() const { return global_; }
  range<Dimensions> get_local_range() const { return local_; }
  // Meaningful only when the local range divides the global one, which a launch checks.
  range<Dimensions> get_group_range() const {
    range<Dimensions> groups = global_;
    for (int d = 0; d < Dimensions; ++d) {
      groups[d] = local_[d] == 0 ? 0 : global_[d] / local_[d];
    }
    return groups;
  }
  id<Dimensions> get_offset() const { return offset_; }

  friend bool operator==(const nd_range& a, const nd_range& b) {
    return a.global_ == b.global_ && a.local_ == b.local_ && a.offset_ == b.offset_;
  }
  friend bool operator!=(const nd_range& a, const nd_range& b) { return !(a == b); }

 private:
  range<Dimensions> global_;
  range<Dimensions> local_;
  id<Dimensions> offset_;
};

}  // namespace sycl
