// The recording test double of the estimator module (see recording_module.hpp).
#include "recording_module.hpp"

#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#define RECORDING_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

using tessel::test::record_kind;
using tessel::test::recorded_call;

struct recording_state {
  std::mutex mutex;
  std::vector<recorded_call> log;
  std::map<std::string, std::int32_t> statuses;
  std::deque<ss_task> tasks;
};

recording_state& state() {
  static recording_state s;
  return s;
}

recorded_call make_record(record_kind kind, const char* name) {
  recorded_call r{};
  r.kind = kind;
  std::strncpy(r.name, name, sizeof r.name - 1);
  return r;
}

std::int32_t record(const recorded_call& r) {
  recording_state& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.log.push_back(r);
  const auto programmed = s.statuses.find(r.name);
  return programmed == s.statuses.end() ? 0 : programmed->second;
}

template <typename T>
std::int32_t new_task(const char* name, ss_task** place, const void* dims, const void* obs_count,
                      const void* storage, const T* observations, const T* weights,
                      const std::int64_t* indices, std::int64_t int_width) {
  recorded_call r = make_record(record_kind::call, name);
  r.pointers[0] = dims;
  r.pointers[1] = obs_count;
  r.pointers[2] = storage;
  r.pointers[3] = observations;
  r.pointers[4] = weights;
  r.pointers[5] = indices;
  r.int_width = int_width;
  const void* words[3] = {dims, obs_count, storage};
  for (int k = 0; k < 3; ++k) {
    if (words[k] != nullptr) {
      std::memcpy(&r.words[k], words[k], sizeof r.words[k]);
    }
  }
  if (place != nullptr) {
    recording_state& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    ss_task& task = s.tasks.emplace_back();
    task.int_width = int_width != 0 ? 1 : 0;
    task.element_size = sizeof(T);
    task.dims = dims;
    task.obs_count = obs_count;
    task.storage = storage;
    task.observations = observations;
    task.weights = weights;
    task.indices = indices;
    *place = &task;
    r.task = &task;
  }
  return record(r);
}

template <typename T>
std::int32_t edit_task(const char* name, ss_task* task, std::int64_t field, T* values) {
  recorded_call r = make_record(record_kind::call, name);
  r.task = task;
  r.field = field;
  r.pointers[0] = values;
  return record(r);
}

template <typename T>
std::int32_t edit_seven(const char* name, ss_task* task, T* p0, T* p1, T* p2, T* p3, T* p4, T* p5,
                        T* p6) {
  recorded_call r = make_record(record_kind::call, name);
  r.task = task;
  const void* pointers[7] = {p0, p1, p2, p3, p4, p5, p6};
  std::memcpy(r.pointers, pointers, sizeof pointers);
  return record(r);
}

std::int32_t stage(const char* name, ss_task* task, std::uint64_t mask, std::intptr_t method,
                   const ss_threading_entry* table) {
  recorded_call r = make_record(record_kind::call, name);
  r.task = task;
  r.mask = mask;
  r.method = method;
  r.pointers[0] = reinterpret_cast<const void*>(table);
  return record(r);
}

}  // namespace

RECORDING_EXPORT void recording_clear() {
  recording_state& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.log.clear();
  s.statuses.clear();
}

RECORDING_EXPORT std::int32_t recording_count() {
  recording_state& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  return static_cast<std::int32_t>(s.log.size());
}

RECORDING_EXPORT bool recording_read(std::int32_t index, recorded_call* out) {
  recording_state& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  if (index < 0 || static_cast<std::size_t>(index) >= s.log.size() || out == nullptr) {
    return false;
  }
  *out = s.log[static_cast<std::size_t>(index)];
  return true;
}

RECORDING_EXPORT void recording_program(const char* name, std::int32_t status) {
  recording_state& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.statuses[name] = status;
}

RECORDING_EXPORT void recording_note_lookup(const char* name) {
  recording_state& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.log.push_back(make_record(record_kind::lookup, name));
}

RECORDING_EXPORT std::int32_t __ksusSSNewTask(ss_task** place, const void* dims,
                                              const void* obs_count, const void* storage,
                                              const float* observations, const float* weights,
                                              const std::int64_t* indices, std::int64_t int_width) {
  return new_task("__ksusSSNewTask", place, dims, obs_count, storage, observations, weights,
                  indices, int_width);
}
RECORDING_EXPORT std::int32_t __ksudSSNewTask(ss_task** place, const void* dims,
                                              const void* obs_count, const void* storage,
                                              const double* observations, const double* weights,
                                              const std::int64_t* indices, std::int64_t int_width) {
  return new_task("__ksudSSNewTask", place, dims, obs_count, storage, observations, weights,
                  indices, int_width);
}
RECORDING_EXPORT std::int32_t __ksuSSDeleteTask(ss_task** place) {
  recorded_call r = make_record(record_kind::call, "__ksuSSDeleteTask");
  r.pointers[0] = place;
  if (place != nullptr) {
    r.task = *place;
    *place = nullptr;
  }
  return record(r);
}
RECORDING_EXPORT std::int32_t __ksusSSEditTask(ss_task* task, std::int64_t field, float* values) {
  return edit_task("__ksusSSEditTask", task, field, values);
}
RECORDING_EXPORT std::int32_t __ksudSSEditTask(ss_task* task, std::int64_t field, double* values) {
  return edit_task("__ksudSSEditTask", task, field, values);
}
RECORDING_EXPORT std::int32_t __ksusSSEditMoments(ss_task* task, float* a, float* b, float* c,
                                                  float* d, float* e, float* f, float* g) {
  return edit_seven("__ksusSSEditMoments", task, a, b, c, d, e, f, g);
}
RECORDING_EXPORT std::int32_t __ksudSSEditMoments(ss_task* task, double* a, double* b, double* c,
                                                  double* d, double* e, double* f, double* g) {
  return edit_seven("__ksudSSEditMoments", task, a, b, c, d, e, f, g);
}
RECORDING_EXPORT std::int32_t __ksusSSEditSums(ss_task* task, float* a, float* b, float* c,
                                               float* d, float* e, float* f, float* g) {
  return edit_seven("__ksusSSEditSums", task, a, b, c, d, e, f, g);
}
RECORDING_EXPORT std::int32_t __ksudSSEditSums(ss_task* task, double* a, double* b, double* c,
                                               double* d, double* e, double* f, double* g) {
  return edit_seven("__ksudSSEditSums", task, a, b, c, d, e, f, g);
}

#define RECORDING_STAGE(name)                                                                 \
  RECORDING_EXPORT std::int32_t name(ss_task* task, std::uint64_t mask, std::intptr_t method, \
                                     const ss_threading_entry* table) {                       \
    return stage(#name, task, mask, method, table);                                           \
  }
#define RECORDING_STAGE_PAIR(suffix) \
  RECORDING_STAGE(_ksusSS##suffix) RECORDING_STAGE(_ksudSS##suffix)

RECORDING_STAGE_PAIR(MissingValues)
RECORDING_STAGE_PAIR(Minmax)
RECORDING_STAGE_PAIR(Sort)
RECORDING_STAGE_PAIR(Basic)
RECORDING_STAGE_PAIR(MAD)
RECORDING_STAGE_PAIR(PooledCovariance)
RECORDING_STAGE_PAIR(OutliersDetection)
RECORDING_STAGE_PAIR(RobustCovariance)
RECORDING_STAGE_PAIR(PartialCovariance)
RECORDING_STAGE_PAIR(Quantiles)
RECORDING_STAGE_PAIR(StreamQuantiles)
RECORDING_STAGE_PAIR(CorParametrization)
