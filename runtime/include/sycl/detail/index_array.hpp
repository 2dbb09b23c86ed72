// Storage and element-wise arithmetic shared by id and range.
#pragma once

#include <cstddef>

#include "sycl/defines.hpp"

namespace sycl::detail {

template <typename Derived, int Dimensions>
class index_array {
  static_assert(Dimensions >= 1 && Dimensions <= 3, "SYCL indices have one to three dimensions");

 public:
  std::size_t get(int dimension) const { return values_[dimension]; }
  std::size_t& operator[](int dimension) { return values_[dimension]; }
  std::size_t operator[](int dimension) const { return values_[dimension]; }

  friend bool operator==(const Derived& a, const Derived& b) {
    for (int d = 0; d < Dimensions; ++d) {
      if (a.values_[d] != b.values_[d]) {
        return false;
      }
    }
    return true;
  }
  friend bool operator!=(const Derived& a, const Derived& b) { return !(a == b); }

#define TESSEL_SYCL_INDEX_OPERATOR(op)                             \
  friend Derived operator op(const Derived& a, const Derived& b) { \
    Derived r = a;                                                 \
    for (int d = 0; d < Dimensions; ++d)                           \
      r.values_[d] = a.values_[d] op b.values_[d];                 \
    return r;                                                      \
  }                                                                \
  friend Derived operator op(const Derived& a, std::size_t s) {    \
    Derived r = a;                                                 \
    for (int d = 0; d < Dimensions; ++d)                           \
      r.values_[d] = a.values_[d] op s;                            \
    return r;                                                      \
  }                                                                \
  friend Derived operator op(std::size_t s, const Derived& a) {    \
    Derived r = a;                                                 \
    for (int d = 0; d < Dimensions; ++d)                           \
      r.values_[d] = s op a.values_[d];                            \
    return r;                                                      \
  }                                                                \
  friend Derived& operator op##=(Derived& a, const Derived& b) {   \
    for (int d = 0; d < Dimensions; ++d)                           \
      a.values_[d] = a.values_[d] op b.values_[d];                 \
    return a;                                                      \
  }                                                                \
  friend Derived& operator op##=(Derived& a, std::size_t s) {      \
    for (int d = 0; d < Dimensions; ++d)                           \
      a.values_[d] = a.values_[d] op s;                            \
    return a;                                                      \
  }

  TESSEL_SYCL_INDEX_OPERATOR(+)
  TESSEL_SYCL_INDEX_OPERATOR(-)
  TESSEL_SYCL_INDEX_OPERATOR(*)
  TESSEL_SYCL_INDEX_OPERATOR(/)
  TESSEL_SYCL_INDEX_OPERATOR(%)
#undef TESSEL_SYCL_INDEX_OPERATOR

 protected:
  std::size_t values_[Dimensions] = {};
};

// One-dimensional ids and items convert to their one index; a plain (non-template) conversion
// function, so that they index raw pointers.
template <typename Derived, int Dimensions>
struct size_conversion {};
template <typename Derived>
struct size_conversion<Derived, 1> {
  operator std::size_t() const { return static_cast<const Derived&>(*this)[0]; }
};

}  // namespace sycl::detail
