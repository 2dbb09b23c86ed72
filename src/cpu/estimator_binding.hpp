// The estimator module's entries as the CPU engine calls them. The module is never linked: each
// entry is found by name on its first call, in the module that the core service library loads, and
// its address is kept for the life of the process. A missing module or name ends the process with
// exit code 2.
#pragma once

#include <cstdint>

#include "orv/ss_task.h"

namespace vorlex::orv::stats::detail::cpu {

// The task entries, with the module's signatures. The two NewTask entries add the module's last
// argument themselves: this engine's counts and storage word are always 64-bit.
std::int32_t __ksusSSNewTask(ss_task** place, const void* dims, const void* obs_count,
                             const void* storage, const float* observations, const float* weights,
                             const std::int64_t* indices);
std::int32_t __ksudSSNewTask(ss_task** place, const void* dims, const void* obs_count,
                             const void* storage, const double* observations, const double* weights,
                             const std::int64_t* indices);
std::int32_t __ksuSSDeleteTask(ss_task** place);
std::int32_t __ksusSSEditTask(ss_task* task, std::int64_t field, float* values);
std::int32_t __ksudSSEditTask(ss_task* task, std::int64_t field, double* values);
std::int32_t __ksusSSEditMoments(ss_task* task, float* mean, float* raw2, float* raw3, float* raw4,
                                 float* central2, float* central3, float* central4);
std::int32_t __ksudSSEditMoments(ss_task* task, double* mean, double* raw2, double* raw3,
                                 double* raw4, double* central2, double* central3,
                                 double* central4);
std::int32_t __ksusSSEditSums(ss_task* task, float* sum, float* raw_sum2, float* raw_sum3,
                              float* raw_sum4, float* central_sum2, float* central_sum3,
                              float* central_sum4);
std::int32_t __ksudSSEditSums(ss_task* task, double* sum, double* raw_sum2, double* raw_sum3,
                              double* raw_sum4, double* central_sum2, double* central_sum3,
                              double* central_sum4);

// The module's stages; only the compute dispatcher runs them.
enum class stage {
  missing_values,
  minmax,
  sort,
  basic,
  mad,
  pooled_covariance,
  outliers_detection,
  robust_covariance,
  partial_covariance,
  quantiles,
  stream_quantiles,
  cor_parametrization,
};

// Runs the float (T = float) or double stage, binding it on its first run.
template <typename T>
std::int32_t run_stage(stage s, ss_task* task, std::uint64_t estimate_mask, std::intptr_t method,
                       const ss_threading_entry* threading_table);

}  // namespace vorlex::orv::stats::detail::cpu
