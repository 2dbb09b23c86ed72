// The Basic and Minmax stages of the estimator module against the __float128 reference, called
// through dlopen/dlsym with the threading service's table, as a consumer calls them.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "estimator_module.hpp"
#include "support/random_data.hpp"
#include "support/reference.hpp"

namespace tessel::test {
namespace {

constexpr double untouched = 777.0;

// A data set, its task and one result array per estimate, as a caller would set them up.
template <class T>
struct basic_call {
  storage layout = storage::row_major;
  std::int64_t n_dims = 0, n_obs = 0;
  std::vector<T> x, weights, user_mean;
  std::vector<std::int64_t> selection;
  int int_width = 1;
  // clang-format off
  enum result { mean, raw2, raw3, raw4, c2, c3, c4, kurt, skew, var, s1, s2, s3, s4, cs2, cs3, cs4,
                count };
  // clang-format on
  std::vector<T> out[count];

  // Dimension d: offset[d] + scale[d] * exponential variates, placed in the layout.
  void fill(std::int64_t dims, std::int64_t obs, storage l, std::uint64_t seed,
            const std::vector<double>& offset, const std::vector<double>& scale) {
    n_dims = dims;
    n_obs = obs;
    layout = l;
    x.assign(static_cast<std::size_t>(dims * obs), T(0));
    for (std::int64_t d = 0; d < dims; ++d) {
      const auto column = random_skewed<T>(static_cast<std::size_t>(obs), seed + d,
                                           offset[d % offset.size()], scale[d % scale.size()]);
      for (std::int64_t i = 0; i < obs; ++i) {
        x[element_index(layout, dims, obs, d, i)] = column[static_cast<std::size_t>(i)];
      }
    }
  }
  // Positive weights, and some that count as 1: zero, negative, NaN.
  void weigh(std::uint64_t seed) {
    weights = random_uniform<T>(static_cast<std::size_t>(n_obs), seed, 0.2, 3.0);
    weights[3] = 0;
    weights[10] = -1;
    weights[17] = std::numeric_limits<T>::quiet_NaN();
  }
  void select_with_gaps() {
    selection.assign(static_cast<std::size_t>(n_dims), 0);
    for (std::int64_t d = 0; d < n_dims; d += 2) {
      selection[d] = d == 2 ? -7 : 1;
    }
  }

  // Runs the stage with the estimates of the mask wanted and returns its status.
  std::int32_t run(std::intptr_t method, std::uint64_t mask = all_basic_bits,
                   const ss_threading_entry* table = threading_table()) {
    const typed_entries<T> e;
    for (auto& o : out) {
      o.assign(static_cast<std::size_t>(n_dims), T(untouched));
    }
    if (!user_mean.empty()) {
      out[mean] = user_mean;
    }
    const std::int64_t words64[3] = {
        n_dims, n_obs, layout == storage::row_major ? SS_STORAGE_ROW_MAJOR : SS_STORAGE_COL_MAJOR};
    const std::int32_t words32[3] = {static_cast<std::int32_t>(words64[0]),
                                     static_cast<std::int32_t>(words64[1]),
                                     static_cast<std::int32_t>(words64[2])};
    const auto word = [&](int k) -> const void* {
      return int_width == 0 ? static_cast<const void*>(&words32[k]) : &words64[k];
    };
    const auto at = [&](int k) { return out[k].data(); };
    ss_task* task = nullptr;
    EXPECT_EQ(e.new_task(&task, word(0), word(1), word(2), x.data(),
                         weights.empty() ? nullptr : weights.data(),
                         selection.empty() ? nullptr : selection.data(), int_width),
              0);
    EXPECT_EQ(e.edit_moments(task, at(mean), at(raw2), at(raw3), at(raw4), at(c2), at(c3), at(c4)),
              0);
    EXPECT_EQ(e.edit_sums(task, at(s1), at(s2), at(s3), at(s4), at(cs2), at(cs3), at(cs4)), 0);
    EXPECT_EQ(e.edit_task(task, SS_FIELD_KURTOSIS, at(kurt)), 0);
    EXPECT_EQ(e.edit_task(task, SS_FIELD_SKEWNESS, at(skew)), 0);
    EXPECT_EQ(e.edit_task(task, SS_FIELD_VARIATION, at(var)), 0);
    const std::int32_t status = e.basic(task, mask, method, table);
    EXPECT_EQ(e.delete_task(&task), 0);
    EXPECT_EQ(task, nullptr);
    return status;
  }

