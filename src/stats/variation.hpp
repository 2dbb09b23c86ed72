// variation: the coefficient of variation.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct variation_statistic {
  static constexpr const char* name = "variation";
  static constexpr output_rule outputs = output_rule::each_required;
  static constexpr absent_texts absent[] = {
      {"variation is nullptr", "variation array length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::moments;
  using cpu_frame = cpu::variation_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::variation_func<T, Usm, false>;
  template <typename T, bool Usm>
  using gpu_functor_user_mean = gpu::variation_func<T, Usm, true>;
};

}  // namespace vorlex::orv::stats::detail
