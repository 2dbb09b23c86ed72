// What a stretch of observations of one dimension is reduced to, and how two stretches merge.
#pragma once

#include "double_double.hpp"

namespace tessel::estimator {

// Weighted sums of a stretch of observations: W, W2, the raw sums sum w x^k, and the central sums
// sum w (x - mean)^k about `mean`, which is the stretch's own mean or the caller's.
struct partial_sums {
  double_double w, w2;
  double_double raw[4];      // k = 1..4 at k - 1
  double_double mean;        // what the central sums are about
  double_double central[3];  // k = 2..4 at k - 2
};

// How central sums combine: not at all, about each part's own mean, or about one given centre.
enum class centring { none, own_mean, given_centre };

// Central sums of a block about its own mean, from the sums D1..D4 of its deviations from a centre
// c near that mean. The mean is c + D1 / W; since D1 is small, so are the terms that move the sums
// to it (the binomial theorem, with D1 = delta W).
inline void centre_on_own_mean(double c, const double_double (&d)[4], partial_sums& out) {
  const double w = to_double(out.w);
  const double d1 = to_double(d[0]);
  const double delta = d1 / w;
  const double d2 = d[1].hi, d3 = d[2].hi;
  out.mean = two_sum(c, delta);
  out.central[0] = d[1] + double_double{-delta * d1, 0.0};
  out.central[1] = d[2] + double_double{delta * (delta * 2.0 * d1 - 3.0 * d2), 0.0};
  out.central[2] =
      d[3] + double_double{delta * (delta * (delta * -3.0 * d1 + 6.0 * d2) - 4.0 * d3), 0.0};
}

// Folds b into a: b holds the observations that follow a's. About their own means, the central sums
// merge with the pairwise updates for higher moments; the corrections are formed in double from the
// difference of the two means, which is exact to a rounding, and added with compensation.
inline void merge(partial_sums& a, const partial_sums& b, centring how) {
  const double_double w = a.w + b.w;
  for (int k = 0; k < 4; ++k) {
    a.raw[k] = a.raw[k] + b.raw[k];
  }
  a.w2 = a.w2 + b.w2;
  if (how == centring::given_centre) {
    a.mean = b.mean;
    for (int k = 0; k < 3; ++k) {
      a.central[k] = a.central[k] + b.central[k];
    }
  } else if (how == centring::own_mean) {
    if (to_double(a.w) == 0.0) {
      a.mean = b.mean;
      for (int k = 0; k < 3; ++k) {
        a.central[k] = b.central[k];
      }
    } else if (to_double(b.w) != 0.0) {
      const double wa = to_double(a.w), wb = to_double(b.w), total = to_double(w);
      const double fa = wa / total, fb = wb / total;
      const double delta = to_double(b.mean - a.mean);
      const double m2a = a.central[0].hi, m2b = b.central[0].hi;
      const double m3a = a.central[1].hi, m3b = b.central[1].hi;
      const double wa_fb = wa * fb;
      const double d2 = delta * delta;
      a.mean = a.mean + double_double{delta * fb, 0.0};
      a.central[2] = a.central[2] + b.central[2] +
                     double_double{d2 * d2 * wa_fb * (fa * fa - fa * fb + fb * fb) +
                                       6.0 * d2 * (fa * fa * m2b + fb * fb * m2a) +
                                       4.0 * delta * (fa * m3b - fb * m3a),
                                   0.0};
      a.central[1] =
          a.central[1] + b.central[1] +
          double_double{d2 * delta * wa_fb * (fa - fb) + 3.0 * delta * (fa * m2b - fb * m2a), 0.0};
      a.central[0] = a.central[0] + b.central[0] + double_double{d2 * wa_fb, 0.0};
    }
  }
  a.w = w;
}

}  // namespace tessel::estimator
