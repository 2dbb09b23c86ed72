// Every statistic on a CPU queue, through the library's entries and the estimator module:
// against the __float128 reference on well-conditioned data and, for double, on data whose mean
// is a million times its spread; with weights, selections and optional outputs left out, in both
// forms, layouts and methods.
#include <gtest/gtest.h>

#include <sycl/sycl.hpp>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "cpu_cases.hpp"

namespace tessel::test {
namespace {

constexpr double poison = -777.0;

struct statistic_case {
  statistic stat;
  entry_form form;
  st::layout layout;
  st::method method;
  bool user_mean;
};

// Every entry: both forms and layouts, method::estimator where the statistic has it, and the
// forms with the caller's mean.
std::vector<statistic_case> all_entries() {
  std::vector<statistic_case> cases;
  for (const statistic s : all_statistics) {
    for (const entry_form form : {entry_form::usm, entry_form::buffer}) {
      for (const st::layout l : {st::layout::row_major, st::layout::col_major}) {
        cases.push_back({s, form, l, st::method::fast, false});
        if (has_method2(s)) {
          cases.push_back({s, form, l, st::method::estimator, false});
        }
        if (has_user_mean_form(s)) {
          cases.push_back({s, form, l, st::method::fast, true});
        }
      }
    }
  }
  return cases;
}

std::string case_name(const ::testing::TestParamInfo<statistic_case>& info) {
  const statistic_case& c = info.param;
  return name_of(c.stat, c.form, c.layout, c.method, c.user_mean);
}

// Calls body.template operator()<T, L>() for the case's layout.
template <typename T, typename Body>
void with_layout(st::layout l, Body&& body) {
  if (l == st::layout::row_major) {
    body.template operator()<T, st::layout::row_major>();
  } else {
    body.template operator()<T, st::layout::col_major>();
  }
}

// Each given output of every selected dimension within `epsilons` of the reference, relative to
// its size; unselected dimensions untouched.
template <typename T>
void expect_reference(const statistic_case& c, const problem<T>& p, const outputs<T>& got,
                      const std::vector<dimension_reference>& reference, double epsilons) {
  for (std::size_t k = 0; k < output_count(c.stat); ++k) {
    ASSERT_EQ(got[k].size(), static_cast<std::size_t>(p.n_dims)) << "output " << k;
    for (std::size_t d = 0; d < got[k].size(); ++d) {
      if (reference[d].selected) {
        EXPECT_TRUE(near_reference(got[k][d], reference_output(c.stat, k, reference[d]), epsilons))
            << "output " << k << ", dimension " << d;
      } else {
        EXPECT_EQ(got[k][d], T(poison)) << "output " << k << ", unselected dimension " << d;
      }
    }
  }
}

class CpuResults : public ::testing::TestWithParam<statistic_case> {};

INSTANTIATE_TEST_SUITE_P(Entries, CpuResults, ::testing::ValuesIn(all_entries()), case_name);

// Results are computed in double and rounded once for float; double carries the rounding of
// the estimator's accurate sums.
TEST_P(CpuResults, MatchTheReference) {
  const statistic_case c = GetParam();
  for (const bool weights : {false, true}) {
    for (const bool selection : {false, true}) {
      SCOPED_TRACE(std::string(weights ? "weighted" : "unweighted") +
                   (selection ? ", selected" : ""));
      problem_shape shape;
      shape.weights = weights;
      shape.selection = selection;
      shape.user_mean = c.user_mean;
      with_layout<float>(c.layout, [&]<typename T, st::layout L>() {
        const problem<T> p = make_problem<T>(shape, L);
        expect_reference(c, p, run_with_method<T, L>(cpu_queue(), c.stat, c.form, c.method, p),
                         reference_of(p, L), 4.0);
      });
      with_layout<double>(c.layout, [&]<typename T, st::layout L>() {
        const problem<T> p = make_problem<T>(shape, L);
        expect_reference(c, p, run_with_method<T, L>(cpu_queue(), c.stat, c.form, c.method, p),
                         reference_of(p, L), 64.0);
      });
    }
  }
}

// Raw power sums would lose every digit of the central ones here; the estimator's do not.
TEST_P(CpuResults, DoubleStaysWithin1e13WhenTheMeanIsAMillionSpreads) {
  const statistic_case c = GetParam();
  for (const bool weights : {false, true}) {
    SCOPED_TRACE(weights ? "weighted" : "unweighted");
    problem_shape shape;
    shape.n_obs = 4001;
    shape.offset = {1e6, -3e6, 2.5e5, 4e7, -0.5e6};
    shape.scale = {1.0, 3.0, 0.25, 40.0, 0.5};
    shape.weights = weights;
    shape.user_mean = c.user_mean;
    with_layout<double>(c.layout, [&]<typename T, st::layout L>() {
      const problem<T> p = make_problem<T>(shape, L);
      expect_reference(c, p, run_with_method<T, L>(cpu_queue(), c.stat, c.form, c.method, p),
                       reference_of(p, L), 1e-13 / 0x1.0p-52);
    });
  }
}

// The statistics whose later outputs may be left out.
std::vector<statistic_case> entries_with_optional_outputs() {
  std::vector<statistic_case> cases = all_entries();
  cases.erase(std::remove_if(cases.begin(), cases.end(),
                             [](const statistic_case& c) {
                               return c.stat != statistic::raw_sum &&
                                      c.stat != statistic::raw_moment &&
                                      c.stat != statistic::central_sum &&
                                      c.stat != statistic::central_moment;
                             }),
              cases.end());
  return cases;
}

class CpuOptionalOutputs : public ::testing::TestWithParam<statistic_case> {};

INSTANTIATE_TEST_SUITE_P(Entries, CpuOptionalOutputs,
                         ::testing::ValuesIn(entries_with_optional_outputs()), case_name);

// Only the outputs that are given are computed and written, in every combination; the first
// output is always given here (without it the estimator refuses).
TEST_P(CpuOptionalOutputs, LaterOutputsLeftOut) {
  const statistic_case c = GetParam();
  const std::size_t count = output_count(c.stat);
  problem_shape shape;
  shape.user_mean = c.user_mean;
  for (unsigned later = 0; later < (1u << (count - 1)); ++later) {
    output_mask given{true, false, false, false};
    for (std::size_t k = 1; k < count; ++k) {
      given[k] = (later >> (k - 1) & 1) != 0;
    }
    SCOPED_TRACE("later outputs " + std::to_string(later));
    with_layout<double>(c.layout, [&]<typename T, st::layout L>() {
      const problem<T> p = make_problem<T>(shape, L);
      const outputs<T> got = run_with_method<T, L>(cpu_queue(), c.stat, c.form, c.method, p, given);
      const std::vector<dimension_reference> reference = reference_of(p, L);
      for (std::size_t k = 0; k < count; ++k) {
        ASSERT_EQ(got[k].empty(), !given[k]) << "output " << k;
        for (std::size_t d = 0; d < got[k].size(); ++d) {
          EXPECT_TRUE(near_reference(got[k][d], reference_output(c.stat, k, reference[d]), 64.0))
              << "output " << k << ", dimension " << d;
        }
      }
    });
  }
}

// The scratch of the CPU road comes from malloc_shared: a failure there is the entry's
// device_bad_alloc, with "rng" for every statistic.
TEST(CpuScratch, FailedAllocationIsDeviceBadAlloc) {
  problem_shape shape;
  const problem<double> p = make_problem<double>(shape, st::layout::row_major);
  const std::string device = cpu_queue().get_device().get_info<sycl::info::device::name>();
  const auto fails_after = [&](long long successes, statistic s, st::method m) {
    sycl::detail::fail_malloc_shared_after(successes);
    std::string what;
    try {
      run_with_method<double, st::layout::row_major>(cpu_queue(), s, entry_form::usm, m, p);
    } catch (const vorlex::orv::device_bad_alloc& e) {
      what = e.what();
    }
    sycl::detail::fail_malloc_shared_after(-1);
    return what;
  };
  // The test's own arrays come first: one each for the observations and the outputs.
  EXPECT_EQ(fails_after(2 + 5, statistic::kurtosis, st::method::fast),
            "vorlex::orv::rng::kurtosis: cannot allocate memory on " + device);
  EXPECT_EQ(fails_after(1 + 3 + 1, statistic::central_sum, st::method::fast),
            "vorlex::orv::rng::central_sum: cannot allocate memory on " + device);
  // method::estimator of central_sum needs one array only.
  EXPECT_EQ(fails_after(1 + 3 + 1, statistic::central_sum, st::method::estimator), "");
}

}  // namespace
}  // namespace tessel::test
