// How a driver turns a dataset into the dataset_helper that its kernels capture.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <vorlex/orv/stats.hpp>

#include "common/has_elements.hpp"
#include "stats/dataset_helper.hpp"

namespace vorlex::orv::stats::detail::gpu {

// USM: pointers as given; an absent array is a null pointer. With WideIndices false `indices`
// points at 32-bit elements.
template <bool WideIndices, typename T, stats::layout L>
dataset_helper<T, L, true, WideIndices> usm_dataset_helper(const dataset<L, T*>& data) {
  return {static_cast<std::uint64_t>(data.n_dims),
          static_cast<std::uint64_t>(data.n_observations),
          static_cast<std::uint64_t>(L),
          data.observations,
          data.weights,
          data.indices,
          data.weights != nullptr,
          data.indices != nullptr};
}

// Buffers: an accessor cannot be unbound, so an absent array (no elements) is stood in for by the
// driver's one-element dummy, which no kernel reads since the flag is 0. with_weights false keeps
// the caller's weights out of a reduction that ignores them (min/max).
template <bool WideIndices, typename T, stats::layout L>
dataset_helper<T, L, false, WideIndices> buffer_dataset_helper(
    const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1>& dummy_weights,
    sycl::buffer<std::int64_t, 1>& dummy_indices, bool with_weights) {
  sycl::buffer<T, 1> observations = data.observations;
  const bool has_weights = with_weights && has_elements(data.weights);
  const bool has_indices = has_elements(data.indices);
  sycl::buffer<T, 1> weights = has_weights ? data.weights : dummy_weights;
  sycl::buffer<std::int64_t, 1> indices = has_indices ? data.indices : dummy_indices;
  return {static_cast<std::uint64_t>(data.n_dims),
          static_cast<std::uint64_t>(data.n_observations),
          static_cast<std::uint64_t>(L),
          pointer_or_accessor<T, false, sycl::access_mode::read>(observations),
          pointer_or_accessor<T, false, sycl::access_mode::read>(weights),
          pointer_or_accessor<std::int64_t, false, sycl::access_mode::read>(indices),
          has_weights,
          has_indices};
}

}  // namespace vorlex::orv::stats::detail::gpu
