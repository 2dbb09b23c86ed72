#include "gpu/reduction_plan.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace tessel::test {
namespace {

namespace gpu = vorlex::orv::stats::detail::gpu;
using gpu::make_plan;
using gpu::reduction_launch;
using gpu::reduction_plan;
using gpu::step_kind;

struct launch_step {
  step_kind kind;
  std::uint64_t local, groups, remainder, prev, load_half, store_half;
};

struct plan_case {
  const char* what;
  std::uint64_t n_obs, group_size;
  bool two_halves;
  std::vector<launch_step> launches;
};

constexpr auto single = step_kind::single, first = step_kind::first, next = step_kind::next,
               last = step_kind::last;

// Worked plans: the edges of one group, exact multiples, the first need of a next step, halves that
// alternate, and no observations at all.
const plan_case plan_cases[] = {
    {"ten million by 1024",
     10000000,
     1024,
     true,
     {{first, 1024, 9766, 640, 0, 0, 0},
      {next, 1024, 10, 550, 9766, 0, 1},
      {last, 10, 1, 0, 10, 1, 0}}},
    {"exactly one group", 1024, 1024, false, {{single, 1024, 1, 0, 0, 0, 0}}},
    {"fewer than a group", 5, 1024, false, {{single, 5, 1, 0, 0, 0, 0}}},
    {"one beyond a group",
     1025,
     1024,
     false,
     {{first, 1024, 2, 1, 0, 0, 0}, {last, 2, 1, 0, 2, 0, 0}}},
    {"multiple of the group", 12, 4, false, {{first, 4, 3, 0, 0, 0, 0}, {last, 3, 1, 0, 3, 0, 0}}},
    {"group count equal to the group size",
     49,
     7,
     false,
     {{first, 7, 7, 0, 0, 0, 0}, {last, 7, 1, 0, 7, 0, 0}}},
    {"group count one beyond the group size",
     50,
     7,
     true,
     {{first, 7, 8, 1, 0, 0, 0}, {next, 7, 2, 1, 8, 0, 1}, {last, 2, 1, 0, 2, 1, 0}}},
    {"9 -> 5 -> 3 -> 2 -> 1",
     9,
     2,
     true,
     {{first, 2, 5, 1, 0, 0, 0},
      {next, 2, 3, 1, 5, 0, 1},
      {next, 2, 2, 1, 3, 1, 0},
      {last, 2, 1, 0, 2, 0, 0}}},
    {"no observations", 0, 256, false, {{first, 256, 0, 0, 0, 0, 0}, {last, 0, 1, 0, 0, 0, 0}}},
    {"one observation, groups of one", 1, 1, false, {{single, 1, 1, 0, 0, 0, 0}}},
};

TEST(ReductionPlan, WorkedPlans) {
  for (const plan_case& c : plan_cases) {
    SCOPED_TRACE(c.what);
    const reduction_plan plan = make_plan(c.n_obs, c.group_size);
    EXPECT_EQ(plan.two_halves, c.two_halves);
    ASSERT_EQ(plan.launches.size(), c.launches.size());
    for (std::size_t k = 0; k < c.launches.size(); ++k) {
      const reduction_launch& got = plan.launches[k];
      const launch_step& want = c.launches[k];
      EXPECT_EQ(got.kind, want.kind) << "launch " << k;
      EXPECT_EQ(got.local_size, want.local) << "launch " << k;
      EXPECT_EQ(got.group_count, want.groups) << "launch " << k;
      EXPECT_EQ(got.remainder, want.remainder) << "launch " << k;
      EXPECT_EQ(got.prev_count, want.prev) << "launch " << k;
      EXPECT_EQ(got.load_half, want.load_half) << "launch " << k;
      EXPECT_EQ(got.store_half, want.store_half) << "launch " << k;
    }
  }
}

TEST(ReductionPlan, GroupsOfOneItemCannotMerge) {
  EXPECT_THROW(make_plan(2, 1), std::invalid_argument);
  EXPECT_THROW(make_plan(2, 0), std::invalid_argument);
}

// Every plan covers its input: each launch has enough items for the runs it reads, the last group
// of each launch holds exactly the remainder, and the halves chain from step to step.
class ReductionPlanSweep : public ::testing::TestWithParam<std::uint64_t> {};

TEST_P(ReductionPlanSweep, LaunchesChainAndCover) {
  const std::uint64_t group_size = GetParam();
  for (std::uint64_t n = 1; n <= 3 * group_size * group_size * group_size + 5; ++n) {
    const reduction_plan plan = make_plan(n, group_size);
    ASSERT_FALSE(plan.launches.empty());
    std::uint64_t count = n;
    std::uint8_t written = 0;
    bool upper_used = false;
    for (std::size_t k = 0; k < plan.launches.size(); ++k) {
      const reduction_launch& launch = plan.launches[k];
      const bool is_last = k + 1 == plan.launches.size();
      EXPECT_EQ(is_last, launch.kind == step_kind::single || launch.kind == step_kind::last);
      if (launch.kind == step_kind::next || launch.kind == step_kind::last) {
        EXPECT_EQ(launch.prev_count, count);
        EXPECT_EQ(launch.load_half, written);
      }
      if (is_last) {
        EXPECT_EQ(launch.group_count, 1U);
        EXPECT_EQ(launch.local_size, count);
        EXPECT_EQ(launch.remainder, 0U);
        EXPECT_EQ(launch.store_half, 0);
      } else {
        EXPECT_EQ(launch.local_size, group_size);
        EXPECT_EQ(launch.group_count, (count + group_size - 1) / group_size);
        EXPECT_GE(launch.group_count, 2U);
        EXPECT_EQ(launch.remainder, count % group_size);
        if (launch.kind == step_kind::next) {
          EXPECT_NE(launch.store_half, launch.load_half);
        }
        upper_used = upper_used || launch.store_half == 1;
      }
      written = launch.store_half;
      count = launch.group_count;
    }
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(plan.two_halves, upper_used);
  }
}

INSTANTIATE_TEST_SUITE_P(SmallGroups, ReductionPlanSweep, ::testing::Values(2, 3, 4, 7));

}  // namespace
}  // namespace tessel::test
