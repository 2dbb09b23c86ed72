#include "gpu/reduction_plan.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessel::test {
namespace {

namespace gpu = vorlex::orv::stats::detail::gpu;
using gpu::make_plan;
using gpu::reduction_launch;
using gpu::reduction_plan;
using gpu::step_kind;

// kind, local size, groups, remainder, previous count, load half, store half
using launch_step = std::array<std::uint64_t, 7>;

std::vector<launch_step> steps_of(const reduction_plan& plan) {
  std::vector<launch_step> steps;
  for (const reduction_launch& l : plan.launches) {
    steps.push_back({static_cast<std::uint64_t>(l.kind), l.local_size, l.group_count, l.remainder,
                     l.prev_count, l.load_half, l.store_half});
  }
  return steps;
}

constexpr auto single = static_cast<std::uint64_t>(step_kind::single),
               first = static_cast<std::uint64_t>(step_kind::first),
               next = static_cast<std::uint64_t>(step_kind::next),
               last = static_cast<std::uint64_t>(step_kind::last);

struct plan_case {
  std::uint64_t n_obs, group_size;
  bool two_halves;
  std::vector<launch_step> launches;
};

// Worked plans at the edges that the sweep below does not reach: a realistic group size (one
// group, one beyond, a next step), no observations, and groups of one item.
const plan_case plan_cases[] = {
    {10000000,
     1024,
     true,
     {{first, 1024, 9766, 640, 0, 0, 0},
      {next, 1024, 10, 550, 9766, 0, 1},
      {last, 10, 1, 0, 10, 1, 0}}},
    {1024, 1024, false, {{single, 1024, 1, 0, 0, 0, 0}}},
    {5, 1024, false, {{single, 5, 1, 0, 0, 0, 0}}},
    {1025, 1024, false, {{first, 1024, 2, 1, 0, 0, 0}, {last, 2, 1, 0, 2, 0, 0}}},
    {0, 256, false, {{first, 256, 0, 0, 0, 0, 0}, {last, 0, 1, 0, 0, 0, 0}}},
    {1, 1, false, {{single, 1, 1, 0, 0, 0, 0}}},
};

TEST(ReductionPlan, WorkedPlans) {
  for (const plan_case& c : plan_cases) {
    SCOPED_TRACE(std::to_string(c.n_obs) + " by " + std::to_string(c.group_size));
    const reduction_plan plan = make_plan(c.n_obs, c.group_size);
    EXPECT_EQ(plan.two_halves, c.two_halves);
    EXPECT_EQ(steps_of(plan), c.launches);
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
