// The binding of the task entries against the recording module: each entry is looked up by its
// exact name on its first call only, forwards its arguments unchanged (NewTask adds the integer
// width 1) and returns the module's status as it is; the module is loaded once. The wrappers turn
// any non-zero status into computation_error.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "cpu/estimator_binding.hpp"
#include "cpu/estimator_calls.hpp"
#include "orv/ss_task.h"
#include "recording.hpp"

namespace {

namespace cpu = vorlex::orv::stats::detail::cpu;
using tessel::test::recorded_call;
using tessel::test::recorded_test;
using tessel::test::same_list;

using Binding = recorded_test;

TEST_F(Binding, NewTaskForwardsItsArgumentsAndAddsTheIntegerWidth) {
  const std::int64_t dims = 3, observation_count = 4, storage = SS_STORAGE_COL_MAJOR;
  const float xs[12] = {};
  const double xd[12] = {};
  const double wd[4] = {};
  const std::int64_t indices[3] = {1, 0, 1};
  ss_task* task = nullptr;
  ASSERT_EQ(cpu::__ksusSSNewTask(&task, &dims, &observation_count, &storage, xs, nullptr, indices),
            0);
  ASSERT_EQ(cpu::__ksudSSNewTask(&task, &dims, &observation_count, &storage, xd, wd, nullptr), 0);
  const std::vector<recorded_call> log = module().log();
  std::vector<recorded_call> calls;
  for (const recorded_call& r : log) {
    if (r.kind == tessel::test::record_kind::call) {
      calls.push_back(r);
    }
  }
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_STREQ(calls[0].name, "__ksusSSNewTask");
  EXPECT_STREQ(calls[1].name, "__ksudSSNewTask");
  const void* expected[2][6] = {{&dims, &observation_count, &storage, xs, nullptr, indices},
                                {&dims, &observation_count, &storage, xd, wd, nullptr}};
  for (int c = 0; c < 2; ++c) {
    for (int k = 0; k < 6; ++k) {
      EXPECT_EQ(calls[c].pointers[k], expected[c][k]) << calls[c].name << " argument " << k;
    }
    EXPECT_EQ(calls[c].int_width, 1);
  }
  EXPECT_EQ(task, calls[1].task);
}

TEST_F(Binding, EditEntriesForwardTheirArgumentsAndStatuses) {
  float f[7];
  double d[7];
  ss_task task{};
  module().program("__ksusSSEditTask", 7);
  module().program("__ksudSSEditSums", -12);
  EXPECT_EQ(cpu::__ksusSSEditTask(&task, 14, f + 1), 7);
  EXPECT_EQ(cpu::__ksudSSEditTask(&task, 99, d + 2), 0);
  EXPECT_EQ(cpu::__ksusSSEditMoments(&task, f, nullptr, f + 2, f + 3, nullptr, f + 5, f + 6), 0);
  EXPECT_EQ(cpu::__ksudSSEditMoments(&task, d, d + 1, d + 2, d + 3, d + 4, d + 5, d + 6), 0);
  EXPECT_EQ(cpu::__ksusSSEditSums(&task, nullptr, f + 1, f + 2, f + 3, f + 4, f + 5, nullptr), 0);
  EXPECT_EQ(cpu::__ksudSSEditSums(&task, d, d + 1, nullptr, d + 3, d + 4, d + 5, d + 6), -12);
  ss_task* place = &task;
  EXPECT_EQ(cpu::__ksuSSDeleteTask(&place), 0);

  std::vector<recorded_call> calls;
  for (const recorded_call& r : module().log()) {
    if (r.kind == tessel::test::record_kind::call) {
      calls.push_back(r);
    }
  }
  ASSERT_EQ(calls.size(), 7u);
  EXPECT_STREQ(calls[0].name, "__ksusSSEditTask");
  EXPECT_EQ(calls[0].field, 14);
  EXPECT_EQ(calls[0].pointers[0], f + 1);
  EXPECT_STREQ(calls[1].name, "__ksudSSEditTask");
  EXPECT_EQ(calls[1].field, 99);
  EXPECT_EQ(calls[1].pointers[0], d + 2);
  const std::vector<std::vector<const void*>> sevens = {
      {f, nullptr, f + 2, f + 3, nullptr, f + 5, f + 6},
      {d, d + 1, d + 2, d + 3, d + 4, d + 5, d + 6},
      {nullptr, f + 1, f + 2, f + 3, f + 4, f + 5, nullptr},
      {d, d + 1, nullptr, d + 3, d + 4, d + 5, d + 6}};
  const char* seven_names[] = {"__ksusSSEditMoments", "__ksudSSEditMoments", "__ksusSSEditSums",
                               "__ksudSSEditSums"};
  for (std::size_t c = 0; c < 4; ++c) {
    EXPECT_STREQ(calls[2 + c].name, seven_names[c]);
    EXPECT_EQ(calls[2 + c].task, &task);
    for (std::size_t k = 0; k < 7; ++k) {
      EXPECT_EQ(calls[2 + c].pointers[k], sevens[c][k]) << seven_names[c] << " pointer " << k;
    }
  }
  EXPECT_STREQ(calls[6].name, "__ksuSSDeleteTask");
  EXPECT_EQ(calls[6].pointers[0], &place);
  EXPECT_EQ(place, nullptr);
}

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
    const bool loaded_once = tessel::test::module_loads() == 1;
    if (!loaded_once) {
      std::fprintf(stderr, "the module was loaded %d times\n", tessel::test::module_loads());
    }
    return same_list(module().events(), {"lookup __ksusSSEditTask", "call __ksusSSEditTask",
                                         "call __ksusSSEditTask", "lookup __ksuSSDeleteTask",
                                         "call __ksuSSDeleteTask", "lookup __ksudSSEditTask",
                                         "call __ksudSSEditTask", "call __ksuSSDeleteTask"}) &&
           loaded_once;
  }());
}

TEST_F(Binding, WrappersRaiseComputationErrorOnAnyStatusButZero) {
  ss_task task{};
  float f = 0;
  EXPECT_NO_THROW(cpu::ss_edit_task<float>(&task, SS_FIELD_MEAN, &f));
  for (const std::int32_t status : {1, -1, -4050, 0x7fffffff}) {
    SCOPED_TRACE(status);
    module().program("__ksusSSEditTask", status);
    try {
      cpu::ss_edit_task<float>(&task, SS_FIELD_MEAN, &f);
      ADD_FAILURE() << "no exception";
    } catch (const vorlex::orv::computation_error& e) {
      EXPECT_STREQ(e.what(), "vorlex::orv::stats: computation error");
    }
  }
  module().program("__ksuSSDeleteTask", 2);
  ss_task* place = &task;
  EXPECT_THROW(cpu::ss_delete_task(&place), vorlex::orv::computation_error);
  module().program("_ksudSSBasic", 1);
  double x[2] = {1, 2};
  const std::int64_t one = 1, two = 2, storage = SS_STORAGE_ROW_MAJOR;
  ss_task record{};
  record.int_width = 1;
  record.dims = &one;
  record.obs_count = &two;
  record.observations = x;
  record.storage = &storage;
  EXPECT_THROW(cpu::ss_compute<double>(&record, SS_MEAN, 1), vorlex::orv::computation_error);
  // The dispatcher's own refusals are statuses as well.
  EXPECT_THROW(cpu::ss_compute<float>(nullptr, 0, 1), vorlex::orv::computation_error);
}

}  // namespace
