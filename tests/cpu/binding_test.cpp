// The binding of the task entries against the recording module: each is looked up by its exact name
// on its first call only, and the module is loaded once; the engine's calls turn any status but 0
// into computation_error. What the entries forward shows in the frames' calls.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "cpu/estimator_binding.hpp"
#include "cpu/estimator_calls.hpp"
#include "orv/ss_task.h"
#include "recording.hpp"

namespace tessel::test {
namespace {

namespace cpu = vorlex::orv::stats::detail::cpu;
using Binding = recorded_test;

TEST_F(Binding, EachEntryIsLookedUpOnFirstUseOnlyAndTheModuleLoadedOnce) {
  EXPECT_IN_FRESH_PROCESS([&] {
    ss_task task{};
    ss_task* place = &task;
    float f = 0;
    double d = 0;
    cpu::__ksusSSEditTask(&task, SS_FIELD_MEAN, &f);
    cpu::__ksusSSEditTask(&task, SS_FIELD_MEAN, &f);
    cpu::__ksuSSDeleteTask(&place);
    cpu::__ksudSSEditTask(&task, SS_FIELD_MEAN, &d);
    place = &task;
    // The float and the double computations share one DeleteTask.
    cpu::__ksuSSDeleteTask(&place);
    return same_list(recorded_names(),
                     {"load", "lookup __ksusSSEditTask", "__ksusSSEditTask", "__ksusSSEditTask",
                      "lookup __ksuSSDeleteTask", "__ksuSSDeleteTask", "lookup __ksudSSEditTask",
                      "__ksudSSEditTask", "__ksuSSDeleteTask"});
  }());
}

TEST_F(Binding, CallsRaiseComputationErrorOnAnyStatusButZero) {
  ss_task task{};
  float f = 0;
  EXPECT_NO_THROW(cpu::ss_edit_task<float>(&task, SS_FIELD_MEAN, &f));
  for (const std::int32_t status : {1, -1, -4050, 0x7fffffff}) {
    SCOPED_TRACE(status);
    program_status("__ksusSSEditTask", status);
    try {
      cpu::ss_edit_task<float>(&task, SS_FIELD_MEAN, &f);
      ADD_FAILURE() << "no exception";
    } catch (const vorlex::orv::computation_error& e) {
      EXPECT_STREQ(e.what(), "vorlex::orv::stats: computation error");
    }
  }
  program_status("__ksuSSDeleteTask", 2);
  ss_task* place = &task;
  EXPECT_THROW(cpu::ss_delete_task(&place), vorlex::orv::computation_error);
  // The dispatcher's statuses as well, its own refusals included.
  program_status("_ksudSSBasic", 1);
  const std::int64_t one = 1, storage = SS_STORAGE_ROW_MAJOR;
  const double x = 1;
  ss_task record{};
  record.int_width = 1;
  record.dims = record.obs_count = &one;
  record.observations = &x;
  record.storage = &storage;
  EXPECT_THROW(cpu::ss_compute<double>(&record, SS_MEAN, 1), vorlex::orv::computation_error);
  EXPECT_THROW(cpu::ss_compute<float>(nullptr, 0, 1), vorlex::orv::computation_error);
}

}  // namespace
}  // namespace tessel::test
