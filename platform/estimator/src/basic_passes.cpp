#include "basic_passes.hpp"

#include "degree_dispatch.hpp"
#include "lane_sums.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <type_traits>

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
};

// The sums that one step leaves, by quantity and dimension of the group: power sums of one block,
// central sums of another.
template <int QA, int QB>
struct step_sums {
  double_double power[std::max(QA, 1)][max_group_dims];
  double_double central[std::max(QB, 1)][max_group_dims];
};

// Rows of a column-major group that its sweeps take in turn: a whole number of runs, so that the
// sums are those of one sweep over the block, and 16 KiB of a group of sixteen doubles.
constexpr std::int64_t interleaved_rows = run_rows<false>;
static_assert(interleaved_rows % run_rows<true> == 0);

// The totals of every lane group of a column-major group (as for_lane_groups cuts it), kept while
// the sweeps take turns.
template <class V, int Wide, int Q>
struct group_totals {
  using wide = row_shape<V, Wide>;
  using single = row_shape<V, 1>;
  lane_totals<V, Wide, Q> wide_groups[max_group_dims / wide::lanes];
  lane_totals<V, 1, Q> single_groups[max_group_dims / single::lanes];
  lane_totals<scalar_of<V>, 1, Q> scalar_groups[max_group_dims];

  template <class S>
  TESSEL_INLINE auto& of(S, int first) {
    if constexpr (std::is_same_v<S, wide>) {
      return wide_groups[first / wide::lanes];
    } else if constexpr (std::is_same_v<S, single>) {
      return single_groups[first / single::lanes];
    } else {
      return scalar_groups[first];
    }
  }
};

// add_rows in a function of its own, built for the instruction set of the step that calls it:
// inlined into the whole step, the loop's registers were allocated around everything else, and a
// change elsewhere could leave one of its sums in memory, which halved its speed.
template <int Raw, int Central, bool Weighted, class V, int Vectors, class Rows, class TA, class TB>
__attribute__((noinline)) void sum_rows_sse2(const Rows& a, std::int64_t n_a, TA& ta, const Rows& b,
                                             std::int64_t n_b, const V (&centre)[Vectors], TB& tb) {
  add_rows<Raw, Central, Weighted, V, Vectors>(a, n_a, ta, b, n_b, centre, tb);
}
template <int Raw, int Central, bool Weighted, class V, int Vectors, class Rows, class TA, class TB>
__attribute__((noinline)) TESSEL_TARGET_AVX2 void sum_rows_avx2(const Rows& a, std::int64_t n_a,
                                                                TA& ta, const Rows& b,
                                                                std::int64_t n_b,
                                                                const V (&centre)[Vectors],
                                                                TB& tb) {
  add_rows<Raw, Central, Weighted, V, Vectors>(a, n_a, ta, b, n_b, centre, tb);
}
template <bool Avx2, int Raw, int Central, bool Weighted, class V, int Vectors, class Rows,
          class TA, class TB>
TESSEL_INLINE void sum_rows(const Rows& a, std::int64_t n_a, TA& ta, const Rows& b,
                            std::int64_t n_b, const V (&centre)[Vectors], TB& tb) {
  if constexpr (Avx2) {
    sum_rows_avx2<Raw, Central, Weighted, V, Vectors>(a, n_a, ta, b, n_b, centre, tb);
  } else {
    sum_rows_sse2<Raw, Central, Weighted, V, Vectors>(a, n_a, ta, b, n_b, centre, tb);
  }
}

