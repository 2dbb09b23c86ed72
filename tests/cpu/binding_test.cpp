// The binding of the task entries and stages against the recording module: the module is loaded
// once, each entry is looked up by its exact name when first called and only then, and the
// engine's calls turn any status but 0 into computation_error.
#include <cstdio>
#include <string>
#include <vorlex/orv/stats.hpp>

#include "cpu/compute_dispatcher.hpp"
#include "cpu/estimator_binding.hpp"
#include "cpu/estimator_calls.hpp"
#include "recording.hpp"

namespace tessel::test {
namespace {

namespace cpu = vorlex::orv::stats::detail::cpu;
using Binding = recorded_test;

// In a process of its own, where nothing has been bound or loaded yet; it prints its log.
TEST_F(Binding, EachEntryIsLookedUpOnFirstUseOnlyAndTheModuleLoadedOnce) {
  const auto print_log = [] {
    for (const std::string& name : recorded_names()) {
      std::fprintf(stderr, "%s, ", name.c_str());
    }
  };
  EXPECT_EXIT(
      {
        task_record r;
        cpu::__ksudSSCompute(&r.task, 0, 1);  // runs no stage: loads nothing
        std::fprintf(stderr, "[");
        print_log();
        std::fprintf(stderr, "|");
        clear_recording();
        ss_task* place = &r.task;
        float f = 0;
        double d = 0;
        cpu::__ksusSSEditTask(&r.task, SS_FIELD_MEAN, &f);
        cpu::__ksusSSEditTask(&r.task, SS_FIELD_MEAN, &f);
        cpu::__ksuSSDeleteTask(&place);
        cpu::__ksudSSEditTask(&r.task, SS_FIELD_MEAN, &d);
        place = &r.task;
        cpu::__ksuSSDeleteTask(&place);  // the float and the double computations share it
        // A stage is looked up when it first runs, not when a run stops before it.
        program_status("_ksudSSMinmax", -1);
        cpu::__ksudSSCompute(&r.task, SS_MIN | SS_MAX | SS_MEAN, 1);
        program_status("_ksudSSMinmax", 0);
        cpu::__ksudSSCompute(&r.task, SS_MIN | SS_MAX | SS_MEAN, 1);
        cpu::__ksudSSCompute(&r.task, SS_MEAN, 1);
        cpu::__ksudSSCompute(&r.task, SS_STAGE_MISSING_VALUES | SS_MEAN, 1);
        print_log();
        std::fprintf(stderr, "]");
        std::exit(0);
      },
      ::testing::ExitedWithCode(0),
      "\\[\\|load, lookup __ksusSSEditTask, __ksusSSEditTask, __ksusSSEditTask, lookup "
      "__ksuSSDeleteTask, __ksuSSDeleteTask, lookup __ksudSSEditTask, __ksudSSEditTask, "
      "__ksuSSDeleteTask, lookup _ksudSSMinmax, _ksudSSMinmax, _ksudSSMinmax, lookup _ksudSSBasic, "
      "_ksudSSBasic, _ksudSSBasic, lookup _ksudSSMissingValues, _ksudSSMissingValues, \\]");
}

TEST_F(Binding, CallsRaiseComputationErrorOnAnyStatusButZero) {
  task_record r;
  float f = 0;
  EXPECT_NO_THROW(cpu::ss_edit_task<float>(&r.task, SS_FIELD_MEAN, &f));
  for (const std::int32_t status : {1, -1, -4050, 0x7fffffff}) {
    SCOPED_TRACE(status);
    program_status("__ksusSSEditTask", status);
    try {
      cpu::ss_edit_task<float>(&r.task, SS_FIELD_MEAN, &f);
      ADD_FAILURE() << "no exception";
    } catch (const vorlex::orv::computation_error& e) {
      EXPECT_STREQ(e.what(), "vorlex::orv::stats: computation error");
    }
  }
  program_status("__ksuSSDeleteTask", 2);
  ss_task* place = &r.task;
  EXPECT_THROW(cpu::ss_delete_task(&place), vorlex::orv::computation_error);
  // The dispatcher's statuses as well, its own refusals included.
  program_status("_ksudSSBasic", 1);
  EXPECT_THROW(cpu::ss_compute<double>(&r.task, SS_MEAN, 1), vorlex::orv::computation_error);
  EXPECT_THROW(cpu::ss_compute<float>(nullptr, 0, 1), vorlex::orv::computation_error);
}

}  // namespace
}  // namespace tessel::test
