// central_sum: central power sums of order 2 to 4. Method 2 is the estimator's alone.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct central_sum_statistic {
  static constexpr const char* name = "central_sum";
  static constexpr output_rule outputs = output_rule::later_optional;
  static constexpr absent_texts absent[] = {
      {"all sums are nullptr", "all sums arrays length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::moments;
  using cpu_frame = cpu::central_sum_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::central_sum_func<T, Usm, false>;
  template <typename T, bool Usm>
  using gpu_functor_user_mean = gpu::central_sum_func<T, Usm, true>;
};

}  // namespace vorlex::orv::stats::detail
