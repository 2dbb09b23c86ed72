// mean: the weighted mean.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct mean_statistic {
  static constexpr const char* name = "mean";
  static constexpr output_rule outputs = output_rule::each_required;
  static constexpr absent_texts absent[] = {{"mean is nullptr", "mean array length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::moments;
  using cpu_frame = cpu::mean_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::mean_func<T, Usm>;
};

}  // namespace vorlex::orv::stats::detail
