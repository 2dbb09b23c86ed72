// A test double of the estimator module. It exports the 33 entries, records every call with its
// arguments in the order they came, and returns the statuses that a test programs. Its log also
// takes notes from outside: the tests' look-up wrapper writes each name that the binding looks
// up, so that one log shows both orders.
//
// Its tasks are real ss_task records, kept by the module until it is unloaded, so that a task
// lost on a failure path is not a leak.
#pragma once

#include <cstdint>

#include "orv/ss_task.h"

namespace tessel::test {

enum class record_kind : std::int32_t { call, lookup };

struct recorded_call {
  record_kind kind;
  char name[40];  // the entry's name, or the name looked up
  const ss_task* task;
  // NewTask: dims, obs_count, storage, observations, weights, indices.
  // EditTask: the pointer. EditMoments, EditSums: the seven pointers.
  // A stage: the threading table.
  const void* pointers[7];
  std::int64_t field;      // EditTask
  std::int64_t int_width;  // NewTask's last argument
  std::int64_t words[3];   // NewTask: dims, observation count, storage word, read as 64-bit
  std::uint64_t mask;      // a stage
  std::intptr_t method;    // a stage
};

// The module's own entries, looked up by these names.
using recording_clear_fn = void (*)();
using recording_count_fn = std::int32_t (*)();
using recording_read_fn = bool (*)(std::int32_t index, recorded_call* out);
// From now on the entry `name` returns `status`; a stage or task entry returns 0 otherwise.
using recording_program_fn = void (*)(const char* name, std::int32_t status);
using recording_note_lookup_fn = void (*)(const char* name);

}  // namespace tessel::test
