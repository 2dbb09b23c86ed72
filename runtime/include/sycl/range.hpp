// sycl::range: the extent of an iteration space or a buffer.
#pragma once

#include <cstddef>
#include <type_traits>

#include "sycl/defines.hpp"
#include "sycl/detail/index_array.hpp"

namespace sycl {

template <int Dimensions = 1>
class range : public detail::index_array<range<Dimensions>, Dimensions> {
 public:
  static constexpr int dimensions = Dimensions;

  range() = default;
  template <typename... Sizes,
            typename = std::enable_if_t<sizeof...(Sizes) == Dimensions &&
                                        (std::is_convertible_v<Sizes, std::size_t> && ...)>>
  range(Sizes... sizes) {
    std::size_t v[] = {static_cast<std::size_t>(sizes)...};
    for (int d = 0; d < Dimensions; ++d) {
      this->values_[d] = v[d];
    }
  }

  std::size_t size() const {
    std::size_t n = 1;
    for (int d = 0; d < Dimensions; ++d) {
      n *= this->values_[d];
    }
    return n;
  }
};

range(std::size_t) -> range<1>;
range(std::size_t, std::size_t) -> range<2>;
range(std::size_t, std::size_t, std::size_t) -> range<3>;

}  // namespace sycl
