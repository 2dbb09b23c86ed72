// What the tests of the statistics on a CPU queue share: the queues, the test problems, the
// reference value of each output, and a call of any statistic with the method chosen at run
// time.
#pragma once

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "statistic_call.hpp"
#include "support/reference.hpp"

namespace tessel::test {

sycl::queue& cpu_queue();

// n_dims dimensions of n_obs skewed observations (exponential variates): dimension d is
// offset[d] + scale[d] * e, so its mean is offset + scale and its spread scale. Weights are
// positive, with a zero, a negative and a NaN weight that count as 1; the selection skips
// every third dimension; the user mean is near the data's mean.
struct problem_shape {
  std::int64_t n_dims = 5;
  std::int64_t n_obs = 1000;
  std::vector<double> offset = {1.0, -30.0, 4.0, 250.0, 0.5};
  std::vector<double> scale = {2.0, 3.0, 0.25, 10.0, 1.0};
  bool weights = false;
  bool selection = false;
  bool user_mean = false;
  std::uint64_t seed = 1;
};

template <typename T>
problem<T> make_problem(const problem_shape& shape, st::layout layout);

std::vector<dimension_reference> reference_of(const problem<float>& p, st::layout layout);
std::vector<dimension_reference> reference_of(const problem<double>& p, st::layout layout);

// Output k of statistic s, as the reference has it.
quad reference_output(statistic s, std::size_t k, const dimension_reference& r);

// Runs statistic s with method m (method::estimator only where the statistic has it).
template <typename T, st::layout L>
outputs<T> run_with_method(sycl::queue& q, statistic s, entry_form form, st::method m,
                           const problem<T>& p, output_mask given = all_outputs) {
  return m == st::method::fast ? run_statistic<st::method::fast, T, L>(q, s, form, p, given)
                               : run_statistic<st::method::estimator, T, L>(q, s, form, p, given);
}

std::string name_of(statistic s, entry_form form, st::layout layout, st::method m, bool user_mean);

}  // namespace tessel::test
