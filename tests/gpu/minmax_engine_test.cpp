// The min/max engine run by its drivers on the emulated GPU: exact extremes across plans, the
// identities as floors, weights ignored, selections, and outputs left untouched.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "engine_fixture.hpp"
#include "support/random_data.hpp"

namespace tessel::gpu_test {
namespace {

template <typename Config>
class MinMaxEngine : public ::testing::Test {
 protected:
  using Value = typename Config::value_type;
  static constexpr layout Storage = Config::storage;
  static constexpr bool InUsm = Config::usm;

  // Outputs of min_func_fast, max_func_fast and min_max_func_fast: {min, max, min_max's min,
  // min_max's max}.
  static outputs run_all(const problem<Value, Storage>& p) {
    const outputs min = run_extremes<Value, Storage, InUsm>(
        p, 1, [](const auto& h) { return gpu::min_func_fast<Value, InUsm>(h[0]); });
    const outputs max = run_extremes<Value, Storage, InUsm>(
        p, 1, [](const auto& h) { return gpu::max_func_fast<Value, InUsm>(h[0]); });
    const outputs both = run_extremes<Value, Storage, InUsm>(
        p, 2, [](const auto& h) { return gpu::min_max_func_fast<Value, InUsm>(h[0], h[1]); });
    return {min[0], max[0], both[0], both[1]};
  }

  // Each result is the reference's extreme floored by the identity, bit for bit; a skipped
  // dimension keeps its poison.
  static void check(const problem<Value, Storage>& p, const std::string& what) {
    const auto reference = p.reference();
    const outputs got = run_all(p);
    for (std::size_t d = 0; d < p.dims; ++d) {
      for (std::size_t k = 0; k < 4; ++k) {
        const Value value = static_cast<Value>(got[k][d]);
        if (!reference[d].selected) {
          EXPECT_TRUE(same_bits(value, poison<Value>())) << what << " dimension " << d;
          continue;
        }
        const bool is_min = k % 2 == 0;
        const Value expected = is_min ? floored_min(static_cast<Value>(reference[d].min))
                                      : floored_max(static_cast<Value>(reference[d].max));
        EXPECT_TRUE(same_bits(value, expected))
            << what << (is_min ? " min " : " max ") << "of output " << k << " dimension " << d
            << ": " << value << " expected " << expected;
      }
    }
  }

  // The engine's floors: a result never passes the identity of its half, and NaN gives it.
  static Value floored_min(Value r) {
    return r < gpu::IDENT_MIN<Value> ? r : gpu::IDENT_MIN<Value>;
  }
  static Value floored_max(Value r) {
    return r > gpu::IDENT_MAX<Value> ? r : gpu::IDENT_MAX<Value>;
  }

  static problem<Value, Storage> normal(std::size_t dims, std::size_t n) {
    return make_problem<Value, Storage>(dims, n, [n](std::size_t d) {
      return test::random_normal<Value>(n, 500 + d, static_cast<double>(d), 10.0);
    });
  }
};

TYPED_TEST_SUITE(MinMaxEngine, all_configs);

TYPED_TEST(MinMaxEngine, ExactAcrossPlans) {
  for (const std::size_t n : plan_sizes()) {
    TestFixture::check(TestFixture::normal(3, n), "n=" + std::to_string(n));
  }
}

// A maximum never falls below IDENT_MAX, the smallest positive normal value, and a minimum
// never rises above IDENT_MIN; a dimension of NaN reports both identities.
TYPED_TEST(MinMaxEngine, IdentitiesAreFloors) {
  using T = typename TestFixture::Value;
  for (const std::size_t n : {std::size_t{3}, long_plan_size() + 1}) {
    auto p = make_problem<T, TestFixture::Storage>(4, n, [n](std::size_t d) {
      std::vector<T> column(n);
      for (std::size_t i = 0; i < n; ++i) {
        switch (d) {
          case 0:
            column[i] = -5 - static_cast<T>(i % 7);  // all negative
            break;
          case 1:
            column[i] = std::numeric_limits<T>::infinity();
            break;
          case 2:
            column[i] = std::numeric_limits<T>::quiet_NaN();
            break;
          default:
            column[i] = i % 2 == 0 ? T(-2) : T(0);  // zero is below the floor too
        }
      }
      return column;
    });
    const outputs got = TestFixture::run_all(p);
    const T lowest = -5 - static_cast<T>(std::min<std::size_t>(n, 7) - 1);
    for (const std::size_t k : {std::size_t{0}, std::size_t{2}}) {
      EXPECT_EQ(static_cast<T>(got[k][0]), lowest);
      EXPECT_EQ(static_cast<T>(got[k][1]), gpu::IDENT_MIN<T>);
      EXPECT_EQ(static_cast<T>(got[k][2]), gpu::IDENT_MIN<T>);
      EXPECT_EQ(static_cast<T>(got[k][3]), T(-2));
    }
    for (const std::size_t k : {std::size_t{1}, std::size_t{3}}) {
      EXPECT_EQ(static_cast<T>(got[k][0]), gpu::IDENT_MAX<T>);
      EXPECT_EQ(static_cast<T>(got[k][1]), std::numeric_limits<T>::infinity());
      EXPECT_EQ(static_cast<T>(got[k][2]), gpu::IDENT_MAX<T>);
      EXPECT_EQ(static_cast<T>(got[k][3]), gpu::IDENT_MAX<T>);
    }
  }
}

TYPED_TEST(MinMaxEngine, NoObservationsEndInTheRuntimesRefusal) {
  problem<typename TestFixture::Value, TestFixture::Storage> p;
  p.dims = 2;
  p.values.resize(1);
  EXPECT_THROW(TestFixture::run_all(p), sycl::exception);
}

TYPED_TEST(MinMaxEngine, IdentityValues) {
  using T = typename TestFixture::Value;
  EXPECT_EQ(gpu::IDENT_MIN<T>, std::numeric_limits<T>::max());
  EXPECT_EQ(gpu::IDENT_MAX<T>, std::numeric_limits<T>::min());
  EXPECT_GT(gpu::IDENT_MAX<T>, T(0));
}

TYPED_TEST(MinMaxEngine, WeightsPlayNoPart) {
  const std::size_t n = 2 * device_group_size() + 1;
  auto p = TestFixture::normal(2, n);
  const outputs unweighted = TestFixture::run_all(p);
  p.weights = test::random_uniform<typename TestFixture::Value>(n, 3, -1.0, 5.0);
  EXPECT_EQ(TestFixture::run_all(p), unweighted);
}

TYPED_TEST(MinMaxEngine, Selections) {
  const std::size_t n = long_plan_size();
  auto p = TestFixture::normal(5, n);
  p.selection = {0, 2, 0, -4, 0};
  TestFixture::check(p, "gaps");
  p.selection = {0, 0, 0, 0, 1};
  TestFixture::check(p, "last only");
  p.selection = {0, 0, 0, 0, 0};
  TestFixture::check(p, "none");
}

}  // namespace
}  // namespace tessel::gpu_test
