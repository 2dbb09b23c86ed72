// What an offload entry reads of a task record, and how wide: the _lp64 entries read the counts,
// the storage word, the method and the selection of dimensions as 32-bit integers, the _ilp64
// entries as 64-bit ones.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>

#include "orv/ss_task.h"

namespace vorlex::orv::stats::detail::offload {

struct lp64 {
  using integer = std::int32_t;
  static constexpr bool wide_indices = false;
};
struct ilp64 {
  using integer = std::int64_t;
  static constexpr bool wide_indices = true;
};

// A count or word of the model's width, widened with its sign.
template <typename Model>
std::int64_t read_integer(const void* place) {
  return *static_cast<const typename Model::integer*>(place);
}

// What a submission returns: the event of its last launch, or a default one with the status of a
// refusal.
struct offload_result {
  sycl::event event;
  std::int32_t status;
};

// The dataset of a task as a submission takes it; the selection has the model's element width.
template <typename T>
struct task_dataset {
  std::int64_t n_dims;
  std::int64_t n_observations;
  const T* observations;
  const T* weights;
  const void* indices;
};

// The result arrays of a task, in the element type of the entry.
template <typename T>
T* result(void* field) {
  return static_cast<T*>(field);
}

}  // namespace vorlex::orv::stats::detail::offload
