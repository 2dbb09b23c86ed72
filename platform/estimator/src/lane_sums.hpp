// The loops over observations. A stretch of data is seen as rows of lanes: in row-major storage a
// row is a few consecutive observations of one dimension, in column-major storage it is one
// observation of a group of neighbouring dimensions, a lane per dimension. Every lane is a chain of
// plain double sums over a short run of rows; the runs' totals are added with compensation, so the
// sums keep their accuracy while the loops carry no dependency from one addition to the next beyond
// their own lane.
//
// Two kinds of sums are taken: power sums, and central sums about a centre. The loops take both
// side by side, over the same rows or over two stretches.
#pragma once

#include "double_double.hpp"
#include "simd.hpp"

#include <algorithm>
#include <cstdint>

namespace tessel::estimator {

// Row-major: row r holds observations r * lanes .. r * lanes + lanes - 1 of one dimension.
template <class T>
struct contiguous_rows {
  static constexpr bool weight_per_lane = true;
  const T* x;
  const T* w;  // null without weights
  std::int64_t lanes;

  TESSEL_INLINE const T* at(std::int64_t r, int lane) const { return x + r * lanes + lane; }
  TESSEL_INLINE const T* weight_at(std::int64_t r, int lane) const { return w + r * lanes + lane; }
};

// Column-major: row r is observation r, lane k its k-th dimension of the group.
template <class T>
struct strided_rows {
  static constexpr bool weight_per_lane = false;
  const T* x;
  const T* w;
  std::int64_t stride;

  TESSEL_INLINE const T* at(std::int64_t r, int lane) const { return x + r * stride + lane; }
  TESSEL_INLINE const T* weight_at(std::int64_t r, int) const { return w + r; }
};

// Vectors vectors of lanes, Q quantities each, as compensated totals.
template <class V, int Vectors, int Q>
struct lane_totals {
  static constexpr int lanes = Vectors * lanes_of<V>;
  V sum[Q][Vectors] = {};
  V error[Q][Vectors] = {};

  TESSEL_INLINE void add(int q, int j, const V& x) {
    const V s = sum[q][j] + x;
    const V back = s - sum[q][j];
    error[q][j] += (sum[q][j] - (s - back)) + (x - back);
    sum[q][j] = s;
  }
  // Lane l of quantity q.
  double_double total(int q, int l) const {
    return renormalize(lane_value(sum[q][l / w], l % w), lane_value(error[q][l / w], l % w));
  }
  // All lanes of quantity q, added to `onto` (the running sum and error of other lanes) exactly but
  // for the errors' own rounding.
  void fold(int q, double_double& onto) const {
    for (int l = 0; l < lanes; ++l) {
      const double_double s = two_sum(onto.hi, lane_value(sum[q][l / w], l % w));
      onto.hi = s.hi;
      onto.lo += s.lo + lane_value(error[q][l / w], l % w);
    }
  }

