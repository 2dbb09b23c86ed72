// central_moment: the variance and the central moments of order 3 and 4. Method 2 is the
// estimator's alone.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct central_moment_statistic {
  static constexpr const char* name = "central_moment";
  static constexpr output_rule outputs = output_rule::later_optional;
  static constexpr absent_texts absent[] = {
      {"all moments are nullptr", "all moments arrays length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::moments;
  using cpu_frame = cpu::central_moment_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::central_moment_func<T, Usm, false>;
  template <typename T, bool Usm>
  using gpu_functor_user_mean = gpu::central_moment_func<T, Usm, true>;
};

}  // namespace vorlex::orv::stats::detail
