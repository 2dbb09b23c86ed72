#include "task_shape.hpp"

#include <cstring>
#include <limits>

namespace tessel::estimator {
namespace {

// Counts and the storage word are int32_t or int64_t, as the task's int_width says.
std::int64_t read_count(const void* place, std::int32_t int_width) {
  if (int_width == 0) {
    std::int32_t value;
    std::memcpy(&value, place, sizeof value);
    return value;
  }
  std::int64_t value;
  std::memcpy(&value, place, sizeof value);
  return value;
}

}  // namespace

std::int32_t read_task_shape(const ss_task* task, std::int64_t element_size, task_shape& shape) {
  if (task == nullptr) {
    return SS_STATUS_NULL_TASK;
  }
  if (task->element_size != 0 && task->element_size != element_size) {
    return SS_STATUS_WRONG_TYPE;
  }
  if (task->dims == nullptr) {
    return SS_STATUS_BAD_DIMENSIONS;
  }
  shape.n_dims = read_count(task->dims, task->int_width);
  if (shape.n_dims < 1) {
    return SS_STATUS_BAD_DIMENSIONS;
  }
  if (task->obs_count == nullptr) {
    return SS_STATUS_BAD_OBSERVATION_COUNT;
  }
  shape.n_obs = read_count(task->obs_count, task->int_width);
  // A matrix of more elements than an int64_t can count cannot exist.
  if (shape.n_obs < 1 || shape.n_dims > std::numeric_limits<std::int64_t>::max() / shape.n_obs) {
    return SS_STATUS_BAD_OBSERVATION_COUNT;
  }
  if (task->observations == nullptr) {
    return SS_STATUS_NULL_OBSERVATIONS;
  }
  if (task->storage == nullptr) {
    return SS_STATUS_NULL_STORAGE;
  }
  const std::int64_t storage = read_count(task->storage, task->int_width);
  if (storage == SS_STORAGE_ROW_MAJOR) {
    shape.dim_stride = shape.n_obs;
    shape.obs_stride = 1;
  } else if (storage == SS_STORAGE_COL_MAJOR) {
    shape.dim_stride = 1;
    shape.obs_stride = shape.n_dims;
  } else {
    return SS_STATUS_BAD_STORAGE;
  }
  shape.indices = static_cast<const std::int64_t*>(task->indices);
  return SS_STATUS_OK;
}

}  // namespace tessel::estimator
