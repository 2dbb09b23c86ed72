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
// add() compensates every term. add_column() and add_rows() sum short runs of terms in plain
// double, several chains side by side in vector registers, and compensate only the runs'
// totals: a run of terms of one sign loses at most about rows_per_run roundings of its own
// size, and the totals lose nothing more. That keeps the accuracy and takes the dependency of
// every addition on the last one out of the loops.
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

  // Adds observations i0 .. i1 - 1 of a dimension whose observations are contiguous, x[i] of
  // weight weight(i): as rows of `lanes` neighbours, each lane a chain of its own.
  template <class T, class Weight>
  void add_column(const T* x, std::int64_t i0, std::int64_t i1, const Weight& weight) {
    constexpr int lanes = 16;
    double_double centres[lanes];
    for (auto& c : centres)
      c = centre_;
    const std::int64_t end = i0 + (i1 - i0) / lanes * lanes;
    for (std::int64_t r0 = i0; r0 < end; r0 += rows_per_run * lanes) {
      const std::int64_t r1 = r0 + rows_per_run * lanes < end ? r0 + rows_per_run * lanes : end;
      run_sums<lanes> run;
      run.add_rows(
          lanes, centres, r0, r1, lanes, [x](std::int64_t i) { return x + i; },
          [&](std::int64_t i, int l) { return weight(i + l); });
      if constexpr (!Weighted)
        count_ += r1 - r0;
      add_run_total(run.total());
    }
    for (std::int64_t i = end; i < i1; ++i)
      add(static_cast<double>(x[i]), Weighted ? weight(i) : 1.0);
  }

  // Adds observations i0 .. i1 - 1 of `count` neighbouring dimensions (at most MaxDims), the
  // k-th to acc[k]; row(i) points at observation i of the first of them, and the others follow
  // it, all of weight weight(i). For column-major storage, where an observation's dimensions
  // share cache lines: each line is read once, and the dimensions are the chains.
  template <int MaxDims, class Row, class Weight>
  static void add_rows(power_sum_accumulator* acc, int count, std::int64_t i0, std::int64_t i1,
                       const Row& row, const Weight& weight) {
    double_double centres[MaxDims];
    for (int k = 0; k < count; ++k)
      centres[k] = acc[k].centre_;
    for (std::int64_t r0 = i0; r0 < i1; r0 += rows_per_run) {
      const std::int64_t r1 = r0 + rows_per_run < i1 ? r0 + rows_per_run : i1;
      run_sums<MaxDims> run;
      run.add_rows(count, centres, r0, r1, 1, row, [&](std::int64_t i, int) { return weight(i); });
      for (int k = 0; k < count; ++k) {
        if constexpr (!Weighted)
          acc[k].count_ += r1 - r0;
        acc[k].add_run_total(run.column(k));
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
  static constexpr std::int64_t rows_per_run = 16;
  static constexpr int raw_count = RawDegree > 0 ? RawDegree : 1;
  static constexpr int central_count = CentralDegree > 1 ? CentralDegree : 1;  // k = 1..degree

  // The plain sums of one run, for one chain or all of them folded.
  struct run_total {
    double w = 0.0, w2 = 0.0;
    double raw[raw_count] = {};
    double central[central_count] = {};
  };

  // The plain sums of one run of Width chains side by side: rows r0, r0 + step, ... below r1;
  // chain k of row i is row(i)[k], of weight weight(i, k), about centres[k].
  template <int Width>
  struct run_sums {
    double w[Width] = {}, w2[Width] = {};
    double raw[raw_count][Width] = {};
    double central[central_count][Width] = {};

    template <class Row, class Weight>
    void add_rows(int count, const double_double* centres, std::int64_t r0, std::int64_t r1,
                  std::int64_t step, const Row& row, const Weight& weight) {
      for (std::int64_t i = r0; i < r1; i += step) {
        const auto* x = row(i);
        for (int k = 0; k < count; ++k) {
          const double v = static_cast<double>(x[k]);
          const double wk = Weighted ? weight(i, k) : 1.0;
          if constexpr (Weighted) {
            w[k] += wk;
            w2[k] += wk * wk;
          }
          if constexpr (RawDegree >= 1) {
            double term = Weighted ? wk * v : v;
            raw[0][k] += term;
            for (int j = 1; j < RawDegree; ++j)
              raw[j][k] += term *= v;
          }
          if constexpr (CentralDegree >= 2) {
            const double d = (v - centres[k].hi) - centres[k].lo;
            double term = Weighted ? wk * d : d;
            central[0][k] += term;
            for (int j = 1; j < CentralDegree; ++j)
              central[j][k] += term *= d;
          }
        }
      }
    }

    run_total column(int k) const {
      run_total t;
      t.w = w[k];
      t.w2 = w2[k];
      for (int j = 0; j < raw_count; ++j)
        t.raw[j] = raw[j][k];
      for (int j = 0; j < central_count; ++j)
        t.central[j] = central[j][k];
      return t;
    }

    // All chains folded pairwise.
    run_total total() const {
      const auto fold = [](const double(&c)[Width]) {
        double half[Width / 2];
        for (int k = 0; k < Width / 2; ++k)
          half[k] = c[k] + c[k + Width / 2];
        for (int width = Width / 4; width >= 1; width /= 2) {
          for (int k = 0; k < width; ++k)
            half[k] += half[k + width];
        }
        return half[0];
      };
      run_total t;
      t.w = fold(w);
      t.w2 = fold(w2);
      for (int j = 0; j < raw_count; ++j)
        t.raw[j] = fold(raw[j]);
      for (int j = 0; j < central_count; ++j)
        t.central[j] = fold(central[j]);
      return t;
    }
  };

  void add_run_total(const run_total& t) {
    if constexpr (Weighted) {
      w_.add(t.w);
      w2_.add(t.w2);
    }
    for (int j = 0; j < RawDegree; ++j)
      raw_[j].add(t.raw[j]);
    if constexpr (CentralDegree >= 2) {
      central1_.add(t.central[0]);
      for (int j = 0; j + 1 < CentralDegree; ++j)
        central_[j].add(t.central[j + 1]);
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
