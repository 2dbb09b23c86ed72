// The moment engine run by its drivers on the emulated GPU: every functor against the
// high-precision reference over plans of one to several steps, both forms, both layouts, both
// element types; exact results where the sums are exact; the weight and selection rules; and
// outputs that must stay untouched.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <typeinfo>
#include <vector>

#include "engine_fixture.hpp"
#include "moment_cases.hpp"
#include "support/random_data.hpp"

namespace tessel::gpu_test {
namespace {

template <typename T>
constexpr double tolerance() {
  return 1024;
}

template <typename Config>
class MomentEngine : public ::testing::Test {
 protected:
  using Value = typename Config::value_type;
  static constexpr layout Storage = Config::storage;
  static constexpr bool InUsm = Config::usm;

  template <typename Case>
  outputs run(const problem<Value, Storage>& p) {
    return run_moments<Value, Storage, InUsm>(
        p, Case::outputs, [](const auto& h) { return Case::template make<Value, InUsm>(h); });
  }

  // Every output of a selected dimension near the reference, every output of a skipped one
  // untouched.
  template <typename Case>
  void check(const problem<Value, Storage>& p, const std::string& what) {
    const auto reference = p.reference();
    const outputs got = run<Case>(p);
    for (std::size_t d = 0; d < p.dims; ++d) {
      if (!reference[d].selected) {
        for (std::size_t k = 0; k < Case::outputs; ++k) {
          EXPECT_TRUE(same_bits(static_cast<Value>(got[k][d]), poison<Value>()))
              << what << " wrote output " << k << " of skipped dimension " << d;
        }
        continue;
      }
      const auto expected = Case::expected(reference[d]);
      for (std::size_t k = 0; k < Case::outputs; ++k) {
        EXPECT_TRUE(test::near_reference(static_cast<Value>(got[k][d]), expected[k].value,
                                         tolerance<Value>(), expected[k].scale))
            << what << " output " << k << " dimension " << d;
      }
    }
  }

  template <typename Cases>
  void check_all(const problem<Value, Storage>& p, Cases cases, const std::string& what) {
    for_each_case(cases, [&](auto c) {
      this->template check<decltype(c)>(p, what + " " + typeid(c).name());
    });
  }

  static problem<Value, Storage> skewed(std::size_t dims, std::size_t n, bool weighted) {
    auto p = make_problem<Value, Storage>(dims, n, [n](std::size_t d) {
      return test::random_skewed<Value>(n, 100 + d, 0.5 * static_cast<double>(d),
                                        1.0 + static_cast<double>(d));
    });
    if (weighted) {
      p.weights = test::random_uniform<Value>(n, 7, 0.25, 2.0);
    }
    return p;
  }
};

TYPED_TEST_SUITE(MomentEngine, all_configs);

TYPED_TEST(MomentEngine, AllFunctorsAcrossPlans) {
  using T = typename TestFixture::Value;
  for (const bool weighted : {false, true}) {
    for (const std::size_t n : plan_sizes()) {
      if (n < 2) {
        continue;  // one observation has no variance: see OneObservation
      }
      auto p = TestFixture::skewed(3, n, weighted);
      const std::string what = "n=" + std::to_string(n) + (weighted ? " weighted" : "");
      this->check_all(p, plain_cases{}, what);
      p.user_mean = {T(0.75), T(1.5), T(2.25)};
      this->check_all(p, user_mean_cases{}, what + " user mean");
      p.user_mean.clear();
      if constexpr (TestFixture::InUsm) {
        this->check_all(p, ex_cases{}, what);
      }
    }
  }
}

// Small integers make every power sum exact in T, and a mean a single rounding.
TYPED_TEST(MomentEngine, ExactSumsAreBitForBit) {
  using T = typename TestFixture::Value;
  for (const std::size_t n : plan_sizes()) {
    auto p = make_problem<T, TestFixture::Storage>(2, n, [n](std::size_t d) {
      std::vector<T> column(n);
      for (std::size_t i = 0; i < n; ++i) {
        column[i] = static_cast<T>(static_cast<int>((i * 7 + d * 3) % 9) - 4);
      }
      return column;
    });
    p.weights.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
      p.weights[i] = static_cast<T>(1 + i % 3);
    }
    const auto reference = p.reference();
    const outputs sums = this->template run<raw_sum_case>(p);
    const outputs moments = this->template run<raw_moment_case>(p);
    for (std::size_t d = 0; d < p.dims; ++d) {
      const auto& r = reference[d];
      const quad expected_sums[] = {r.S1, r.S2, r.S3, r.S4};
      const quad expected_moments[] = {r.mean, r.raw_moment2, r.raw_moment3, r.raw_moment4};
      for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_TRUE(same_bits(static_cast<T>(sums[k][d]), static_cast<T>(expected_sums[k])))
            << "n=" << n << " sum " << k + 1 << " dimension " << d << ": " << sums[k][d];
        EXPECT_TRUE(same_bits(static_cast<T>(moments[k][d]), static_cast<T>(expected_moments[k])))
            << "n=" << n << " moment " << k + 1 << " dimension " << d << ": " << moments[k][d];
      }
    }
  }
}

