// sycl::id: a point in an iteration space or an offset into a buffer.
#pragma once

#include <cstddef>
#include <type_traits>

#include "sycl/defines.hpp"
#include "sycl/detail/index_array.hpp"
#include "sycl/range.hpp"

namespace sycl {

template <int Dimensions, bool WithOffset>
class item;

template <int Dimensions = 1>
class id : public detail::index_array<id<Dimensions>, Dimensions>,
           public detail::size_conversion<id<Dimensions>, Dimensions> {
 public:
  static constexpr int dimensions = Dimensions;

  id() = default;
  template <typename... Indices,
            typename = std::enable_if_t<sizeof...(Indices) == Dimensions &&
                                        (std::is_convertible_v<Indices, std::size_t> && ...)>>
  id(Indices... indices) {
    std::size_t v[] = {static_cast<std::size_t>(indices)...};
    for (int d = 0; d < Dimensions; ++d) {
      this->values_[d] = v[d];
    }
  }
  id(const range<Dimensions>& r) {
    for (int d = 0; d < Dimensions; ++d) {
      this->values_[d] = r[d];
    }
  }
  template <bool WithOffset>
  id(const item<Dimensions, WithOffset>& it) : id(it.get_id()) {}
};

id(std::size_t) -> id<1>;
id(std::size_t, std::size_t) -> id<2>;
id(std::size_t, std::size_t, std::size_t) -> id<3>;

}  // namespace sycl
