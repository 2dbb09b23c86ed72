// kurtosis: the excess kurtosis.
#pragma once

#include "stats/entry_frame.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

struct kurtosis_statistic {
  static constexpr const char* name = "kurtosis";
  static constexpr output_rule outputs = output_rule::each_required;
  static constexpr absent_texts absent[] = {{"kurtosis is nullptr", "kurtosis array length is 0"}};
  static constexpr gpu_engine engine = gpu_engine::moments;
  using cpu_frame = cpu::kurtosis_frame;
  template <typename T, bool Usm>
  using gpu_functor = gpu::kurtosis_func<T, Usm, false>;
  template <typename T, bool Usm>
  using gpu_functor_user_mean = gpu::kurtosis_func<T, Usm, true>;
};

}  // namespace vorlex::orv::stats::detail