// One step: the power sums of block a and the sums of the deviations of block b from centre[k],
// side by side; a and b are the same block on its read from memory, and b alone on a second pass in
// cache. Either block may have no observations.
template <class V, int Raw, int Central, bool Weighted, class T>
TESSEL_INLINE void step(const block_view<T>& a, const block_view<T>& b, const double* centre,
                        step_sums<power_quantities(Raw, Weighted), Central>& out) {
  constexpr int QA = power_quantities(Raw, Weighted);
  constexpr int QA1 = std::max(QA, 1), QB1 = std::max(Central, 1);
  constexpr int wide = wide_vectors(QA, Central);
  constexpr bool avx2 = sizeof(V) == 32;
  const auto centres = [&](auto& c, int first, bool shared) __attribute__((always_inline)) {
    using W = std::remove_reference_t<decltype(c[0])>;
    for (int j = 0; j < static_cast<int>(std::size(c)); ++j) {
      fill(c[j], [&](int l) {
        return Central > 0 ? centre[shared ? 0 : first + j * lanes_of<W> + l] : 0.0;
      });
    }
  };
  if (a.stride == 1) {
    // One dimension: rows of neighbouring observations, then the few left over one by one, and all
    // lanes folded together.
    using main_shape = row_shape<V, wide>;
    const std::int64_t rows_a = a.n / main_shape::lanes, rows_b = b.n / main_shape::lanes;
    const std::int64_t done_a = rows_a * main_shape::lanes, done_b = rows_b * main_shape::lanes;
    lane_totals<V, wide, QA1> main_a;
    lane_totals<V, wide, QB1> main_b;
    V c[wide];
    centres(c, 0, true);
    sum_rows<avx2, Raw, Central, Weighted, V, wide>(
        contiguous_rows<T>{a.x, a.w, main_shape::lanes}, rows_a, main_a,
        contiguous_rows<T>{b.x, b.w, main_shape::lanes}, rows_b, c, main_b);
    lane_totals<double, 1, QA1> tail_a;
    lane_totals<double, 1, QB1> tail_b;
    double tail_c[1];
    centres(tail_c, 0, true);
    sum_rows<avx2, Raw, Central, Weighted, double, 1>(
        contiguous_rows<T>{a.x + done_a, Weighted ? a.w + done_a : nullptr, 1}, a.n - done_a,
        tail_a, contiguous_rows<T>{b.x + done_b, Weighted ? b.w + done_b : nullptr, 1},
        b.n - done_b, tail_c, tail_b);
    const auto fold = [](const auto& main, const auto& tail, int q) {
      double_double total{};
      main.fold(q, total);
      tail.fold(q, total);
      return renormalize(total.hi, total.lo);
    };
    for (int q = 0; q < QA; ++q) {
      out.power[q][0] = fold(main_a, tail_a, q);
    }
    for (int q = 0; q < Central; ++q) {
      out.central[q][0] = fold(main_b, tail_b, q);
    }
  } else {
    // No wider than a group, and a power of two, so that the sweeps of a full group are alike: a
    // sweep of one vector beside wider ones would wait on its sums' latency.
    constexpr int group_wide = std::min(wide >= 4   ? 4
                                        : wide >= 2 ? 2
                                                    : 1,
                                        static_cast<int>(max_group_dims) / lanes_of<V>);
    group_totals<V, group_wide, QA1> ta;
    group_totals<V, group_wide, QB1> tb;
    // The sweeps take turns over short stretches of rows, so that the stretch the first one
    // fetched is still in the first-level cache for the others, and memory is read in order.
    const std::int64_t longest = std::max(a.n, b.n);
    for (std::int64_t r0 = 0; r0 < longest; r0 += interleaved_rows) {
      const std::int64_t n_a = std::clamp<std::int64_t>(a.n - r0, 0, interleaved_rows);
      const std::int64_t n_b = std::clamp<std::int64_t>(b.n - r0, 0, interleaved_rows);
      for_lane_groups<V, group_wide>(
          a.dims, [&](int first, auto shape) __attribute__((always_inline)) {
            using W = typename decltype(shape)::vector;
            W c[decltype(shape)::vectors];
            centres(c, first, false);
            sum_rows<avx2, Raw, Central, Weighted, W, decltype(shape)::vectors>(
                strided_rows<T>{a.x + r0 * a.stride + first, Weighted ? a.w + r0 : nullptr,
                                a.stride},
                n_a, ta.of(shape, first),
                strided_rows<T>{b.x + r0 * b.stride + first, Weighted ? b.w + r0 : nullptr,
                                b.stride},
                n_b, c, tb.of(shape, first));
          });
    }
    for_lane_groups<V, group_wide>(
        a.dims, [&](int first, auto shape) __attribute__((always_inline)) {
          for (int l = 0; l < decltype(shape)::lanes; ++l) {
            for (int q = 0; q < QA; ++q) {
              out.power[q][first + l] = ta.of(shape, first).total(q, l);
            }
            for (int q = 0; q < Central; ++q) {
              out.central[q][first + l] = tb.of(shape, first).total(q, l);
            }
          }
        });
  }
}

// Centres near the means of observations [i0, i1) of the dims dimensions from d0, for the first
// block of a part: for each, the one of its first few observations that lies nearest to their mean.
// Being an observation, it leaves the deviations of data of one magnitude, or on a grid such as the
// integers, exact, so data whose central sums are exact keep them exact. Rows outer and dimensions
// inner: a column-major group's observations are neighbours (only there is dims above 1), so the
// rows are read once for all its dimensions, with a chain of sums per dimension.
template <class T>
TESSEL_INLINE void first_centres(const observations<T>& data, std::int64_t d0, int dims,
                                 std::int64_t i0, std::int64_t i1, double* centre) {
  const std::int64_t n = std::min<std::int64_t>(i1 - i0, 256);
  const std::int64_t step = data.shape.obs_stride;
  const T* const x = data.x + data.shape.offset(d0, i0);
  const double share = 1.0 / static_cast<double>(n);
  double mean[max_group_dims] = {};
  for (std::int64_t i = 0; i < n; ++i) {
    for (int k = 0; k < dims; ++k) {
      mean[k] += static_cast<double>(x[i * step + k]) * share;
    }
  }
  for (int k = 0; k < dims; ++k) {
    centre[k] = static_cast<double>(x[k]);
  }
  for (std::int64_t i = 1; i < n; ++i) {
    for (int k = 0; k < dims; ++k) {
      const double v = static_cast<double>(x[i * step + k]);
      centre[k] = std::fabs(v - mean[k]) < std::fabs(centre[k] - mean[k]) ? v : centre[k];
    }
  }
  for (int k = 0; k < dims; ++k) {
    centre[k] = std::isfinite(centre[k]) ? centre[k] : mean[k];
  }
}

