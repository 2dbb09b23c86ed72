// How an entry finishes: it waits for all its rows, or with nowait hands completion back to the
// OpenMP runtime, which on the SYCL road comes once, after the work, also for a call that runs
// nothing; on the OpenCL road an event that is not OpenCL's gives -2 and no completion.
#include <gtest/gtest.h>

#include <sycl/sycl.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include "offload_calls.hpp"

namespace tessel::test {
namespace {

std::atomic<int> completions{0};
std::atomic<const double*> watched{nullptr};
std::atomic<bool> written_at_completion{false};

void count_completion(void*) {
  const double* result = watched.load();
  written_at_completion = result != nullptr && result[0] != offload_task<double>::poison;
  ++completions;
}

// Waits up to ten seconds for the count, then a little longer for any surplus.
bool completions_reach(int count) {
  for (int waited = 0; waited < 10000 && completions.load() < count; waited += 5) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  return completions.exchange(0) == count;
}

std::int32_t kurtosis_of(std::int64_t n_obs, std::int32_t runtime, std::uint8_t nowait,
                         std::uint64_t mask = SS_KURTOSIS | SS_MIN | SS_MAX) {
  sycl::queue queue{sycl::gpu_selector_v};
  problem<double> p;
  p.n_dims = 1;
  p.n_obs = n_obs;
  for (std::int64_t i = 0; i < n_obs; ++i) {
    p.values.push_back(static_cast<double>(i % 7));
  }
  offload_task<double> task(queue, p, st::layout::col_major, model::lp64);
  watched = task.result(field::kurtosis);
  stand_in_interop interop = sycl_interop(queue);
  interop.foreign_runtime = runtime;
  interop.nowait = nowait;
  interop.property[2] = &interop.nowait;
  interop.property[4] = reinterpret_cast<void*>(&count_completion);
  interop.readable |= (1U << 2) | (1U << 4);
  const std::int32_t status =
      compute(element::f64, model::lp64, form::direct, task.record(), mask, 1, &interop);
  // Without nowait, the extremes of one work-group, in flight when their rows returned, are in.
  if (nowait == 0) {
    EXPECT_EQ(task.result(field::min)[0], 0.0);
    EXPECT_EQ(task.result(field::max)[0], n_obs > 6 ? 6.0 : static_cast<double>(n_obs - 1));
  }
  // The completion may not come before the arrays are gone: wait for it here.
  EXPECT_TRUE(completions_reach(runtime == 4 && nowait != 0 ? 1 : 0));
  watched = nullptr;
  return status;
}

TEST(Completion, SyclRoadCompletesOnceAfterTheWork) {
  EXPECT_EQ(kurtosis_of(5000, 4, 1), 0);
  EXPECT_TRUE(written_at_completion);
  EXPECT_EQ(kurtosis_of(3, 4, 1, 0), 0);
}

TEST(Completion, WaitingCallReturnsAfterAllItsRows) {
  EXPECT_EQ(kurtosis_of(5, 4, 0, SS_MIN | SS_MAX), 0);
}

// The test OpenCL library fails the table, so the road goes on with a default queue.
TEST(Completion, OpenclRoadWithoutAnOpenclEventFails) {
  EXPECT_EQ(kurtosis_of(3, 3, 1), -2);
}

}  // namespace
}  // namespace tessel::test
