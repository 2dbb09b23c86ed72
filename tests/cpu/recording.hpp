// One log of what the CPU engine does to the estimator module, in order: each load of the module,
// each look-up of an entry's name, each call of an entry (made by the recording module, a test
// double of the estimator), and each USM allocation and release. Statuses that a test programs are
// what the double's entries return.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "orv/ss_task.h"

// The recording module's entries report here, in the test executable, and get their status.
// pointers: NewTask's (place, dims, obs_count, storage, observations, weights, indices), an edit's
// arrays, a stage's threading table; numbers: NewTask's words (dims, obs_count, storage) and
// int_width, EditTask's field, a stage's mask and method.
extern "C" std::int32_t tessel_recording_note(const char* name, const void* task,
                                              const void* const* pointers,
                                              const std::int64_t* numbers);

namespace tessel::test {

struct recorded_call {
  std::string name;  // the entry's full name, or "load", "lookup NAME", "alloc", "free"
  const void* task = nullptr;
  const void* pointers[7] = {};
  std::int64_t numbers[4] = {};  // alloc: elements, element size
};

std::vector<recorded_call> recorded();
// Clears the log and the programmed statuses.
void clear_recording();
void program_status(const std::string& entry, std::int32_t status);

// The names of the log's events, allocations and releases left out.
std::vector<std::string> recorded_names();

// Calls in a short form without the type letter: "NewTask(x, -, -) 3x4 0x10000", "EditTask(14,
// out0)", "EditSums(-, out1, -, -, -, -, -)", "Basic(0x80, 1)", "DeleteTask", "alloc s1 3x8", "free
// s1". Pointers go by the names given; USM blocks as s1, s2, ... in the order of their allocation;
// others as #1, #2, ...; null as -.
using pointer_names = std::map<const void*, std::string>;
std::vector<std::string> describe_calls(pointer_names names);

// A valid task of 64-bit words, as the CPU engine makes them.
struct task_record {
  std::int64_t dims = 2, count = 3, storage = SS_STORAGE_ROW_MAJOR;
  double values[6] = {1, 2, 3, 4, 5, 6};
  ss_task task{};
  task_record() {
    task.int_width = 1;
    task.dims = &dims;
    task.obs_count = &count;
    task.observations = values;
    task.storage = &storage;
  }
};

class recorded_test : public ::testing::Test {
 protected:
  void SetUp() override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    clear_recording();
  }
};

}  // namespace tessel::test
