// max: the largest observation, never below the smallest positive normal value.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct max_statistic {
  static constexpr const char* name = "max";
  static constexpr output_rule outputs = output_rule::each_required;
  static constexpr absent_texts absent[] = {{"max is nullptr", "max array length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::extremes;
  using cpu_frame = cpu::max_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::max_func<T, Usm>;
};

}  // namespace vorlex::orv::stats::detail
