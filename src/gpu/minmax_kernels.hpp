// The kernels of min, max and min_max. A work-group walks the selected dimensions; for each it
// reduces one value per work-item with the group minimum (min half) and maximum (max half), and
// work-item 0 stores the result, floored by the half's identity, into the output (single and last
// steps) or the half's scratch at d * G + g.
//
// The USM form reads global memory directly and has no local memory. The buffer form passes every
// value through one local block per half.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <type_traits>
#include <vorlex/orv/stats.hpp>

#include "gpu/device_memory.hpp"
#include "gpu/kernel_capture.hpp"
#include "gpu/minmax_functors.hpp"
#include "gpu/out_handle.hpp"
#include "stats/dataset_helper.hpp"

namespace vorlex::orv::stats::detail::gpu {

// One V for each half that a functor has.
template <typename V, bool HasMin, bool HasMax>
struct extreme_pair;
template <typename V>
struct extreme_pair<V, true, true> {
  V min;
  V max;
};
template <typename V>
struct extreme_pair<V, true, false> {
  V min;
};
template <typename V>
struct extreme_pair<V, false, true> {
  V max;
};

template <typename F, typename V>
using halves_of = extreme_pair<V, F::has_min, F::has_max>;

struct min_half {
  template <typename Pair>
  static auto& of(Pair& pair) {
    return pair.min;
  }
  template <typename T>
  static T identity() {
    return IDENT_MIN<T>;
  }
  template <typename T>
  static T reduce(const sycl::group<1>& group, T value) {
    return sycl::reduce_over_group(group, value, sycl::minimum<T>());
  }
  // A NaN result fails the comparison and gives the identity.
  template <typename T>
  static T floor(T result) {
    return result < IDENT_MIN<T> ? result : IDENT_MIN<T>;
  }
  template <typename F, typename T>
  static void store(const F& functor, std::uint64_t dim, T value) {
    functor.store_min(dim, value);
  }
};

struct max_half {
  template <typename Pair>
  static auto& of(Pair& pair) {
    return pair.max;
  }
  template <typename T>
  static T identity() {
    return IDENT_MAX<T>;
  }
  template <typename T>
  static T reduce(const sycl::group<1>& group, T value) {
    return sycl::reduce_over_group(group, value, sycl::maximum<T>());
  }
  template <typename T>
  static T floor(T result) {
    return result > IDENT_MAX<T> ? result : IDENT_MAX<T>;
  }
  template <typename F, typename T>
  static void store(const F& functor, std::uint64_t dim, T value) {
    functor.store_max(dim, value);
  }
};

// The min half first, then the max half.
template <typename F, typename Op>
void for_each_half(Op&& op) {
  if constexpr (F::has_min) {
    op(min_half{});
  }
  if constexpr (F::has_max) {
    op(max_half{});
  }
}

// A pair of the halves that F has, make(half) making each, the min half first.
template <typename F, typename Make>
auto make_halves(Make&& make) {
  using V = decltype(make(std::conditional_t<F::has_min, min_half, max_half>{}));
  if constexpr (F::has_min && F::has_max) {
    return halves_of<F, V>{make(min_half{}), make(max_half{})};
  } else if constexpr (F::has_min) {
    return halves_of<F, V>{make(min_half{})};
  } else {
    return halves_of<F, V>{make(max_half{})};
  }
}

template <typename F, bool RowLayout, bool WideIndices>
struct minmax_kernel_types {
  using value_type = typename F::value_type;
  using data_type =
      detail::dataset_helper<value_type,
                             RowLayout ? stats::layout::row_major : stats::layout::col_major,
                             F::usm, WideIndices>;
  using scratch_type =
      halves_of<F, std::conditional_t<F::usm, value_type*, scratch_accessor<value_type>>>;
  using blocks_type = capture_if<!F::usm, halves_of<F, sycl::local_accessor<value_type, 1>>>;
};

// Reduces one half over the group; work-item 0 stores the floored result.
template <typename Half, typename T, typename Store>
void reduce_half(const sycl::nd_item<1>& item, T value, Store&& store) {
  const T result = Half::reduce(item.get_group(), value);
  if (item.get_local_id(0) == 0) {
    store(Half::floor(result));
  }
}

// Copies count elements into each half's block, source(half) giving where from. Both copies of
// min_max start before either is waited for.
template <typename F, typename Blocks, typename Source>
void copy_into_blocks(const sycl::nd_item<1>& item, const Blocks& blocks, Source&& source,
                      std::uint64_t count) {
  if constexpr (F::has_min && F::has_max) {
    auto min_copy = start_group_copy(item, local_pointer(blocks.min), source(min_half{}), count);
    auto max_copy = start_group_copy(item, local_pointer(blocks.max), source(max_half{}), count);
    min_copy.wait();
    max_copy.wait();
  } else {
    for_each_half<F>([&](auto half) {
      using H = decltype(half);
      group_copy(item, local_pointer(H::of(blocks)), source(half), count);
    });
  }
}

template <typename F, typename Blocks, typename T>
void fill_blocks(const Blocks& blocks, std::uint64_t l, T value) {
  for_each_half<F>([&](auto half) { local_pointer(decltype(half)::of(blocks))[l] = value; });
}

template <typename F, typename Blocks>
void fill_identities(const Blocks& blocks, std::uint64_t l) {
  for_each_half<F>([&](auto half) {
    using H = decltype(half);
    local_pointer(H::of(blocks))[l] = H::template identity<typename F::value_type>();
  });
}

template <typename F, bool RowLayout, bool WideIndices>
class minmax_kernel_single_step {
  using types = minmax_kernel_types<F, RowLayout, WideIndices>;
  using T = typename types::value_type;

