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
//
// add() compensates every term. add_range() sums runs of run_length terms in plain double,
// spread over `lanes` interleaved partial sums that the compiler keeps in vector registers, and
// compensates only the runs' totals: a run of terms of one sign loses at most about
// run_length / lanes roundings of its own size, and the totals lose nothing more. That keeps
// the accuracy and takes the dependency of every addition on the last one out of the loop.
template <int RawDegree, int CentralDegree, bool Weighted>
class power_sum_accumulator {
 public:
  static constexpr int lanes = 4;
  static constexpr std::int64_t run_length = 64;

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

  // Adds observations i0 .. i1 - 1, of values value(i) and weights weight(i).
  template <class Value, class Weight>
  void add_range(std::int64_t i0, std::int64_t i1, const Value& value, const Weight& weight) {
    for (std::int64_t r0 = i0; r0 < i1; r0 += run_length) {
      const std::int64_t r1 = r0 + run_length < i1 ? r0 + run_length : i1;
      run_sums run;
      std::int64_t i = r0;
      for (; i + lanes <= r1; i += lanes) {
        for (int l = 0; l < lanes; ++l)
          run.add(l, value(i + l), Weighted ? weight(i + l) : 1.0, centre_);
      }
      for (; i < r1; ++i)
        run.add(0, value(i), Weighted ? weight(i) : 1.0, centre_);
      if constexpr (!Weighted)
        count_ += r1 - r0;
      add_run(run);
    }
  }

  // Adds observations i0 .. i1 - 1 of count (at most MaxDims) dimensions, dims[k] to acc[k],
  // row by row: for column-major storage, where an observation's dimensions share cache lines,
  // so that each line is read once. The dimensions are the independent chains; the lanes
  // still take turns, for the accuracy of the runs.
  template <int MaxDims, class Value, class Weight>
  static void add_rows(power_sum_accumulator* acc, const std::int64_t* dims, int count,
                       std::int64_t i0, std::int64_t i1, const Value& value, const Weight& weight) {
    for (std::int64_t r0 = i0; r0 < i1; r0 += run_length) {
      const std::int64_t r1 = r0 + run_length < i1 ? r0 + run_length : i1;
      run_sums runs[MaxDims];
      double_double centres[MaxDims];
      for (int k = 0; k < count; ++k)
        centres[k] = acc[k].centre_;
      for (std::int64_t i = r0; i < r1; ++i) {
        const double w = Weighted ? weight(i) : 1.0;
        const int l = static_cast<int>(i & (lanes - 1));
        for (int k = 0; k < count; ++k)
          runs[k].add(l, value(dims[k], i), w, centres[k]);
      }
      for (int k = 0; k < count; ++k) {
        if constexpr (!Weighted)
          acc[k].count_ += r1 - r0;
        acc[k].add_run(runs[k]);
      }
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
  static constexpr int raw_count = RawDegree > 0 ? RawDegree : 1;
  static constexpr int central_count = CentralDegree > 1 ? CentralDegree : 1;  // k = 1..degree

  // Plain sums of one run, lane by lane.
  struct run_sums {
    double w[lanes] = {}, w2[lanes] = {};
    double raw[raw_count][lanes] = {};
    double central[central_count][lanes] = {};

    void add(int l, double x, double weight, const double_double& centre) {
      if constexpr (Weighted) {
        w[l] += weight;
        w2[l] += weight * weight;
      }
      if constexpr (RawDegree >= 1) {
        double term = Weighted ? weight * x : x;
        raw[0][l] += term;
        for (int k = 1; k < RawDegree; ++k)
          raw[k][l] += term *= x;
      }
      if constexpr (CentralDegree >= 2) {
        const double d = (x - centre.hi) - centre.lo;
        double term = Weighted ? weight * d : d;
        central[0][l] += term;
        for (int k = 1; k < CentralDegree; ++k)
          central[k][l] += term *= d;
      }
    }
  };

  static_assert(lanes == 4, "lane_total folds four lanes");
  static double lane_total(const double (&lane)[lanes]) {
    return (lane[0] + lane[1]) + (lane[2] + lane[3]);
  }

  void add_run(const run_sums& run) {
    if constexpr (Weighted) {
      w_.add(lane_total(run.w));
      w2_.add(lane_total(run.w2));
    }
    for (int k = 0; k < RawDegree; ++k)
      raw_[k].add(lane_total(run.raw[k]));
    if constexpr (CentralDegree >= 2) {
      central1_.add(lane_total(run.central[0]));
      for (int k = 0; k + 1 < CentralDegree; ++k)
        central_[k].add(lane_total(run.central[k + 1]));
    }
  }

  double_double centre_;
  std::int64_t count_ = 0;
  compensated_sum w_, w2_, central1_;
  compensated_sum raw_[raw_count];
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
