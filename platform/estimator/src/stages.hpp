// The module's entries as templates over the element type; exports.cpp gives them their names.
#pragma once

#include "orv/ss_task.h"

#include <cstdint>

namespace tessel::estimator {

template <class T>
std::int32_t new_task(ss_task** place, const void* dims, const void* obs_count, const void* storage,
                      const T* observations, const T* weights, const std::int64_t* indices,
                      std::int64_t int_width);
std::int32_t delete_task(ss_task** place);
template <class T>
std::int32_t edit_task(ss_task* task, std::int64_t field, T* values);
template <class T>
std::int32_t edit_moments(ss_task* task, T* mean, T* raw2, T* raw3, T* raw4, T* central2,
                          T* central3, T* central4);
template <class T>
std::int32_t edit_sums(ss_task* task, T* sum, T* raw_sum2, T* raw_sum3, T* raw_sum4,
                       T* central_sum2, T* central_sum3, T* central_sum4);

// Mean, raw and central moments and sums, kurtosis, skewness, variation.
template <class T>
std::int32_t basic_stage(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method,
                         const ss_threading_entry* threading_table);

// Minimum and maximum.
template <class T>
std::int32_t minmax_stage(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method,
                          const ss_threading_entry* threading_table);

inline bool known_method(std::intptr_t method) {
  return method == SS_METHOD_TWO_PASS || method == SS_METHOD_ONE_PASS ||
         method == SS_METHOD_USER_MEAN;
}

}  // namespace tessel::estimator
