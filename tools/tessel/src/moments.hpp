// What the host makes of a dimension's sums, with the library's definitions: W and W2 the sums
// of the weights and of their squares (both n without weights), Ck the weighted sums of k-th
// powers of deviations from the centre, variance C2 * W / (W * W - W2), third and fourth
// moments C3 / W and C4 / W, skewness moment3 / variance^1.5, kurtosis moment4 / variance^2
// - 3, variation std dev / centre. Everything is carried in long double and rounded once.
#pragma once

#include <cstddef>

namespace tessel {

struct weight_totals {
  long double w = 0;
  long double w2 = 0;
};

// The library's weight rule: a positive weight counts as it stands, any other as 1. Without weights
// (null) both totals are `count`.
template <class T>
weight_totals total_weights(const T* weights, std::size_t count);

extern template weight_totals total_weights(const float*, std::size_t);
extern template weight_totals total_weights(const double*, std::size_t);

struct central_sums {
  long double mean = 0;  // the centre
  long double c2 = 0, c3 = 0, c4 = 0;
};

// Sums about a centre c near the mean moved to the mean itself. Sums of deviations from c lose
// nothing to a large mean, but c is a float or double and so misses the mean by up to half its last
// place, an error that the third sum carries as 3 (m - c) C2. That miss is found from the sum of
// squares about a second centre a: S2(a) = C2 - 2 (a - c) S1 + (a - c)^2 W, with S1 = W (m - c).
central_sums recentre(const weight_totals& weights, long double c, long double c2, long double c3,
                      long double c4, long double a, long double s2_about_a);

struct shape_statistics {
  long double variance = 0, std_dev = 0, moment3 = 0, moment4 = 0;
  long double variation = 0, skewness = 0, kurtosis = 0;
};

shape_statistics from_sums(const central_sums& sums, const weight_totals& weights);

// From the variance and the third and fourth central moments about `centre`.
shape_statistics from_moments(long double centre, long double variance, long double moment3,
                              long double moment4);

}  // namespace tessel
