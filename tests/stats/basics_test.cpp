// Every statistic, element type, layout and form against the __float128 reference, on data with and
// without weights and selections, and on plans of one to several launches.
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

template <typename T>
std::vector<std::pair<std::string, problem<T>>> basic_problems(st::layout l, bool user_mean) {
  std::vector<std::pair<std::string, problem<T>>> cases;
  cases.emplace_back("2 observations", problem_of<T>(l, series<T>(1, 2, 11, false)));
  cases.emplace_back("7 observations", problem_of<T>(l, series<T>(3, 7, 21, false)));

  problem<T> weighted = problem_of<T>(l, series<T>(2, 64, 31, false));
  weighted.weights = random_uniform<T>(64, 37, 0.5, 2.0);
  cases.emplace_back("64 weighted observations", weighted);

  // Zero, negative and NaN weights count as 1. A selection element of 2^40 has a zero low half:
  // only a 64-bit read sees that it selects.
  problem<T> special = problem_of<T>(l, series<T>(4, 65, 41, false));
  special.weights = random_uniform<T>(65, 43, 0.25, 3.0);
  special.weights[0] = T(0);
  special.weights[17] = T(-1);
  special.weights[64] = std::numeric_limits<T>::quiet_NaN();
  special.indices = {std::int64_t{1} << 40, 0, 7, 0};
  cases.emplace_back("65 observations, special weights, selection with gaps", special);

  problem<T> skewed = problem_of<T>(l, series<T>(3, 300, 51, true));
  skewed.indices = {0, -5, 1};
  cases.emplace_back("300 skewed observations, selection", skewed);

  cases.emplace_back("1000 observations", problem_of<T>(l, series<T>(2, 1000, 61, false)));
  if (user_mean) {
    for (auto& c : cases) {
      add_user_mean(c.second, l);
    }
  }
  return cases;
}

class StatisticBasics : public ::testing::TestWithParam<basics_param> {};

TEST_P(StatisticBasics, MatchesReference) {
  const basics_param param = GetParam();
  with_type_and_layout(param.type, param.layout, [&]<typename T, st::layout L>() {
    for (const auto& [label, p] : basic_problems<T>(L, param.user_mean)) {
      SCOPED_TRACE(label);
      const T poison = T(-777);
      const outputs<T> out = run_statistic<st::method::fast, T, L>(
          test_queue(), param.stat, param.form, p, all_outputs, poison);
      const auto expected = expectations_for(p, L, testing_gpu());
      const double epsilons = allowed_epsilons(p.n_obs, test_group_size());
      for (std::size_t k = 0; k < output_count(param.stat); ++k) {
        for (std::size_t d = 0; d < expected.size(); ++d) {
          if (!expected[d].reference.selected) {
            EXPECT_EQ(out[k][d], poison)
                << "unselected dimension " << d << " written, output " << k;
            continue;
          }
          const expectation e = expected_output(param.stat, k, expected[d], param.user_mean);
          EXPECT_TRUE(near_reference(out[k][d], e.value, epsilons, e.scale))
              << "dimension " << d << ", output " << k;
        }
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(All, StatisticBasics, ::testing::ValuesIn(all_basics()), basics_name);

}  // namespace
}  // namespace tessel::test
