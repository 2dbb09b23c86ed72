// Each optional output alone and in every combination, the first output absent included: the
// outputs that are given hold their statistic whatever else is asked for. (On a CPU queue the
// estimator refuses a missing first output: see the CPU road's failures in errors_test.)
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "expected_outputs.hpp"
#include "statistic_call.hpp"
#include "support/random_data.hpp"
#include "test_setup.hpp"

namespace tessel::test {
namespace {

problem<double> sample_problem(bool user_mean) {
  std::vector<std::vector<double>> series;
  for (std::uint64_t d = 0; d < 3; ++d) {
    series.push_back(random_normal<double>(45, 100 + d, 3.0 * static_cast<double>(d + 1), 2.0));
  }
  problem<double> p = problem_of<double>(st::layout::col_major, series);
  p.weights = random_uniform<double>(45, 7, 0.5, 1.5);
  if (user_mean) {
    p.user_mean = {2.5, 6.5, 9.0};
  }
  return p;
}

TEST(OptionalOutputs, EveryCombinationWritesWhatIsGiven) {
  for (const statistic s : {statistic::raw_sum, statistic::raw_moment, statistic::central_sum,
                            statistic::central_moment}) {
    const std::size_t count = output_count(s);
    for (const bool user_mean : {false, true}) {
      if (user_mean && !has_user_mean_form(s)) {
        continue;
      }
      const problem<double> p = sample_problem(user_mean);
      const auto expected = expectations_for(p, st::layout::col_major, testing_gpu());
      const double epsilons = allowed_epsilons(p.n_obs, test_group_size());
      for (const entry_form form : {entry_form::usm, entry_form::buffer}) {
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
          const outputs<double> out =
              run_statistic<st::method::fast, double, st::layout::col_major>(test_queue(), s, form,
                                                                             p, given);
          for (std::size_t k = 0; k < count; ++k) {
            EXPECT_EQ(out[k].empty(), !given[k]);
            for (std::size_t d = 0; given[k] && d < expected.size(); ++d) {
              const expectation e = expected_output(s, k, expected[d], user_mean);
              EXPECT_TRUE(near_reference(out[k][d], e.value, epsilons, e.scale))
                  << "output " << k << ", dimension " << d;
            }
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace tessel::test
