// The device's view of a dataset, and the rules by which every kernel reads it: element, selection,
// weight. Kernels look at the flags, never at the handles, to learn what was given.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <type_traits>
#include <vorlex/orv/stats.hpp>

#include "common/pointer_or_accessor.hpp"
#include "gpu/device_memory.hpp"

namespace vorlex::orv::stats::detail {

template <typename T, stats::layout L, bool Usm, bool WideIndices>
struct dataset_helper {
  using value_type = T;
  static constexpr bool row_layout = L == stats::layout::row_major;
  static constexpr bool wide_indices = WideIndices;

  std::uint64_t dims;
  std::uint64_t n_obs;
  std::uint64_t layout;  // carried for completeness: kernels take the layout from their name
  pointer_or_accessor<T, Usm, sycl::access_mode::read> x;
  pointer_or_accessor<T, Usm, sycl::access_mode::read> w;
  pointer_or_accessor<std::int64_t, Usm, sycl::access_mode::read> idx;
  std::uint8_t has_weights;
  std::uint8_t has_indices;

  void require(sycl::handler& cgh) const {
    if constexpr (!Usm) {
      cgh.require(x);
      cgh.require(w);
      cgh.require(idx);
    }
  }
};

// Observation i of dimension d.
template <typename Data>
inline typename Data::value_type observation(const Data& data, std::uint64_t d, std::uint64_t i) {
  const auto* x = gpu::device_pointer(data.x);
  if constexpr (Data::row_layout) {
    return x[d * data.n_obs + i];
  } else {
    return x[d + i * data.dims];
  }
}

// Any non-zero selection element selects. The narrow form is an array of 32-bit elements seen as
// 64-bit words: element d is the low half of word d >> 1 for even d and the high half for odd d.
// Only that half is loaded, so the last element of an odd-length array is not read past.
template <typename Data>
inline bool is_selected(const Data& data, std::uint64_t d) {
  if (!data.has_indices) {
    return true;
  }
  const std::int64_t* words = gpu::device_pointer(data.idx);
  if constexpr (Data::wide_indices) {
    return words[d] != 0;
  } else {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    constexpr std::uint64_t low_half_at = 1;
#else
    constexpr std::uint64_t low_half_at = 0;
#endif
    const auto* halves = reinterpret_cast<const std::uint32_t*>(words);
    return halves[2 * (d >> 1) + ((d & 1U) ^ low_half_at)] != 0;
  }
}

// Only a positive stored weight is taken as it is; zero, negative and NaN weights count as 1.
template <typename Data>
inline typename Data::value_type observation_weight(const Data& data, std::uint64_t i) {
  using T = typename Data::value_type;
  if (data.has_weights) {
    const T weight = gpu::device_pointer(data.w)[i];
    if (weight > T(0)) {
      return weight;
    }
  }
  return T(1);
}

}  // namespace vorlex::orv::stats::detail
