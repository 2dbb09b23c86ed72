#include "cpu/estimator_binding.hpp"

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <type_traits>

#include "orv/orv_serv.h"

namespace vorlex::orv::stats::detail::cpu {
namespace {

// Every bound name, with its one or two leading underscores. A stage's float name is followed by
// its double name, in the order of the stage enumeration.
constexpr const char* entry_names[] = {
    "__ksusSSNewTask",
    "__ksudSSNewTask",
    "__ksuSSDeleteTask",
    "__ksusSSEditTask",
    "__ksudSSEditTask",
    "__ksusSSEditMoments",
    "__ksudSSEditMoments",
    "__ksusSSEditSums",
    "__ksudSSEditSums",
    "_ksusSSMissingValues",
    "_ksudSSMissingValues",
    "_ksusSSMinmax",
    "_ksudSSMinmax",
    "_ksusSSSort",
    "_ksudSSSort",
    "_ksusSSBasic",
    "_ksudSSBasic",
    "_ksusSSMAD",
    "_ksudSSMAD",
    "_ksusSSPooledCovariance",
    "_ksudSSPooledCovariance",
    "_ksusSSOutliersDetection",
    "_ksudSSOutliersDetection",
    "_ksusSSRobustCovariance",
    "_ksudSSRobustCovariance",
    "_ksusSSPartialCovariance",
    "_ksudSSPartialCovariance",
    "_ksusSSQuantiles",
    "_ksudSSQuantiles",
    "_ksusSSStreamQuantiles",
    "_ksudSSStreamQuantiles",
    "_ksusSSCorParametrization",
    "_ksudSSCorParametrization",
};
constexpr std::size_t entry_count = std::extent_v<decltype(entry_names)>;
static_assert(entry_count == 33);

enum entry : std::size_t {
  new_task_s,
  new_task_d,
  delete_task,
  edit_task_s,
  edit_task_d,
  edit_moments_s,
  edit_moments_d,
  edit_sums_s,
  edit_sums_d,
  first_stage,
};

template <typename T>
std::size_t stage_entry(stage s) {
  return first_stage + 2 * static_cast<std::size_t>(s) + (std::is_same_v<T, double> ? 1 : 0);
}

// Process-wide words, written without a lock: every writer of a word writes the same value, so a
// race between two first calls only repeats a look-up. Atomic so that the race is defined; each
// access is still a single pointer-sized load or store.
std::atomic<void*> estimator_module{nullptr};
std::atomic<void*> slots[entry_count] = {};
using exit_hook_fn = void (*)(std::int32_t code);
std::atomic<exit_hook_fn> exit_hook{nullptr};  // nothing sets it

// Ends the process at once: no handlers, no destructors, nothing flushed.
void exit_step(std::int32_t code) {
  if (const exit_hook_fn hook = exit_hook.load(std::memory_order_acquire); hook != nullptr) {
    hook(code);
    return;
  }
  _exit(code);
}

void* bound_address(std::size_t e) {
  std::atomic<void*>& slot = slots[e];
  if (void* address = slot.load(std::memory_order_acquire); address != nullptr) {
    return address;
  }
  if (estimator_module.load(std::memory_order_acquire) == nullptr) {
    estimator_module.store(orv_serv_load_qdn(), std::memory_order_release);
  }
  if (estimator_module.load(std::memory_order_acquire) == nullptr) {
    orv_serv_print(1, ORV_SERV_MSG_ESTIMATOR_NOT_LOADED, 0);
    exit_step(2);
  }
  void* found = dlsym(estimator_module.load(std::memory_order_acquire), entry_names[e]);
  if (found == nullptr) {
    orv_serv_print(1, ORV_SERV_MSG_ESTIMATOR_ENTRY_MISSING, 1, entry_names[e]);
    exit_step(2);
  }
  slot.store(found, std::memory_order_release);
  return slot.load(std::memory_order_acquire);
}

template <typename Fn>
Fn bound(std::size_t e) {
  return reinterpret_cast<Fn>(bound_address(e));
}

}  // namespace

std::int32_t __ksusSSNewTask(ss_task** place, const void* dims, const void* obs_count,
                             const void* storage, const float* observations, const float* weights,
                             const std::int64_t* indices) {
  return bound<ss_new_task_s_fn>(new_task_s)(place, dims, obs_count, storage, observations, weights,
                                             indices, 1);
}

std::int32_t __ksudSSNewTask(ss_task** place, const void* dims, const void* obs_count,
                             const void* storage, const double* observations, const double* weights,
                             const std::int64_t* indices) {
  return bound<ss_new_task_d_fn>(new_task_d)(place, dims, obs_count, storage, observations, weights,
                                             indices, 1);
}

std::int32_t __ksuSSDeleteTask(ss_task** place) {
  return bound<ss_delete_task_fn>(delete_task)(place);
}

std::int32_t __ksusSSEditTask(ss_task* task, std::int64_t field, float* values) {
  return bound<ss_edit_task_s_fn>(edit_task_s)(task, field, values);
}

std::int32_t __ksudSSEditTask(ss_task* task, std::int64_t field, double* values) {
  return bound<ss_edit_task_d_fn>(edit_task_d)(task, field, values);
}

std::int32_t __ksusSSEditMoments(ss_task* task, float* mean, float* raw2, float* raw3, float* raw4,
                                 float* central2, float* central3, float* central4) {
  return bound<ss_edit_moments_s_fn>(edit_moments_s)(task, mean, raw2, raw3, raw4, central2,
                                                     central3, central4);
}

std::int32_t __ksudSSEditMoments(ss_task* task, double* mean, double* raw2, double* raw3,
                                 double* raw4, double* central2, double* central3,
                                 double* central4) {
  return bound<ss_edit_moments_d_fn>(edit_moments_d)(task, mean, raw2, raw3, raw4, central2,
                                                     central3, central4);
}

std::int32_t __ksusSSEditSums(ss_task* task, float* sum, float* raw_sum2, float* raw_sum3,
                              float* raw_sum4, float* central_sum2, float* central_sum3,
                              float* central_sum4) {
  return bound<ss_edit_sums_s_fn>(edit_sums_s)(task, sum, raw_sum2, raw_sum3, raw_sum4,
                                               central_sum2, central_sum3, central_sum4);
}

std::int32_t __ksudSSEditSums(ss_task* task, double* sum, double* raw_sum2, double* raw_sum3,
                              double* raw_sum4, double* central_sum2, double* central_sum3,
                              double* central_sum4) {
  return bound<ss_edit_sums_d_fn>(edit_sums_d)(task, sum, raw_sum2, raw_sum3, raw_sum4,
                                               central_sum2, central_sum3, central_sum4);
}

template <typename T>
std::int32_t run_stage(stage s, ss_task* task, std::uint64_t estimate_mask, std::intptr_t method,
                       const ss_threading_entry* threading_table) {
  return bound<ss_stage_fn>(stage_entry<T>(s))(task, estimate_mask, method, threading_table);
}

template std::int32_t run_stage<float>(stage, ss_task*, std::uint64_t, std::intptr_t,
                                       const ss_threading_entry*);
template std::int32_t run_stage<double>(stage, ss_task*, std::uint64_t, std::intptr_t,
                                        const ss_threading_entry*);

}  // namespace vorlex::orv::stats::detail::cpu
