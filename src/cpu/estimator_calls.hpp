// The estimator calls of a host task: each forwards its arguments to the bound entry of its element
// type and raises computation_error on any status but 0, positive ones included. The exception
// carries no status.
#pragma once

#include <cstdint>
#include <vorlex/orv/stats.hpp>

#include "cpu/compute_dispatcher.hpp"
#include "cpu/estimator_binding.hpp"
#include "orv/ss_task.h"

namespace vorlex::orv::stats::detail::cpu {

template <typename T>
struct typed_entries;

template <>
struct typed_entries<float> {
  static constexpr auto new_task = &__ksusSSNewTask;
  static constexpr auto edit_task = &__ksusSSEditTask;
  static constexpr auto edit_moments = &__ksusSSEditMoments;
  static constexpr auto edit_sums = &__ksusSSEditSums;
  static constexpr auto compute = &__ksusSSCompute;
};

template <>
struct typed_entries<double> {
  static constexpr auto new_task = &__ksudSSNewTask;
  static constexpr auto edit_task = &__ksudSSEditTask;
  static constexpr auto edit_moments = &__ksudSSEditMoments;
  static constexpr auto edit_sums = &__ksudSSEditSums;
  static constexpr auto compute = &__ksudSSCompute;
};

inline void raise_on_failure(std::int32_t status) {
  if (status != 0) {
    throw computation_error("stats", "", "");
  }
}

template <typename T>
void ss_new_task(ss_task** place, const std::int64_t* n_dims, const std::int64_t* n_observations,
                 const std::int64_t* storage, const T* observations, const T* weights,
                 const std::int64_t* indices) {
  raise_on_failure(typed_entries<T>::new_task(place, n_dims, n_observations, storage, observations,
                                              weights, indices));
}

inline void ss_delete_task(ss_task** place) {
  raise_on_failure(__ksuSSDeleteTask(place));
}

template <typename T>
void ss_edit_task(ss_task* task, std::int64_t field, T* values) {
  raise_on_failure(typed_entries<T>::edit_task(task, field, values));
}

template <typename T>
void ss_edit_moments(ss_task* task, T* mean, T* raw2, T* raw3, T* raw4, T* central2, T* central3,
                     T* central4) {
  raise_on_failure(
      typed_entries<T>::edit_moments(task, mean, raw2, raw3, raw4, central2, central3, central4));
}

template <typename T>
void ss_edit_sums(ss_task* task, T* sum, T* raw_sum2, T* raw_sum3, T* raw_sum4, T* central_sum2,
                  T* central_sum3, T* central_sum4) {
  raise_on_failure(typed_entries<T>::edit_sums(task, sum, raw_sum2, raw_sum3, raw_sum4,
                                               central_sum2, central_sum3, central_sum4));
}

template <typename T>
void ss_compute(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method) {
  raise_on_failure(typed_entries<T>::compute(task, estimate_mask, method));
}

}  // namespace vorlex::orv::stats::detail::cpu
