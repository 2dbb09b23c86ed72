// What a call of the Basic stage asks for, read from the task and the estimate mask, and how the
// sums of a dimension become the estimates it asked for.
#pragma once

#include "partial_sums.hpp"

#include "orv/ss_task.h"

#include <cstdint>

namespace tessel::estimator {

enum basic_estimate {
  mean,
  raw_moment2,
  raw_moment3,
  raw_moment4,
  central_moment2,
  central_moment3,
  central_moment4,
  kurtosis,
  skewness,
  variation,
  sum,
  raw_sum2,
  raw_sum3,
  raw_sum4,
  central_sum2,
  central_sum3,
  central_sum4,
  basic_estimates
};

// The arrays to fill (null where not wanted) and the sums they are made from.
template <class T>
struct basic_request {
  T* out[basic_estimates] = {};
  int raw_degree = 0;
  int central_degree = 0;
  const T* user_mean = nullptr;  // method 256 only
};

// Whether the mask asks only for estimates that the stage computes.
bool basic_estimates_provided(std::uint64_t mask);

// Fills r from the task; SS_STATUS_NULL_RESULT when a wanted estimate has no array.
template <class T>
std::int32_t read_basic_request(const ss_task& task, std::uint64_t mask, std::intptr_t method,
                                basic_request<T>& r);

// Writes the wanted estimates of dimension d.
template <class T>
void store_estimates(const basic_request<T>& r, std::int64_t d, const partial_sums& s);

}  // namespace tessel::estimator
