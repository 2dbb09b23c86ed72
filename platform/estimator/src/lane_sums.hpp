// The loops over observations. A stretch of data is seen as rows of lanes: in row-major storage
// a row is a few consecutive observations of one dimension, in column-major storage it is one
// observation of a group of neighbouring dimensions, a lane per dimension. Every lane is a chain
// of plain double sums over a short run of rows; the runs' totals are added with compensation,
// so the sums keep their accuracy while the loops carry no dependency from one addition to the
// next beyond their own lane.
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
  const T* next;  // the same place in the data that comes next, to be fetched ahead

  TESSEL_INLINE const T* at(std::int64_t r, int lane) const { return x + r * lanes + lane; }
  TESSEL_INLINE const T* weight_at(std::int64_t r, int lane) const { return w + r * lanes + lane; }
  TESSEL_INLINE void prefetch(std::int64_t r) const { __builtin_prefetch(next + r * lanes, 0, 1); }
};

// Column-major: row r is observation r, lane k its k-th dimension of the group.
template <class T>
struct strided_rows {
  static constexpr bool weight_per_lane = false;
  const T* x;
  const T* w;
  std::int64_t stride;
  const T* next;

  TESSEL_INLINE const T* at(std::int64_t r, int lane) const { return x + r * stride + lane; }
  TESSEL_INLINE const T* weight_at(std::int64_t r, int) const { return w + r; }
  TESSEL_INLINE void prefetch(std::int64_t r) const { __builtin_prefetch(next + r * stride, 0, 1); }
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
  // All lanes of quantity q, added to `onto` (the running sum and error of other lanes) exactly
  // but for the errors' own rounding.
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

constexpr std::int64_t run_rows = 32;

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

// Adds w v^k to s_k for k = 1..Degree, given v and w v: as products of v and v^2, so that each
// sum takes one multiply-add and the powers hang on few multiplications.
template <int Degree, class V>
TESSEL_INLINE void add_powers(V& s1, V& s2, V& s3, V& s4, const V& v, const V& wv) {
  if constexpr (Degree >= 1)
    s1 += wv;
  if constexpr (Degree >= 2) {
    const V wv2 = wv * v;
    s2 += wv2;
    if constexpr (Degree >= 3)
      s3 += wv2 * v;
    if constexpr (Degree >= 4)
      s4 += wv2 * (v * v);
  }
}

// Number of quantities of the power sums: W and W2 when weighted, then sum w x^k, k = 1..Raw.
constexpr int power_quantities(int raw, bool weighted) {
  return (weighted ? 2 : 0) + raw;
}

// Adds rows [0, n_rows) to the power sums.
template <int Raw, bool Weighted, class V, int Vectors, class Rows>
TESSEL_INLINE void add_power_rows(
    const Rows& rows, std::int64_t n_rows,
    lane_totals<V, Vectors, power_quantities(Raw, Weighted)>& totals) {
  constexpr int Q = power_quantities(Raw, Weighted);
  constexpr int first_raw = Weighted ? 2 : 0;
  constexpr int w = lanes_of<V>;
  for (std::int64_t run0 = 0; run0 < n_rows; run0 += run_rows) {
    const std::int64_t run1 = std::min(run0 + run_rows, n_rows);
    V acc[Q][Vectors] = {};
    for (std::int64_t r = run0; r < run1; ++r) {
      for (int j = 0; j < Vectors; ++j) {
        V x;
        load(x, rows.at(r, j * w));
        V wx = x;
        if constexpr (Weighted) {
          V weight;
          load_weight(weight, rows, r, j * w);
          acc[0][j] += weight;
          acc[1][j] += weight * weight;
          wx *= weight;
        }
        if constexpr (Raw >= 1) {
          add_powers<Raw>(acc[first_raw][j], acc[first_raw + (Raw > 1 ? 1 : 0)][j],
                          acc[first_raw + (Raw > 2 ? 2 : 0)][j],
                          acc[first_raw + (Raw > 3 ? 3 : 0)][j], x, wx);
        }
      }
    }
    for (int q = 0; q < Q; ++q) {
      for (int j = 0; j < Vectors; ++j)
        totals.add(q, j, acc[q][j]);
    }
  }
}

// Adds rows [0, n_rows) to sum w d^k, k = 1..Central, for d = x - centre[j] in vector j; and
// fetches the same rows of the data that comes next, while these are worked on in cache.
template <int Central, bool Weighted, class V, int Vectors, class Rows>
TESSEL_INLINE void add_central_rows(const Rows& rows, std::int64_t n_rows,
                                    const V (&centre)[Vectors],
                                    lane_totals<V, Vectors, Central>& totals) {
  constexpr int w = lanes_of<V>;
  for (std::int64_t run0 = 0; run0 < n_rows; run0 += run_rows) {
    const std::int64_t run1 = std::min(run0 + run_rows, n_rows);
    V acc[Central][Vectors] = {};
    for (std::int64_t r = run0; r < run1; ++r) {
      rows.prefetch(r);
      for (int j = 0; j < Vectors; ++j) {
        V d;
        load(d, rows.at(r, j * w));
        d -= centre[j];
        V wd = d;
        if constexpr (Weighted) {
          V weight;
          load_weight(weight, rows, r, j * w);
          wd *= weight;
        }
        add_powers<Central>(acc[0][j], acc[1][j], acc[Central > 2 ? 2 : 1][j],
                            acc[Central > 3 ? 3 : 1][j], d, wd);
      }
    }
    for (int q = 0; q < Central; ++q) {
      for (int j = 0; j < Vectors; ++j)
        totals.add(q, j, acc[q][j]);
    }
  }
}

// A kernel's vector shape: Vectors vectors of V a row.
template <class V, int Vectors>
struct row_shape {
  using vector = V;
  static constexpr int vectors = Vectors;
  static constexpr int lanes = Vectors * lanes_of<V>;
};

// Enough independent chains to hide the latency of an addition, few enough to stay in registers.
constexpr int wide_vectors(int quantities) {
  return quantities == 1 ? 8 : quantities == 2 ? 4 : quantities <= 4 ? 3 : 2;
}

// Calls f(first_lane, shape) for consecutive groups of lanes that cover [0, count): groups of
// Wide vectors of V, then single vectors, then plain scalars for the lanes left over.
template <class V, int Wide, class F>
TESSEL_INLINE void for_lane_groups(int count, const F& f) {
  using wide = row_shape<V, Wide>;
  using single = row_shape<V, 1>;
  int first = 0;
  for (; first + wide::lanes <= count; first += wide::lanes)
    f(first, wide{});
  for (; first + single::lanes <= count; first += single::lanes)
    f(first, single{});
  for (; first < count; ++first)
    f(first, row_shape<scalar_of<V>, 1>{});
}

}  // namespace tessel::estimator
