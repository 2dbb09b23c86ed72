// The math built-ins that kernels use, for float and double.
#pragma once

#include <cmath>

#include "sycl/defines.hpp"

namespace sycl {

// a * b + c with two roundings; whether it fuses follows the build's floating-point contraction
// setting, as for the kernel's own arithmetic.
inline float mad(float a, float b, float c) {
  return a * b + c;
}
inline double mad(double a, double b, double c) {
  return a * b + c;
}

inline float sqrt(float x) {
  return std::sqrt(x);
}
inline double sqrt(double x) {
  return std::sqrt(x);
}

inline float fmin(float x, float y) {
  return std::fmin(x, y);
}
inline double fmin(double x, double y) {
  return std::fmin(x, y);
}

inline float fmax(float x, float y) {
  return std::fmax(x, y);
}
inline double fmax(double x, double y) {
  return std::fmax(x, y);
}

}  // namespace sycl
