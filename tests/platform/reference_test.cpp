// The high-precision reference against a case worked out by hand: every test of the suite trusts
// its definitions (the weight rule, the variance correction, moments over W, the kurtosis' -3) and
// its comparison.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/reference.hpp"

namespace tessel::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// x = 0, 2, 4, 6 with stored weights 3, 0, -1, NaN, which count as 3, 1, 1, 1: W = 6, W2 = 12, mean
// = 12 / 6 = 2, deviations -2, 0, 2, 4, C2 = 12 + 0 + 4 + 16 = 32, C3 = -24 + 0 + 8 + 64 = 48, C4 =
// 48 + 0 + 16 + 256 = 320, variance = 32 * 6 / (36 - 12) = 8, moment3 = 8, moment4 = 160 / 3,
// skewness = 8 / sqrt(512), kurtosis = (160 / 3) / 64 - 3 = -13 / 6, variation = sqrt(8) / 2. About
// a given mean of 1 the deviations are -1, 1, 3, 5: C2 = 3 + 1 + 9 + 25 = 38.
TEST(Reference, WorkedWeightedCase) {
  const std::vector<double> x{0, 2, 4, 6}, w{3, 0, -1, nan}, c{1};
  matrix_input<double> in{x.data(), 1, 4};
  in.weights = w.data();
  const auto r = compute_reference(in)[0];
  const auto q = [](double v) { return static_cast<quad>(v); };
  // clang-format off
  const std::pair<quad, quad> pairs[] = {
      {r.W, 6}, {r.W2, 12}, {r.S1, 12}, {r.S2, 56}, {r.S3, 288}, {r.S4, 1568}, {r.mean, 2},
      {r.raw_moment2, q(56) / 6}, {r.C2, 32}, {r.C3, 48}, {r.C4, 320}, {r.variance, 8},
      {r.moment3, 8}, {r.moment4, q(160) / 3}, {r.skewness, 8 / sqrt_quad(512)},
      {r.kurtosis, q(-13) / 6}, {r.variation, sqrt_quad(2)}, {r.min, 0}, {r.max, 6}};
  // clang-format on
  for (const auto& [computed, expected] : pairs) {
    EXPECT_TRUE(near_reference(static_cast<double>(computed), expected, 0.5))
        << to_string(computed);
  }
  in.user_mean = c.data();
  EXPECT_EQ(compute_reference(in)[0].C2, 38);
}

// The comparison every test relies on can fail.
TEST(Reference, ComparisonHonoursItsTolerance) {
  const double eps = std::numeric_limits<double>::epsilon();
  EXPECT_TRUE(near_reference(1.0 + 4 * eps, 1, 4));
  EXPECT_FALSE(near_reference(1.0 + 4 * eps, 1, 3));
  EXPECT_FALSE(near_reference(1e-20, 0, 1e6));
  EXPECT_TRUE(near_reference(1e-20, 0, 1, static_cast<quad>(1e-4)));
  EXPECT_FALSE(near_reference(1.0f + 1e-6f, 1, 4));
  EXPECT_TRUE(near_reference(nan, static_cast<quad>(nan), 1));
  EXPECT_FALSE(near_reference(1.0, static_cast<quad>(nan), 1e9));
  EXPECT_FALSE(near_reference(-HUGE_VAL, static_cast<quad>(HUGE_VAL), 1));
}

}  // namespace
}  // namespace tessel::test
