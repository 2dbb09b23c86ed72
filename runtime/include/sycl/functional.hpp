// Function objects of the group algorithms.
#pragma once

#include <utility>

#include "sycl/defines.hpp"

namespace sycl {

template <typename T = void>
struct plus {
  T operator()(const T& x, const T& y) const { return x + y; }
};

template <typename T = void>
struct minimum {
  T operator()(const T& x, const T& y) const { return (x < y) ? x : y; }
};

template <typename T = void>
struct maximum {
  T operator()(const T& x, const T& y) const { return (x > y) ? x : y; }
};

template <>
struct plus<void> {
  template <typename T, typename U>
  auto operator()(T&& x, U&& y) const {
    return std::forward<T>(x) + std::forward<U>(y);
  }
};

template <>
struct minimum<void> {
  template <typename T, typename U>
  auto operator()(T&& x, U&& y) const {
    return (x < y) ? std::forward<T>(x) : std::forward<U>(y);
  }
};

template <>
struct maximum<void> {
  template <typename T, typename U>
  auto operator()(T&& x, U&& y) const {
    return (x > y) ? std::forward<T>(x) : std::forward<U>(y);
  }
};

}  // namespace sycl
