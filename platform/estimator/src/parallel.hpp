// How a stage cuts its work into tasks, and how it runs them through the threading table.
#pragma once

#include "orv/orv_ksu_serv_threader.h"
#include "orv/ss_task.h"
#include "task_shape.hpp"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace tessel::estimator {

// A column-major group spans two 64-byte lines of doubles: the pair that the hardware fetches
// together, so that no line is read by two tasks.
constexpr std::int64_t max_group_dims = 16;

// Tasks are (group of dimensions, block of observations) pairs, numbered group-major. A
// column-major group holds neighbouring dimensions, which share the cache lines of an
// observation; a row-major group is one dimension, contiguous in memory.
struct work_split {
  std::int64_t dims_per_group = 1;
  std::int64_t n_groups = 1;
  std::int64_t n_blocks = 1;
  std::int64_t block_length = 1;

  std::int64_t n_tasks() const { return n_groups * n_blocks; }
  std::int64_t group_of(std::int64_t task) const { return task / n_blocks; }
  std::int64_t block_of(std::int64_t task) const { return task % n_blocks; }
};

work_split split_work(const task_shape& shape, int threads);

// Calls f(c0, c1) for consecutive chunks of [i0, i1). A task reduces its dimensions one after
// the other over each chunk; in column-major storage a chunk is short enough for its cache
// lines to stay in cache from the first dimension to the last.
template <class F>
void for_each_chunk(const task_shape& shape, std::int64_t i0, std::int64_t i1, F&& f) {
  constexpr std::int64_t column_chunk_length = 2048;  // 128 KiB of 64-byte lines
  const std::int64_t chunk = shape.obs_stride == 1 ? i1 - i0 : column_chunk_length;
  for (std::int64_t c0 = i0; c0 < i1; c0 += chunk)
    f(c0, std::min(c0 + chunk, i1));
}

// The threading table as a stage uses it. Without a table, or without a `for` entry in it,
// the work runs on the calling thread.
class threading {
 public:
  explicit threading(const ss_threading_entry* table) {
    if (table == nullptr || table[SS_THREADER_FOR] == nullptr)
      return;
    for_ = reinterpret_cast<orv_ksu_serv_threader_for_fn>(table[SS_THREADER_FOR]);
    if (table[SS_THREADER_GET_NUM_THREADS_LIMIT] != nullptr) {
      const auto limit = reinterpret_cast<orv_ksu_serv_threader_get_num_threads_limit_fn>(
          table[SS_THREADER_GET_NUM_THREADS_LIMIT]);
      threads_ = std::max(1, limit());
    }
  }

  int threads() const { return threads_; }

  // Calls body(index) for every index in [0, count), in parallel. body must not throw.
  template <class Body>
  void for_each(std::int64_t count, Body& body) const {
    if (for_ == nullptr) {
      for (std::int64_t i = 0; i < count; ++i)
        body(i);
      return;
    }
    for_(count, 0, &body,
         [](void* context, std::int64_t index, int) { (*static_cast<Body*>(context))(index); });
  }

 private:
  orv_ksu_serv_threader_for_fn for_ = nullptr;
  int threads_ = 1;
};

// Reduces every selected dimension to one Result: block(d0, d1, i0, i1, out) reduces
// observations [i0, i1) of dimensions [d0, d1) into out[d - d0] for each selected d, and
// merge(total, part) folds the blocks of a dimension in order. Unselected dimensions keep a
// value-initialised Result.
template <class Result, class Block, class Merge>
std::vector<Result> reduce_blocks(const task_shape& shape, const threading& threads, Block&& block,
                                  Merge&& merge) {
  const work_split split = split_work(shape, threads.threads());
  const std::int64_t dpg = split.dims_per_group;
  // Block 0 of each group writes its dimensions' totals directly; later blocks go aside.
  std::vector<Result> totals(static_cast<std::size_t>(shape.n_dims));
  std::vector<Result> later(static_cast<std::size_t>(split.n_groups * (split.n_blocks - 1) * dpg));
  auto reduce_task = [&](std::int64_t task) {
    const std::int64_t group = split.group_of(task), b = split.block_of(task);
    const std::int64_t d0 = group * dpg, d1 = std::min(d0 + dpg, shape.n_dims);
    const std::int64_t i0 = b * split.block_length;
    const std::int64_t i1 = std::min(i0 + split.block_length, shape.n_obs);
    Result* out =
        b == 0 ? &totals[static_cast<std::size_t>(d0)]
               : &later[static_cast<std::size_t>((group * (split.n_blocks - 1) + b - 1) * dpg)];
    block(d0, d1, i0, i1, out);
  };
  threads.for_each(split.n_tasks(), reduce_task);
  if (split.n_blocks > 1) {
    auto merge_group = [&](std::int64_t group) {
      const std::int64_t d0 = group * dpg, d1 = std::min(d0 + dpg, shape.n_dims);
      for (std::int64_t d = d0; d < d1; ++d) {
        if (!shape.selected(d))
          continue;
        for (std::int64_t b = 1; b < split.n_blocks; ++b) {
          merge(totals[static_cast<std::size_t>(d)],
                later[static_cast<std::size_t>((group * (split.n_blocks - 1) + b - 1) * dpg + d -
                                               d0)]);
        }
      }
    };
    threads.for_each(split.n_groups, merge_group);
  }
  return totals;
}

}  // namespace tessel::estimator
