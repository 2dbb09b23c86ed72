// The tests' side of the recording module: its log as a list, its programmed statuses, and what
// the look-up wrappers of the test executable saw (see wrappers.cpp).
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "recording_module.hpp"

namespace tessel::test {

// Calls of orv_serv_load_qdn from the engine's binding in this process.
int module_loads();

// sycl::malloc_shared and sycl::free as this program's code called them, in order.
struct usm_event {
  enum { allocation, release } what;
  const void* pointer;
  std::size_t count;         // allocation: elements asked for
  std::size_t element_size;  // allocation
};
std::vector<usm_event> usm_events();
void clear_usm_events();

// The calls of a log as text, with the type letter left out of the names: "NewTask(x, -, -)
// 3x4 0x10000", "EditTask(14, kurtosis)", "EditMoments(mean, #1, -, ...)", "Basic(0x80, 1)",
// "DeleteTask". Pointers are shown by their names; others as #1, #2, ... in the order they
// first appear; null as -.
using pointer_names = std::map<const void*, std::string>;
std::vector<std::string> describe_calls(const std::vector<recorded_call>& log,
                                        const pointer_names& names);
// Whether every call's name has the type letter ("s" or "d"), DeleteTask aside.
bool calls_have_letter(const std::vector<recorded_call>& log, char letter);

class recording {
 public:
  // The module the engine binds: the same file, so the same instance.
  static recording& module();

  void clear() const { clear_(); }
  void program(const std::string& entry, std::int32_t status) const {
    program_(entry.c_str(), status);
  }
  std::vector<recorded_call> log() const;
  // Names of the calls, or of the look-ups, in order.
  std::vector<std::string> calls() const;
  std::vector<std::string> lookups() const;
  // The log as "lookup NAME" and "call NAME" lines, in order.
  std::vector<std::string> events() const;

 private:
  recording();

  recording_clear_fn clear_;
  recording_count_fn count_;
  recording_read_fn read_;
  recording_program_fn program_;
};

// For checks that need a process in which nothing has been bound or loaded yet: body runs in a
// process of its own (a death test's) and returns whether its checks held, having printed what
// did not to the standard error stream.
#define EXPECT_IN_FRESH_PROCESS(body) \
  EXPECT_EXIT({ std::exit((body) ? 0 : 1); }, ::testing::ExitedWithCode(0), "")

// Whether two lists are equal; if not, both go to the standard error stream.
bool same_list(const std::vector<std::string>& got, const std::vector<std::string>& expected);

// Clears the log and the programmed statuses before each test.
class recorded_test : public ::testing::Test {
 protected:
  void SetUp() override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    recording::module().clear();
  }
  const recording& module() const { return recording::module(); }
};

}  // namespace tessel::test
