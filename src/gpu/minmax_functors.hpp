// The functors of min, max and min_max: they only name the result arrays; the kernels of
// minmax_kernels.hpp do the work. Each says which halves of the algorithm it has.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <limits>

#include "gpu/out_handle.hpp"

namespace vorlex::orv::stats::detail::gpu {

// Identities of the two halves, and the floors of every result. IDENT_MAX is the smallest
// positive normal value, not the most negative one: a maximum never falls below it, so a
// dimension of values <= 0 reports it as its maximum. That is the engine's rule.
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

template <typename T, bool Usm>
class min_func_fast : public extremes_functor_kind<T, Usm, true, false> {
 public:
  static constexpr const char* name = "min";
  explicit min_func_fast(out_t<T, Usm> min) : min_(min) {}
  void require(sycl::handler& cgh) const { require_all(cgh, min_); }
  void store_min(std::uint64_t dim, T value) const { min_[dim] = value; }

 private:
  out_t<T, Usm> min_;
};

template <typename T, bool Usm>
class max_func_fast : public extremes_functor_kind<T, Usm, false, true> {
 public:
  static constexpr const char* name = "max";
  explicit max_func_fast(out_t<T, Usm> max) : max_(max) {}
  void require(sycl::handler& cgh) const { require_all(cgh, max_); }
  void store_max(std::uint64_t dim, T value) const { max_[dim] = value; }

 private:
  out_t<T, Usm> max_;
};

template <typename T, bool Usm>
class min_max_func_fast : public extremes_functor_kind<T, Usm, true, true> {
 public:
  static constexpr const char* name = "min_max";
  min_max_func_fast(out_t<T, Usm> min, out_t<T, Usm> max) : min_(min), max_(max) {}
  void require(sycl::handler& cgh) const { require_all(cgh, min_, max_); }
  void store_min(std::uint64_t dim, T value) const { min_[dim] = value; }
  void store_max(std::uint64_t dim, T value) const { max_[dim] = value; }

 private:
  out_t<T, Usm> min_;
  out_t<T, Usm> max_;
};

}  // namespace vorlex::orv::stats::detail::gpu
