// A test double of the estimator module: its 33 entries report each call to the test executable
// (tessel_recording_note) and return the status the test programmed, 0 unless told otherwise. Its
// tasks are real records, kept until the module is unloaded, so that a task lost on a failure path
// is not a leak.
#include <cstring>
#include <deque>
#include <mutex>

#include "orv/ss_task.h"

// Defined by the test executable (recording.cpp).
extern "C" std::int32_t tessel_recording_note(const char* name, const void* task,
                                              const void* const* pointers,
                                              const std::int64_t* numbers);

#define RECORDING_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

std::int64_t word(const void* p, std::int64_t int_width) {
  std::int64_t w = 0;
  if (p != nullptr) {
    std::memcpy(&w, p, int_width != 0 ? 8 : 4);
  }
  return w;
}

template <typename T>
std::int32_t new_task(const char* name, ss_task** place, const void* dims, const void* obs_count,
                      const void* storage, const T* observations, const T* weights,
                      const std::int64_t* indices, std::int64_t int_width) {
  static std::mutex mutex;
  static std::deque<ss_task> tasks;
  ss_task* task = nullptr;
  if (place != nullptr) {
    std::lock_guard<std::mutex> lock(mutex);
    task = &tasks.emplace_back();
    // What the engine's dispatcher checks.
    task->int_width = int_width != 0 ? 1 : 0;
    task->dims = dims;
    task->obs_count = obs_count;
    task->observations = observations;
    task->storage = storage;
    *place = task;
  }
  const void* pointers[7] = {place, dims, obs_count, storage, observations, weights, indices};
  const std::int64_t numbers[4] = {word(dims, int_width), word(obs_count, int_width),
                                   word(storage, int_width), int_width};
  return tessel_recording_note(name, task, pointers, numbers);
}

template <typename T>
std::int32_t edit(const char* name, ss_task* task, std::int64_t field, T* p0, T* p1 = nullptr,
                  T* p2 = nullptr, T* p3 = nullptr, T* p4 = nullptr, T* p5 = nullptr,
                  T* p6 = nullptr) {
  const void* pointers[7] = {p0, p1, p2, p3, p4, p5, p6};
  const std::int64_t numbers[4] = {field};
  return tessel_recording_note(name, task, pointers, numbers);
}

}  // namespace

RECORDING_EXPORT std::int32_t __ksuSSDeleteTask(ss_task** place) {
  const void* pointers[7] = {place};
  const std::int64_t numbers[4] = {};
  const std::int32_t status = tessel_recording_note(
      "__ksuSSDeleteTask", place != nullptr ? *place : nullptr, pointers, numbers);
  if (place != nullptr) {
    *place = nullptr;
  }
  return status;
}

#define RECORDING_TYPED(letter, T)                                                               \
  RECORDING_EXPORT std::int32_t __ksu##letter##SSNewTask(                                        \
      ss_task** place, const void* dims, const void* obs_count, const void* storage,             \
      const T* observations, const T* weights, const std::int64_t* indices,                      \
      std::int64_t int_width) {                                                                  \
    return new_task("__ksu" #letter "SSNewTask", place, dims, obs_count, storage, observations,  \
                    weights, indices, int_width);                                                \
  }                                                                                              \
  RECORDING_EXPORT std::int32_t __ksu##letter##SSEditTask(ss_task* task, std::int64_t field,     \
                                                          T* values) {                           \
    return edit("__ksu" #letter "SSEditTask", task, field, values);                              \
  }                                                                                              \
  RECORDING_EXPORT std::int32_t __ksu##letter##SSEditMoments(ss_task* task, T* a, T* b, T* c,    \
                                                             T* d, T* e, T* f, T* g) {           \
    return edit("__ksu" #letter "SSEditMoments", task, 0, a, b, c, d, e, f, g);                  \
  }                                                                                              \
  RECORDING_EXPORT std::int32_t __ksu##letter##SSEditSums(ss_task* task, T* a, T* b, T* c, T* d, \
                                                          T* e, T* f, T* g) {                    \
    return edit("__ksu" #letter "SSEditSums", task, 0, a, b, c, d, e, f, g);                     \
  }
RECORDING_TYPED(s, float)
RECORDING_TYPED(d, double)

#define RECORDING_STAGE(name)                                                                 \
  RECORDING_EXPORT std::int32_t name(ss_task* task, std::uint64_t mask, std::intptr_t method, \
                                     const ss_threading_entry* table) {                       \
    const void* pointers[7] = {reinterpret_cast<const void*>(table)};                         \
    const std::int64_t numbers[4] = {static_cast<std::int64_t>(mask), method};                \
    return tessel_recording_note(#name, task, pointers, numbers);                             \
  }
#define RECORDING_STAGES(suffix) RECORDING_STAGE(_ksusSS##suffix) RECORDING_STAGE(_ksudSS##suffix)

RECORDING_STAGES(MissingValues)
RECORDING_STAGES(Minmax)
RECORDING_STAGES(Sort)
RECORDING_STAGES(Basic)
RECORDING_STAGES(MAD)
RECORDING_STAGES(PooledCovariance)
RECORDING_STAGES(OutliersDetection)
RECORDING_STAGES(RobustCovariance)
RECORDING_STAGES(PartialCovariance)
RECORDING_STAGES(Quantiles)
RECORDING_STAGES(StreamQuantiles)
RECORDING_STAGES(CorParametrization)
