#include "stages.hpp"

#include <new>

namespace tessel::estimator {

template <class T>
std::int32_t new_task(ss_task** place, const void* dims, const void* obs_count, const void* storage,
                      const T* observations, const T* weights, const std::int64_t* indices,
                      std::int64_t int_width) {
  if (place == nullptr) {
    return SS_STATUS_NULL_TASK;
  }
  ss_task* task = new (std::nothrow) ss_task{};
  if (task == nullptr) {
    return SS_STATUS_NO_MEMORY;
  }
  task->int_width = int_width != 0 ? 1 : 0;
  task->element_size = sizeof(T);
  task->dims = dims;
  task->obs_count = obs_count;
  task->storage = storage;
  task->observations = observations;
  task->weights = weights;
  task->indices = indices;
  *place = task;
  return SS_STATUS_OK;
}

std::int32_t delete_task(ss_task** place) {
  if (place == nullptr) {
    return SS_STATUS_NULL_TASK;
  }
  delete *place;
  *place = nullptr;
  return SS_STATUS_OK;
}

namespace {

template <class T>
std::int32_t check_editable(const ss_task* task) {
  if (task == nullptr) {
    return SS_STATUS_NULL_TASK;
  }
  const bool other_type =
      task->element_size != 0 && task->element_size != static_cast<std::int64_t>(sizeof(T));
  return other_type ? SS_STATUS_WRONG_TYPE : SS_STATUS_OK;
}

}  // namespace

template <class T>
std::int32_t edit_task(ss_task* task, std::int64_t field, T* values) {
  if (const std::int32_t status = check_editable<T>(task)) {
    return status;
  }
  switch (field) {
    case SS_FIELD_MEAN:
      task->mean = values;
      break;
    case SS_FIELD_KURTOSIS:
      task->kurtosis = values;
      break;
    case SS_FIELD_SKEWNESS:
      task->skewness = values;
      break;
    case SS_FIELD_MIN:
      task->min = values;
      break;
    case SS_FIELD_MAX:
      task->max = values;
      break;
    case SS_FIELD_VARIATION:
      task->variation = values;
      break;
    default:
      return SS_STATUS_BAD_FIELD;
  }
  return SS_STATUS_OK;
}

template <class T>
std::int32_t edit_moments(ss_task* task, T* mean, T* raw2, T* raw3, T* raw4, T* central2,
                          T* central3, T* central4) {
  if (const std::int32_t status = check_editable<T>(task)) {
    return status;
  }
  task->mean = mean;
  task->raw2 = raw2;
  task->raw3 = raw3;
  task->raw4 = raw4;
  task->central2 = central2;
  task->central3 = central3;
  task->central4 = central4;
  return SS_STATUS_OK;
}

template <class T>
std::int32_t edit_sums(ss_task* task, T* sum, T* raw_sum2, T* raw_sum3, T* raw_sum4,
                       T* central_sum2, T* central_sum3, T* central_sum4) {
  if (const std::int32_t status = check_editable<T>(task)) {
    return status;
  }
  task->sum = sum;
  task->raw_sum2 = raw_sum2;
  task->raw_sum3 = raw_sum3;
  task->raw_sum4 = raw_sum4;
  task->central_sum2 = central_sum2;
  task->central_sum3 = central_sum3;
  task->central_sum4 = central_sum4;
  return SS_STATUS_OK;
}

#define TESSEL_TASK_ENTRIES(T)                                                               \
  template std::int32_t new_task(ss_task**, const void*, const void*, const void*, const T*, \
                                 const T*, const std::int64_t*, std::int64_t);               \
  template std::int32_t edit_task(ss_task*, std::int64_t, T*);                               \
  template std::int32_t edit_moments(ss_task*, T*, T*, T*, T*, T*, T*, T*);                  \
  template std::int32_t edit_sums(ss_task*, T*, T*, T*, T*, T*, T*, T*);
TESSEL_TASK_ENTRIES(float)
TESSEL_TASK_ENTRIES(double)
#undef TESSEL_TASK_ENTRIES

}  // namespace tessel::estimator
