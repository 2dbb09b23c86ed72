#include "support/reference.hpp"

#include <cmath>
#include <cstdio>
#include <limits>

namespace tessel::test {
namespace {

bool is_nan(quad x) {
  return x != x;
}
bool is_inf(quad x) {
  return !is_nan(x) && is_nan(x - x);
}
quad abs_quad(quad x) {
  return x < 0 ? -x : x;
}

// Weights that are not positive (0, negative, NaN) count as 1.
template <class T>
quad weight_of(const T* weights, std::size_t i) {
  if (weights == nullptr || !(weights[i] > 0)) {
    return 1;
  }
  return static_cast<quad>(weights[i]);
}

}  // namespace

quad sqrt_quad(quad x) {
  if (is_nan(x) || x < 0) {
    return static_cast<quad>(std::numeric_limits<double>::quiet_NaN());
  }
  if (x == 0 || is_inf(x)) {
    return x;
  }
  // long double has quad's exponent range and a 64-bit root; one Newton step doubles its bits,
  // beyond quad's 113.
  const auto y = static_cast<quad>(std::sqrt(static_cast<long double>(x)));
  return (y + x / y) / 2;
}

long double to_long_double(quad x) {
  return static_cast<long double>(x);
}

std::string to_string(quad x) {
  char text[64];
  std::snprintf(text, sizeof text, "%.20Lg", to_long_double(x));
  return text;
}

template <class T, class Index>
std::vector<dimension_reference> compute_reference(const matrix_input<T, Index>& in) {
  std::vector<dimension_reference> result(in.n_dims);
  for (std::size_t d = 0; d < in.n_dims; ++d) {
    if (in.selection != nullptr && in.selection[d] == 0) {
      continue;
    }
    dimension_reference& r = result[d];
    r.selected = true;
    const auto value = [&](std::size_t i) -> quad {
      return static_cast<quad>(in.values[element_index(in.layout, in.n_dims, in.n_obs, d, i)]);
    };
    bool seen_number = false;
    r.min = r.max = static_cast<quad>(std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 0; i < in.n_obs; ++i) {
      const quad x = value(i);
      const quad w = weight_of(in.weights, i);
      r.W += w;
      r.W2 += w * w;
      r.S1 += w * x;
      r.S2 += w * x * x;
      r.S3 += w * x * x * x;
      r.S4 += w * x * x * x * x;
      if (is_nan(x)) {
        continue;
      }
      if (!seen_number || x < r.min) {
        r.min = x;
      }
      if (!seen_number || x > r.max) {
        r.max = x;
      }
      seen_number = true;
    }
    r.mean = in.user_mean != nullptr ? static_cast<quad>(in.user_mean[d]) : r.S1 / r.W;
    r.raw_moment2 = r.S2 / r.W;
    r.raw_moment3 = r.S3 / r.W;
    r.raw_moment4 = r.S4 / r.W;
    for (std::size_t i = 0; i < in.n_obs; ++i) {
      const quad dev = value(i) - r.mean;
      const quad w = weight_of(in.weights, i);
      r.C2 += w * dev * dev;
      r.C3 += w * dev * dev * dev;
      r.C4 += w * dev * dev * dev * dev;
    }
    r.variance = r.C2 * r.W / (r.W * r.W - r.W2);
    r.moment3 = r.C3 / r.W;
    r.moment4 = r.C4 / r.W;
    r.skewness = r.moment3 / sqrt_quad(r.variance * r.variance * r.variance);
    r.kurtosis = r.moment4 / (r.variance * r.variance) - 3;
    r.variation = sqrt_quad(r.variance) / r.mean;
  }
  return result;
}

template <class T>
::testing::AssertionResult near_reference(T computed, quad expected, double epsilons, quad scale) {
  const quad c = static_cast<quad>(computed);
  // Equal values (infinities included) agree whatever the scale, even one that is not a number.
  if (c == expected || (is_nan(c) && is_nan(expected))) {
    return ::testing::AssertionSuccess();
  }
  if (is_nan(c) || is_nan(expected) || is_inf(c) || is_inf(expected)) {
    return ::testing::AssertionFailure()
           << "computed " << to_string(c) << ", reference " << to_string(expected);
  }
  const quad magnitude =
      abs_quad(expected) > abs_quad(scale) ? abs_quad(expected) : abs_quad(scale);
  const quad eps = static_cast<quad>(std::numeric_limits<T>::epsilon());
  const quad difference = abs_quad(c - expected);
  if (difference <= static_cast<quad>(epsilons) * eps * magnitude) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure()
         << "computed " << to_string(c) << ", reference " << to_string(expected) << ": off by "
         << to_string(difference / (eps * magnitude)) << " epsilons, allowed " << epsilons;
}

template std::vector<dimension_reference> compute_reference(
    const matrix_input<float, std::int64_t>&);
template std::vector<dimension_reference> compute_reference(
    const matrix_input<double, std::int64_t>&);
template std::vector<dimension_reference> compute_reference(
    const matrix_input<float, std::int32_t>&);
template std::vector<dimension_reference> compute_reference(
    const matrix_input<double, std::int32_t>&);
template ::testing::AssertionResult near_reference(float, quad, double, quad);
template ::testing::AssertionResult near_reference(double, quad, double, quad);

}  // namespace tessel::test