 public:
  minmax_kernel_single_step(const typename types::data_type& data,
                            const typename types::blocks_type& blocks, std::uint64_t group_size,
                            const F& functor)
      : data_(data),
        blocks_(blocks),
        group_size_(keep_if < !F::usm && RowLayout > (group_size)),
        functor_(functor) {}

  void operator()(sycl::nd_item<1> item) const {
    const std::uint64_t l = item.get_local_id(0);
    for (std::uint64_t d = 0; d < data_.dims; ++d) {
      if (!is_selected(data_, d)) {
        continue;
      }
      if constexpr (F::usm) {
        const T value = observation(data_, d, l);
        for_each_half<F>([&](auto half) { finish(item, half, d, value); });
      } else {
        if constexpr (RowLayout) {
          const T* row = device_pointer(data_.x) + d * data_.n_obs;
          copy_into_blocks<F>(
              item, blocks_, [row](auto) { return row; }, group_size_);
        } else {
          fill_blocks<F>(blocks_, l, observation(data_, d, l));
        }
        for_each_half<F>([&](auto half) {
          finish(item, half, d, local_pointer(decltype(half)::of(blocks_))[l]);
        });
      }
    }
  }

 private:
  template <typename Half>
  void finish(const sycl::nd_item<1>& item, Half, std::uint64_t d, T value) const {
    reduce_half<Half>(item, value, [&](T result) { Half::store(functor_, d, result); });
  }

  typename types::data_type data_;
  typename types::blocks_type blocks_;
  capture_if<!F::usm && RowLayout, std::uint64_t> group_size_;
  F functor_;
};

template <typename F, bool RowLayout, bool WideIndices>
class minmax_kernel_first_step {
  using types = minmax_kernel_types<F, RowLayout, WideIndices>;
  using T = typename types::value_type;

 public:
  minmax_kernel_first_step(const typename types::data_type& data,
                           const typename types::blocks_type& blocks, std::uint64_t group_count,
                           std::uint64_t remainder, std::uint64_t group_size,
                           const typename types::scratch_type& scratch)
      : data_(data),
        blocks_(blocks),
        group_count_(group_count),
        remainder_(remainder),
        group_size_(keep_if<RowLayout>(group_size)),
        scratch_(scratch) {}

  void operator()(sycl::nd_item<1> item) const {
    const std::uint64_t l = item.get_local_id(0);
    const std::uint64_t g = item.get_group(0);
    const bool tail = is_tail(item, group_count_, remainder_);
    for (std::uint64_t d = 0; d < data_.dims; ++d) {
      if (!is_selected(data_, d)) {
        continue;
      }
      // Tail work-items read nothing and take the identities.
      if constexpr (F::usm) {
        const T value = tail ? T(0) : observation(data_, d, observation_number(item));
        for_each_half<F>([&](auto half) {
          using H = decltype(half);
          finish(item, half, d, tail ? H::template identity<T>() : value);
        });
      } else {
        if constexpr (RowLayout) {
          const T* run = device_pointer(data_.x) + g * group_size_ + d * data_.n_obs;
          copy_into_blocks<F>(
              item, blocks_, [run](auto) { return run; },
              valid_count(item, group_count_, remainder_));
        } else if (!tail) {
          fill_blocks<F>(blocks_, l, observation(data_, d, observation_number(item)));
        }
        if (tail) {
          fill_identities<F>(blocks_, l);
        }
        for_each_half<F>([&](auto half) {
          finish(item, half, d, local_pointer(decltype(half)::of(blocks_))[l]);
        });
      }
    }
  }

