// The high-precision reference checked against cases worked out by hand.
#include "support/reference.hpp"
#include "support/random_data.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace tessel::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

quad q(double x) {
  return static_cast<quad>(x);
}

// Exact to the last bit of a double: the reference must be far better than that.
template <class Expected>
void expect_exact(quad computed, Expected expected) {
  EXPECT_TRUE(near_reference(static_cast<double>(computed), static_cast<quad>(expected), 0.5))
      << to_string(computed);
}

TEST(Reference, WorkedCaseOneToFour) {
  const std::vector<double> x{1, 2, 3, 4};
  const auto r = compute_reference(matrix_input<double>{x.data(), 1, 4})[0];
  ASSERT_TRUE(r.selected);
  expect_exact(r.W, 4);
  expect_exact(r.W2, 4);
  expect_exact(r.S1, 10);
  expect_exact(r.S2, 30);
  expect_exact(r.S3, 100);
  expect_exact(r.S4, 354);
  expect_exact(r.mean, 2.5);
  expect_exact(r.C2, 5);
  EXPECT_EQ(r.C3, 0);
  expect_exact(r.C4, 10.25);
  expect_exact(r.variance, q(5) / 3);
  EXPECT_EQ(r.moment3, 0);
  expect_exact(r.moment4, 2.5625);
  expect_exact(r.variation, sqrt_quad(q(5) / 3) / q(2.5));
  EXPECT_NEAR(static_cast<double>(r.variation), 0.516397779494322, 1e-15);
  EXPECT_EQ(r.skewness, 0);
  expect_exact(r.kurtosis, -2.0775);
  expect_exact(r.min, 1);
  expect_exact(r.max, 4);
}

// x = 0, 2, 4, 6 with stored weights 3, 0, -1, NaN, which count as 3, 1, 1, 1:
// W = 6, W2 = 12, mean = 12 / 6 = 2, deviations -2, 0, 2, 4,
// C2 = 12 + 0 + 4 + 16 = 32, C3 = -24 + 0 + 8 + 64 = 48, C4 = 48 + 0 + 16 + 256 = 320,
// variance = 32 * 6 / (36 - 12) = 8, moment3 = 8, moment4 = 160 / 3,
// skewness = 8 / sqrt(512), kurtosis = (160 / 3) / 64 - 3 = -13 / 6, variation = sqrt(8) / 2.
TEST(Reference, WeightsCountNonPositiveAndNaNAsOne) {
  const std::vector<double> x{0, 2, 4, 6};
  const std::vector<double> w{3, 0, -1, nan};
  matrix_input<double> in{x.data(), 1, 4};
  in.weights = w.data();
  const auto r = compute_reference(in)[0];
  expect_exact(r.W, 6);
  expect_exact(r.W2, 12);
  expect_exact(r.S1, 12);
  expect_exact(r.S2, 56);
  expect_exact(r.S3, 288);
  expect_exact(r.S4, 1568);
  expect_exact(r.mean, 2);
  expect_exact(r.raw_moment2, q(56) / 6);
  expect_exact(r.C2, 32);
  expect_exact(r.C3, 48);
  expect_exact(r.C4, 320);
  expect_exact(r.variance, 8);
  expect_exact(r.moment3, 8);
  expect_exact(r.moment4, q(160) / 3);
  expect_exact(r.skewness, 8 / sqrt_quad(512));
  expect_exact(r.kurtosis, q(-13) / 6);
  expect_exact(r.variation, sqrt_quad(2));
}

// About a given mean c the central sums grow by the shift: C2(c) = C2 + W (mean - c)^2.
TEST(Reference, UserMeanShiftsTheCentre) {
  const std::vector<double> x{1, 2, 3, 4};
  const std::vector<double> c{0.5};
  matrix_input<double> in{x.data(), 1, 4};
  in.user_mean = c.data();
  const auto r = compute_reference(in)[0];
  expect_exact(r.mean, 0.5);
  expect_exact(r.C2, 5 + 4 * 4);
  expect_exact(r.C3, q(0.125) + q(3.375) + q(15.625) + q(42.875));
  expect_exact(r.variance, q(21) / 3);
  expect_exact(r.variation, sqrt_quad(7) / q(0.5));
}

TEST(Reference, LayoutsAndSelectionAddressTheSameElements) {
  // Dimension d holds d * 10 + i; row-major and its transpose in column-major.
  const std::size_t dims = 3, n = 5;
  std::vector<float> row(dims * n), col(dims * n);
  for (std::size_t d = 0; d < dims; ++d) {
    for (std::size_t i = 0; i < n; ++i) {
      row[d * n + i] = col[d + i * dims] = static_cast<float>(d * 10 + i);
    }
  }
  const std::vector<std::int32_t> selection{7, 0, -1};
  matrix_input<float, std::int32_t> in_row{row.data(), dims, n, storage::row_major};
  matrix_input<float, std::int32_t> in_col{col.data(), dims, n, storage::col_major};
  in_row.selection = in_col.selection = selection.data();
  const auto a = compute_reference(in_row);
  const auto b = compute_reference(in_col);
  EXPECT_TRUE(a[0].selected);
  EXPECT_FALSE(a[1].selected);
  EXPECT_EQ(a[1].S1, 0);
  EXPECT_TRUE(a[2].selected);
  for (std::size_t d : {0u, 2u}) {
    expect_exact(a[d].mean, q(static_cast<double>(d * 10)) + 2);
    EXPECT_EQ(a[d].C2, b[d].C2);
    EXPECT_EQ(a[d].S4, b[d].S4);
    expect_exact(a[d].min, q(static_cast<double>(d * 10)));
    expect_exact(a[d].max, q(static_cast<double>(d * 10 + 4)));
  }
}