  std::vector<dimension_reference> reference() const {
    matrix_input<T> in{x.data(), static_cast<std::size_t>(n_dims), static_cast<std::size_t>(n_obs),
                       layout};
    in.weights = weights.empty() ? nullptr : weights.data();
    in.selection = selection.empty() ? nullptr : selection.data();
    in.user_mean = user_mean.empty() ? nullptr : user_mean.data();
    return compute_reference(in);
  }

  // Each result of the mask, for every selected dimension, within `epsilons`; the others and
  // unselected dimensions untouched; the caller's mean is input.
  void expect_near_reference(double epsilons, std::uint64_t mask = all_basic_bits) const {
    const auto ref = reference();
    for (std::int64_t d = 0; d < n_dims; ++d) {
      const dimension_reference& r = ref[static_cast<std::size_t>(d)];
      const quad expected[count] = {
          r.mean,    r.raw_moment2, r.raw_moment3, r.raw_moment4, r.variance, r.moment3,
          r.moment4, r.kurtosis,    r.skewness,    r.variation,   r.S1,       r.S2,
          r.S3,      r.S4,          r.C2,          r.C3,          r.C4};
      for (int k = 0; k < count; ++k) {
        const T got = out[k][static_cast<std::size_t>(d)];
        if (k == mean && !user_mean.empty()) {
          EXPECT_EQ(got, user_mean[static_cast<std::size_t>(d)]) << "the given mean is input";
        } else if (!r.selected || (mask & basic_bits[k]) == 0) {
          EXPECT_EQ(got, T(untouched)) << "dim " << d << " result " << k;
        } else {
          EXPECT_TRUE(near_reference(got, expected[k], epsilons)) << "dim " << d << " result " << k;
        }
      }
    }
  }
};

// Float results are computed in double and rounded once. Double results carry the rounding of the
// accurate algorithms: a few epsilons (7e-15 allowed), far inside the 1e-13 promised.
template <class T>
constexpr double tolerance = std::is_same_v<T, float> ? 1.0 : 32.0;

using basic_case =
    std::tuple<storage, bool /*weights*/, bool /*selection*/, std::intptr_t, int /*int_width*/>;

// Dimensions 2 and 3 lie a million spreads and more from zero, where raw power sums would lose
// every digit of the central ones; in double, dimension 3 is so far out that a block's centre, a
// rounded mean, is off by a good part of the spread, and the sums about it must be moved to the
// exact mean.
class BasicStage : public ::testing::TestWithParam<basic_case> {
 protected:
  template <class T>
  void check() {
    const auto [layout, weighted, selected, method, int_width] = GetParam();
    const double far = std::is_same_v<T, float> ? 3e5 : 1e15;
    basic_call<T> call;
    call.int_width = int_width;
    call.fill(5, 6007, layout, 100, {2.0, -40.0, 1e6, far, 7.0}, {0.5, 3.0, 1.0, 1.0, 0.1});
    if (weighted) {
      call.weigh(7);
    }
    if (selected) {
      call.select_with_gaps();
    }
    if (method == SS_METHOD_USER_MEAN) {
      call.user_mean = {T(2.4), T(-37.5), T(1e6 + 1.25), T(far + 1.5), T(7.3)};
    }
    ASSERT_EQ(call.run(method), 0);
    call.expect_near_reference(tolerance<T>);
  }
};

TEST_P(BasicStage, Float) {
  check<float>();
}
TEST_P(BasicStage, Double) {
  check<double>();
}

const auto all_methods =
    ::testing::Values(SS_METHOD_TWO_PASS, SS_METHOD_ONE_PASS, SS_METHOD_USER_MEAN);
const auto both_layouts = ::testing::Values(storage::row_major, storage::col_major);

INSTANTIATE_TEST_SUITE_P(AllForms, BasicStage,
                         ::testing::Combine(both_layouts, ::testing::Bool(), ::testing::Bool(),
                                            all_methods, ::testing::Values(0, 1)));

// Long blocks: many leaves per one-pass block, many cache-sized chunks per column-major block; many
// columns of few observations; no threading table; a single observation.
TEST(BasicStageSizes, LongShortWideAndAlone) {
  for (std::intptr_t method : {SS_METHOD_TWO_PASS, SS_METHOD_ONE_PASS}) {
    basic_call<double> row;
    row.fill(1, 400003, storage::row_major, 500, {1e6}, {3.0});
    ASSERT_EQ(row.run(method), 0);
    row.expect_near_reference(tolerance<double>);
    basic_call<double> col;
    col.fill(3, 100003, storage::col_major, 510, {1e6, -3.0, 50.0}, {3.0, 0.01, 7.0});
    col.weigh(4);
    ASSERT_EQ(col.run(method), 0);
    col.expect_near_reference(tolerance<double>);
  }
  basic_call<double> wide;
  wide.fill(37, 5, storage::col_major, 600, {1.0, 5.0, -2.0}, {1.0});
  wide.select_with_gaps();
  ASSERT_EQ(wide.run(SS_METHOD_ONE_PASS), 0);
  wide.expect_near_reference(tolerance<double>);
  basic_call<double> untabled;
  untabled.fill(2, 9000, storage::col_major, 700, {3.0}, {1.0});
  untabled.weigh(5);
  ASSERT_EQ(untabled.run(SS_METHOD_TWO_PASS, all_basic_bits, nullptr), 0);
  untabled.expect_near_reference(tolerance<double>);
  basic_call<double> one;
  one.x = {4.5};
  one.n_dims = one.n_obs = 1;
  ASSERT_EQ(one.run(SS_METHOD_TWO_PASS), 0);
  EXPECT_EQ(one.out[one.mean][0], 4.5);
  EXPECT_EQ(one.out[one.s2][0], 4.5 * 4.5);
  EXPECT_TRUE(std::isnan(one.out[one.c2][0])) << "one observation has no variance";
}

// Infinity and NaN reach the results; only the wanted estimates are written; a caller's mean is
// read, never written.
TEST(BasicStageValues, SpecialValuesMasksAndTheCallersMean) {
  basic_call<double> call;
  call.fill(2, 3000, storage::row_major, 800, {1.0}, {1.0});
  call.x[17] = std::numeric_limits<double>::infinity();         // dimension 0
  call.x[3000 + 5] = std::numeric_limits<double>::quiet_NaN();  // dimension 1
  ASSERT_EQ(call.run(SS_METHOD_TWO_PASS), 0);
  EXPECT_EQ(call.out[call.mean][0], std::numeric_limits<double>::infinity());
  EXPECT_EQ(call.out[call.s1][0], std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(call.out[call.mean][1]));
  EXPECT_TRUE(std::isnan(call.out[call.c2][1]));

  basic_call<double> some;
  some.fill(3, 5000, storage::row_major, 900, {10.0}, {2.0});
  ASSERT_EQ(some.run(SS_METHOD_TWO_PASS, SS_KURTOSIS | SS_RAW_SUM3), 0);
  some.expect_near_reference(tolerance<double>, SS_KURTOSIS | SS_RAW_SUM3);

  basic_call<double> given;
  given.fill(2, 3000, storage::row_major, 901, {10.0}, {2.0});
  given.user_mean = {11.0, 12.5};
  const std::uint64_t mask = SS_MEAN | SS_CENTRAL_SUM2 | SS_VARIATION;
  ASSERT_EQ(given.run(SS_METHOD_USER_MEAN, mask), 0);
  given.expect_near_reference(tolerance<double>, mask);
}

// A threading service that runs the tasks of a loop last first, on the calling thread, and claims
// three threads.
void backwards_for(std::int64_t count, int, void* context, orv_ksu_serv_threader_for_body body) {
  for (std::int64_t i = count - 1; i >= 0; --i) {
    body(context, i, 0);
  }
}
int three_threads() {
  return 3;
}
const ss_threading_entry* backwards_table() {
  static const auto table = [] {
    std::array<ss_threading_entry, SS_THREADING_TABLE_SIZE> t{};
    for (std::size_t row = 0; row < t.size(); row += 5) {
      t[row + SS_THREADER_FOR] = reinterpret_cast<ss_threading_entry>(&backwards_for);
      t[row + SS_THREADER_GET_NUM_THREADS_LIMIT] =
          reinterpret_cast<ss_threading_entry>(&three_threads);
    }
    return t;
  }();
  return table.data();
}

// What a blocked reduction shared among threads can get wrong. The sizes lie around the module's
// cache block (256 KiB: 32768 doubles, 65536 floats, 2048 observations of a group of 16
// dimensions), its task (four blocks) and the tails of its vectors. Jumps move the mean by
// thousands of spreads from one column-major block to the next, and within row-major blocks; a bad
// start puts the first 256 observations of each task a thousand spreads out, so that a guess at a
// block's mean from its first observations is far off.
enum class pattern { skewed, trend, weight_in_one_block, jumps, bad_start };
struct blocked_case {
  const char* name;
  std::int64_t n_dims, n_obs;
  storage layout;
  pattern kind;
  bool selected = false;
};
const blocked_case blocked_cases[] = {
    {"RowBlockLess1", 1, 32767, storage::row_major, pattern::skewed},
    {"RowBlock", 1, 32768, storage::row_major, pattern::skewed},
    {"RowTwoFloatBlocksPlus5", 1, 2 * 65536 + 5, storage::row_major, pattern::skewed},
    {"RowTaskPlus1", 2, 131072 + 1, storage::row_major, pattern::skewed},
    {"RowTrend", 1, 300007, storage::row_major, pattern::trend},
    {"RowWeightInOneBlock", 1, 150000, storage::row_major, pattern::weight_in_one_block},
    {"RowJumps", 1, 300007, storage::row_major, pattern::jumps},
    {"RowBadStart", 2, 2 * 131072 + 9, storage::row_major, pattern::bad_start},
    {"ColShortLastBlock", 16, 3 * 2048 + 7, storage::col_major, pattern::skewed},
    {"ColTwoGroupsShortLastBlock", 19, 2 * 2048 + 3, storage::col_major, pattern::skewed},
    {"ColTrend", 5, 30011, storage::col_major, pattern::trend},
    {"ColWeightInOneBlock", 3, 30000, storage::col_major, pattern::weight_in_one_block},
    {"ColJumpsSelected", 16, 5 * 2048 + 1, storage::col_major, pattern::jumps, true},
    {"ColBadStart", 7, 3 * 8192 + 5, storage::col_major, pattern::bad_start},
};

void PrintTo(const blocked_case& c, std::ostream* os) {
  *os << c.name;
}

using blocked_param = std::tuple<blocked_case, std::intptr_t>;
class BlockedSums : public ::testing::TestWithParam<blocked_param> {
 protected:
  // Near the reference, and the same whatever the order and number of the threads.
  template <class T>
  void check() {
    const auto& [c, method] = GetParam();
    basic_call<T> call;
    call.fill(c.n_dims, c.n_obs, c.layout, 1200, {1e6, -3.0, 5e5}, {1.0, 2.0, 0.5});
    for (std::int64_t d = 0; d < c.n_dims; ++d) {
      double sum = 0.0;
      for (std::int64_t i = 0; i < c.n_obs; ++i) {
        T& x = call.x[element_index(c.layout, c.n_dims, c.n_obs, d, i)];
        if (c.kind == pattern::trend) {
          x = static_cast<T>(static_cast<double>(x) + 1e-5 * static_cast<double>(i * i));
        }
        if (c.kind == pattern::jumps) {
          // Uneven steps, so that the third moment is not lost to a symmetry of the levels.
          const auto step = static_cast<double>(i / 2048 % 4);
          x = static_cast<T>(static_cast<double>(x) + 1e3 * step * step);
        }
        if (c.kind == pattern::bad_start && i % 8192 < 256) {
          x = static_cast<T>(static_cast<double>(x) + 1e3);
        }
        sum += static_cast<double>(x);
      }
      if (method == SS_METHOD_USER_MEAN) {
        call.user_mean.push_back(static_cast<T>(sum / static_cast<double>(c.n_obs) + 0.25));
      }
    }
    if (c.kind == pattern::weight_in_one_block) {
      call.weights.assign(static_cast<std::size_t>(c.n_obs), T(1e-6));
      std::fill(call.weights.begin() + 20000, call.weights.begin() + 21000, T(1e6));
    }
    if (c.selected) {
      call.select_with_gaps();
    }
    ASSERT_EQ(call.run(method), 0);
    call.expect_near_reference(tolerance<T>);
    const auto first = call.out;
    const ss_threading_entry* const other_tables[] = {backwards_table(), nullptr};
    for (const ss_threading_entry* table : other_tables) {
      ASSERT_EQ(call.run(method, all_basic_bits, table), 0);
      for (int k = 0; k < call.count; ++k) {
        for (std::size_t d = 0; d < first[k].size(); ++d) {
          EXPECT_TRUE(near_reference(call.out[k][d], static_cast<quad>(first[k][d]), 2.0))
              << "result " << k << " of dimension " << d << " depends on the threads";
        }
      }
    }
  }
};

TEST_P(BlockedSums, Float) {
  check<float>();
}
TEST_P(BlockedSums, Double) {
  check<double>();
}

INSTANTIATE_TEST_SUITE_P(Cases, BlockedSums,
                         ::testing::Combine(::testing::ValuesIn(blocked_cases), all_methods),
                         [](const ::testing::TestParamInfo<blocked_param>& p) {
                           return std::string(std::get<0>(p.param).name) + "Method" +
                                  std::to_string(std::get<1>(p.param));
                         });

// Minimum and maximum: weights play no part, NaN values are passed over, and the extremes are the
// plain ones (a negative maximum stays negative); max alone leaves the minimum as it is.
using minmax_case = std::tuple<storage, bool /*selection*/>;
class MinmaxStage : public ::testing::TestWithParam<minmax_case> {
 protected:
  template <class T>
  void check() {
    const auto [layout, selected] = GetParam();
    const typed_entries<T> e;
    basic_call<T> data;
    data.fill(4, 7001, layout, 1000, {-50.0, 3.0, -1e6, 0.0}, {1.0, 2.0, 0.5, 1.0});
    data.weigh(3);
    if (selected) {
      data.select_with_gaps();
    }
    data.x[element_index(layout, 4, 7001, 1, 4000)] = std::numeric_limits<T>::quiet_NaN();
    for (std::int64_t i = 0; i < 7001; ++i) {  // dimension 2 all negative
      T& v = data.x[element_index(layout, 4, 7001, 2, i)];
      v = -std::fabs(v);
    }
    std::vector<T> min(4, T(untouched)), max(4, T(untouched));
    const std::int64_t words[3] = {
        4, 7001, layout == storage::row_major ? SS_STORAGE_ROW_MAJOR : SS_STORAGE_COL_MAJOR};
    ss_task* task = nullptr;
    ASSERT_EQ(e.new_task(&task, &words[0], &words[1], &words[2], data.x.data(), data.weights.data(),
                         selected ? data.selection.data() : nullptr, 1),
              0);
    ASSERT_EQ(e.edit_task(task, SS_FIELD_MIN, min.data()), 0);
    ASSERT_EQ(e.edit_task(task, SS_FIELD_MAX, max.data()), 0);
    ASSERT_EQ(e.minmax(task, SS_MIN | SS_MAX, SS_METHOD_TWO_PASS, threading_table()), 0);
    const auto ref = data.reference();
    for (int d = 0; d < 4; ++d) {
      EXPECT_TRUE(ref[d].selected ? near_reference(min[d], ref[d].min, 0) : min[d] == T(untouched));
      EXPECT_TRUE(ref[d].selected ? near_reference(max[d], ref[d].max, 0) : max[d] == T(untouched));
    }
    std::fill(min.begin(), min.end(), T(untouched));
    ASSERT_EQ(e.minmax(task, SS_MAX, SS_METHOD_TWO_PASS, threading_table()), 0);
    EXPECT_EQ(min, std::vector<T>(4, T(untouched)));
    ASSERT_EQ(e.delete_task(&task), 0);
  }
};

TEST_P(MinmaxStage, Float) {
  check<float>();
}
TEST_P(MinmaxStage, Double) {
  check<double>();
}

INSTANTIATE_TEST_SUITE_P(Forms, MinmaxStage, ::testing::Combine(both_layouts, ::testing::Bool()));

}  // namespace
}  // namespace tessel::test