// Observations [i0, i1) of dimensions [d0, d1), block by block, merged in order into out. Each
// block is read from memory once, for its power sums and the sums of its deviations from a centre:
// the caller's mean, or else a guess at the block's mean (the centre of the blocks before it).
// Where the block's own mean turns out far from the guess beside its spread, the deviations would
// lose digits when moved to it, so they are summed again about that mean while the block is still
// in cache, and that mean is the centre from then on. Without central sums the part is one block.
template <class V, int Raw, int Central, bool Weighted, class T>
TESSEL_INLINE void reduce_part(const observations<T>& data, const sums_request<T>& what,
                               std::int64_t d0, std::int64_t d1, std::int64_t i0, std::int64_t i1,
                               partial_sums* out) {
  constexpr int QA = power_quantities(Raw, Weighted);
  constexpr int first_raw = Weighted ? 2 : 0;
  const task_shape& shape = data.shape;
  const int dims = static_cast<int>(d1 - d0);
  const bool given = what.user_mean != nullptr;
  const centring how = Central == 0 ? centring::none
                       : given      ? centring::given_centre
                                    : centring::own_mean;
  const std::int64_t block_length = Central > 0 ? cache_block_length(dims, sizeof(T)) : i1 - i0;
  double centre[max_group_dims] = {};
  if constexpr (Central > 0) {
    if (given) {
      for (int k = 0; k < dims; ++k) {
        centre[k] = static_cast<double>(what.user_mean[d0 + k]);
      }
    } else {
      first_centres(data, d0, dims, i0, i1, centre);
    }
  }
  // The sums of the blocks since the centre last moved, about that centre. Blocks near it add to
  // them, and only a move (or the end of the part) folds them into out: one merge per dimension
  // and move rather than per block, which in a column-major group is sixteen to a block.
  partial_sums pending[max_group_dims];
  double_double pending_central[max_group_dims][4] = {};
  const auto fold_pending = [&]() __attribute__((always_inline)) {
    for (int k = 0; k < dims; ++k) {
      if constexpr (Central > 0) {
        if (given) {
          pending[k].mean = {centre[k], 0.0};
          for (int j = 0; j < 3; ++j) {
            pending[k].central[j] = pending_central[k][j + 1];
          }
        } else {
          centre_on_own_mean(centre[k], pending_central[k], pending[k]);
        }
      }
      merge(out[k], pending[k], how);
      pending[k] = partial_sums{};
      for (double_double& d : pending_central[k]) {
        d = double_double{};
      }
    }
  };
  for (std::int64_t b0 = i0; b0 < i1; b0 += block_length) {
    const block_view<T> block{data.x + shape.offset(d0, b0), Weighted ? data.weights + b0 : nullptr,
                              std::min(block_length, i1 - b0), dims, shape.obs_stride};
    step_sums<QA, Central> found;
    step<V, Raw, Central, Weighted>(block, block, centre, found);
    if constexpr (Central > 0) {
      if (!given) {
        // Far: delta^2 > D2 / (16 W), with delta = D1 / W the distance of the block's mean from
        // the centre, so that the terms that move the sums to the mean stay small beside them;
        // the blocks' sums about one centre then satisfy it together too.
        bool far = false;
        double own[max_group_dims];
        for (int k = 0; k < dims; ++k) {
          const double w = Weighted ? found.power[0][k].hi : static_cast<double>(block.n);
          const double delta = found.central[0][k].hi / w;
          own[k] = centre[k] + delta;
          far = far || 16.0 * delta * delta * w > found.central[1][k].hi;
        }
        if (far) {
          fold_pending();
          block_view<T> none = block;
          none.n = 0;
          step_sums<power_quantities(0, Weighted), Central> again;
          step<V, 0, Central, Weighted>(none, block, own, again);
          for (int k = 0; k < dims; ++k) {
            centre[k] = own[k];
            for (int j = 0; j < Central; ++j) {
              found.central[j][k] = again.central[j][k];
            }
          }
        }
      }
    }
    for (int k = 0; k < dims; ++k) {
      partial_sums& s = pending[k];
      const double_double w =
          Weighted ? found.power[0][k] : double_double{static_cast<double>(block.n), 0.0};
      s.w = s.w + w;
      s.w2 = s.w2 + (Weighted ? found.power[1][k] : w);
      for (int j = 0; j < Raw; ++j) {
        s.raw[j] = s.raw[j] + found.power[first_raw + j][k];
      }
      for (int j = 0; j < Central; ++j) {
        pending_central[k][j] = pending_central[k][j] + found.central[j][k];
      }
    }
  }
  fold_pending();
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
  const centring how = what.central_degree == 0    ? centring::none
                       : what.user_mean != nullptr ? centring::given_centre
                                                   : centring::own_mean;
  const bool avx2 = avx2_enabled();
  std::vector<partial_sums> result;
  with_raw_degree(what.raw_degree, [&](auto r) {
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
