// The functors of sums taken around the caller's mean: the sums are central already, so these
// only scale. Their reduction keeps S2 in slot 0; has_s2 of kept() is not used.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>

#include "gpu/moment_formulas.hpp"
#include "gpu/moment_functors.hpp"
#include "gpu/out_handle.hpp"

namespace vorlex::orv::stats::detail::gpu {

template <typename Helper>
auto variance_around_mean(const Helper& helper, std::uint64_t dim) {
  using T = decltype(helper.s2(dim));
  return central_terms<T>::corrected_variance(helper.s2(dim), helper.weight_sum(),
                                              helper.weight_square_sum());
}

template <typename T, bool Usm>
class central_sum_func_user_mean : public moment_functor_kind<T, Usm, true> {
 public:
  central_sum_func_user_mean(std::uint8_t wanted3, std::uint8_t wanted4, out_t<T, Usm> sum2,
                             out_t<T, Usm> sum3, out_t<T, Usm> sum4)
      : want3_(wanted3), want4_(wanted4), sum2_(sum2), sum3_(sum3), sum4_(sum4) {}
  kept_sums kept() const { return {0, want3_, want4_}; }
  std::uint64_t channels() const { return channels_up_to(true, want3_, want4_) - 1; }
  void require(sycl::handler& cgh) const { require_all(cgh, sum2_, sum3_, sum4_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    sum2_[dim] = helper.s2(dim);
    if (want3_) {
      sum3_[dim] = helper.s3(dim);
    }
    if (want4_) {
      sum4_[dim] = helper.s4(dim);
    }
  }

 private:
  std::uint8_t want3_, want4_;
  out_t<T, Usm> sum2_, sum3_, sum4_;
};

template <typename T, bool Usm>
class central_moment_func_user_mean : public moment_functor_kind<T, Usm, true> {
 public:
  central_moment_func_user_mean(std::uint8_t wanted3, std::uint8_t wanted4, out_t<T, Usm> moment2,
                                out_t<T, Usm> moment3, out_t<T, Usm> moment4)
      : want3_(wanted3), want4_(wanted4), moment2_(moment2), moment3_(moment3), moment4_(moment4) {}
  kept_sums kept() const { return {0, want3_, want4_}; }
  std::uint64_t channels() const { return channels_up_to(true, want3_, want4_) - 1; }
  void require(sycl::handler& cgh) const { require_all(cgh, moment2_, moment3_, moment4_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    const T w = helper.weight_sum();
    moment2_[dim] = variance_around_mean(helper, dim);
    if (want3_) {
      moment3_[dim] = helper.s3(dim) / w;
    }
    if (want4_) {
      moment4_[dim] = helper.s4(dim) / w;
    }
  }

 private:
  std::uint8_t want3_, want4_;
  out_t<T, Usm> moment2_, moment3_, moment4_;
};

template <typename T, bool Usm>
class variation_func_user_mean : public moment_functor_kind<T, Usm, true> {
 public:
  explicit variation_func_user_mean(out_t<T, Usm> variation) : variation_(variation) {}
  kept_sums kept() const { return {0, 0, 0}; }
  std::uint64_t channels() const { return 1; }
  void require(sycl::handler& cgh) const { require_all(cgh, variation_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    variation_[dim] = sycl::sqrt(variance_around_mean(helper, dim)) / helper.mean(dim);
  }

 private:
  out_t<T, Usm> variation_;
};

template <typename T, bool Usm>
class skewness_func_user_mean : public moment_functor_kind<T, Usm, true> {
 public:
  explicit skewness_func_user_mean(out_t<T, Usm> skewness) : skewness_(skewness) {}
  kept_sums kept() const { return {0, 1, 0}; }
  std::uint64_t channels() const { return 2; }
  void require(sycl::handler& cgh) const { require_all(cgh, skewness_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    skewness_[dim] =
        skewness_of(helper.s3(dim) / helper.weight_sum(), variance_around_mean(helper, dim));
  }

 private:
  out_t<T, Usm> skewness_;
};

// Keeps no third-order sum: around a given mean the fourth central order needs none, so S4
// takes slot 1 while the channels still count three orders.
template <typename T, bool Usm>
class kurtosis_func_user_mean : public moment_functor_kind<T, Usm, true> {
 public:
  explicit kurtosis_func_user_mean(out_t<T, Usm> kurtosis) : kurtosis_(kurtosis) {}
  kept_sums kept() const { return {0, 0, 1}; }
  std::uint64_t channels() const { return 3; }
  void require(sycl::handler& cgh) const { require_all(cgh, kurtosis_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    kurtosis_[dim] =
        kurtosis_of(helper.s4(dim) / helper.weight_sum(), variance_around_mean(helper, dim));
  }

 private:
  out_t<T, Usm> kurtosis_;
};

}  // namespace vorlex::orv::stats::detail::gpu
