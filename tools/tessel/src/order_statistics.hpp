// Minimum, quartiles and maximum of each dimension, exact, on the host: order statistics of the
// values, with the quartiles interpolated linearly between the two nearest ranks as pandas'
// describe does (rank q * (n - 1) of the n values, counted from 0).
#pragma once

#include <cstddef>
#include <vector>

namespace tessel {

// Observations of several dimensions that share their count: element i of dimension k is
// first[offsets[k] + i * step].
template <class T>
struct column_set {
  const T* first = nullptr;
  std::size_t count = 0;
  std::size_t step = 1;
  std::vector<std::size_t> offsets;
};

struct order_statistics {
  double min = 0, q1 = 0, median = 0, q3 = 0, max = 0;  // NaN for no values
};

// One result per column of every set, in order. Values must not be NaN. Runs on up to `workers`
// threads.
template <class T>
std::vector<order_statistics> find_order_statistics(const std::vector<column_set<T>>& sets,
                                                    unsigned workers);

extern template std::vector<order_statistics> find_order_statistics(
    const std::vector<column_set<float>>&, unsigned);
extern template std::vector<order_statistics> find_order_statistics(
    const std::vector<column_set<double>>&, unsigned);

}  // namespace tessel
