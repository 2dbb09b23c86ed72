// The compute dispatcher against the recording module: validation and its statuses, the reading
// of counts by int_width, the route of each mask bit, the order of the stages, the exclusive
// missing-values stage, the chaining of statuses, and stages bound only when first run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "cpu/compute_dispatcher.hpp"
#include "orv/orv_ksu_serv_threader.h"
#include "orv/ss_task.h"
#include "recording.hpp"

namespace {

namespace cpu = vorlex::orv::stats::detail::cpu;
using tessel::test::recorded_call;
using tessel::test::recorded_test;
using tessel::test::recording;
using ::testing::IsEmpty;

// A valid task of 64-bit words, as the CPU engine makes them.
struct task_record {
  std::int64_t dims = 2;
  std::int64_t observation_count = 3;
  std::int64_t storage = SS_STORAGE_ROW_MAJOR;
  double values[6] = {1, 2, 3, 4, 5, 6};
  ss_task task{};

  task_record() {
    task.int_width = 1;
    task.dims = &dims;
    task.obs_count = &observation_count;
    task.observations = values;
    task.storage = &storage;
  }
  task_record(const task_record&) = delete;
  task_record& operator=(const task_record&) = delete;
};

struct element_type {
  std::string letter;
  std::int32_t (*compute)(ss_task*, std::uint64_t, std::intptr_t);
};

class Dispatcher : public recorded_test, public ::testing::WithParamInterface<element_type> {
 protected:
  std::int32_t compute(ss_task* task, std::uint64_t mask, std::intptr_t method = 1) const {
    return GetParam().compute(task, mask, method);
  }
  std::string stage(const std::string& name) const {
    return "_ksu" + GetParam().letter + "SS" + name;
  }
  std::vector<std::string> stages(const std::vector<std::string>& names) const {
    std::vector<std::string> full;
    for (const std::string& n : names) {
      full.push_back(stage(n));
    }
    return full;
  }
};

INSTANTIATE_TEST_SUITE_P(Types, Dispatcher,
                         ::testing::Values(element_type{"s", &cpu::__ksusSSCompute},
                                           element_type{"d", &cpu::__ksudSSCompute}),
                         [](const auto& p) { return p.param.letter == "s" ? "f32" : "f64"; });

TEST_P(Dispatcher, EmptyMaskOnValidTaskRunsNothingAndLoadsNothing) {
  EXPECT_IN_FRESH_PROCESS([&] {
    task_record r;
    const bool ok = compute(&r.task, 0) == 0 && tessel::test::module_loads() == 0;
    return ok && tessel::test::same_list(module().events(), {});
  }());
}

TEST_P(Dispatcher, ValidationComesFirstWithItsStatusesAndRunsNothing) {
  struct failure {
    const char* what;
    void (*spoil)(task_record&);
    std::uint64_t mask;
    std::int32_t status;
  };
  const failure failures[] = {
      {"dims null", [](task_record& r) { r.task.dims = nullptr; }, SS_MEAN, -4001},
      {"no dimension", [](task_record& r) { r.dims = 0; }, SS_MEAN, -4001},
      {"negative dimensions", [](task_record& r) { r.dims = -3; }, SS_MEAN, -4001},
      {"no dimension, excused mask", [](task_record& r) { r.dims = 0; }, 0x100000, -4001},
      {"no dimension, empty mask", [](task_record& r) { r.dims = 0; }, 0, -4001},
      {"dims before observations",
       [](task_record& r) {
         r.dims = 0;
         r.task.obs_count = nullptr;
       },
       SS_MEAN, -4001},
      {"obs_count null", [](task_record& r) { r.task.obs_count = nullptr; }, SS_MEAN, -4002},
      {"no observation", [](task_record& r) { r.observation_count = 0; }, SS_MEAN, -4002},
      {"count before pointer",
       [](task_record& r) {
         r.observation_count = 0;
         r.task.observations = nullptr;
       },
       SS_MEAN, -4002},
      {"observations null", [](task_record& r) { r.task.observations = nullptr; }, SS_MIN, -4032},
      {"observations before storage",
       [](task_record& r) {
         r.task.observations = nullptr;
         r.task.storage = nullptr;
       },
       SS_MIN, -4032},
      {"storage null", [](task_record& r) { r.task.storage = nullptr; }, SS_KURTOSIS, -4044},
      {"unknown storage", [](task_record& r) { r.storage = 0x30000; }, SS_KURTOSIS, -4003},
      {"zero storage word", [](task_record& r) { r.storage = 0; }, 0, -4003},
      {"missing values not excused", [](task_record& r) { r.task.obs_count = nullptr; },
       SS_STAGE_MISSING_VALUES, -4002},
  };
  EXPECT_EQ(compute(nullptr, 0), -4031);
  EXPECT_EQ(compute(nullptr, SS_MEAN | SS_STAGE_PARTIAL_COVARIANCE), -4031);
  for (const failure& f : failures) {
    SCOPED_TRACE(f.what);
    task_record r;
    f.spoil(r);
    EXPECT_EQ(compute(&r.task, f.mask), f.status);
  }
  EXPECT_THAT(module().log(), IsEmpty());
}

TEST_P(Dispatcher, ReadsCountsAndStorageAsIntWidthSays) {
  {
    SCOPED_TRACE("32-bit words: 0xFFFFFFFF is -1");
    task_record r;
    r.task.int_width = 0;
    r.dims = 0xFFFFFFFF;
    EXPECT_EQ(compute(&r.task, SS_MEAN), -4001);
  }
  {
    SCOPED_TRACE("64-bit words: 0xFFFFFFFF is a count");
    task_record r;
    r.dims = 0xFFFFFFFF;
    EXPECT_EQ(compute(&r.task, 0), 0);
  }
  {
    SCOPED_TRACE("64-bit storage word with its upper half set");
    task_record r;
    r.storage = 0x100010000;
    EXPECT_EQ(compute(&r.task, SS_MEAN), -4003);
  }
  {
    SCOPED_TRACE("32-bit storage word: only the low half is read");
    task_record r;
    r.task.int_width = 0;
    r.storage = 0x100010000;
    r.observation_count = std::int64_t{3} << 32 | 3;
    r.dims = std::int64_t{-1} << 32 | 2;
    EXPECT_EQ(compute(&r.task, SS_MEAN), 0);
  }
  {
    SCOPED_TRACE("32-bit observation count of 0 under a 64-bit word");
    task_record r;
    r.task.int_width = 0;
    r.observation_count = std::int64_t{1} << 32;
    EXPECT_EQ(compute(&r.task, SS_MEAN), -4002);
  }
  {
    SCOPED_TRACE("any non-zero int_width means 64-bit");
    task_record r;
    r.task.int_width = -7;
    r.observation_count = std::int64_t{1} << 32;
    EXPECT_EQ(compute(&r.task, 0), 0);
  }
  EXPECT_EQ(module().calls(), stages({"Basic"}));
}

TEST_P(Dispatcher, FourStagesAreExcusedFromTheObservationChecks) {
  const std::pair<std::uint64_t, const char*> excused[] = {{0x100000, "PartialCovariance"},
                                                           {0x200000, "PartialCovariance"},
                                                           {0x800000, "CorParametrization"},
                                                           {0x1000000, "StreamQuantiles"}};
  for (const auto& [mask, name] : excused) {
    SCOPED_TRACE(name);
    module().clear();
    task_record r;
    r.task.obs_count = nullptr;
    r.task.observations = nullptr;
    r.task.storage = nullptr;
    EXPECT_EQ(compute(&r.task, mask), 0);
    EXPECT_EQ(module().calls(), stages({name}));
  }
  // An excused bit excuses the whole mask, also the stages that would need observations.
  module().clear();
  task_record r;
  r.observation_count = -1;
  EXPECT_EQ(compute(&r.task, SS_MEAN | 0x100000), 0);
  EXPECT_EQ(module().calls(), stages({"Basic", "PartialCovariance"}));
}

TEST_P(Dispatcher, MissingValuesRunsAloneAndItsStatusIsTheResult) {
  EXPECT_IN_FRESH_PROCESS([&] {
    task_record r;
    return compute(&r.task, 0x400401) == 0 &&
           tessel::test::same_list(module().events(), {"lookup " + stage("MissingValues"),
                                                       "call " + stage("MissingValues")});
  }());
  task_record r;
  for (const std::int32_t status : {-9, 5}) {
    module().clear();
    module().program(stage("MissingValues"), status);
    EXPECT_EQ(compute(&r.task, ~std::uint64_t{0}), status);
    EXPECT_EQ(module().calls(), stages({"MissingValues"}));
  }
}

TEST_P(Dispatcher, StagesRunInTheirOrderEachWithTheWholeMask) {
  task_record r;
  const std::uint64_t mask = ~std::uint64_t{0} & ~SS_STAGE_MISSING_VALUES;
  EXPECT_EQ(compute(&r.task, mask, 256), 0);
  EXPECT_EQ(module().calls(), stages({"Minmax", "Sort", "Basic", "MAD", "PooledCovariance",
                                      "OutliersDetection", "RobustCovariance", "PartialCovariance",
                                      "Quantiles", "StreamQuantiles", "CorParametrization"}));
  for (const recorded_call& call : module().log()) {
    if (call.kind == tessel::test::record_kind::call) {
      SCOPED_TRACE(call.name);
      EXPECT_EQ(call.task, &r.task);
      EXPECT_EQ(call.mask, mask);
      EXPECT_EQ(call.method, 256);
    }
  }
}

TEST_P(Dispatcher, EachBitReachesItsStageAndBitsOfNoGroupCauseNothing) {
  std::array<const char*, 64> route{};
  const std::pair<std::uint64_t, const char*> groups[] = {{0x400000, "MissingValues"},
                                                          {0xC00, "Minmax"},
                                                          {0x8000000000, "Sort"},
                                                          {0x1FE0033FF, "Basic"},
                                                          {0x600000000, "MAD"},
                                                          {0x180000C000, "PooledCovariance"},
                                                          {0x80000, "OutliersDetection"},
                                                          {0x40000, "RobustCovariance"},
                                                          {0x300000, "PartialCovariance"},
                                                          {0x30000, "Quantiles"},
                                                          {0x1000000, "StreamQuantiles"},
                                                          {0x800000, "CorParametrization"}};
  for (const auto& [mask, name] : groups) {
    for (unsigned bit = 0; bit < 64; ++bit) {
      if ((mask >> bit & 1) != 0) {
        route[bit] = name;
      }
    }
  }
  for (unsigned bit = 0; bit < 64; ++bit) {
    SCOPED_TRACE("bit " + std::to_string(bit));
    module().clear();
    task_record r;
    EXPECT_EQ(compute(&r.task, std::uint64_t{1} << bit), 0);
    if (route[bit] != nullptr) {
      EXPECT_EQ(module().calls(), stages({route[bit]}));
    } else {
      EXPECT_THAT(module().calls(), IsEmpty());
      EXPECT_TRUE(bit == 37 || bit == 38 || bit >= 40);
    }
  }
}

TEST_P(Dispatcher, NegativeStatusStopsTheRunBeforeTheNextStageIsBound) {
  EXPECT_IN_FRESH_PROCESS([&] {
    task_record r;
    module().program(stage("Minmax"), -1);
    const bool stopped = compute(&r.task, 0xC01) == -1 &&
                         tessel::test::same_list(module().events(), {"lookup " + stage("Minmax"),
                                                                     "call " + stage("Minmax")});
    module().clear();
    // Minmax is bound already; Basic is looked up at its first run, after Minmax.
    return stopped && compute(&r.task, 0xC01) == 0 &&
           tessel::test::same_list(
               module().events(),
               {"call " + stage("Minmax"), "lookup " + stage("Basic"), "call " + stage("Basic")});
  }());
}

TEST_P(Dispatcher, OnlyTheLastStatusCounts) {
  task_record r;
  module().program(stage("Minmax"), 3);
  EXPECT_EQ(compute(&r.task, 0xC01), 0);
  EXPECT_EQ(compute(&r.task, 0xC00), 3);
  module().program(stage("Basic"), 4);
  EXPECT_EQ(compute(&r.task, 0xC01), 4);

  module().clear();
  module().program(stage("StreamQuantiles"), -2);
  EXPECT_EQ(compute(&r.task, 0x1800000), -2);
  EXPECT_EQ(module().calls(), stages({"StreamQuantiles"}));

  module().clear();
  module().program(stage("StreamQuantiles"), 6);
  module().program(stage("CorParametrization"), -8);
  EXPECT_EQ(compute(&r.task, 0x1800000), -8);
  module().program(stage("CorParametrization"), 9);
  EXPECT_EQ(compute(&r.task, 0x1800000), 9);
  module().program(stage("CorParametrization"), 0);
  EXPECT_EQ(compute(&r.task, 0x1800000), 0);
}

TEST_P(Dispatcher, StagesGetTheThreadingServiceTableOfTheirType) {
  task_record r;
  EXPECT_EQ(compute(&r.task, SS_MEAN | SS_MIN), 0);
  const std::vector<recorded_call> log = module().log();
  ASSERT_EQ(module().calls(), stages({"Minmax", "Basic"}));
  const void* table_address = log.back().pointers[0];
  ASSERT_NE(table_address, nullptr);
  for (const recorded_call& call : log) {
    if (call.kind == tessel::test::record_kind::call) {
      EXPECT_EQ(call.pointers[0], table_address);
    }
  }
  const auto* table = static_cast<const ss_threading_entry*>(table_address);
  const ss_threading_entry row[] = {
      reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_for),
      reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_for_ordered),
      reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_sections),
      reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_ordered),
      reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_get_num_threads_limit)};
  for (int k = 0; k < SS_THREADING_TABLE_SIZE; ++k) {
    EXPECT_EQ(table[k], row[k % 5]) << "entry " << k;
  }
}

