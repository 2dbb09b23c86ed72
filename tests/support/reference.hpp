// High-precision reference for summary statistics, for tests only.
//
// Every quantity is computed in __float128 from the stored values, which are exact in it, so the
// reference carries about 34 significant digits: far more than any float or double result it is
// compared with. Central sums are summed from exact deviations, never expanded from raw power sums.
//
// Definitions (per dimension d, over its n observations x_i):
//   weight     w_i = stored weight if weights are given and it is > 0, else 1
//              (so 0, negative and NaN weights count as 1)
//   W  = sum w_i,  W2 = sum w_i^2          (both n without weights)
//   S_k = sum w_i x_i^k (k = 1..4),  mean = S1 / W,  raw_moment_k = S_k / W
//   C_k = sum w_i (x_i - centre)^k (k = 2..4), centre = mean, or the caller's mean
//   variance  = C2 * W / (W * W - W2)      (1 / (n - 1) correction without weights)
//   moment3 = C3 / W,  moment4 = C4 / W
//   skewness  = moment3 / sqrt(variance^3)
//   kurtosis  = moment4 / variance^2 - 3
//   variation = sqrt(variance) / centre
//   min, max  = extremes of the values; NaN values are skipped, all-NaN gives NaN;
//               weights play no part
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace tessel::test {

__extension__ typedef __float128 quad;

enum class storage { row_major, col_major };
inline void PrintTo(storage layout, std::ostream* os) {
  *os << (layout == storage::row_major ? "row_major" : "col_major");
}

// Element (d, i) of a matrix in either storage, as the library addresses it.
inline std::size_t element_index(storage layout, std::size_t n_dims, std::size_t n_obs,
                                 std::size_t d, std::size_t i) {
  return layout == storage::row_major ? d * n_obs + i : d + i * n_dims;
}

struct dimension_reference {
  bool selected = false;  // false: the dimension was skipped and every other field is 0
  quad W = 0, W2 = 0;
  quad S1 = 0, S2 = 0, S3 = 0, S4 = 0;
  quad mean = 0;  // S1 / W, or the caller's mean in the user-mean form
  quad raw_moment2 = 0, raw_moment3 = 0, raw_moment4 = 0;
  quad C2 = 0, C3 = 0, C4 = 0;  // central sums about mean
  quad variance = 0, moment3 = 0, moment4 = 0;
  quad skewness = 0, kurtosis = 0, variation = 0;
  quad min = 0, max = 0;
};

// What a reference is computed from. T is float or double; Index is int64_t or int32_t. weights:
// n_obs values or null. selection: n_dims elements, non-zero selects, or null (all). user_mean:
// n_dims values or null; when given, central sums are taken about it and it stands as `mean` (and
// as the denominator of the variation).
template <class T, class Index = std::int64_t>
struct matrix_input {
  const T* values = nullptr;
  std::size_t n_dims = 0;
  std::size_t n_obs = 0;
  storage layout = storage::row_major;
  const T* weights = nullptr;
  const Index* selection = nullptr;
  const T* user_mean = nullptr;
};

// One entry per dimension, unselected ones included (with `selected` false).
template <class T, class Index>
std::vector<dimension_reference> compute_reference(const matrix_input<T, Index>& input);

quad sqrt_quad(quad x);
long double to_long_double(quad x);
std::string to_string(quad x);  // about 20 significant digits, enough for messages

// Checks that a computed value agrees with the reference within `epsilons` units of
// std::numeric_limits<T>::epsilon(), relative to max(|expected|, |scale|). A scale lets a result
// that is close to 0 by cancellation be judged against the size of its terms. NaN matches NaN, and
// an infinity matches the same infinity.
template <class T>
::testing::AssertionResult near_reference(T computed, quad expected, double epsilons,
                                          quad scale = 0);

}  // namespace tessel::test
