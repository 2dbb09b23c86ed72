// The offload road's functors: the plain results, and with them the mean and the raw moments
// that came out on the way, so that one pass answers several estimates. USM outputs only.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>

#include "gpu/moment_formulas.hpp"
#include "gpu/moment_functors.hpp"
#include "gpu/out_handle.hpp"

namespace vorlex::orv::stats::detail::gpu::ex {

// What every ex functor stores besides its plain result.
template <typename Handle, typename Helper>
void store_mean_and_raw_moment2(const Helper& helper, std::uint64_t dim, Handle mean,
                                Handle raw_moment2) {
  mean[dim] = terms_of(helper, dim).mean();
  raw_moment2[dim] = helper.s2(dim) / helper.weight_sum();
}

// The central families: a third order stores raw_moment3; a fourth stores raw_moment3 again,
// as the fourth order needs it, and raw_moment4.
template <typename Handle, typename Helper>
void store_raw_moments(const Helper& helper, std::uint64_t dim, std::uint8_t want3,
                       std::uint8_t want4, Handle mean, Handle raw_moment2, Handle raw_moment3,
                       Handle raw_moment4) {
  store_mean_and_raw_moment2(helper, dim, mean, raw_moment2);
  if (want3) {
    raw_moment3[dim] = helper.s3(dim) / helper.weight_sum();
  }
  if (want4) {
    raw_moment3[dim] = helper.s3(dim) / helper.weight_sum();
    raw_moment4[dim] = helper.s4(dim) / helper.weight_sum();
  }
}

template <typename T, typename Handle>
class central_sum_func_fast_base : public gpu::central_sum_func_fast_base<T, Handle> {
  using plain = gpu::central_sum_func_fast_base<T, Handle>;

 public:
  using plain::plain;
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim, Handle mean, Handle raw_moment2,
                  Handle raw_moment3, Handle raw_moment4, Handle sum2, Handle sum3,
                  Handle sum4) const {
    store_raw_moments(helper, dim, this->want3, this->want4, mean, raw_moment2, raw_moment3,
                      raw_moment4);
    plain::operator()(helper, dim, sum2, sum3, sum4);
  }
};

template <typename T, bool Usm>
class central_sum_func_fast : public central_sum_func_fast_base<T, out_t<T, Usm>>,
                              public moment_functor_kind<T, Usm, false> {
  using base = central_sum_func_fast_base<T, out_t<T, Usm>>;

 public:
  central_sum_func_fast(std::uint8_t wanted3, std::uint8_t wanted4, out_t<T, Usm> mean,
                        out_t<T, Usm> raw_moment2, out_t<T, Usm> raw_moment3,
                        out_t<T, Usm> raw_moment4, out_t<T, Usm> sum2, out_t<T, Usm> sum3,
                        out_t<T, Usm> sum4)
      : base(wanted3, wanted4),
        mean_(mean),
        raw_moment2_(raw_moment2),
        raw_moment3_(raw_moment3),
        raw_moment4_(raw_moment4),
        sum2_(sum2),
        sum3_(sum3),
        sum4_(sum4) {}
  kept_sums kept() const { return central_kept(this->want3, this->want4); }
  std::uint64_t channels() const { return channels_up_to(true, this->want3, this->want4); }
  void require(sycl::handler& cgh) const {
    require_all(cgh, mean_, raw_moment2_, raw_moment3_, raw_moment4_, sum2_, sum3_, sum4_);
  }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    base::operator()(helper, dim, mean_, raw_moment2_, raw_moment3_, raw_moment4_, sum2_, sum3_,
                     sum4_);
  }

 private:
  out_t<T, Usm> mean_, raw_moment2_, raw_moment3_, raw_moment4_, sum2_, sum3_, sum4_;
};

template <typename T, typename Handle>
class central_moment_func_fast_base : public gpu::central_moment_func_fast_base<T, Handle> {
  using plain = gpu::central_moment_func_fast_base<T, Handle>;

 public:
  using plain::plain;
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim, Handle mean, Handle raw_moment2,
                  Handle raw_moment3, Handle raw_moment4, Handle moment2, Handle moment3,
                  Handle moment4) const {
    store_raw_moments(helper, dim, this->want3, this->want4, mean, raw_moment2, raw_moment3,
                      raw_moment4);
    plain::operator()(helper, dim, moment2, moment3, moment4);
  }
};

template <typename T, bool Usm>
class central_moment_func_fast : public central_moment_func_fast_base<T, out_t<T, Usm>>,
                                 public moment_functor_kind<T, Usm, false> {
  using base = central_moment_func_fast_base<T, out_t<T, Usm>>;

 public:
  central_moment_func_fast(std::uint8_t wanted3, std::uint8_t wanted4, out_t<T, Usm> mean,
                           out_t<T, Usm> raw_moment2, out_t<T, Usm> raw_moment3,
                           out_t<T, Usm> raw_moment4, out_t<T, Usm> moment2, out_t<T, Usm> moment3,
                           out_t<T, Usm> moment4)
      : base(wanted3, wanted4),
        mean_(mean),
        raw_moment2_(raw_moment2),
        raw_moment3_(raw_moment3),
        raw_moment4_(raw_moment4),
        moment2_(moment2),
        moment3_(moment3),
        moment4_(moment4) {}
  kept_sums kept() const { return central_kept(this->want3, this->want4); }
  std::uint64_t channels() const { return channels_up_to(true, this->want3, this->want4); }
  void require(sycl::handler& cgh) const {
    require_all(cgh, mean_, raw_moment2_, raw_moment3_, raw_moment4_, moment2_, moment3_, moment4_);
  }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    base::operator()(helper, dim, mean_, raw_moment2_, raw_moment3_, raw_moment4_, moment2_,
                     moment3_, moment4_);
  }

 private:
  out_t<T, Usm> mean_, raw_moment2_, raw_moment3_, raw_moment4_, moment2_, moment3_, moment4_;
};

