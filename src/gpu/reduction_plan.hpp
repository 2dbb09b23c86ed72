// The launches of one reduction, as plain arithmetic on the observation count and the device's
// largest work-group. Moments and extremes share it. No SYCL here, so that it can be checked alone.
#pragma once

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace vorlex::orv::stats::detail::gpu {

enum class step_kind : std::uint8_t { single, first, next, last };

// A next or last step reads the scratch half that the step before it wrote and stores into the
// other one: groups of one launch run in any order, so a group must never store where another group
// of the same launch may still read. The last step runs one group, which reads a run before it
// stores at the run's dimension, so it always stores into the lower half, where the functors look;
// single and first steps store into the lower half too.
struct reduction_launch {
  step_kind kind;
  std::uint64_t local_size;
  std::uint64_t group_count;
  std::uint64_t remainder;   // valid work-items of the last group; 0 when it is full
  std::uint64_t prev_count;  // run length left by the step before; 0 for single and first
  std::uint8_t load_half;
  std::uint8_t store_half;
};

struct reduction_plan {
  std::uint64_t group_size = 0;
  std::uint64_t n_groups = 0;  // groups of the first step; the scratch holds that many runs
  bool two_halves = false;     // some launch stores into the upper half of the scratch
  std::vector<reduction_launch> launches;
};

// group_size is the device's max_work_group_size. n_obs of 0 is not special: it gives a first step
// of no groups and a last step of local size 0, which the runtime refuses. Groups of one work-item
// never shrink the number of partial results, so such a device gets no plan beyond a single step
// instead of an endless one.
inline reduction_plan make_plan(std::uint64_t n_obs, std::uint64_t group_size) {
  if (group_size == 0 || (group_size == 1 && n_obs > 1)) {
    throw std::invalid_argument("a reduction needs work-groups of at least two work-items");
  }
  reduction_plan plan;
  plan.group_size = group_size;
  plan.n_groups = (n_obs + group_size - 1) / group_size;
  if (plan.n_groups == 1) {
    const std::uint64_t local = std::min(n_obs, group_size);
    plan.launches.push_back({step_kind::single, local, 1, 0, 0, 0, 0});
    return plan;
  }
  plan.launches.push_back(
      {step_kind::first, group_size, plan.n_groups, n_obs % group_size, 0, 0, 0});
  std::uint64_t prev = plan.n_groups;
  std::uint64_t cur = (prev + group_size - 1) / group_size;
  std::uint8_t half = 0;
  while (cur >= 2) {
    const auto other = static_cast<std::uint8_t>(half ^ 1U);
    plan.launches.push_back(
        {step_kind::next, group_size, cur, prev % group_size, prev, half, other});
    half = other;
    plan.two_halves = true;
    prev = cur;
    cur = (prev + group_size - 1) / group_size;
  }
  plan.launches.push_back({step_kind::last, std::min(prev, group_size), 1, 0, prev, half, 0});
  return plan;
}

}  // namespace vorlex::orv::stats::detail::gpu
