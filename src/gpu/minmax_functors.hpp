// The functors of min, max and min_max: they only name the result arrays; the kernels of
// minmax_kernels.hpp do the work. Each says which halves of the algorithm it has.
#pragma once

#include <sycl/sycl.hpp>

#include <array>
#include <cstdint>
#include <limits>

#include "gpu/out_handle.hpp"

namespace vorlex::orv::stats::detail::gpu {

// Identities of the two halves, and the floors of every result. IDENT_MAX is the smallest positive
// normal value, not the most negative one: a maximum never falls below it, so a dimension of values
// <= 0 reports it as its maximum. That is the engine's rule.
template <typename T>
inline constexpr T IDENT_MIN = std::numeric_limits<T>::max();
template <typename T>
inline constexpr T IDENT_MAX = std::numeric_limits<T>::min();

template <typename T, bool Usm, bool HasMin, bool HasMax>
struct extremes_functor_kind {
  using value_type = T;
  static constexpr bool usm = Usm;
  static constexpr bool has_min = HasMin;
  static constexpr bool has_max = HasMax;
};

// The result arrays of min (HasMin), max (HasMax) or both, in that order.
template <typename T, bool Usm, bool HasMin, bool HasMax>
class extremes_func : public extremes_functor_kind<T, Usm, HasMin, HasMax> {
 public:
  static constexpr const char* name = HasMin ? (HasMax ? "min_max" : "min") : "max";
  template <typename... Outputs>
  explicit extremes_func(Outputs... outputs) : outputs_{outputs...} {}
  void require(sycl::handler& cgh) const {
    for (const auto& output : outputs_) {
      require_all(cgh, output);
    }
  }
  void store_min(std::uint64_t dim, T value) const { outputs_[0][dim] = value; }
  void store_max(std::uint64_t dim, T value) const { outputs_[HasMin ? 1 : 0][dim] = value; }

 private:
  std::array<pointer_or_accessor<T, Usm>, HasMin + HasMax> outputs_;
};

template <typename T, bool Usm>
using min_func = extremes_func<T, Usm, true, false>;
template <typename T, bool Usm>
using max_func = extremes_func<T, Usm, false, true>;
template <typename T, bool Usm>
using min_max_func = extremes_func<T, Usm, true, true>;

}  // namespace vorlex::orv::stats::detail::gpu
