// What a call writes: every combination of optional outputs, selections that skip everything or all
// but the last dimension, and method::estimator as the same function as method::fast.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "expected_outputs.hpp"
#include "statistic_call.hpp"
#include "support/random_data.hpp"
#include "test_setup.hpp"

namespace tessel::test {
namespace {

constexpr entry_form both_forms[] = {entry_form::usm, entry_form::buffer};

template <typename T>
problem<T> sample_problem(st::layout l, std::int64_t n_dims, std::int64_t n_obs) {
  std::vector<std::vector<T>> series;
  for (std::int64_t d = 0; d < n_dims; ++d) {
    series.push_back(random_normal<T>(static_cast<std::size_t>(n_obs), 100 + d,
                                      3.0 * static_cast<double>(d + 1), 2.0));
  }
  problem<T> p = problem_of<T>(l, series);
  p.weights = random_uniform<T>(static_cast<std::size_t>(n_obs), 7, 0.5, 1.5);
  return p;
}

template <typename T>
void expect_outputs_match(statistic s, const problem<T>& p, st::layout l, const outputs<T>& out,
                          const output_mask& given) {
  const auto expected = expectations_for(p, l, testing_gpu());
  const double epsilons = allowed_epsilons(p.n_obs, test_group_size());
  for (std::size_t k = 0; k < output_count(s); ++k) {
    if (!given[k]) {
      EXPECT_TRUE(out[k].empty());
      continue;
    }
    for (std::size_t d = 0; d < expected.size(); ++d) {
      const expectation e = expected_output(s, k, expected[d], !p.user_mean.empty());
      EXPECT_TRUE(near_reference(out[k][d], e.value, epsilons, e.scale))
          << "output " << k << ", dimension " << d;
    }
  }
}

// Each optional output alone and in every combination, the first output absent included: the
// outputs that are given hold their statistic whatever else is asked for. (On a CPU queue the
// estimator refuses a missing first output: see the CPU road's failures in errors_test.)
TEST(OptionalOutputs, EveryCombinationWritesWhatIsGiven) {
  for (const statistic s : {statistic::raw_sum, statistic::raw_moment, statistic::central_sum,
                            statistic::central_moment}) {
    const std::size_t count = output_count(s);
    for (const bool user_mean : {false, true}) {
      if (user_mean && !has_user_mean_form(s)) {
        continue;
      }
      for (const entry_form form : both_forms) {
        for (unsigned bits = 1; bits < (1U << count); ++bits) {
          output_mask given{};
          for (std::size_t k = 0; k < count; ++k) {
            given[k] = (bits >> k) & 1U;
          }
          if (!given[0] && !testing_gpu()) {
            continue;
          }
          SCOPED_TRACE(name_of(s) + " " + name_of(form) + (user_mean ? " user mean" : "") +
                       " outputs " + std::to_string(bits));
          problem<double> p = sample_problem<double>(st::layout::col_major, 3, 45);
          if (user_mean) {
            p.user_mean = {2.5, 6.5, 9.0};
          }
          const outputs<double> out =
              run_statistic<st::method::fast, double, st::layout::col_major>(test_queue(), s, form,
                                                                             p, given);
          expect_outputs_match(s, p, st::layout::col_major, out, given);
        }
      }
    }
  }
}

TEST(Selection, AllZeroWritesNothingAndLastOnlyWritesTheLast) {
  for (const statistic s : all_statistics) {
    for (const entry_form form : both_forms) {
      SCOPED_TRACE(name_of(s) + " " + name_of(form));
      problem<float> p = sample_problem<float>(st::layout::row_major, 4, 30);
      const float poison = -777.0F;
      p.indices = {0, 0, 0, 0};
      outputs<float> out =
          run_statistic<st::method::fast, float, st::layout::row_major>(test_queue(), s, form, p);
      for (std::size_t k = 0; k < output_count(s); ++k) {
        EXPECT_EQ(out[k], std::vector<float>(4, poison)) << "output " << k;
      }
      p.indices = {0, 0, 0, 1};
      out = run_statistic<st::method::fast, float, st::layout::row_major>(test_queue(), s, form, p);
      for (std::size_t k = 0; k < output_count(s); ++k) {
        EXPECT_EQ(std::vector<float>(out[k].begin(), out[k].begin() + 3),
                  std::vector<float>(3, poison))
            << "output " << k;
        EXPECT_NE(out[k][3], poison) << "output " << k;
      }
    }
  }
}

// method::estimator of the statistics whose methods coincide is the method::fast function: the same
// bits come out.
TEST(MethodTwo, SameResultsAsMethodOne) {
  for (const statistic s : {statistic::raw_sum, statistic::raw_moment, statistic::mean,
                            statistic::variation, statistic::skewness, statistic::kurtosis}) {
    for (const entry_form form : both_forms) {
      SCOPED_TRACE(name_of(s) + " " + name_of(form));
      const problem<double> p = sample_problem<double>(st::layout::row_major, 3, 77);
      const auto fast =
          run_statistic<st::method::fast, double, st::layout::row_major>(test_queue(), s, form, p);
      const auto estimator = run_statistic<st::method::estimator, double, st::layout::row_major>(
          test_queue(), s, form, p);
      for (std::size_t k = 0; k < output_count(s); ++k) {
        ASSERT_EQ(fast[k].size(), estimator[k].size());
        EXPECT_EQ(std::memcmp(fast[k].data(), estimator[k].data(), fast[k].size() * sizeof(double)),
                  0)
            << "output " << k;
      }
    }
  }
}

}  // namespace
}  // namespace tessel::test
