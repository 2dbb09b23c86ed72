#include "parallel.hpp"

namespace tessel::estimator {
namespace {

constexpr std::int64_t min_block_length = 2048;  // below this a task costs more than it does
constexpr std::int64_t tasks_per_thread = 4;     // room to balance uneven tasks

std::int64_t ceil_div(std::int64_t a, std::int64_t b) {
  return a / b + (a % b != 0 ? 1 : 0);
}

}  // namespace

work_split split_work(const task_shape& shape, int threads) {
  work_split split;
  split.dims_per_group = shape.obs_stride == 1 ? 1 : std::min(max_group_dims, shape.n_dims);
  split.n_groups = ceil_div(shape.n_dims, split.dims_per_group);
  const std::int64_t wanted_tasks = tasks_per_thread * std::max(1, threads);
  const std::int64_t most_blocks = ceil_div(shape.n_obs, min_block_length);
  split.n_blocks = std::clamp<std::int64_t>(ceil_div(wanted_tasks, split.n_groups), 1, most_blocks);
  split.block_length = ceil_div(shape.n_obs, split.n_blocks);
  split.n_blocks = ceil_div(shape.n_obs, split.block_length);
  return split;
}

}  // namespace tessel::estimator
