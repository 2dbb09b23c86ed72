// The argument checks of an entry: outputs by the statistic's rule, then the caller's mean. They
// look at nothing but a pointer against null or whether a buffer holds elements.
#pragma once

#include <sycl/sycl.hpp>

#include <array>
#include <cstddef>
#include <iterator>
#include <type_traits>
#include <vorlex/orv/stats.hpp>

#include "common/has_elements.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

enum class form { usm, buffer };

inline const char* text_of(const absent_texts& texts, form f) {
  return f == form::usm ? texts.usm : texts.buffer;
}

template <typename Statistic, std::size_t N>
void check_outputs(form f, const std::array<bool, N>& given) {
  if constexpr (Statistic::outputs == output_rule::later_optional) {
    static_assert(std::size(Statistic::absent) == 1);
    for (const bool output_given : given) {
      if (output_given) {
        return;
      }
    }
    throw invalid_argument("stats", Statistic::name, text_of(Statistic::absent[0], f));
  } else {
    static_assert(std::size(Statistic::absent) == N);
    for (std::size_t i = 0; i < N; ++i) {
      if (!given[i]) {
        throw invalid_argument("stats", Statistic::name, text_of(Statistic::absent[i], f));
      }
    }
  }
}

template <typename Statistic, typename Mean>
void check_mean(form f, const Mean& mean) {
  if constexpr (!std::is_same_v<Mean, no_mean>) {
    if (!is_given(mean)) {
      throw invalid_argument("stats", Statistic::name, text_of(mean_absent, f));
    }
  }
}

}  // namespace vorlex::orv::stats::detail