TEST(DispatcherTables, FloatAndDoubleStagesHaveTablesOfTheirOwn) {
  recording::module().clear();
  task_record r;
  ASSERT_EQ(cpu::__ksusSSCompute(&r.task, SS_MEAN, 1), 0);
  ASSERT_EQ(cpu::__ksudSSCompute(&r.task, SS_MEAN, 1), 0);
  const std::vector<recorded_call> log = recording::module().log();
  std::vector<const void*> tables;
  for (const recorded_call& call : log) {
    if (call.kind == tessel::test::record_kind::call) {
      tables.push_back(call.pointers[0]);
    }
  }
  ASSERT_EQ(tables.size(), 2u);
  EXPECT_NE(tables[0], tables[1]);
  EXPECT_EQ(std::memcmp(tables[0], tables[1], SS_THREADING_TABLE_SIZE * sizeof(ss_threading_entry)),
            0);
}

TEST_P(Dispatcher, AStageIsLookedUpOnceAndOnlyWhenFirstRun) {
  EXPECT_IN_FRESH_PROCESS([&] {
    task_record r;
    bool ok = true;
    for (int k = 0; k < 3; ++k) {
      ok = ok && compute(&r.task, SS_MEAN) == 0;
    }
    return ok && tessel::test::same_list(module().events(),
                                         {"lookup " + stage("Basic"), "call " + stage("Basic"),
                                          "call " + stage("Basic"), "call " + stage("Basic")});
  }());
}

}  // namespace