TEST(Reference, ExtremesSkipNaN) {
  const std::vector<double> x{nan, -3, nan, 8, 1};
  const auto r = compute_reference(matrix_input<double>{x.data(), 1, x.size()})[0];
  expect_exact(r.min, -3);
  expect_exact(r.max, 8);
  EXPECT_TRUE(std::isnan(static_cast<double>(r.S1)));
  const std::vector<double> all_nan{nan, nan};
  const auto s = compute_reference(matrix_input<double>{all_nan.data(), 1, 2})[0];
  EXPECT_TRUE(std::isnan(static_cast<double>(s.min)));
  EXPECT_TRUE(std::isnan(static_cast<double>(s.max)));
}

// Ill-conditioned data: a constant offset changes no central quantity. The reference sees the
// deviations exactly, so the two agree far below double precision.
TEST(Reference, CentralSumsIgnoreALargeOffset) {
  auto x = random_skewed<double>(1000, 42, 0.0, 1.0);
  for (double& v : x)
    v = std::ldexp(std::round(std::ldexp(v, 30)), -30);
  const auto base = compute_reference(matrix_input<double>{x.data(), 1, x.size()})[0];
  for (double& v : x)
    v += 0x1p20;  // exact, since v has no bits below 2^-30
  const auto shifted = compute_reference(matrix_input<double>{x.data(), 1, x.size()})[0];
  const double tiny = 1e-25;
  EXPECT_LT(std::fabs(static_cast<double>((shifted.C2 - base.C2) / base.C2)), tiny);
  EXPECT_LT(std::fabs(static_cast<double>((shifted.C3 - base.C3) / base.C3)), tiny);
  EXPECT_LT(std::fabs(static_cast<double>((shifted.C4 - base.C4) / base.C4)), tiny);
  expect_exact(shifted.mean, base.mean + q(0x1p20));
}

TEST(Reference, SquareRootInQuadPrecision) {
  for (double x : {2.0, 3.0, 1e-300, 7e300}) {
    const quad r = sqrt_quad(q(x));
    const quad error = (r * r - q(x)) / q(x);
    EXPECT_LT(std::fabs(static_cast<double>(error)), 1e-32) << x;
  }
  const quad huge = q(1e300) * q(1e300) * 4;  // beyond double range
  EXPECT_LT(std::fabs(static_cast<double>(sqrt_quad(huge) / (q(1e300) * 2) - 1)), 1e-32);
  EXPECT_TRUE(std::isnan(static_cast<double>(sqrt_quad(-1))));
  EXPECT_EQ(sqrt_quad(0), 0);
}

TEST(Reference, ComparisonHonoursItsTolerance) {
  const double eps = std::numeric_limits<double>::epsilon();
  EXPECT_TRUE(near_reference(1.0 + 4 * eps, 1, 4));
  EXPECT_FALSE(near_reference(1.0 + 4 * eps, 1, 3));
  EXPECT_FALSE(near_reference(1e-20, 0, 1e6));
  EXPECT_TRUE(near_reference(1e-20, 0, 1, q(1e-4)));
  EXPECT_TRUE(near_reference(1.0f + 1e-7f, 1, 1));
  EXPECT_FALSE(near_reference(1.0f + 1e-6f, 1, 4));
  EXPECT_TRUE(near_reference(nan, q(nan), 1));
  EXPECT_FALSE(near_reference(1.0, q(nan), 1e9));
  EXPECT_TRUE(near_reference(HUGE_VAL, q(HUGE_VAL), 1));
  EXPECT_FALSE(near_reference(-HUGE_VAL, q(HUGE_VAL), 1));
}

TEST(RandomData, SeedDecidesTheValues) {
  EXPECT_EQ(random_normal<double>(10, 1), random_normal<double>(10, 1));
  EXPECT_NE(random_normal<double>(10, 1), random_normal<double>(10, 2));
  for (float v : random_uniform<float>(1000, 3, -2, 5)) {
    EXPECT_GE(v, -2.0f);
    EXPECT_LE(v, 5.0f);
  }
  const auto skewed = random_skewed<double>(20000, 4, 100, 2);
  const auto r = compute_reference(matrix_input<double>{skewed.data(), 1, skewed.size()})[0];
  EXPECT_NEAR(static_cast<double>(r.mean), 102, 0.1);
  EXPECT_NEAR(static_cast<double>(r.skewness), 2, 0.3);
}

}  // namespace
}  // namespace tessel::test
