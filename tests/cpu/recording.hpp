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

// Runs a check that needs a process in which nothing has been bound or loaded yet.
#define EXPECT_IN_FRESH_PROCESS(...) \
  EXPECT_EXIT({ std::exit((__VA_ARGS__) ? 0 : 1); }, ::testing::ExitedWithCode(0), "")

// Whether two lists are equal; if not, both go to the standard error stream.
bool same_list(const std::vector<std::string>& got, const std::vector<std::string>& expected);

class recorded_test : public ::testing::Test {
 protected:
  void SetUp() override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    clear_recording();
  }
};

}  // namespace tessel::test
