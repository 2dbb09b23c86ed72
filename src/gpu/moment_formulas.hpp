// The arithmetic that turns finished raw power sums into central quantities. Terms keep their order
// and grouping; mad is the device's multiply-add, everything else rounds on its own (the moment
// code is compiled with floating-point contraction off).
#pragma once

#include <sycl/sycl.hpp>

#include "tessel/sycl_features.hpp"

namespace vorlex::orv::stats::detail::gpu {

// The device's multiply-add; where the implementation has no sycl::mad, a product and a sum, which
// contraction off keeps apart.
template <typename T>
inline T mad(T a, T b, T c) {
#if TESSEL_SYCL_HAS_MAD
  return sycl::mad(a, b, c);
#else
  return a * b + c;
#endif
}

// The quantities of the raw sums of one dimension, each made only when first asked for.
template <typename T>
class central_terms {
 public:
  central_terms(T s1, T s2, T s3, T s4, T w, T w2)
      : s1_(s1), s2_(s2), s3_(s3), s4_(s4), w_(w), w2_(w2) {}

  T mean() const { return s1_ / w_; }

  // Weighted sum of squared deviations.
  T c2() const {
    const T m = mean();
    const T a = mad(m * T(-2), s1_, s2_);
    return mad(w_ * m, m, a);
  }

  // Variance with the reliability-weights correction W / (W * W - W2).
  T variance() const { return corrected_variance(c2(), w_, w2_); }

  // Weighted sum of cubed deviations.
  T c3() const {
    const T m = mean();
    const T b = w_ * m;
    const T t = m * T(3);
    return mad(m * (-b), m, mad(t * m, s1_, mad(-t, s2_, s3_)));
  }

  // Weighted sum of fourth powers of deviations.
  T c4() const {
    const T m = mean();
    const T b = w_ * m;
    const T q = m * T(-4);
    return mad((b * m) * m, m, mad((m * q) * m, s1_, mad((s2_ * T(6)) * m, m, mad(q, s3_, s4_))));
  }

  static T corrected_variance(T c2, T w, T w2) {
    const T d = mad(w, w, -w2);
    return c2 * (w / d);
  }

 private:
  T s1_, s2_, s3_, s4_, w_, w2_;
};

template <typename T>
inline T skewness_of(T c3_over_w, T variance) {
  return c3_over_w / sycl::sqrt((variance * variance) * variance);
}

template <typename T>
inline T kurtosis_of(T c4_over_w, T variance) {
  return (c4_over_w / (variance * variance)) + T(-3);
}

}  // namespace vorlex::orv::stats::detail::gpu
