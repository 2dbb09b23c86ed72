// The shape of the data that a task describes, read and checked once per stage.
#pragma once

#include "orv/ss_task.h"

#include <cstdint>

namespace tessel::estimator {

struct task_shape {
  std::int64_t n_dims = 0;
  std::int64_t n_obs = 0;
  // Element (d, i) lies at d * dim_stride + i * obs_stride.
  std::int64_t dim_stride = 0;
  std::int64_t obs_stride = 0;
  const std::int64_t* indices = nullptr;

  bool selected(std::int64_t d) const { return indices == nullptr || indices[d] != 0; }
  std::int64_t offset(std::int64_t d, std::int64_t i) const {
    return d * dim_stride + i * obs_stride;
  }
};

// Checks what every stage needs (a task of this element size, its counts, observations and storage)
// and fills shape. Returns SS_STATUS_OK or the status of the first failed check.
std::int32_t read_task_shape(const ss_task* task, std::int64_t element_size, task_shape& shape);

}  // namespace tessel::estimator
