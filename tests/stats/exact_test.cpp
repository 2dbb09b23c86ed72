// Cases whose results are exact or fixed: small integer data, where every sum is exact and the
// results must match the reference bit for bit; the worked case 1, 2, 3, 4; one observation; equal
// observations; and the extremes, floored on the GPU.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "expected_outputs.hpp"
#include "statistic_call.hpp"
#include "test_setup.hpp"

namespace tessel::test {
namespace {

struct sweep_param {
  element type;
  st::layout layout;
  entry_form form;
};

std::vector<sweep_param> all_sweeps() {
  std::vector<sweep_param> params;
  for (const element e : {element::f32, element::f64}) {
    for (const st::layout l : {st::layout::row_major, st::layout::col_major}) {
      for (const entry_form f : {entry_form::usm, entry_form::buffer}) {
        params.push_back({e, l, f});
      }
    }
  }
  return params;
}

std::string sweep_name(const ::testing::TestParamInfo<sweep_param>& info) {
  return name_of(info.param.type) + "_" + name_of(info.param.layout) + "_" +
         name_of(info.param.form);
}

class Exact : public ::testing::TestWithParam<sweep_param> {};

// Pairs c + a, c - a with small integers: the mean c is an integer, so the raw sums, the mean, the
// central sums and the extremes involve no rounding, and moments of order 3 and 4 only the final
// division.
template <typename T>
problem<T> symmetric_integers(st::layout l) {
  const std::vector<int> centres = {0, -1, 2};
  std::vector<std::vector<T>> series;
  for (std::size_t d = 0; d < centres.size(); ++d) {
    std::vector<T> values;
    for (int i = 0; i < 20; ++i) {
      const int a = (i * 7 + static_cast<int>(d)) % 4;
      values.push_back(static_cast<T>(centres[d] + a));
      values.push_back(static_cast<T>(centres[d] - a));
    }
    series.push_back(values);
  }
  return problem_of<T>(l, series);
}

TEST_P(Exact, IntegerDataBitForBit) {
  const sweep_param param = GetParam();
  with_type_and_layout(param.type, param.layout, [&]<typename T, st::layout L>() {
    problem<T> plain = symmetric_integers<T>(L);
    problem<T> weighted = plain;
    weighted.weights.resize(static_cast<std::size_t>(plain.n_obs));
    for (std::size_t i = 0; i < weighted.weights.size(); ++i) {
      weighted.weights[i] = static_cast<T>(1 + i % 3);
    }
    struct exact_output {
      statistic stat;
      std::size_t output;
      bool weights_allowed;  // central sums stay exact only about an integer mean
    };
    const exact_output exact_outputs[] = {{statistic::raw_sum, 0, true},
                                          {statistic::raw_sum, 1, true},
                                          {statistic::raw_sum, 2, true},
                                          {statistic::raw_sum, 3, true},
                                          {statistic::raw_moment, 0, true},
                                          {statistic::raw_moment, 1, true},
                                          {statistic::raw_moment, 2, true},
                                          {statistic::raw_moment, 3, true},
                                          {statistic::mean, 0, true},
                                          {statistic::central_sum, 0, false},
                                          {statistic::central_sum, 1, false},
                                          {statistic::central_sum, 2, false},
                                          {statistic::central_moment, 1, false},
                                          {statistic::central_moment, 2, false},
                                          {statistic::min, 0, true},
                                          {statistic::max, 0, true},
                                          {statistic::min_max, 0, true},
                                          {statistic::min_max, 1, true}};
    for (const problem<T>* p : {&plain, &weighted}) {
      const auto expected = expectations_for(*p, L, testing_gpu());
      for (const exact_output& e : exact_outputs) {
        if (!p->weights.empty() && !e.weights_allowed) {
          continue;
        }
        SCOPED_TRACE(name_of(e.stat) + " output " + std::to_string(e.output) +
                     (p->weights.empty() ? "" : " weighted"));
        const outputs<T> out =
            run_statistic<st::method::fast, T, L>(test_queue(), e.stat, param.form, *p);
        // On a CPU queue the estimator makes the central sums of the USM form in one pass, about a
        // running mean that rounds: there they are near the reference, not equal.
        const bool one_pass =
            !testing_gpu() && e.stat == statistic::central_sum && param.form == entry_form::usm;
        for (std::size_t d = 0; d < expected.size(); ++d) {
          const expectation x = expected_output(e.stat, e.output, expected[d], false);
          if (one_pass) {
            EXPECT_TRUE(near_reference(out[e.output][d], x.value, 8, x.scale)) << "dimension " << d;
          } else {
            EXPECT_EQ(out[e.output][d], static_cast<T>(x.value)) << "dimension " << d;
          }
        }
      }
    }
  });
}

// The example of the formulas: 1, 2, 3, 4 without weights.
TEST_P(Exact, WorkedCase) {
  const sweep_param param = GetParam();
  with_type_and_layout(param.type, param.layout, [&]<typename T, st::layout L>() {
    const problem<T> p = problem_of<T>(L, {{T(1), T(2), T(3), T(4)}});
    auto first = [&](statistic s) {
      return run_statistic<st::method::fast, T, L>(test_queue(), s, param.form, p);
    };
    const auto sums = first(statistic::raw_sum);
    EXPECT_EQ(sums[0][0], T(10));
    EXPECT_EQ(sums[1][0], T(30));
    EXPECT_EQ(sums[2][0], T(100));
    EXPECT_EQ(sums[3][0], T(354));
    const auto central = first(statistic::central_sum);
    EXPECT_EQ(central[0][0], T(5));
    EXPECT_EQ(central[1][0], T(0));
    EXPECT_EQ(central[2][0], T(10.25));
    const auto moments = first(statistic::central_moment);
    EXPECT_TRUE(near_reference(moments[0][0], quad(5) / 3, 2));
    EXPECT_EQ(moments[1][0], T(0));
    EXPECT_EQ(moments[2][0], T(2.5625));
    EXPECT_TRUE(
        near_reference(first(statistic::variation)[0][0], sqrt_quad(quad(5) / 3) / quad(2.5), 4));
    EXPECT_EQ(first(statistic::skewness)[0][0], T(0));
    EXPECT_TRUE(near_reference(first(statistic::kurtosis)[0][0], quad(-20775) / 10000, 8));
  });
}

// One observation: the mean and raw sums are exact, the variance divides 0 by 0.
TEST_P(Exact, OneObservation) {
  const sweep_param param = GetParam();
  with_type_and_layout(param.type, param.layout, [&]<typename T, st::layout L>() {
    const problem<T> p = problem_of<T>(L, {{T(-2.5)}, {T(8)}});
    auto run = [&](statistic s) {
      return run_statistic<st::method::fast, T, L>(test_queue(), s, param.form, p);
    };
    EXPECT_EQ(run(statistic::mean)[0], (std::vector<T>{T(-2.5), T(8)}));
    EXPECT_EQ(run(statistic::raw_sum)[3], (std::vector<T>{T(39.0625), T(4096)}));
    for (const statistic s : {statistic::variation, statistic::skewness, statistic::kurtosis}) {
      const auto out = run(s);
      EXPECT_TRUE(std::isnan(out[0][0]) && std::isnan(out[0][1])) << name_of(s);
    }
    EXPECT_TRUE(std::isnan(run(statistic::central_moment)[0][0]));
    EXPECT_EQ(run(statistic::min_max)[0], (std::vector<T>{T(-2.5), T(8)}));
  });
}

// Equal observations: variance 0, so skewness and kurtosis are 0 / 0.
TEST_P(Exact, EqualObservations) {
  const sweep_param param = GetParam();
  with_type_and_layout(param.type, param.layout, [&]<typename T, st::layout L>() {
    const problem<T> p = problem_of<T>(L, {std::vector<T>(9, T(3))});
    auto run = [&](statistic s) {
      return run_statistic<st::method::fast, T, L>(test_queue(), s, param.form, p)[0][0];
    };
    EXPECT_EQ(run(statistic::central_moment), T(0));
    EXPECT_EQ(run(statistic::variation), T(0));
    EXPECT_TRUE(std::isnan(run(statistic::skewness)));
    EXPECT_TRUE(std::isnan(run(statistic::kurtosis)));
  });
}

// The GPU engine floors its extremes: a maximum never falls below the smallest positive normal
// value, a minimum never rises above the largest finite one. The estimator of a CPU queue returns
// the true extremes.
TEST_P(Exact, ExtremesFlooredOnlyOnTheGpu) {
  const sweep_param param = GetParam();
  with_type_and_layout(param.type, param.layout, [&]<typename T, st::layout L>() {
    constexpr T inf = std::numeric_limits<T>::infinity();
    std::vector<T> negative(50), infinite(50, inf), mixed(50);
    for (std::size_t i = 0; i < 50; ++i) {
      negative[i] = -T(1) - static_cast<T>(i % 13);
      mixed[i] = static_cast<T>(static_cast<int>(i % 11) - 6);
    }
    negative[31] = T(-0.5);
    const problem<T> p = problem_of<T>(L, {negative, infinite, mixed});
    const bool floored = testing_gpu();
    const std::vector<T> expected_min = {T(-13), floored ? std::numeric_limits<T>::max() : inf,
                                         T(-6)};
    const std::vector<T> expected_max = {floored ? std::numeric_limits<T>::min() : T(-0.5), inf,
                                         T(4)};
    const auto extremes =
        run_statistic<st::method::fast, T, L>(test_queue(), statistic::min_max, param.form, p);
    EXPECT_EQ(extremes[0], expected_min);
    EXPECT_EQ(extremes[1], expected_max);
    auto alone = [&](statistic s) {
      return run_statistic<st::method::fast, T, L>(test_queue(), s, param.form, p)[0];
    };
    EXPECT_EQ(alone(statistic::min), expected_min);
    EXPECT_EQ(alone(statistic::max), expected_max);
  });
}

INSTANTIATE_TEST_SUITE_P(All, Exact, ::testing::ValuesIn(all_sweeps()), sweep_name);

}  // namespace
}  // namespace tessel::test
