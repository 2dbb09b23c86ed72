// raw_sum: weighted raw power sums of order 1 to 4.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct raw_sum_statistic {
  static constexpr const char* name = "raw_sum";
  static constexpr output_rule outputs = output_rule::later_optional;
  static constexpr absent_texts absent[] = {
      {"all sums are nullptr", "all sums arrays length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::moments;
  using cpu_frame = cpu::raw_sum_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::raw_sum_func<T, Usm>;
};

}  // namespace vorlex::orv::stats::detail
