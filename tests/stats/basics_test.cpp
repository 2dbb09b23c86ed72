// Every statistic, element type, layout and form against the __float128 reference: random data
// with and without weights and selections on plans of one to several launches, and the cases whose
// results are exact (small integers, one observation, equal observations, the extremes).
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "expected_outputs.hpp"
#include "statistic_call.hpp"
#include "support/random_data.hpp"
#include "test_setup.hpp"

namespace tessel::test {
namespace {

struct basics_param {
  statistic stat;
  element type;
  st::layout layout;
  entry_form form;
  bool user_mean;
};

std::vector<basics_param> all_basics() {
  std::vector<basics_param> params;
  for (const statistic s : all_statistics) {
    for (const element e : {element::f32, element::f64}) {
      for (const st::layout l : {st::layout::row_major, st::layout::col_major}) {
        for (const entry_form f : {entry_form::usm, entry_form::buffer}) {
          params.push_back({s, e, l, f, false});
          if (has_user_mean_form(s)) {
            params.push_back({s, e, l, f, true});
          }
        }
      }
    }
  }
  return params;
}

std::string basics_name(const ::testing::TestParamInfo<basics_param>& info) {
  const basics_param& p = info.param;
  return name_of(p.stat) + "_" + name_of(p.type) + "_" + name_of(p.layout) + "_" + name_of(p.form) +
         (p.user_mean ? "_user_mean" : "");
}

template <typename T>
std::vector<std::vector<T>> series(std::size_t n_dims, std::size_t n_obs, std::uint64_t seed,
                                   bool skewed) {
  std::vector<std::vector<T>> result;
  for (std::size_t d = 0; d < n_dims; ++d) {
    // Dimensions differ in place and sign, so that a mix-up between them shows.
    const double offset = (d % 2 == 0 ? 1.0 : -1.0) * (5.0 + 3.0 * static_cast<double>(d));
    result.push_back(skewed ? random_skewed<T>(n_obs, seed + d, offset, 2.0)
                            : random_normal<T>(n_obs, seed + d, offset, 1.5));
  }
  return result;
}

// A caller's mean near, but not at, each dimension's mean.
template <typename T>
void add_user_mean(problem<T>& p, st::layout l) {
  p.user_mean.clear();
  for (std::int64_t d = 0; d < p.n_dims; ++d) {
    double sum = 0;
    for (std::int64_t i = 0; i < p.n_obs; ++i) {
      const auto index = l == st::layout::row_major ? d * p.n_obs + i : d + i * p.n_dims;
      sum += static_cast<double>(p.values[static_cast<std::size_t>(index)]);
    }
    const double mean = sum / static_cast<double>(p.n_obs);
    p.user_mean.push_back(static_cast<T>(mean + 0.1 * std::fabs(mean) + 0.25));
  }
}

// Pairs c + a, c - a with small integers: the mean c is an integer, so the raw sums, the mean, the
// central sums and the extremes involve no rounding, and moments of order 3 and 4 only the final
// division.
template <typename T>
problem<T> symmetric_integers(st::layout l) {
  const std::vector<int> centres = {0, -1, 2};
  std::vector<std::vector<T>> values(centres.size());
  for (std::size_t d = 0; d < centres.size(); ++d) {
    for (int i = 0; i < 20; ++i) {
      const int a = (i * 7 + static_cast<int>(d)) % 4;
      values[d].push_back(static_cast<T>(centres[d] + a));
      values[d].push_back(static_cast<T>(centres[d] - a));
    }
  }
  return problem_of<T>(l, values);
}

// Negative values (the GPU floors their maximum to the smallest normal value), infinities (and
// their minimum to the largest finite one), and both signs.
template <typename T>
problem<T> extremes(st::layout l) {
  std::vector<T> negative(50), infinite(50, std::numeric_limits<T>::infinity()), mixed(50);
  for (std::size_t i = 0; i < 50; ++i) {
    negative[i] = -T(1) - static_cast<T>(i % 13);
    mixed[i] = static_cast<T>(static_cast<int>(i % 11) - 6);
  }
  negative[31] = T(-0.5);
  return problem_of<T>(l, {negative, infinite, mixed});
}

struct test_case {
  std::string label;
  bool exact;  // some outputs are exact: see exact_epsilons
};

template <typename T>
std::vector<std::pair<test_case, problem<T>>> basic_problems(statistic s, st::layout l,
                                                             bool user_mean) {
  std::vector<std::pair<test_case, problem<T>>> cases;
  auto add = [&](std::string label, problem<T> p, bool exact = false) {
    if (user_mean) {
      add_user_mean(p, l);
    }
    cases.push_back({{std::move(label), exact}, std::move(p)});
  };
  add("2 observations", problem_of<T>(l, series<T>(1, 2, 11, false)));
  add("7 observations", problem_of<T>(l, series<T>(3, 7, 21, false)));
  problem<T> weighted = problem_of<T>(l, series<T>(2, 64, 31, false));
  weighted.weights = random_uniform<T>(64, 37, 0.5, 2.0);
  add("64 weighted observations", weighted);
  // Zero, negative and NaN weights count as 1. A selection element of 2^40 has a zero low half:
  // only a 64-bit read sees that it selects.
  problem<T> special = problem_of<T>(l, series<T>(4, 65, 41, false));
  special.weights = random_uniform<T>(65, 43, 0.25, 3.0);
  special.weights[0] = T(0);
  special.weights[17] = T(-1);
  special.weights[64] = std::numeric_limits<T>::quiet_NaN();
  special.indices = {std::int64_t{1} << 40, 0, 7, 0};
  add("65 observations, special weights, selection with gaps", special);
  problem<T> skewed = problem_of<T>(l, series<T>(3, 300, 51, true));
  skewed.indices = {0, -5, 1};
  add("300 skewed observations, selection", skewed);
  add("1000 observations", problem_of<T>(l, series<T>(2, 1000, 61, false)));
  problem<T> none_selected = problem_of<T>(l, series<T>(4, 30, 71, false));
  none_selected.indices = {0, 0, 0, 0};
  add("no dimension selected", none_selected);
  if (user_mean) {
    return cases;
  }
  // One observation divides 0 by 0 in the variance; equal ones make skewness and kurtosis 0 / 0.
  add("one observation", problem_of<T>(l, {{T(-2.5)}, {T(8)}}), true);
  add("equal observations", problem_of<T>(l, {std::vector<T>(9, T(3))}), true);
  problem<T> integers = symmetric_integers<T>(l);
  add("integers", integers, true);
  integers.weights.resize(static_cast<std::size_t>(integers.n_obs));
  for (std::size_t i = 0; i < integers.weights.size(); ++i) {
    integers.weights[i] = static_cast<T>(1 + i % 3);
  }
  add("weighted integers", integers, true);
  if (s == statistic::min || s == statistic::max || s == statistic::min_max) {
    add("extremes", extremes<T>(l), true);
  }
  return cases;
}

// The epsilons of an output of the exact cases, 0 for bit for bit with the reference rounded to T.
// Central sums stay exact only about an integer mean; on a CPU queue the estimator makes the
// central sums of the USM form in one pass, about a running mean that rounds: there they are near
// the reference, not equal.
double exact_epsilons(statistic s, std::size_t k, bool weighted, entry_form form, double general) {
  switch (s) {
    case statistic::central_sum:
      return weighted ? general : testing_gpu() || form == entry_form::buffer ? 0 : 8;
    case statistic::central_moment:
      return !weighted && k > 0 ? 0 : general;
    case statistic::variation:
    case statistic::skewness:
    case statistic::kurtosis:
      return general;
    default:
      return 0;
  }
}

class StatisticBasics : public ::testing::TestWithParam<basics_param> {};

TEST_P(StatisticBasics, MatchesReference) {
  const basics_param param = GetParam();
  with_type_and_layout(param.type, param.layout, [&]<typename T, st::layout L>() {
    for (const auto& [c, p] : basic_problems<T>(param.stat, L, param.user_mean)) {
      SCOPED_TRACE(c.label);
      const T poison = T(-777);
      const outputs<T> out = run_statistic<st::method::fast, T, L>(
          test_queue(), param.stat, param.form, p, all_outputs, poison);
      const auto expected = expectations_for(p, L, testing_gpu());
      const double epsilons = allowed_epsilons(p.n_obs, test_group_size());
      for (std::size_t k = 0; k < output_count(param.stat); ++k) {
        const double allowed =
            c.exact ? exact_epsilons(param.stat, k, !p.weights.empty(), param.form, epsilons)
                    : epsilons;
        for (std::size_t d = 0; d < expected.size(); ++d) {
          if (!expected[d].reference.selected) {
            EXPECT_EQ(out[k][d], poison)
                << "unselected dimension " << d << " written, output " << k;
            continue;
          }
          const expectation e = expected_output(param.stat, k, expected[d], param.user_mean);
          if (allowed == 0) {
            EXPECT_EQ(out[k][d], static_cast<T>(e.value)) << "dimension " << d << ", output " << k;
          } else {
            EXPECT_TRUE(near_reference(out[k][d], e.value, allowed, e.scale))
                << "dimension " << d << ", output " << k;
          }
        }
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(All, StatisticBasics, ::testing::ValuesIn(all_basics()), basics_name);

}  // namespace
}  // namespace tessel::test
