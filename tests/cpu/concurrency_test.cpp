// Eight threads issue a mix of statistics, forms and element types on one CPU queue at the same
// time, each thread starting at another point of the mix; every result must be the one that a
// single thread computes. The first calls of the process race to bind the estimator's entries.
#include <gtest/gtest.h>

#include <sycl/sycl.hpp>

#include <cstddef>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "cpu_cases.hpp"

namespace tessel::test {
namespace {

struct mixed_call {
  statistic stat;
  entry_form form;
  st::method method;
  bool user_mean;
  bool use_double;
};

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

using any_outputs = std::variant<outputs<float>, outputs<double>>;

any_outputs run(const mixed_call& call) {
  problem_shape shape;
  shape.n_obs = 20000;
  shape.weights = call.stat == statistic::kurtosis || call.stat == statistic::raw_moment;
  shape.selection = call.stat == statistic::variation;
  shape.user_mean = call.user_mean;
  constexpr st::layout layout = st::layout::col_major;
  if (call.use_double) {
    return run_with_method<double, layout>(cpu_queue(), call.stat, call.form, call.method,
                                           make_problem<double>(shape, layout));
  }
  return run_with_method<float, layout>(cpu_queue(), call.stat, call.form, call.method,
                                        make_problem<float>(shape, layout));
}

TEST(CpuConcurrency, EightThreadsOnOneQueueGiveTheResultsOfOne) {
  constexpr std::size_t thread_count = 8;
  const std::vector<mixed_call> mix = the_mix();
  std::vector<std::vector<any_outputs>> results(thread_count);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < thread_count; ++t) {
    threads.emplace_back([&mix, &results, t] {
      std::vector<any_outputs>& mine = results[t];
      mine.resize(mix.size());
      for (std::size_t k = 0; k < mix.size(); ++k) {
        const std::size_t at = (k + t * mix.size() / thread_count) % mix.size();
        mine[at] = run(mix[at]);
      }
    });
  }
  for (std::thread& t : threads) {
    t.join();
  }
  for (std::size_t k = 0; k < mix.size(); ++k) {
    const any_outputs alone = run(mix[k]);
    for (std::size_t t = 0; t < thread_count; ++t) {
      EXPECT_TRUE(results[t][k] == alone)
          << "thread " << t << ": " << name_of(mix[k].stat) << " call " << k;
    }
  }
}

}  // namespace
}  // namespace tessel::test
