// What a block of observations of one dimension is reduced to, and how blocks are merged.
#pragma once

#include "double_double.hpp"

#include <cstdint>

namespace tessel::estimator {

// Weighted power sums: W, W2, raw sums sum w x^k and central sums sum w (x - c)^k.
struct power_sums {
  double_double w, w2;
  double_double raw[4];      // k = 1..4 at k - 1
  double_double central1;    // k = 1: what tells how far c is from the mean
  double_double central[3];  // k = 2..4 at k - 2

  void merge(const power_sums& other) {
    w = w + other.w;
    w2 = w2 + other.w2;
    for (int k = 0; k < 4; ++k)
      raw[k] = raw[k] + other.raw[k];
    central1 = central1 + other.central1;
    for (int k = 0; k < 3; ++k)
      central[k] = central[k] + other.central[k];
  }
};

// Sums the powers of a dimension up to RawDegree about 0 and up to CentralDegree about a
// centre known beforehand. Terms are formed in double and summed with compensation; the
// deviation from the centre takes the centre's low part into account, so it is accurate even
// when the mean is large against the spread.
template <int RawDegree, int CentralDegree, bool Weighted>
class power_sum_accumulator {
 public:
  explicit power_sum_accumulator(double_double centre = {}) : centre_(centre) {}

  void add(double x, double w) {
    if constexpr (Weighted) {
      w_.add(w);
      w2_.add(w * w);
    } else {
      ++count_;
    }
    if constexpr (RawDegree >= 1) {
      double term = Weighted ? w * x : x;
      raw_[0].add(term);
      if constexpr (RawDegree >= 2)
        raw_[1].add(term *= x);
      if constexpr (RawDegree >= 3)
        raw_[2].add(term *= x);
      if constexpr (RawDegree >= 4)
        raw_[3].add(term *= x);
    }
    if constexpr (CentralDegree >= 2) {
      const double d = (x - centre_.hi) - centre_.lo;
      double term = Weighted ? w * d : d;
      central1_.add(term);
      central_[0].add(term *= d);
      if constexpr (CentralDegree >= 3)
        central_[1].add(term *= d);
      if constexpr (CentralDegree >= 4)
        central_[2].add(term *= d);
    }
  }

  power_sums finish() const {
    power_sums sums;
    if constexpr (Weighted) {
      sums.w = w_.value();
      sums.w2 = w2_.value();
    } else {
      sums.w = sums.w2 = double_double{static_cast<double>(count_), 0.0};
    }
    for (int k = 0; k < RawDegree; ++k)
      sums.raw[k] = raw_[k].value();
    sums.central1 = central1_.value();
    for (int k = 0; k + 2 <= CentralDegree; ++k)
      sums.central[k] = central_[k].value();
    return sums;
  }

 private:
  double_double centre_;
  std::int64_t count_ = 0;
  compensated_sum w_, w2_, central1_;
  compensated_sum raw_[RawDegree > 0 ? RawDegree : 1];
  compensated_sum central_[CentralDegree > 1 ? CentralDegree - 1 : 1];
};

// Weight, mean and central sums M2..M4 about that mean, of data seen so far. Two of them
// merge into the state of their union (the pairwise update formulas for higher moments).
struct one_pass_moments {
  double w = 0.0, mean = 0.0, m2 = 0.0, m3 = 0.0, m4 = 0.0;
};

template <int Order>
one_pass_moments merge(const one_pass_moments& a, const one_pass_moments& b) {
  if (a.w == 0.0)
    return b;
  if (b.w == 0.0)
    return a;
  one_pass_moments r;
  r.w = a.w + b.w;
  const double delta = b.mean - a.mean;
  const double delta_n = delta / r.w;
  const double ab = a.w * b.w;
  r.mean = a.mean + b.w * delta_n;
  r.m2 = a.m2 + b.m2 + delta * delta_n * ab;
  if constexpr (Order >= 3) {
    r.m3 = a.m3 + b.m3 + delta * delta_n * delta_n * ab * (a.w - b.w) +
           3.0 * delta_n * (a.w * b.m2 - b.w * a.m2);
  }
  if constexpr (Order >= 4) {
    r.m4 = a.m4 + b.m4 + delta * delta_n * delta_n * delta_n * ab * (a.w * a.w - ab + b.w * b.w) +
           6.0 * delta_n * delta_n * (a.w * a.w * b.m2 + b.w * b.w * a.m2) +
           4.0 * delta_n * (a.w * b.m3 - b.w * a.m3);
  }
  return r;
}

// One pass over a block: observations update a leaf one at a time, and full leaves are merged
// pairwise (as a binary counter), so rounding grows with the log of the block's length.
template <int Order>
class one_pass_accumulator {
 public:
  void add(double y, double w) {
    leaf_ = merge<Order>(leaf_, one_pass_moments{w, y, 0.0, 0.0, 0.0});
    if (++leaf_count_ == leaf_length) {
      push(leaf_);
      leaf_ = {};
      leaf_count_ = 0;
    }
  }

  one_pass_moments finish() const {
    one_pass_moments total = leaf_;
    for (int level = depth_ - 1; level >= 0; --level)
      total = merge<Order>(stack_[level], total);
    return total;
  }

 private:
  static constexpr int leaf_length = 128;

  void push(one_pass_moments leaf) {
    // stack_[0] is the oldest and largest run. Merge equal-sized runs, as in binary addition.
    for (std::uint64_t carry = leaves_; carry & 1u; carry >>= 1) {
      leaf = merge<Order>(stack_[--depth_], leaf);
    }
    stack_[depth_++] = leaf;
    ++leaves_;
  }

  one_pass_moments leaf_;
  int leaf_count_ = 0;
  std::uint64_t leaves_ = 0;
  int depth_ = 0;
  one_pass_moments stack_[64];
};

}  // namespace tessel::estimator
