// min: the smallest observation, never above the largest finite value.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct min_statistic {
  static constexpr const char* name = "min";
  static constexpr output_rule outputs = output_rule::each_required;
  static constexpr absent_texts absent[] = {{"min is nullptr", "min array length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::extremes;
  using cpu_frame = cpu::min_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::min_func<T, Usm>;
};

}  // namespace vorlex::orv::stats::detail
