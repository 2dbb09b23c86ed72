// The run-time bindings, whose state lasts for the life of the process, each in a process of its
// own with one build of the OpenMP runtime and of OpenCL on the loader's path: the stand-in
// (StandIn), the stand-in without omp_get_interop_int (WithoutInteropInt), none (NoModule),
// Debian's ICD loader (OpenclLoader) and the OpenCL library without the table's last name
// (OpenclWithoutLast).
#include <gtest/gtest.h>

#include <sycl/sycl.hpp>

#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "offload/interop_binding.hpp"
#include "offload/opencl_table.hpp"
#include "omptarget/stand_in_interop.h"
#include "orv/ss_task.h"

namespace tessel::test {
namespace {

namespace offload = vorlex::orv::stats::detail::offload;
using testing::ExitedWithCode;

// bind_interop from eight threads at once, twice each.
std::vector<std::int32_t> bind_from_threads() {
  std::vector<std::int32_t> statuses(16);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 8; ++t) {
    threads.emplace_back([&statuses, t] {
      statuses[2 * t] = offload::bind_interop();
      statuses[2 * t + 1] = offload::bind_interop();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  return statuses;
}

// An interop object of the foreign runtime, with its native handles at properties 5, 6 and 9.
stand_in_interop object_of(std::int32_t runtime) {
  stand_in_interop interop{};
  interop.foreign_runtime = runtime;
  interop.readable = (1U << 5) | (1U << 6) | (1U << 9);
  interop.property[5] = interop.property[6] = interop.property[9] = &interop;
  return interop;
}

// The minimum of one observation through an entry; what it printed goes to printed.
std::int32_t entry_status(stand_in_interop& interop, std::string& printed) {
  const std::int64_t one = 1, storage = SS_STORAGE_ROW_MAJOR;
  const double x = 1;
  double min = 0;
  ss_task task{};
  task.dims = task.obs_count = &one;
  task.storage = &storage;
  task.observations = &x;
  task.min = &min;
  testing::internal::CaptureStderr();
  const std::int32_t status = orv_ksu_dSSCompute_omp_offload_ilp64(&task, SS_MIN, 1, &interop);
  printed = testing::internal::GetCapturedStderr();
  return status;
}

const char* const entry_missing =
    "^tessel: error 3: the OpenMP offload runtime does not provide the entry ";

TEST(StandIn, BindsOnceForEveryThreadAndReads) {
  EXPECT_EQ(bind_from_threads(), std::vector<std::int32_t>(16, 0));
  stand_in_interop interop = object_of(6);
  int code = -1;
  EXPECT_EQ(offload::get_interop_int(&interop, offload::property_foreign_runtime, &code), 6);
  EXPECT_EQ(code, 0);
  void* value = nullptr;
  EXPECT_EQ(offload::get_interop_property(&interop, offload::property_platform, &value), 0);
  EXPECT_EQ(value, &interop);
  EXPECT_NE(offload::get_interop_property(&interop, offload::property_device, &value), 0);
  EXPECT_EQ(interop.reads, 3);
}

// The first name stays bound; the binding has failed for good.
TEST(WithoutInteropInt, FailsForGoodWithTheFirstNameBound) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EQ(bind_from_threads(), std::vector<std::int32_t>(16, -1));
  stand_in_interop interop = object_of(4);
  void* value = nullptr;
  EXPECT_EQ(offload::get_interop_property(&interop, offload::property_platform, &value), 0);
  int code = -1;
  EXPECT_EXIT(offload::get_interop_int(&interop, offload::property_foreign_runtime, &code),
              ExitedWithCode(2), std::string(entry_missing) + "'omp_get_interop_int'\n$");
}

// The entries give -2 before they read anything; the exported look-up has no such guard.
TEST(NoModule, EntriesFailTheLookUpEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EQ(offload::bind_interop(), -1);
  stand_in_interop interop = object_of(4);
  std::string printed;
  EXPECT_EQ(entry_status(interop, printed), -2);
  EXPECT_EQ(printed, "");
  EXPECT_EXIT(vorlex::orv::gpu::lookup_and_cache_kelpa_queue_and_context(&interop),
              ExitedWithCode(2), std::string(entry_missing) + "'__tgt_get_interop_property'\n$");
  EXPECT_EQ(interop.reads, 0);
}

std::size_t filled_slots() {
  return static_cast<std::size_t>(std::count_if(std::begin(offload::opencl_table),
                                                std::end(offload::opencl_table),
                                                [](void* slot) { return slot != nullptr; }));
}

// The table is complete, but this runtime makes no context of a native OpenCL handle.
TEST(OpenclLoader, ResolvesEveryNameOnceTheRoadEndsInTheHandler) {
  EXPECT_EQ(offload::load_opencl_table(), 0);
  EXPECT_EQ(filled_slots(), offload::opencl_entry_count);
  EXPECT_EQ(offload::load_opencl_table(), 0);
  stand_in_interop interop = object_of(3);
  std::string printed;
  EXPECT_EQ(entry_status(interop, printed), -2);
  EXPECT_EQ(printed.rfind("Tessel Stats: sycl::exception what: Backends mismatch", 0), 0U);
}

TEST(OpenclWithoutLast, FailsAsAWholeForGood) {
  EXPECT_EQ(offload::load_opencl_table(), -1);
  EXPECT_EQ(filled_slots(), offload::opencl_entry_count - 1);
  EXPECT_EQ(offload::opencl_table[offload::opencl_entry_count - 1], nullptr);
  EXPECT_STREQ(offload::opencl_load_message, "");  // the library itself was found
  EXPECT_EQ(offload::load_opencl_table(), -1);
}

}  // namespace
}  // namespace tessel::test