 private:
  std::uint64_t observation_number(const sycl::nd_item<1>& item) const {
    if constexpr (RowLayout) {
      return item.get_group(0) * group_size_ + item.get_local_id(0);
    } else {
      return item.get_global_id(0);
    }
  }

  template <typename Half>
  void finish(const sycl::nd_item<1>& item, Half, std::uint64_t d, T value) const {
    T* scratch = device_pointer(Half::of(scratch_));
    const std::uint64_t at = d * group_count_ + item.get_group(0);
    reduce_half<Half>(item, value, [&](T result) { scratch[at] = result; });
  }

  typename types::data_type data_;
  typename types::blocks_type blocks_;
  std::uint64_t group_count_;
  std::uint64_t remainder_;
  capture_if<RowLayout, std::uint64_t> group_size_;
  typename types::scratch_type scratch_;
};

// A next step reads runs of row_stride partial results from one half of the scratch (load_offset)
// and, unless it is the last, stores runs of group_count into the other (store_offset), so that no
// group stores where another still reads.
template <typename F, bool RowLayout, bool Last, bool WideIndices>
class minmax_kernel_next_step {
  using types = minmax_kernel_types<F, RowLayout, WideIndices>;
  using T = typename types::value_type;

 public:
  minmax_kernel_next_step(const typename types::data_type& data,
                          const typename types::blocks_type& blocks,
                          const typename types::scratch_type& scratch, std::uint64_t group_size,
                          std::uint64_t row_stride, std::uint64_t group_count,
                          std::uint64_t remainder, const F& functor, std::uint64_t load_offset,
                          std::uint64_t store_offset)
      : data_(data),
        blocks_(blocks),
        scratch_(scratch),
        group_size_(group_size),
        row_stride_(row_stride),
        group_count_(group_count),
        remainder_(remainder),
        functor_(keep_if<Last>(functor)),
        load_offset_(load_offset),
        store_offset_(keep_if<!Last>(store_offset)) {}

  void operator()(sycl::nd_item<1> item) const {
    const std::uint64_t l = item.get_local_id(0);
    const bool tail = is_tail(item, group_count_, remainder_);
    for (std::uint64_t d = 0; d < data_.dims; ++d) {
      if (!is_selected(data_, d)) {
        continue;
      }
      const std::uint64_t run = load_offset_ + item.get_group(0) * group_size_ + d * row_stride_;
      if constexpr (F::usm) {
        for_each_half<F>([&](auto half) {
          using H = decltype(half);
          const T value =
              tail ? H::template identity<T>() : device_pointer(H::of(scratch_))[run + l];
          finish(item, half, d, value);
        });
      } else {
        copy_into_blocks<F>(
            item, blocks_,
            [&](auto half) -> const T* {
              return device_pointer(decltype(half)::of(scratch_)) + run;
            },
            valid_count(item, group_count_, remainder_));
        if (tail) {
          fill_identities<F>(blocks_, l);
        }
        for_each_half<F>([&](auto half) {
          finish(item, half, d, local_pointer(decltype(half)::of(blocks_))[l]);
        });
      }
    }
  }

 private:
  template <typename Half>
  void finish(const sycl::nd_item<1>& item, Half, std::uint64_t d, T value) const {
    if constexpr (Last) {
      reduce_half<Half>(item, value, [&](T result) { Half::store(functor_, d, result); });
    } else {
      T* scratch = device_pointer(Half::of(scratch_)) + store_offset_;
      const std::uint64_t at = d * group_count_ + item.get_group(0);
      reduce_half<Half>(item, value, [&](T result) { scratch[at] = result; });
    }
  }

  typename types::data_type data_;
  typename types::blocks_type blocks_;
  typename types::scratch_type scratch_;
  std::uint64_t group_size_;
  std::uint64_t row_stride_;
  std::uint64_t group_count_;
  std::uint64_t remainder_;
  capture_if<Last, F> functor_;
  std::uint64_t load_offset_;
  capture_if<!Last, std::uint64_t> store_offset_;
};

}  // namespace vorlex::orv::stats::detail::gpu
