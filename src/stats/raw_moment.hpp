// raw_moment: the mean and the raw moments of order 2 to 4.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct raw_moment_statistic {
  static constexpr const char* name = "raw_moment";
  static constexpr output_rule outputs = output_rule::later_optional;
  static constexpr absent_texts absent[] = {
      {"all moments are nullptr", "all moments arrays length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::moments;
  using cpu_frame = cpu::raw_moment_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::raw_moment_func<T, Usm>;
};

}  // namespace vorlex::orv::stats::detail
