#include "parallel.hpp"

namespace tessel::estimator {
namespace {

// A block is read from memory once, and where its mean is far from the guess summed again while it
// stays in the second-level cache; large enough that the merges of blocks, one per dimension of a
// column-major group, cost little beside the loops. A task reads a megabyte, enough to outweigh the
// cost of handing it out and small enough for two cores to share the work evenly.
constexpr std::int64_t cache_block_bytes = 256 * 1024;
constexpr std::int64_t task_bytes = 1024 * 1024;

std::int64_t ceil_div(std::int64_t a, std::int64_t b) {
  return a / b + (a % b != 0 ? 1 : 0);
}

std::int64_t group_dims(const task_shape& shape, std::int64_t element_size) {
  if (shape.obs_stride != 1) {
    return std::min(max_group_dims, shape.n_dims);
  }
  if (shape.n_obs >= task_bytes / element_size) {
    return 1;
  }
  return std::min(task_bytes / (shape.n_obs * element_size), shape.n_dims);
}

}  // namespace

std::int64_t cache_block_length(std::int64_t dims, std::int64_t element_size) {
  return std::max<std::int64_t>(1, cache_block_bytes / (dims * element_size));
}

work_split split_work(const task_shape& shape, std::int64_t element_size) {
  work_split split;
  split.dims_per_group = group_dims(shape, element_size);
  split.n_groups = ceil_div(shape.n_dims, split.dims_per_group);
  const std::int64_t block =
      cache_block_length(shape.obs_stride == 1 ? 1 : split.dims_per_group, element_size);
  const std::int64_t blocks_per_task = std::max<std::int64_t>(1, task_bytes / cache_block_bytes);
  split.n_parts = ceil_div(shape.n_obs, block * blocks_per_task);
  split.part_length = ceil_div(ceil_div(shape.n_obs, split.n_parts), block) * block;
  split.n_parts = ceil_div(shape.n_obs, split.part_length);
  return split;
}

}  // namespace tessel::estimator
