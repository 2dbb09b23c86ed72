// The numerical passes of the Basic stage: every selected dimension reduced to its weights, raw
// power sums and central sums, reading the observations once.
#pragma once

#include "parallel.hpp"
#include "partial_sums.hpp"
#include "task_shape.hpp"

#include <vector>

namespace tessel::estimator {

template <class T>
struct observations {
  const T* x;
  const T* weights;  // null without weights
  task_shape shape;
  threading threads;
};

// Raw sums up to raw_degree (0..4); central sums up to central_degree (0 for none, or 2..4), about
// each dimension's own mean, or about user_mean[d] where that is given.
template <class T>
struct sums_request {
  int raw_degree = 0;
  int central_degree = 0;
  const T* user_mean = nullptr;
};

// One entry per dimension; unselected dimensions are left value-initialised. May throw
// std::bad_alloc.
template <class T>
std::vector<partial_sums> basic_sums(const observations<T>& data, const sums_request<T>& what);

}  // namespace tessel::estimator
