// The module's 33 exported names. A build with TESSEL_ESTIMATOR_WITHOUT_DOUBLE_MINMAX leaves out
// _ksudSSMinmax, for tests of a module that lacks an entry.
#include "stages.hpp"

#include <type_traits>

#define TESSEL_EXPORT extern "C" __attribute__((visibility("default")))

using namespace tessel::estimator;

TESSEL_EXPORT int32_t __ksusSSNewTask(ss_task** place, const void* dims, const void* obs_count,
                                      const void* storage, const float* observations,
                                      const float* weights, const int64_t* indices,
                                      int64_t int_width) {
  return new_task(place, dims, obs_count, storage, observations, weights, indices, int_width);
}
TESSEL_EXPORT int32_t __ksudSSNewTask(ss_task** place, const void* dims, const void* obs_count,
                                      const void* storage, const double* observations,
                                      const double* weights, const int64_t* indices,
                                      int64_t int_width) {
  return new_task(place, dims, obs_count, storage, observations, weights, indices, int_width);
}
TESSEL_EXPORT int32_t __ksuSSDeleteTask(ss_task** place) {
  return delete_task(place);
}
TESSEL_EXPORT int32_t __ksusSSEditTask(ss_task* task, int64_t field, float* values) {
  return edit_task(task, field, values);
}
TESSEL_EXPORT int32_t __ksudSSEditTask(ss_task* task, int64_t field, double* values) {
  return edit_task(task, field, values);
}
TESSEL_EXPORT int32_t __ksusSSEditMoments(ss_task* task, float* mean, float* raw2, float* raw3,
                                          float* raw4, float* central2, float* central3,
                                          float* central4) {
  return edit_moments(task, mean, raw2, raw3, raw4, central2, central3, central4);
}
TESSEL_EXPORT int32_t __ksudSSEditMoments(ss_task* task, double* mean, double* raw2, double* raw3,
                                          double* raw4, double* central2, double* central3,
                                          double* central4) {
  return edit_moments(task, mean, raw2, raw3, raw4, central2, central3, central4);
}
TESSEL_EXPORT int32_t __ksusSSEditSums(ss_task* task, float* sum, float* raw_sum2, float* raw_sum3,
                                       float* raw_sum4, float* central_sum2, float* central_sum3,
                                       float* central_sum4) {
  return edit_sums(task, sum, raw_sum2, raw_sum3, raw_sum4, central_sum2, central_sum3,
                   central_sum4);
}
TESSEL_EXPORT int32_t __ksudSSEditSums(ss_task* task, double* sum, double* raw_sum2,
                                       double* raw_sum3, double* raw_sum4, double* central_sum2,
                                       double* central_sum3, double* central_sum4) {
  return edit_sums(task, sum, raw_sum2, raw_sum3, raw_sum4, central_sum2, central_sum3,
                   central_sum4);
}

static_assert(std::is_same_v<decltype(&__ksusSSNewTask), ss_new_task_s_fn>);
static_assert(std::is_same_v<decltype(&__ksudSSNewTask), ss_new_task_d_fn>);
static_assert(std::is_same_v<decltype(&__ksuSSDeleteTask), ss_delete_task_fn>);
static_assert(std::is_same_v<decltype(&__ksusSSEditTask), ss_edit_task_s_fn>);
static_assert(std::is_same_v<decltype(&__ksudSSEditTask), ss_edit_task_d_fn>);
static_assert(std::is_same_v<decltype(&__ksusSSEditMoments), ss_edit_moments_s_fn>);
static_assert(std::is_same_v<decltype(&__ksudSSEditMoments), ss_edit_moments_d_fn>);
static_assert(std::is_same_v<decltype(&__ksusSSEditSums), ss_edit_sums_s_fn>);
static_assert(std::is_same_v<decltype(&__ksudSSEditSums), ss_edit_sums_d_fn>);

#define TESSEL_STAGE(name, body)                                                     \
  TESSEL_EXPORT int32_t name(ss_task* task, uint64_t estimate_mask, intptr_t method, \
                             const ss_threading_entry* threading_table) {            \
    return body(task, estimate_mask, method, threading_table);                       \
  }                                                                                  \
  static_assert(std::is_same_v<decltype(&name), ss_stage_fn>);

TESSEL_STAGE(_ksusSSBasic, basic_stage<float>)
TESSEL_STAGE(_ksudSSBasic, basic_stage<double>)
TESSEL_STAGE(_ksusSSMinmax, minmax_stage<float>)
#ifndef TESSEL_ESTIMATOR_WITHOUT_DOUBLE_MINMAX
TESSEL_STAGE(_ksudSSMinmax, minmax_stage<double>)
#endif

// Stages of estimates that this module does not compute: present, so that a dispatcher finds every
// name, and refusing.
namespace {
std::int32_t not_provided(ss_task*, std::uint64_t, std::intptr_t, const ss_threading_entry*) {
  return SS_STATUS_NOT_PROVIDED;
}
}  // namespace

TESSEL_STAGE(_ksusSSMissingValues, not_provided)
TESSEL_STAGE(_ksudSSMissingValues, not_provided)
TESSEL_STAGE(_ksusSSSort, not_provided)
TESSEL_STAGE(_ksudSSSort, not_provided)
TESSEL_STAGE(_ksusSSMAD, not_provided)
TESSEL_STAGE(_ksudSSMAD, not_provided)
TESSEL_STAGE(_ksusSSPooledCovariance, not_provided)
TESSEL_STAGE(_ksudSSPooledCovariance, not_provided)
TESSEL_STAGE(_ksusSSOutliersDetection, not_provided)
TESSEL_STAGE(_ksudSSOutliersDetection, not_provided)
TESSEL_STAGE(_ksusSSRobustCovariance, not_provided)
TESSEL_STAGE(_ksudSSRobustCovariance, not_provided)
TESSEL_STAGE(_ksusSSPartialCovariance, not_provided)
TESSEL_STAGE(_ksudSSPartialCovariance, not_provided)
TESSEL_STAGE(_ksusSSQuantiles, not_provided)
TESSEL_STAGE(_ksudSSQuantiles, not_provided)
TESSEL_STAGE(_ksusSSStreamQuantiles, not_provided)
TESSEL_STAGE(_ksudSSStreamQuantiles, not_provided)
TESSEL_STAGE(_ksusSSCorParametrization, not_provided)
TESSEL_STAGE(_ksudSSCorParametrization, not_provided)
