// Eight threads issue every entry of the CPU road (statistics, forms, methods, the caller's mean,
// both element types) on one queue at once, each starting at another point of the mix, while the
// first calls of the process race to bind the estimator's entries. Every result must be the one a
// single thread computes, and that within a few epsilons of the reference: the one place where
// method::estimator of the central families meets the reference on a CPU queue.
#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <variant>

#include "expected_outputs.hpp"
#include "statistic_call.hpp"
#include "support/random_data.hpp"
#include "test_setup.hpp"

namespace tessel::test {
namespace {

constexpr st::layout col = st::layout::col_major;

struct mixed_call {
  statistic stat;
  entry_form form;
  st::method method;
  bool user_mean;
  bool use_double;
};

std::string name_of(const mixed_call& c) {
  return name_of(c.stat) + (c.form == entry_form::usm ? " usm" : " buffer") +
         (c.method == st::method::estimator ? " estimator" : "") +
         (c.user_mean ? " user mean" : "") + (c.use_double ? " double" : " float");
}

std::vector<mixed_call> the_mix() {
  std::vector<mixed_call> mix;
  bool use_double = false;
  for (const statistic s : all_statistics) {
    for (const entry_form form : {entry_form::usm, entry_form::buffer}) {
      use_double = !use_double;
      mix.push_back({s, form, st::method::fast, false, use_double});
      if (has_method2(s)) {
        mix.push_back({s, form, st::method::estimator, false, !use_double});
      }
      if (has_user_mean_form(s)) {
        mix.push_back({s, form, st::method::fast, true, use_double});
      }
    }
  }
  return mix;
}

// Five skewed dimensions of 20000 observations, for double with means up to a million times their
// spread, where raw power sums would lose every digit of the central ones; weights for some
// statistics (zero, negative and NaN ones among them), a selection for others.
template <typename T>
problem<T> problem_for(const mixed_call& c) {
  constexpr bool ill = std::is_same_v<T, double>;
  const double offsets[] = {ill ? 1e6 : 1.0, ill ? -3e6 : -30.0, ill ? 2.5e5 : 4.0,
                            ill ? 4e7 : 250.0, ill ? -0.5e6 : 0.5};
  const double scales[] = {ill ? 1.0 : 2.0, 3.0, 0.25, ill ? 40.0 : 10.0, ill ? 0.5 : 1.0};
  std::vector<std::vector<T>> series;
  std::vector<T> user_mean;
  for (int d = 0; d < 5; ++d) {
    series.push_back(random_skewed<T>(20000, 1 + d, offsets[d], scales[d]));
    if (c.user_mean) {
      user_mean.push_back(static_cast<T>(offsets[d] + scales[d] * 1.0625));
    }
  }
  problem<T> p = problem_of<T>(col, series);
  p.user_mean = user_mean;
  if (c.stat == statistic::kurtosis || c.stat == statistic::raw_moment) {
    p.weights = random_uniform<T>(20000, 100, 0.25, 4.0);
    p.weights[1] = T(0);
    p.weights[2] = T(-1);
    p.weights[3] = std::numeric_limits<T>::quiet_NaN();
  }
  if (c.stat == statistic::variation) {
    p.indices = {1, 0, 3, 4, 0};
  }
  return p;
}

sycl::queue& cpu_queue() {
  static sycl::queue queue{sycl::cpu_selector_v};
  return queue;
}

using any_outputs = std::variant<outputs<float>, outputs<double>>;

any_outputs run_any(const mixed_call& c) {
  const auto run = [&]<typename T>(T) -> any_outputs {
    const problem<T> p = problem_for<T>(c);
    return c.method == st::method::fast
               ? run_statistic<st::method::fast, T, col>(cpu_queue(), c.stat, c.form, p)
               : run_statistic<st::method::estimator, T, col>(cpu_queue(), c.stat, c.form, p);
  };
  return c.use_double ? run(0.0) : run(0.0f);
}

// Float results are computed in double and rounded once; double ones carry the rounding of the
// estimator's accurate sums, within 1e-13 of the value.
template <typename T>
void expect_reference(const mixed_call& c, const outputs<T>& got) {
  const auto expected = expectations_for(problem_for<T>(c), col, false);
  for (std::size_t k = 0; k < output_count(c.stat); ++k) {
    for (std::size_t d = 0; d < expected.size(); ++d) {
      if (expected[d].reference.selected) {
        const quad value = expected_output(c.stat, k, expected[d], c.user_mean).value;
        EXPECT_TRUE(
            near_reference(got[k][d], value, std::is_same_v<T, float> ? 4 : 1e-13 / 0x1p-52))
            << name_of(c) << " output " << k << " dimension " << d;
      }
    }
  }
}

TEST(CpuConcurrency, EightThreadsOnOneQueueGiveTheResultsOfOne) {
  constexpr std::size_t thread_count = 8;
  const std::vector<mixed_call> mix = the_mix();
  std::vector<std::vector<any_outputs>> results(thread_count, std::vector<any_outputs>(mix.size()));
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < thread_count; ++t) {
    threads.emplace_back([&mix, &results, t] {
      for (std::size_t k = 0; k < mix.size(); ++k) {
        const std::size_t at = (k + t * mix.size() / thread_count) % mix.size();
        results[t][at] = run_any(mix[at]);
      }
    });
  }
  for (std::thread& t : threads) {
    t.join();
  }
  for (std::size_t k = 0; k < mix.size(); ++k) {
    const any_outputs alone = run_any(mix[k]);
    std::visit([&](const auto& got) { expect_reference(mix[k], got); }, alone);
    for (std::size_t t = 0; t < thread_count; ++t) {
      EXPECT_TRUE(results[t][k] == alone) << "thread " << t << ": " << name_of(mix[k]);
    }
  }
}

}  // namespace
}  // namespace tessel::test
