#include "basic_passes.hpp"

#include "degree_dispatch.hpp"
#include "lane_sums.hpp"

#include <algorithm>

namespace tessel::estimator {
namespace {

// A block of observations of a group of neighbouring dimensions (one in row-major storage).
template <class T>
struct block_view {
  const T* x;  // first observation of the block, first dimension of the group
  const T* w;  // weight of the first observation, or null
  std::int64_t n;
  int dims;
  std::int64_t stride;  // elements from one observation to the next: 1 in row-major storage
  const T* next;        // where the block that follows begins, or x when none follows
};

// Runs kernel(shape, rows, first_lane, n_rows, totals) over the whole block with vectors of V,
// and sets out[q][k] to the total of quantity q for dimension k of the group.
template <class V, int Q, int Wide, class T, class Kernel>
TESSEL_INLINE void lane_totals_of_block(const block_view<T>& b, const Kernel& kernel,
                                        double_double (&out)[Q][max_group_dims]) {
  if (b.stride == 1) {
    // One dimension: rows of neighbouring observations, then the few left over one by one, and
    // all lanes folded together.
    using wide = row_shape<V, Wide>;
    using single = row_shape<double, 1>;
    const std::int64_t n_rows = b.n / wide::lanes;
    const std::int64_t done = n_rows * wide::lanes;
    lane_totals<V, Wide, Q> main;
    kernel(wide{}, contiguous_rows<T>{b.x, b.w, wide::lanes, b.next}, 0, n_rows, main);
    lane_totals<double, 1, Q> tail;
    kernel(single{},
           contiguous_rows<T>{b.x + done, b.w == nullptr ? nullptr : b.w + done, 1, b.next + done},
           0, b.n - done, tail);
    for (int q = 0; q < Q; ++q) {
      double_double total{};
      main.fold(q, total);
      tail.fold(q, total);
      out[q][0] = renormalize(total.hi, total.lo);
    }
  } else {
    // No wider than a group.
    constexpr int group_wide = std::min(Wide, static_cast<int>(max_group_dims) / lanes_of<V>);
    for_lane_groups<V, group_wide>(
        b.dims, [&](int first, auto shape) __attribute__((always_inline)) {
          using S = decltype(shape);
          lane_totals<typename S::vector, S::vectors, Q> totals;
          kernel(shape, strided_rows<T>{b.x + first, b.w, b.stride, b.next + first}, first, b.n,
                 totals);
          for (int q = 0; q < Q; ++q) {
            for (int l = 0; l < S::lanes; ++l)
              out[q][first + l] = totals.total(q, l);
          }
        });
  }
}

// The block's weights and raw sums, then its central sums: about the caller's centres, or about
// a centre near the block's own mean, while the block is still in cache.
template <class V, int Raw, int Central, bool Weighted, class T>
TESSEL_INLINE void reduce_block(const block_view<T>& b, const double* given_centres,
                                partial_sums* out) {
  constexpr int powers = power_quantities(Raw, Weighted);
  constexpr int first_raw = Weighted ? 2 : 0;
  double_double p[powers > 0 ? powers : 1][max_group_dims];
  if constexpr (powers > 0) {
    lane_totals_of_block<V, powers, wide_vectors(powers)>(
        b,
        [](auto shape, const auto& rows, int, std::int64_t n_rows, auto& totals)
            __attribute__((always_inline)) {
              using S = decltype(shape);
              add_power_rows<Raw, Weighted, typename S::vector, S::vectors>(rows, n_rows, totals);
            },
        p);
  }
  for (int k = 0; k < b.dims; ++k) {
    partial_sums& s = out[k];
    s = partial_sums{};
    s.w = Weighted ? p[0][k] : double_double{static_cast<double>(b.n), 0.0};
    s.w2 = Weighted ? p[1][k] : s.w;
    for (int j = 0; j < Raw; ++j)
      s.raw[j] = p[first_raw + j][k];
  }
  if constexpr (Central > 0) {
    double centre[max_group_dims];
    // The centre need only be near the mean: the sums about it are moved to the exact mean.
    for (int k = 0; k < b.dims; ++k) {
      centre[k] = given_centres != nullptr ? given_centres[k] : out[k].raw[0].hi / out[k].w.hi;
    }
    double_double d[Central][max_group_dims];
    lane_totals_of_block<V, Central, wide_vectors(Central)>(
        b,
        [&](auto shape, const auto& rows, int first, std::int64_t n_rows,
            auto& totals) __attribute__((always_inline)) {
          using S = decltype(shape);
          using W = typename S::vector;
          constexpr int width = lanes_of<W>;
          W c[S::vectors];
          for (int j = 0; j < S::vectors; ++j) {
            fill(c[j], [&](int l) { return centre[b.stride == 1 ? 0 : first + j * width + l]; });
          }
          add_central_rows<Central, Weighted, W, S::vectors>(rows, n_rows, c, totals);
        },
        d);
    for (int k = 0; k < b.dims; ++k) {
      double_double sums[4] = {};
      for (int j = 0; j < Central; ++j)
        sums[j] = d[j][k];
      if (given_centres != nullptr) {
        out[k].mean = {centre[k], 0.0};
        for (int j = 0; j < 3; ++j)
          out[k].central[j] = sums[j + 1];
      } else {
        centre_on_own_mean(centre[k], sums, out[k]);
      }
    }
  }
}

// Observations [i0, i1) of dimensions [d0, d1), block by block, merged in order into out.
template <class V, int Raw, int Central, bool Weighted, class T>
TESSEL_INLINE void reduce_part(const observations<T>& data, const sums_request<T>& what,
                               std::int64_t d0, std::int64_t d1, std::int64_t i0, std::int64_t i1,
                               partial_sums* out) {
  const task_shape& shape = data.shape;
  const int dims = static_cast<int>(d1 - d0);
  double given[max_group_dims];
  const double* centres = nullptr;
  if (what.user_mean != nullptr) {
    for (int k = 0; k < dims; ++k)
      given[k] = static_cast<double>(what.user_mean[d0 + k]);
    centres = given;
  }
  const centring how = Central == 0                ? centring::none
                       : what.user_mean != nullptr ? centring::given_centre
                                                   : centring::own_mean;
  // Without central sums nothing is read twice, and the whole part is one block.
  const std::int64_t block = Central > 0 ? cache_block_length(dims, sizeof(T)) : i1 - i0;
  partial_sums sums[max_group_dims];
  for (std::int64_t b0 = i0; b0 < i1; b0 += block) {
    const std::int64_t n = std::min(block, i1 - b0);
    const T* x = data.x + shape.offset(d0, b0);
    const std::int64_t ahead = b0 + 2 * n <= i1 ? n : 0;
    const block_view<T> view{x,
                             Weighted ? data.weights + b0 : nullptr,
                             n,
                             dims,
                             shape.obs_stride,
                             x + ahead * shape.obs_stride};
    reduce_block<V, Raw, Central, Weighted>(view, centres, sums);
    for (int k = 0; k < dims; ++k)
      merge(out[k], sums[k], how);
  }
}

// The loops built for each instruction set.
template <int Raw, int Central, bool Weighted, class T>
void reduce_part_sse2(const observations<T>& data, const sums_request<T>& what, std::int64_t d0,
                      std::int64_t d1, std::int64_t i0, std::int64_t i1, partial_sums* out) {
  reduce_part<double2, Raw, Central, Weighted>(data, what, d0, d1, i0, i1, out);
}
template <int Raw, int Central, bool Weighted, class T>
TESSEL_TARGET_AVX2 void reduce_part_avx2(const observations<T>& data, const sums_request<T>& what,
                                         std::int64_t d0, std::int64_t d1, std::int64_t i0,
                                         std::int64_t i1, partial_sums* out) {
  reduce_part<double4, Raw, Central, Weighted>(data, what, d0, d1, i0, i1, out);
}

}  // namespace

template <class T>
std::vector<partial_sums> basic_sums(const observations<T>& data, const sums_request<T>& what) {
  const bool own_mean = what.central_degree > 0 && what.user_mean == nullptr;
  const int raw = own_mean ? std::max(what.raw_degree, 1) : what.raw_degree;
  const centring how = what.central_degree == 0    ? centring::none
                       : what.user_mean != nullptr ? centring::given_centre
                                                   : centring::own_mean;
  const bool avx2 = avx2_enabled();
  std::vector<partial_sums> result;
  with_raw_degree(raw, [&](auto r) {
    with_central_degree(what.central_degree, [&](auto c) {
      with_weights(data.weights != nullptr, [&](auto weighted) {
        result = reduce_parts<partial_sums>(
            data.shape, sizeof(T), data.threads,
            [&](std::int64_t d0, std::int64_t d1, std::int64_t i0, std::int64_t i1,
                partial_sums* out) {
              constexpr int raw_degree = decltype(r)::value;
              constexpr int central_degree = decltype(c)::value;
              constexpr bool is_weighted = decltype(weighted)::value;
              if (avx2) {
                reduce_part_avx2<raw_degree, central_degree, is_weighted>(data, what, d0, d1, i0,
                                                                          i1, out);
              } else {
                reduce_part_sse2<raw_degree, central_degree, is_weighted>(data, what, d0, d1, i0,
                                                                          i1, out);
              }
            },
            [how](partial_sums& total, const partial_sums& later) { merge(total, later, how); });
      });
    });
  });
  return result;
}

template std::vector<partial_sums> basic_sums(const observations<float>&,
                                              const sums_request<float>&);
template std::vector<partial_sums> basic_sums(const observations<double>&,
                                              const sums_request<double>&);

}  // namespace tessel::estimator
