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

// Tasks are (group of dimensions, part of the observations) pairs, numbered group-major. A
// column-major group holds neighbouring dimensions, which share the cache lines of an observation;
// a row-major group holds as many whole dimensions as make a task's worth of data, at least one.
// The cut depends on the shape of the data alone, never on the number of threads, so results do not
// either; and small data make one task, which wakes no thread.
struct work_split {
  std::int64_t dims_per_group = 1;
  std::int64_t n_groups = 1;
  std::int64_t n_parts = 1;
  std::int64_t part_length = 1;

  std::int64_t n_tasks() const { return n_groups * n_parts; }
  std::int64_t group_of(std::int64_t task) const { return task / n_parts; }
  std::int64_t part_of(std::int64_t task) const { return task % n_parts; }
};

work_split split_work(const task_shape& shape, std::int64_t element_size);

// Observations of a group that are worked on while they stay in the second-level cache.
std::int64_t cache_block_length(std::int64_t group_dims, std::int64_t element_size);

// The threading table as a stage uses it. Without a table, or without a `for` entry in it, the work
// runs on the calling thread.
class threading {
 public:
  explicit threading(const ss_threading_entry* table) {
    if (table == nullptr || table[SS_THREADER_FOR] == nullptr) {
      return;
    }
    for_ = reinterpret_cast<orv_ksu_serv_threader_for_fn>(table[SS_THREADER_FOR]);
  }

  // Calls body(index) for every index in [0, count), in parallel. body must not throw.
  template <class Body>
  void for_each(std::int64_t count, Body& body) const {
    if (for_ == nullptr || count == 1) {
      for (std::int64_t i = 0; i < count; ++i) {
        body(i);
      }
      return;
    }
    for_(count, 0, &body,
         [](void* context, std::int64_t index, int) { (*static_cast<Body*>(context))(index); });
  }

 private:
  orv_ksu_serv_threader_for_fn for_ = nullptr;
};

// Reduces every selected dimension to one Result: part(d0, d1, i0, i1, out) reduces observations
// [i0, i1) of dimensions [d0, d1) into out[d - d0], one selected dimension at a time in row-major
// storage; and merge(total, later) folds the parts of a dimension in order. Unselected dimensions
// keep a value-initialised Result.
template <class Result, class Part, class Merge>
std::vector<Result> reduce_parts(const task_shape& shape, std::int64_t element_size,
                                 const threading& threads, Part&& part, Merge&& merge) {
  const work_split split = split_work(shape, element_size);
  const std::int64_t dpg = split.dims_per_group;
  const std::int64_t n_later = split.n_parts - 1;
  // Part 0 of each group writes its dimensions' totals directly; later parts go aside.
  std::vector<Result> totals(static_cast<std::size_t>(shape.n_dims));
  std::vector<Result> later(static_cast<std::size_t>(split.n_groups * n_later * dpg));
  auto later_of = [&](std::int64_t group, std::int64_t p) {
    return &later[static_cast<std::size_t>((group * n_later + p - 1) * dpg)];
  };
  auto reduce_task = [&](std::int64_t task) {
    const std::int64_t group = split.group_of(task), p = split.part_of(task);
    const std::int64_t d0 = group * dpg, d1 = std::min(d0 + dpg, shape.n_dims);
    const std::int64_t i0 = p * split.part_length;
    const std::int64_t i1 = std::min(i0 + split.part_length, shape.n_obs);
    Result* const out = p == 0 ? &totals[static_cast<std::size_t>(d0)] : later_of(group, p);
    if (shape.obs_stride != 1) {
      part(d0, d1, i0, i1, out);
      return;
    }
    for (std::int64_t d = d0; d < d1; ++d) {
      if (shape.selected(d)) {
        part(d, d + 1, i0, i1, out + (d - d0));
      }
    }
  };
  threads.for_each(split.n_tasks(), reduce_task);
  if (n_later > 0) {
    auto merge_group = [&](std::int64_t group) {
      const std::int64_t d0 = group * dpg, d1 = std::min(d0 + dpg, shape.n_dims);
      for (std::int64_t d = d0; d < d1; ++d) {
        if (!shape.selected(d)) {
          continue;
        }
        for (std::int64_t p = 1; p < split.n_parts; ++p) {
          merge(totals[static_cast<std::size_t>(d)], later_of(group, p)[d - d0]);
        }
      }
    };
    // Merges are quick: only many of them are worth sharing among threads.
    constexpr std::int64_t merges_worth_sharing = 1 << 14;
    if (split.n_groups * n_later * dpg >= merges_worth_sharing) {
      threads.for_each(split.n_groups, merge_group);
    } else {
      for (std::int64_t group = 0; group < split.n_groups; ++group) {
        merge_group(group);
      }
    }
  }
  return totals;
}

}  // namespace tessel::estimator
