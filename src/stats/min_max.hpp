// min_max: min and max in one pass; both outputs are required.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct min_max_statistic {
  static constexpr const char* name = "min_max";
  static constexpr output_rule outputs = output_rule::each_required;
  static constexpr absent_texts absent[] = {{"min is nullptr", "min array length is 0"},
                                            {"max is nullptr", "max array length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::extremes;
  using cpu_frame = cpu::min_max_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::min_max_func<T, Usm>;
};

}  // namespace vorlex::orv::stats::detail
