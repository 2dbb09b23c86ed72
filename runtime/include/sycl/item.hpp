// sycl::item: what a range kernel gets for each work-item.
#pragma once

#include <cstddef>
#include <type_traits>

#include "sycl/defines.hpp"
#include "sycl/detail/index_array.hpp"
#include "sycl/id.hpp"
#include "sycl/range.hpp"

namespace sycl {
namespace detail {
struct item_factory;
}

template <int Dimensions = 1, bool WithOffset = true>
class item : public detail::size_conversion<item<Dimensions, WithOffset>, Dimensions> {
 public:
  static constexpr int dimensions = Dimensions;

  item() = delete;

  id<Dimensions> get_id() const { return id_; }
  std::size_t get_id(int dimension) const { return id_[dimension]; }
  std::size_t operator[](int dimension) const { return id_[dimension]; }
  range<Dimensions> get_range() const { return range_; }
  std::size_t get_range(int dimension) const { return range_[dimension]; }
  template <bool B = WithOffset, typename = std::enable_if_t<B>>
  id<Dimensions> get_offset() const {
    return offset_;
  }
  std::size_t get_linear_id() const {
    std::size_t linear = 0;
    for (int d = 0; d < Dimensions; ++d) {
      linear = linear * range_[d] + (id_[d] - offset_[d]);
    }
    return linear;
  }

  template <bool B = WithOffset, typename = std::enable_if_t<!B>>
  operator item<Dimensions, !B>() const {
    return item<Dimensions, !B>(range_, id_, offset_);
  }

  friend bool operator==(const item& a, const item& b) {
    return a.id_ == b.id_ && a.range_ == b.range_ && a.offset_ == b.offset_;
  }
  friend bool operator!=(const item& a, const item& b) { return !(a == b); }

 private:
  friend struct detail::item_factory;
  template <int, bool>
  friend class item;

  item(const range<Dimensions>& r, const id<Dimensions>& i, const id<Dimensions>& offset)
      : range_(r), id_(i), offset_(offset) {}

  range<Dimensions> range_;
  id<Dimensions> id_;
  id<Dimensions> offset_;
};

namespace detail {
// Items are made by the runtime only, as in SYCL.
struct item_factory {
  template <int Dimensions, bool WithOffset>
  static item<Dimensions, WithOffset> make(const range<Dimensions>& r, const id<Dimensions>& i,
                                           const id<Dimensions>& offset) {
    return item<Dimensions, WithOffset>(r, i, offset);
  }
};
}  // namespace detail

}  // namespace sycl
