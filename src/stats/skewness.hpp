// skewness: the third central moment over the variance to the power 3/2.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/row.hpp"

namespace vorlex::orv::stats::detail {

struct skewness_row {
  static constexpr const char* name = "skewness";
  static constexpr output_rule outputs = output_rule::each_required;
  static constexpr absent_texts absent[] = {{"skewness is nullptr", "skewness array length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::moments;
  using cpu_frame = cpu::skewness_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::skewness_func_fast<T, Usm>;
  template <typename T, bool Usm>
  using gpu_functor_user_mean = gpu::skewness_func_user_mean<T, Usm>;
};

}  // namespace vorlex::orv::stats::detail
