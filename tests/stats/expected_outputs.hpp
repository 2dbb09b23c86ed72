// What each output of a statistic should hold, from the __float128 reference, and the size of the
// terms it is computed from: a result may be off by a few units of epsilon times that size, which
// carries the statistic's condition (cancellation in a sum, or in the expansion of central sums
// from raw ones).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "statistic_call.hpp"
#include "support/reference.hpp"

namespace tessel::test {

struct expectation {
  quad value = 0;
  quad scale = 0;
};

// Per dimension: the reference and the sizes of its terms.
struct dimension_expectations {
  dimension_reference reference;
  std::array<quad, 5> raw_terms{};      // sum of w |x|^k, k = 0..4
  std::array<quad, 5> central_terms{};  // sum of w (|x| + |centre|)^k, k = 0..4
};

// The GPU engine floors the extremes (a minimum never above the largest finite value, a maximum
// never below the smallest positive normal one); the estimator of a CPU queue does not.
template <typename T>
std::vector<dimension_expectations> expectations_for(const problem<T>& p, st::layout layout,
                                                     bool floored_extremes);

// Output k of statistic s; user_mean says which form ran.
expectation expected_output(statistic s, std::size_t k, const dimension_expectations& e,
                            bool user_mean);

// Units of epsilon allowed against an expectation's scale, for sums of n terms reduced in groups of
// group_size: each level of the reduction adds up to group_size partial results one after the
// other, and rounding errors of such a chain grow with about the root of its length, which the
// logarithm bounds generously for the sizes tested here.
double allowed_epsilons(std::int64_t n, std::size_t group_size);

}  // namespace tessel::test
