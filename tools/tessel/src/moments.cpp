#include "moments.hpp"

#include <cmath>

namespace tessel {

template <class T>
weight_totals total_weights(const T* weights, std::size_t count) {
  if (weights == nullptr) {
    const auto n = static_cast<long double>(count);
    return {n, n};
  }
  weight_totals totals;
  for (std::size_t i = 0; i < count; ++i) {
    const long double w = weights[i] > 0 ? static_cast<long double>(weights[i]) : 1.0L;
    totals.w += w;
    totals.w2 += w * w;
  }
  return totals;
}

template weight_totals total_weights(const float*, std::size_t);
template weight_totals total_weights(const double*, std::size_t);

central_sums recentre(const weight_totals& weights, long double c, long double c2, long double c3,
                      long double c4, long double a, long double s2_about_a) {
  const long double step = a - c;
  const long double s1 = step == 0 ? 0 : (c2 + step * step * weights.w - s2_about_a) / (2 * step);
  // An infinite value leaves no finite mean to move to.
  const long double d = std::isfinite(s1) ? s1 / weights.w : 0;
  central_sums sums;
  sums.mean = c + d;
  sums.c2 = c2 - s1 * d;
  sums.c3 = c3 - 3 * d * c2 + 2 * weights.w * d * d * d;
  sums.c4 = c4 - 4 * d * c3 + 6 * d * d * c2 - 3 * weights.w * d * d * d * d;
  return sums;
}

shape_statistics from_sums(const central_sums& sums, const weight_totals& weights) {
  return from_moments(sums.mean, sums.c2 * (weights.w / (weights.w * weights.w - weights.w2)),
                      sums.c3 / weights.w, sums.c4 / weights.w);
}

shape_statistics from_moments(long double centre, long double variance, long double moment3,
                              long double moment4) {
  shape_statistics shape;
  shape.variance = variance;
  shape.std_dev = std::sqrt(variance);
  shape.moment3 = moment3;
  shape.moment4 = moment4;
  shape.variation = shape.std_dev / centre;
  shape.skewness = moment3 / std::sqrt(variance * variance * variance);
  shape.kurtosis = moment4 / (variance * variance) - 3;
  return shape;
}

}  // namespace tessel
