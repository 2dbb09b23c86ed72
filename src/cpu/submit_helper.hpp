// detail::cpu::submit: one host task per call, which hands the caller's data in place to the
// estimator module. Nothing is copied in either direction: the observations, weights, indices and
// result arrays reach the estimator as host pointers, and its results are where the caller wants
// them when the task ends.
#pragma once

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "common/has_elements.hpp"
#include "cpu/estimator_calls.hpp"
#include "cpu/host_command.hpp"
#include "orv/ss_task.h"
#include "tessel/sycl_features.hpp"

namespace vorlex::orv::stats::detail::cpu {

// The body of every host task. The estimator keeps pointers to the three words in the task, so they
// live until it is deleted. A failed call raises computation_error and leaves the task undeleted.
template <typename T, layout L, typename F>
void estimate_in_task(std::int64_t n_dims, std::int64_t n_observations, const T* observations,
                      const T* weights, const std::int64_t* indices, const F& functor) {
  const std::int64_t dims = n_dims;
  const std::int64_t observation_count = n_observations;
  const std::int64_t storage = static_cast<std::int64_t>(L);
  ss_task* task = nullptr;
  ss_new_task<T>(&task, &dims, &observation_count, &storage, observations, weights, indices);
  functor.estimate(task);
  ss_delete_task(&task);
}

// An input that the dataset lacks has no accessor, and the task gets a null pointer for it.
struct absent_input {};

template <bool Present, typename T>
auto input_access(sycl::buffer<T, 1>& input, sycl::handler& cgh) {
  if constexpr (Present) {
    return input.template get_access<sycl::access_mode::read, sycl::target::device>(cgh);
  } else {
    return absent_input{};
  }
}

// An input of no elements is handed over as null: there is nothing there to read. (The accessor is
// whatever get_access gives: an implementation may add template parameters of its own.)
template <typename Accessor>
auto input_pointer(const Accessor& input)
    -> decltype(input.template get_multi_ptr<sycl::access::decorated::no>().get()) {
  return input.empty() ? nullptr
                       : input.template get_multi_ptr<sycl::access::decorated::no>().get();
}

inline std::nullptr_t input_pointer(absent_input) {
  return nullptr;
}

// What the task keeps of a dataset of buffers. A host task holds a copy of the dataset, so that it
// may run after the caller has let go of the buffers. A custom operation holds the counts only: its
// runtime would wait for the operation itself in the end of a buffer it held last.
struct dataset_counts {
  std::int64_t n_dims;
  std::int64_t n_observations;
};

template <typename Dataset>
auto kept_by_task(const Dataset& data) {
#if TESSEL_SYCL_HAS_HOST_TASK
  return data;
#else
  return dataset_counts{data.n_dims, data.n_observations};
#endif
}

// One command group for each combination of weights and indices, with accessors for the inputs that
// are present, made in the order observations, weights, indices. The host task holds the dataset
// (as kept_by_task says), the accessors and a copy of the functor.
template <bool HasWeights, bool HasIndices, typename T, layout L, typename F>
sycl::event submit_command_group(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>>& data,
                                 const F& functor) {
  return queue.submit([&data, &functor](sycl::handler& cgh) {
    auto observations =
        data.observations.template get_access<sycl::access_mode::read, sycl::target::device>(cgh);
    auto weights = input_access<HasWeights>(data.weights, cgh);
    auto indices = input_access<HasIndices>(data.indices, cgh);
    functor.require(cgh);
    host_command(cgh, [kept = kept_by_task(data), observations, weights, indices, functor] {
      estimate_in_task<T, L>(kept.n_dims, kept.n_observations, input_pointer(observations),
                             input_pointer(weights), input_pointer(indices), functor);
    });
  });
}

// Buffer form: a weights or indices buffer of no elements is absent. Order among commands comes
// from the accessors.
template <typename T, layout L, typename F>
sycl::event submit(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, F& functor) {
  const bool has_weights = has_elements(data.weights);
  const bool has_indices = has_elements(data.indices);
  if (has_weights && has_indices) {
    return submit_command_group<true, true>(queue, data, functor);
  }
  if (has_weights) {
    return submit_command_group<true, false>(queue, data, functor);
  }
  if (has_indices) {
    return submit_command_group<false, true>(queue, data, functor);
  }
  return submit_command_group<false, false>(queue, data, functor);
}

// USM form: the dependencies go to the command group, so the runtime honours them and the call does
// not wait for them. Weights and indices reach the task as they stand, null or not.
template <typename T, layout L, typename F>
sycl::event submit(sycl::queue& queue, dataset<L, T*> data, F& functor,
                   const std::vector<sycl::event>& dependencies) {
  return queue.submit([&data, &functor, &dependencies](sycl::handler& cgh) {
    cgh.depends_on(dependencies);
    host_command(cgh, [n_dims = data.n_dims, n_observations = data.n_observations,
                       observations = data.observations, weights = data.weights,
                       indices = data.indices, functor] {
      estimate_in_task<T, L>(n_dims, n_observations, observations, weights, indices, functor);
    });
  });
}

}  // namespace vorlex::orv::stats::detail::cpu