// 1, 2, 3, 4 without weights: S1 10, S2 30, S3 100, S4 354, W = W2 = 4.
TYPED_TEST(MomentEngine, WorkedCaseOneToFour) {
  using T = typename TestFixture::Value;
  auto p = make_problem<T, TestFixture::Storage>(1, 4, [](std::size_t) {
    return std::vector<T>{1, 2, 3, 4};
  });
  const outputs central = this->template run<central_sum_case>(p);
  EXPECT_EQ(central[0][0], 5.0);
  EXPECT_EQ(central[1][0], 0.0);
  EXPECT_EQ(central[2][0], 10.25);
  const outputs moments = this->template run<central_moment_case>(p);
  EXPECT_NEAR(moments[0][0], 5.0 / 3.0, 1e-6);
  EXPECT_EQ(moments[1][0], 0.0);
  EXPECT_EQ(moments[2][0], 2.5625);
  EXPECT_NEAR(this->template run<variation_case>(p)[0][0], 0.5163977794943222, 1e-6);
  EXPECT_EQ(this->template run<skewness_case>(p)[0][0], 0.0);
  EXPECT_NEAR(this->template run<kurtosis_case>(p)[0][0], -2.0775, 1e-6);
}

// Zero, negative and NaN weights count as 1: the sums, and with them every statistic, are the
// unweighted ones bit for bit (the weight sums of n ones are n exactly).
TYPED_TEST(MomentEngine, NonPositiveWeightsCountAsOne) {
  using T = typename TestFixture::Value;
  const std::size_t n = 2 * device_group_size() + 1;
  auto p = TestFixture::skewed(2, n, false);
  const outputs unweighted = this->template run<kurtosis_case>(p);
  const outputs unweighted_mean = this->template run<central_moment_case>(p);
  p.weights.resize(n);
  const T pattern[] = {0, -1, std::numeric_limits<T>::quiet_NaN(), 1};
  for (std::size_t i = 0; i < n; ++i) {
    p.weights[i] = pattern[i % 4];
  }
  const outputs weighted = this->template run<kurtosis_case>(p);
  const outputs weighted_mean = this->template run<central_moment_case>(p);
  for (std::size_t d = 0; d < p.dims; ++d) {
    EXPECT_TRUE(same_bits(weighted[0][d], unweighted[0][d])) << d;
    for (std::size_t k = 0; k < 3; ++k) {
      EXPECT_TRUE(same_bits(weighted_mean[k][d], unweighted_mean[k][d])) << k << " " << d;
    }
  }
}

// Skipped dimensions stay untouched; the weight sums are made at the first selected dimension
// whatever comes before it.
TYPED_TEST(MomentEngine, SelectionsWithGaps) {
  const std::size_t n = long_plan_size();
  for (const bool weighted : {false, true}) {
    auto p = TestFixture::skewed(5, n, weighted);
    p.selection = {0, 3, 0, -1, 0};
    this->check_all(p, plain_cases{}, "gaps");
    p.selection = {0, 0, 0, 0, 1};
    this->check_all(p, plain_cases{}, "last only");
    p.selection = {0, 0, 0, 0, 0};
    this->check_all(p, case_list<kurtosis_case, raw_sum_case>{}, "none");
  }
}

TYPED_TEST(MomentEngine, EqualObservations) {
  using T = typename TestFixture::Value;
  const std::size_t n = 2 * device_group_size() + 3;
  auto p = make_problem<T, TestFixture::Storage>(
      1, n, [n](std::size_t) { return std::vector<T>(n, T(3)); });
  EXPECT_EQ(this->template run<central_moment_case>(p)[0][0], 0.0);
  EXPECT_TRUE(std::isnan(this->template run<skewness_case>(p)[0][0]));
  EXPECT_TRUE(std::isnan(this->template run<kurtosis_case>(p)[0][0]));
  EXPECT_EQ(this->template run<mean_case>(p)[0][0], 3.0);
}

// One observation: exact mean and raw sums, a variance with a zero denominator.
TYPED_TEST(MomentEngine, OneObservation) {
  using T = typename TestFixture::Value;
  auto p = make_problem<T, TestFixture::Storage>(
      2, 1, [](std::size_t d) { return std::vector<T>{T(1.5) + static_cast<T>(d)}; });
  const outputs sums = this->template run<raw_sum_case>(p);
  EXPECT_EQ(sums[0][1], 2.5);
  EXPECT_EQ(sums[3][1], 2.5 * 2.5 * 2.5 * 2.5);
  EXPECT_EQ(this->template run<mean_case>(p)[0][0], 1.5);
  EXPECT_FALSE(std::isfinite(this->template run<central_moment_case>(p)[0][0]));
}

