// Double-double numbers (an unevaluated sum hi + lo, about 106 bits) and the compensated
// accumulator built on them: what keeps sums accurate where plain double sums lose digits.
#pragma once

#include <cfloat>
#include <cmath>

namespace tessel::estimator {

struct double_double {
  double hi = 0.0;
  double lo = 0.0;
};

// a + b exactly, as a rounded sum and its error.
inline double_double two_sum(double a, double b) {
  const double s = a + b;
  const double b_part = s - a;
  return {s, (a - (s - b_part)) + (b - b_part)};
}

// Renormalises s + e with |e| much smaller than |s|. Infinities and NaN are kept as they are, so
// that they reach the results as a plain double sum would give them.
inline double_double renormalize(double s, double e) {
  if (!(std::fabs(s) <= DBL_MAX)) {
    return {s, 0.0};
  }
  const double hi = s + e;
  return {hi, e - (hi - s)};
}

inline double_double operator+(double_double a, double_double b) {
  const double_double s = two_sum(a.hi, b.hi);
  const double_double t = two_sum(a.lo, b.lo);
  const double_double u = renormalize(s.hi, s.lo + t.hi);
  return renormalize(u.hi, u.lo + t.lo);
}

inline double_double operator-(double_double a) {
  return {-a.hi, -a.lo};
}
inline double_double operator-(double_double a, double_double b) {
  return a + (-b);
}

inline double_double operator*(double_double a, double_double b) {
  const double p = a.hi * b.hi;
  const double error = std::fma(a.hi, b.hi, -p);
  return renormalize(p, error + (a.hi * b.lo + a.lo * b.hi));
}

inline double_double operator/(double_double a, double_double b) {
  const double q1 = a.hi / b.hi;
  if (!(std::fabs(q1) <= DBL_MAX)) {
    return {q1, 0.0};
  }
  double_double r = a - b * double_double{q1, 0.0};
  const double q2 = r.hi / b.hi;
  r = r - b * double_double{q2, 0.0};
  const double q3 = r.hi / b.hi;
  return renormalize(q1, q2) + double_double{q3, 0.0};
}

inline double to_double(double_double a) {
  return a.hi + a.lo;
}

// Sum of doubles with the rounding error of every addition carried along (Kahan-Babuska). `sum`
// alone is the plain running sum, so infinities behave as in a plain sum.
class compensated_sum {
 public:
  void add(double x) {
    const double_double s = two_sum(sum_, x);
    sum_ = s.hi;
    error_ += s.lo;
  }
  double_double value() const { return renormalize(sum_, error_); }

 private:
  double sum_ = 0.0;
  double error_ = 0.0;
};

}  // namespace tessel::estimator