 private:
  static constexpr int w = lanes_of<V>;
};

// Rows summed plainly before their totals are added with compensation: long runs where every term
// has the same weight, short ones where weights may differ by orders of magnitude.
template <bool Weighted>
constexpr std::int64_t run_rows = Weighted ? 32 : 128;

template <class V, class Rows>
TESSEL_INLINE void load_weight(V& weight, const Rows& rows, std::int64_t r, int lane) {
  if constexpr (Rows::weight_per_lane) {
    load(weight, rows.weight_at(r, lane));
    make_effective_weight(weight);
  } else {
    double w = static_cast<double>(*rows.weight_at(r, lane));
    make_effective_weight(w);
    fill(weight, [w](int) { return w; });
  }
}

// Adds w v^k to s_k for k = 1..Degree, given v and w v: as products of v and v^2, so that each sum
// takes one multiply-add and the powers hang on few multiplications.
template <int Degree, class V>
TESSEL_INLINE void add_powers(V& s1, V& s2, V& s3, V& s4, const V& v, const V& wv) {
  if constexpr (Degree >= 1) {
    s1 += wv;
  }
  if constexpr (Degree >= 2) {
    const V wv2 = wv * v;
    s2 += wv2;
    if constexpr (Degree >= 3) {
      s3 += wv2 * v;
    }
    if constexpr (Degree >= 4) {
      s4 += wv2 * (v * v);
    }
  }
}

// Number of quantities of the power sums: W and W2 when weighted, then sum w x^k, k = 1..Raw.
constexpr int power_quantities(int raw, bool weighted) {
  return (weighted ? 2 : 0) + raw;
}

// Row r of the power sums into acc.
template <int Raw, bool Weighted, class V, int Vectors, class Rows>
TESSEL_INLINE void add_power_row(V (&acc)[power_quantities(Raw, Weighted)][Vectors],
                                 const Rows& rows, std::int64_t r) {
  constexpr int first_raw = Weighted ? 2 : 0;
  for (int j = 0; j < Vectors; ++j) {
    V x;
    load(x, rows.at(r, j * lanes_of<V>));
    V wx = x;
    if constexpr (Weighted) {
      V weight;
      load_weight(weight, rows, r, j * lanes_of<V>);
      acc[0][j] += weight;
      acc[1][j] += weight * weight;
      wx *= weight;
    }
    if constexpr (Raw >= 1) {
      add_powers<Raw>(acc[first_raw][j], acc[first_raw + (Raw > 1 ? 1 : 0)][j],
                      acc[first_raw + (Raw > 2 ? 2 : 0)][j], acc[first_raw + (Raw > 3 ? 3 : 0)][j],
                      x, wx);
    }
  }
}

// Row r of sum w d^k, k = 1..Central, for d = x - centre[j] in vector j, into acc.
template <int Central, bool Weighted, class V, int Vectors, class Rows>
TESSEL_INLINE void add_central_row(V (&acc)[Central][Vectors], const Rows& rows, std::int64_t r,
                                   const V (&centre)[Vectors]) {
  for (int j = 0; j < Vectors; ++j) {
    V d;
    load(d, rows.at(r, j * lanes_of<V>));
    d -= centre[j];
    V wd = d;
    if constexpr (Weighted) {
      V weight;
      load_weight(weight, rows, r, j * lanes_of<V>);
      wd *= weight;
    }
    add_powers<Central>(acc[0][j], acc[1][j], acc[Central > 2 ? 2 : 1][j],
                        acc[Central > 3 ? 3 : 1][j], d, wd);
  }
}

// Calls each(r) for rows [r0, r1) in runs of Run rows, with run_start() before each run and
// run_end() after it.
template <std::int64_t Run, class Start, class Each, class End>
TESSEL_INLINE void for_runs(std::int64_t r0, std::int64_t r1, const Start& run_start,
                            const Each& each, const End& run_end) {
  for (std::int64_t run0 = r0; run0 < r1; run0 += Run) {
    const std::int64_t run1 = std::min(run0 + Run, r1);
    run_start();
    for (std::int64_t r = run0; r < run1; ++r) {
      each(r);
    }
    run_end();
  }
}

template <class V, int Vectors, int Q>
TESSEL_INLINE void add_run(lane_totals<V, Vectors, Q>& totals, const V (&acc)[Q][Vectors]) {
  for (int q = 0; q < Q; ++q) {
    for (int j = 0; j < Vectors; ++j) {
      totals.add(q, j, acc[q][j]);
    }
  }
}

// The power sums of rows [0, n_a) of `a` and the central sums of rows [0, n_b) of `b`, side by side
// over the rows they share. Central is the degree of the central sums, 0 for none.
template <int Raw, int Central, bool Weighted, class V, int Vectors, class Rows>
TESSEL_INLINE void add_rows(
    const Rows& a, std::int64_t n_a,
    lane_totals<V, Vectors, std::max(power_quantities(Raw, Weighted), 1)>& ta, const Rows& b,
    std::int64_t n_b, const V (&centre)[Vectors],
    lane_totals<V, Vectors, std::max(Central, 1)>& tb) {
  constexpr int QA = power_quantities(Raw, Weighted);
  constexpr int QB = Central;
  V acc_a[std::max(QA, 1)][Vectors];
  V acc_b[std::max(QB, 1)][Vectors];
  const auto clear = [&]() __attribute__((always_inline)) {
    for (int j = 0; j < Vectors; ++j) {
      for (auto& q : acc_a) {
        q[j] = V{};
      }
      for (auto& q : acc_b) {
        q[j] = V{};
      }
    }
  };
  const auto power_row = [&](std::int64_t r) __attribute__((always_inline)) {
    if constexpr (QA > 0) {
      add_power_row<Raw, Weighted, V, Vectors>(acc_a, a, r);
    }
  };
  const auto central_row = [&](std::int64_t r) __attribute__((always_inline)) {
    if constexpr (QB > 0) {
      add_central_row<Central, Weighted, V, Vectors>(acc_b, b, r, centre);
    }
  };
  const auto end_a = [&]() __attribute__((always_inline)) {
    if constexpr (QA > 0) {
      add_run(ta, acc_a);
    }
  };
  const auto end_b = [&]() __attribute__((always_inline)) {
    if constexpr (QB > 0) {
      add_run(tb, acc_b);
    }
  };
  if constexpr (QA == 0) {
    n_a = 0;
  }
  if constexpr (QB == 0) {
    n_b = 0;
  }
  const std::int64_t both = std::min(n_a, n_b);
  for_runs<run_rows<Weighted>>(
      0, both, clear,
      [&](std::int64_t r) __attribute__((always_inline)) {
        power_row(r);
        central_row(r);
      },
      [&]() __attribute__((always_inline)) {
        end_a();
        end_b();
      });
  for_runs<run_rows<Weighted>>(both, n_a, clear, power_row, end_a);
  for_runs<run_rows<Weighted>>(both, n_b, clear, central_row, end_b);
}

// A kernel's vector shape: Vectors vectors of V a row.
template <class V, int Vectors>
struct row_shape {
  using vector = V;
  static constexpr int vectors = Vectors;
  static constexpr int lanes = Vectors * lanes_of<V>;
};

// Enough independent chains to hide the latency of a multiply-add, few enough for the sums (at most
// twelve), the centre and the temporaries to stay in the sixteen vector registers.
constexpr int wide_vectors(int power_quantities, int central_quantities) {
  if (central_quantities == 0) {
    return power_quantities == 1 ? 8 : power_quantities == 2 ? 4 : 2;
  }
  return std::clamp(12 / (power_quantities + central_quantities), 1, 4);
}

// Calls f(first_lane, shape) for consecutive groups of lanes that cover [0, count): groups of Wide
// vectors of V, then single vectors, then plain scalars for the lanes left over.
template <class V, int Wide, class F>
TESSEL_INLINE void for_lane_groups(int count, const F& f) {
  using wide = row_shape<V, Wide>;
  using single = row_shape<V, 1>;
  int first = 0;
  for (; first + wide::lanes <= count; first += wide::lanes) {
    f(first, wide{});
  }
  for (; first + single::lanes <= count; first += single::lanes) {
    f(first, single{});
  }
  for (; first < count; ++first) {
    f(first, row_shape<scalar_of<V>, 1>{});
  }
}

}  // namespace tessel::estimator