template <typename T, bool Usm>
class variation_func_fast : public moment_functor_kind<T, Usm, false> {
 public:
  variation_func_fast(out_t<T, Usm> mean, out_t<T, Usm> raw_moment2, out_t<T, Usm> variation)
      : mean_(mean), raw_moment2_(raw_moment2), variation_(variation) {}
  kept_sums kept() const { return {1, 0, 0}; }
  std::uint64_t channels() const { return 2; }
  void require(sycl::handler& cgh) const { require_all(cgh, mean_, raw_moment2_, variation_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    store_mean_and_raw_moment2(helper, dim, mean_, raw_moment2_);
    const auto terms = terms_of(helper, dim);
    variation_[dim] = sycl::sqrt(terms.variance()) / terms.mean();
  }

 private:
  out_t<T, Usm> mean_, raw_moment2_, variation_;
};

template <typename T, typename Handle>
class skewness_func_fast_base : public gpu::skewness_func_fast_base<T, Handle> {
  using plain = gpu::skewness_func_fast_base<T, Handle>;

 public:
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim, Handle mean, Handle raw_moment2,
                  Handle raw_moment3, Handle skewness) const {
    store_mean_and_raw_moment2(helper, dim, mean, raw_moment2);
    raw_moment3[dim] = helper.s3(dim) / helper.weight_sum();
    plain::operator()(helper, dim, skewness);
  }
};

template <typename T, bool Usm>
class skewness_func_fast : public skewness_func_fast_base<T, out_t<T, Usm>>,
                           public moment_functor_kind<T, Usm, false> {
  using base = skewness_func_fast_base<T, out_t<T, Usm>>;

 public:
  skewness_func_fast(out_t<T, Usm> mean, out_t<T, Usm> raw_moment2, out_t<T, Usm> raw_moment3,
                     out_t<T, Usm> skewness)
      : mean_(mean), raw_moment2_(raw_moment2), raw_moment3_(raw_moment3), skewness_(skewness) {}
  kept_sums kept() const { return {1, 1, 0}; }
  std::uint64_t channels() const { return 3; }
  void require(sycl::handler& cgh) const {
    require_all(cgh, mean_, raw_moment2_, raw_moment3_, skewness_);
  }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    base::operator()(helper, dim, mean_, raw_moment2_, raw_moment3_, skewness_);
  }

 private:
  out_t<T, Usm> mean_, raw_moment2_, raw_moment3_, skewness_;
};

template <typename T, typename Handle>
class kurtosis_func_fast_base : public gpu::kurtosis_func_fast_base<T, Handle> {
  using plain = gpu::kurtosis_func_fast_base<T, Handle>;

 public:
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim, Handle mean, Handle raw_moment2,
                  Handle raw_moment3, Handle raw_moment4, Handle kurtosis) const {
    store_mean_and_raw_moment2(helper, dim, mean, raw_moment2);
    raw_moment3[dim] = helper.s3(dim) / helper.weight_sum();
    raw_moment4[dim] = helper.s4(dim) / helper.weight_sum();
    plain::operator()(helper, dim, kurtosis);
  }
};

template <typename T, bool Usm>
class kurtosis_func_fast : public kurtosis_func_fast_base<T, out_t<T, Usm>>,
                           public moment_functor_kind<T, Usm, false> {
  using base = kurtosis_func_fast_base<T, out_t<T, Usm>>;

 public:
  kurtosis_func_fast(out_t<T, Usm> mean, out_t<T, Usm> raw_moment2, out_t<T, Usm> raw_moment3,
                     out_t<T, Usm> raw_moment4, out_t<T, Usm> kurtosis)
      : mean_(mean),
        raw_moment2_(raw_moment2),
        raw_moment3_(raw_moment3),
        raw_moment4_(raw_moment4),
        kurtosis_(kurtosis) {}
  kept_sums kept() const { return {1, 1, 1}; }
  std::uint64_t channels() const { return 4; }
  void require(sycl::handler& cgh) const {
    require_all(cgh, mean_, raw_moment2_, raw_moment3_, raw_moment4_, kurtosis_);
  }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    base::operator()(helper, dim, mean_, raw_moment2_, raw_moment3_, raw_moment4_, kurtosis_);
  }

 private:
  out_t<T, Usm> mean_, raw_moment2_, raw_moment3_, raw_moment4_, kurtosis_;
};

}  // namespace vorlex::orv::stats::detail::gpu::ex
