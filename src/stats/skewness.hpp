// skewness: the third central moment over the variance to the power 3/2.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct skewness_statistic {
  static constexpr const char* name = "skewness";
  static constexpr output_rule outputs = output_rule::each_required;
  static constexpr absent_texts absent[] = {{"skewness is nullptr", "skewness array length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::moments;
  using cpu_frame = cpu::skewness_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::skewness_func<T, Usm, false>;
  template <typename T, bool Usm>
  using gpu_functor_user_mean = gpu::skewness_func<T, Usm, true>;
};

}  // namespace vorlex::orv::stats::detail
