#include "lane_sums.hpp"
#include "parallel.hpp"
#include "stages.hpp"

#include <algorithm>
#include <limits>
#include <new>

namespace tessel::estimator {
namespace {

// Extremes that pass over NaN values: a NaN never compares below or above anything, so it never
// replaces an extreme. A dimension without any other value keeps min above max, and has NaN
// extremes.
template <class T>
struct extremes {
  T min = std::numeric_limits<T>::infinity();
  T max = -std::numeric_limits<T>::infinity();

  void merge(const extremes& other) {
    if (other.min < min) {
      min = other.min;
    }
    if (other.max > max) {
      max = other.max;
    }
  }
  bool found() const { return min <= max; }
};

template <class V, int Vectors, class Rows>
TESSEL_INLINE void add_extreme_rows(const Rows& rows, std::int64_t n_rows, V (&low)[Vectors],
                                    V (&high)[Vectors]) {
  constexpr int w = lanes_of<V>;
  for (std::int64_t r = 0; r < n_rows; ++r) {
    for (int j = 0; j < Vectors; ++j) {
      V x;
      load_native(x, rows.at(r, j * w));
      low[j] = x < low[j] ? x : low[j];
      high[j] = x > high[j] ? x : high[j];
    }
  }
}

// The extremes of observations [i0, i1) of dimensions [d0, d1), into out[d - d0], with vectors as
// wide as the double vector D.
template <class D, class T>
TESSEL_INLINE void extremes_of_part(const T* x, const task_shape& shape, std::int64_t d0,
                                    std::int64_t d1, std::int64_t i0, std::int64_t i1,
                                    extremes<T>* out) {
  using V = native_vector<T, D>;
  constexpr int wide = 4;
  const auto run = [&](auto shape_tag, const auto& rows, int first, std::int64_t n_rows, bool fold)
      __attribute__((always_inline)) {
    using S = decltype(shape_tag);
    using W = typename S::vector;
    W low[S::vectors], high[S::vectors];
    for (int j = 0; j < S::vectors; ++j) {
      fill(low[j], [](int) { return std::numeric_limits<T>::infinity(); });
      fill(high[j], [](int) { return -std::numeric_limits<T>::infinity(); });
    }
    add_extreme_rows<W, S::vectors>(rows, n_rows, low, high);
    constexpr int w = lanes_of<W>;
    for (int l = 0; l < S::lanes; ++l) {
      out[fold ? 0 : first + l].merge(
          {lane_value(low[l / w], l % w), lane_value(high[l / w], l % w)});
    }
  };
  const T* start = x + shape.offset(d0, i0);
  const std::int64_t n = i1 - i0;
  if (shape.obs_stride == 1) {
    using S = row_shape<V, wide>;
    const std::int64_t n_rows = n / S::lanes;
    run(S{}, contiguous_rows<T>{start, nullptr, S::lanes}, 0, n_rows, true);
    const T* tail = start + n_rows * S::lanes;
    run(row_shape<T, 1>{}, contiguous_rows<T>{tail, nullptr, 1}, 0, n - n_rows * S::lanes, true);
  } else {
    // A full group in one sweep where the registers allow, so that no sweep reads again what
    // another one has already fetched.
    constexpr int group_wide = std::min<int>(wide, max_group_dims / lanes_of<V>);
    for_lane_groups<V, group_wide>(
        static_cast<int>(d1 - d0), [&](int first, auto shape_tag) __attribute__((always_inline)) {
          run(shape_tag, strided_rows<T>{start + first, nullptr, shape.obs_stride}, first, n,
              false);
        });
  }
}

template <class T>
void extremes_of_part_sse2(const T* x, const task_shape& shape, std::int64_t d0, std::int64_t d1,
                           std::int64_t i0, std::int64_t i1, extremes<T>* out) {
  extremes_of_part<double2>(x, shape, d0, d1, i0, i1, out);
}
template <class T>
TESSEL_TARGET_AVX2 void extremes_of_part_avx2(const T* x, const task_shape& shape, std::int64_t d0,
                                              std::int64_t d1, std::int64_t i0, std::int64_t i1,
                                              extremes<T>* out) {
  extremes_of_part<double4>(x, shape, d0, d1, i0, i1, out);
}

}  // namespace

template <class T>
std::int32_t minmax_stage(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method,
                          const ss_threading_entry* threading_table) {
  task_shape shape;
  if (const std::int32_t status = read_task_shape(task, sizeof(T), shape)) {
    return status;
  }
  if ((estimate_mask & SS_STAGE_MINMAX) == 0) {
    return SS_STATUS_OK;
  }
  if (!known_method(method)) {
    return SS_STATUS_BAD_METHOD;
  }
  T* const min_out = (estimate_mask & SS_MIN) != 0 ? static_cast<T*>(task->min) : nullptr;
  T* const max_out = (estimate_mask & SS_MAX) != 0 ? static_cast<T*>(task->max) : nullptr;
  if ((estimate_mask & SS_MIN) != 0 && min_out == nullptr) {
    return SS_STATUS_NULL_RESULT;
  }
  if ((estimate_mask & SS_MAX) != 0 && max_out == nullptr) {
    return SS_STATUS_NULL_RESULT;
  }
  const T* const x = static_cast<const T*>(task->observations);
  const bool avx2 = avx2_enabled();
  try {
    const auto found = reduce_parts<extremes<T>>(
        shape, sizeof(T), threading(threading_table),
        [&](std::int64_t d0, std::int64_t d1, std::int64_t i0, std::int64_t i1, extremes<T>* out) {
          if (avx2) {
            extremes_of_part_avx2(x, shape, d0, d1, i0, i1, out);
          } else {
            extremes_of_part_sse2(x, shape, d0, d1, i0, i1, out);
          }
        },
        [](extremes<T>& total, const extremes<T>& part) { total.merge(part); });
    for (std::int64_t d = 0; d < shape.n_dims; ++d) {
      if (!shape.selected(d)) {
        continue;
      }
      const extremes<T>& e = found[static_cast<std::size_t>(d)];
      if (min_out != nullptr) {
        min_out[d] = e.found() ? e.min : std::numeric_limits<T>::quiet_NaN();
      }
      if (max_out != nullptr) {
        max_out[d] = e.found() ? e.max : std::numeric_limits<T>::quiet_NaN();
      }
    }
  } catch (const std::bad_alloc&) {
    return SS_STATUS_NO_MEMORY;
  }
  return SS_STATUS_OK;
}

template std::int32_t minmax_stage<float>(ss_task*, std::uint64_t, std::intptr_t,
                                          const ss_threading_entry*);
template std::int32_t minmax_stage<double>(ss_task*, std::uint64_t, std::intptr_t,
                                           const ss_threading_entry*);

}  // namespace tessel::estimator
