#include "gpu/reduction_plan.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <tuple>

namespace {

using vorlex::orv::stats::detail::gpu::make_plan;
using vorlex::orv::stats::detail::gpu::reduction_launch;
using vorlex::orv::stats::detail::gpu::reduction_plan;
using vorlex::orv::stats::detail::gpu::step_kind;

void expect_launch(const reduction_launch& got, step_kind kind, std::uint64_t local,
                   std::uint64_t groups, std::uint64_t remainder, std::uint64_t prev) {
  EXPECT_EQ(got.kind, kind);
  EXPECT_EQ(got.local_size, local);
  EXPECT_EQ(got.group_count, groups);
  EXPECT_EQ(got.remainder, remainder);
  EXPECT_EQ(got.prev_count, prev);
}

TEST(ReductionPlan, TenMillionByThousandTwentyFour) {
  const reduction_plan plan = make_plan(10000000, 1024);
  EXPECT_EQ(plan.n_groups, 9766U);
  ASSERT_EQ(plan.launches.size(), 3U);
  expect_launch(plan.launches[0], step_kind::first, 1024, 9766, 640, 0);
  expect_launch(plan.launches[1], step_kind::next, 1024, 10, 550, 9766);
  expect_launch(plan.launches[2], step_kind::last, 10, 1, 0, 10);
  EXPECT_TRUE(plan.two_halves);
}

TEST(ReductionPlan, ExactlyOneGroupIsASingleStep) {
  const reduction_plan plan = make_plan(1024, 1024);
  EXPECT_EQ(plan.n_groups, 1U);
  ASSERT_EQ(plan.launches.size(), 1U);
  expect_launch(plan.launches[0], step_kind::single, 1024, 1, 0, 0);
  EXPECT_FALSE(plan.two_halves);
}

TEST(ReductionPlan, FewerObservationsThanAGroupShrinkTheSingleStep) {
  const reduction_plan plan = make_plan(5, 1024);
  ASSERT_EQ(plan.launches.size(), 1U);
  expect_launch(plan.launches[0], step_kind::single, 5, 1, 0, 0);
}

TEST(ReductionPlan, OneBeyondAGroupIsFirstAndLast) {
  const reduction_plan plan = make_plan(1025, 1024);
  ASSERT_EQ(plan.launches.size(), 2U);
  expect_launch(plan.launches[0], step_kind::first, 1024, 2, 1, 0);
  expect_launch(plan.launches[1], step_kind::last, 2, 1, 0, 2);
  EXPECT_FALSE(plan.two_halves);
}

TEST(ReductionPlan, MultipleOfTheGroupHasAFullLastGroup) {
  const reduction_plan plan = make_plan(12, 4);
  ASSERT_EQ(plan.launches.size(), 2U);
  expect_launch(plan.launches[0], step_kind::first, 4, 3, 0, 0);
  expect_launch(plan.launches[1], step_kind::last, 3, 1, 0, 3);
}

TEST(ReductionPlan, GroupCountEqualToGroupSizeNeedsNoNextStep) {
  const reduction_plan plan = make_plan(7 * 7, 7);
  ASSERT_EQ(plan.launches.size(), 2U);
  expect_launch(plan.launches[0], step_kind::first, 7, 7, 0, 0);
  expect_launch(plan.launches[1], step_kind::last, 7, 1, 0, 7);
  EXPECT_FALSE(plan.two_halves);
}

TEST(ReductionPlan, GroupCountOneBeyondGroupSizeNeedsOneNextStep) {
  const reduction_plan plan = make_plan(7 * 7 + 1, 7);
  ASSERT_EQ(plan.launches.size(), 3U);
  expect_launch(plan.launches[0], step_kind::first, 7, 8, 1, 0);
  expect_launch(plan.launches[1], step_kind::next, 7, 2, 1, 8);
  expect_launch(plan.launches[2], step_kind::last, 2, 1, 0, 2);
}

TEST(ReductionPlan, HalvesAlternateAndTheLastStoresLow) {
  // 2 items a group: 9 -> 5 -> 3 -> 2 -> 1.
  const reduction_plan plan = make_plan(9, 2);
  ASSERT_EQ(plan.launches.size(), 4U);
  expect_launch(plan.launches[0], step_kind::first, 2, 5, 1, 0);
  expect_launch(plan.launches[1], step_kind::next, 2, 3, 1, 5);
  expect_launch(plan.launches[2], step_kind::next, 2, 2, 1, 3);
  expect_launch(plan.launches[3], step_kind::last, 2, 1, 0, 2);
  EXPECT_EQ(plan.launches[0].store_half, 0);
  EXPECT_EQ(plan.launches[1].load_half, 0);
  EXPECT_EQ(plan.launches[1].store_half, 1);
  EXPECT_EQ(plan.launches[2].load_half, 1);
  EXPECT_EQ(plan.launches[2].store_half, 0);
  EXPECT_EQ(plan.launches[3].load_half, 0);
  EXPECT_EQ(plan.launches[3].store_half, 0);
  EXPECT_TRUE(plan.two_halves);
}

TEST(ReductionPlan, NoObservationsGiveAnEmptyFirstAndALastOfNoItems) {
  const reduction_plan plan = make_plan(0, 256);
  EXPECT_EQ(plan.n_groups, 0U);
  ASSERT_EQ(plan.launches.size(), 2U);
  expect_launch(plan.launches[0], step_kind::first, 256, 0, 0, 0);
  expect_launch(plan.launches[1], step_kind::last, 0, 1, 0, 0);
}

TEST(ReductionPlan, GroupsOfOneItemCannotMerge) {
  EXPECT_THROW(make_plan(2, 1), std::invalid_argument);
  EXPECT_THROW(make_plan(2, 0), std::invalid_argument);
  const reduction_plan plan = make_plan(1, 1);
  ASSERT_EQ(plan.launches.size(), 1U);
  expect_launch(plan.launches[0], step_kind::single, 1, 1, 0, 0);
}

// Every plan covers its input: each launch has enough items for the runs it reads, the last
// group of each launch holds exactly the remainder, and the halves chain from step to step.
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
      if (launch.kind == step_kind::single || launch.kind == step_kind::last) {
        EXPECT_EQ(launch.group_count, 1U);
        EXPECT_EQ(launch.local_size, count);
        EXPECT_EQ(launch.remainder, 0U);
        EXPECT_EQ(launch.store_half, 0);
      } else {
        EXPECT_EQ(launch.local_size, group_size);
        EXPECT_EQ(launch.group_count, (count + group_size - 1) / group_size);
        EXPECT_GE(launch.group_count, 2U);
        EXPECT_EQ(launch.remainder, count % group_size);
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