// No observations: a first step of no groups, then a last step of local size 0, which the
// runtime refuses.
TYPED_TEST(MomentEngine, NoObservationsEndInTheRuntimesRefusal) {
  problem<typename TestFixture::Value, TestFixture::Storage> p;
  p.dims = 2;
  p.values.resize(1);
  EXPECT_THROW(this->template run<kurtosis_case>(p), sycl::exception);
}

// Outputs whose wanted-flag is off are not touched, whatever the reduction keeps.
TYPED_TEST(MomentEngine, UnwantedOutputsUntouched) {
  using T = typename TestFixture::Value;
  constexpr bool Usm = TestFixture::InUsm;
  const std::size_t n = long_plan_size();
  auto p = TestFixture::skewed(2, n, true);
  const auto reference = p.reference();
  const T untouched = poison<T>();

  // Only sum3: three channels, two sums kept, sum2 and sum4 untouched.
  const outputs sums = run_moments<T, TestFixture::Storage, Usm>(p, 4, [](const auto& h) {
    return gpu::raw_sum_func_fast<T, Usm>(0, 1, 0, h[0], h[1], h[2], h[3]);
  });
  // Only moment4: the third-order sum is kept for the expansion, moment3 stays untouched.
  const outputs moments = run_moments<T, TestFixture::Storage, Usm>(p, 3, [](const auto& h) {
    return gpu::central_moment_func_fast<T, Usm>(0, 1, h[0], h[1], h[2]);
  });
  p.user_mean = {T(1), T(2)};
  const auto centred = p.reference();
  // Around a mean only the third order: two channels.
  const outputs user = run_moments<T, TestFixture::Storage, Usm>(p, 3, [](const auto& h) {
    return gpu::central_sum_func_user_mean<T, Usm>(1, 0, h[0], h[1], h[2]);
  });
  for (std::size_t d = 0; d < p.dims; ++d) {
    EXPECT_TRUE(test::near_reference(static_cast<T>(sums[0][d]), reference[d].S1, tolerance<T>()));
    EXPECT_TRUE(same_bits(static_cast<T>(sums[1][d]), untouched));
    EXPECT_TRUE(test::near_reference(static_cast<T>(sums[2][d]), reference[d].S3, tolerance<T>()));
    EXPECT_TRUE(same_bits(static_cast<T>(sums[3][d]), untouched));
    EXPECT_TRUE(
        test::near_reference(static_cast<T>(moments[0][d]), reference[d].variance, tolerance<T>()));
    EXPECT_TRUE(same_bits(static_cast<T>(moments[1][d]), untouched));
    EXPECT_TRUE(
        test::near_reference(static_cast<T>(moments[2][d]), reference[d].moment4, tolerance<T>()));
    EXPECT_TRUE(test::near_reference(static_cast<T>(user[0][d]), centred[d].C2, tolerance<T>()));
    EXPECT_TRUE(test::near_reference(static_cast<T>(user[1][d]), centred[d].C3, tolerance<T>(),
                                     c3_of(centred[d]).scale));
    EXPECT_TRUE(same_bits(static_cast<T>(user[2][d]), untouched));
  }
}

// The 32-bit selection of the narrow kernels: element d is half of word d >> 1; any non-zero
// value selects, negative ones included. Five elements: the last word is half outside the
// array, and is not read there (the sanitizer build would see it).
template <typename T, layout L>
void check_narrow_selection() {
  const std::size_t n = long_plan_size();
  auto p =
      make_problem<T, L>(5, n, [n](std::size_t d) { return test::random_skewed<T>(n, 300 + d); });
  p.weights = test::random_uniform<T>(n, 9, 0.5, 1.5);
  p.narrow_selection = {0, -2, 0, 1, 7};
  const auto reference = p.reference();
  const outputs got = run_moments<T, L, true, false>(
      p, 1, [](const auto& h) { return gpu::kurtosis_func_fast<T, true>(h[0]); });
  const outputs extremes = run_extremes<T, L, true, false>(
      p, 1, [](const auto& h) { return gpu::max_func_fast<T, true>(h[0]); });
  for (std::size_t d = 0; d < p.dims; ++d) {
    if (reference[d].selected) {
      EXPECT_TRUE(test::near_reference(static_cast<T>(got[0][d]), reference[d].kurtosis,
                                       tolerance<T>(), 1));
      EXPECT_EQ(static_cast<T>(extremes[0][d]), static_cast<T>(reference[d].max)) << d;
    } else {
      EXPECT_TRUE(same_bits(static_cast<T>(got[0][d]), poison<T>())) << d;
      EXPECT_TRUE(same_bits(static_cast<T>(extremes[0][d]), poison<T>())) << d;
    }
  }
}

TEST(NarrowSelection, HalvesOfWords) {
  check_narrow_selection<float, layout::row_major>();
  check_narrow_selection<double, layout::col_major>();
}

}  // namespace
}  // namespace tessel::gpu_test
