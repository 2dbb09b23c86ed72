// The math built-ins that kernels use, for float and double.
#pragma once

#include <cmath>

#include "sycl/defines.hpp"

namespace sycl {

// a * b + c with two roundings; whether it fuses follows the build's
// floating-point contraction setting, as for the kernel's own arithmetic.
TESSEL_DEVICE_CALLABLE inline float mad(float a, float b, float c) { return a * b + c; }
TESSEL_DEVICE_CALLABLE inline double mad(double a, double b, double c) { return a * b + c; }

TESSEL_DEVICE_CALLABLE inline float sqrt(float x) { return std::sqrt(x); }
TESSEL_DEVICE_CALLABLE inline double sqrt(double x) { return std::sqrt(x); }

TESSEL_DEVICE_CALLABLE inline float fmin(float x, float y) { return std::fmin(x, y); }
TESSEL_DEVICE_CALLABLE inline double fmin(double x, double y) { return std::fmin(x, y); }

TESSEL_DEVICE_CALLABLE inline float fmax(float x, float y) { return std::fmax(x, y); }
TESSEL_DEVICE_CALLABLE inline double fmax(double x, double y) { return std::fmax(x, y); }

}  // namespace sycl
