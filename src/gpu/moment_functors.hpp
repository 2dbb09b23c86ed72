// The functors that finish a moment statistic from raw power sums. A functor holds its output
// handles and wanted-flags, tells the plan what the reduction must keep (kept, channels), binds
// its accessors (require), and on the device stores the statistic of one dimension.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>

#include "gpu/moment_formulas.hpp"
#include "gpu/out_handle.hpp"

namespace vorlex::orv::stats::detail::gpu {

// Which sums a reduction keeps beyond its first one. The user mean forms have no has_s2 (their
// first sum is the second order), so they leave it 0.
struct kept_sums {
  std::uint8_t has_s2;
  std::uint8_t has_s3;
  std::uint8_t has_s4;
};

// Channels count orders, the highest kept one deciding, not the sums kept.
constexpr std::uint64_t channels_up_to(bool order2, bool order3, bool order4) {
  return order4 ? 4 : order3 ? 3 : order2 ? 2 : 1;
}

template <typename Helper>
auto terms_of(const Helper& helper, std::uint64_t dim) {
  return central_terms(helper.s1(dim), helper.s2(dim), helper.s3(dim), helper.s4(dim),
                       helper.weight_sum(), helper.weight_square_sum());
}

template <typename T, bool Usm, bool UserMean>
struct moment_functor_kind {
  using value_type = T;
  static constexpr bool usm = Usm;
  static constexpr bool user_mean = UserMean;
};

template <typename T, bool Usm>
class mean_func : public moment_functor_kind<T, Usm, false> {
 public:
  explicit mean_func(out_t<T, Usm> mean) : mean_(mean) {}
  kept_sums kept() const { return {0, 0, 0}; }
  std::uint64_t channels() const { return 1; }
  void require(sycl::handler& cgh) const { require_all(cgh, mean_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    mean_[dim] = helper.s1(dim) / helper.weight_sum();
  }

 private:
  out_t<T, Usm> mean_;
};

template <typename T, bool Usm>
class raw_sum_func_fast : public moment_functor_kind<T, Usm, false> {
 public:
  raw_sum_func_fast(std::uint8_t wanted2, std::uint8_t wanted3, std::uint8_t wanted4,
                    out_t<T, Usm> sum, out_t<T, Usm> sum2, out_t<T, Usm> sum3, out_t<T, Usm> sum4)
      : want2_(wanted2),
        want3_(wanted3),
        want4_(wanted4),
        sum_(sum),
        sum2_(sum2),
        sum3_(sum3),
        sum4_(sum4) {}
  kept_sums kept() const { return {want2_, want3_, want4_}; }
  std::uint64_t channels() const { return channels_up_to(want2_, want3_, want4_); }
  void require(sycl::handler& cgh) const { require_all(cgh, sum_, sum2_, sum3_, sum4_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    sum_[dim] = helper.s1(dim);
    if (want2_) {
      sum2_[dim] = helper.s2(dim);
    }
    if (want3_) {
      sum3_[dim] = helper.s3(dim);
    }
    if (want4_) {
      sum4_[dim] = helper.s4(dim);
    }
  }

 private:
  std::uint8_t want2_, want3_, want4_;
  out_t<T, Usm> sum_, sum2_, sum3_, sum4_;
};

template <typename T, typename Handle>
class raw_moment_func_fast_base {
 public:
  raw_moment_func_fast_base(std::uint8_t wanted2, std::uint8_t wanted3, std::uint8_t wanted4)
      : want2(wanted2), want3(wanted3), want4(wanted4) {}
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim, Handle mean, Handle raw_moment2,
                  Handle raw_moment3, Handle raw_moment4) const {
    const T w = helper.weight_sum();
    mean[dim] = helper.s1(dim) / w;
    if (want2) {
      raw_moment2[dim] = helper.s2(dim) / w;
    }
    if (want3) {
      raw_moment3[dim] = helper.s3(dim) / w;
    }
    if (want4) {
      raw_moment4[dim] = helper.s4(dim) / w;
    }
  }

  std::uint8_t want2, want3, want4;
};

template <typename T, bool Usm>
class raw_moment_func_fast : public raw_moment_func_fast_base<T, out_t<T, Usm>>,
                             public moment_functor_kind<T, Usm, false> {
  using base = raw_moment_func_fast_base<T, out_t<T, Usm>>;

 public:
  raw_moment_func_fast(std::uint8_t wanted2, std::uint8_t wanted3, std::uint8_t wanted4,
                       out_t<T, Usm> mean, out_t<T, Usm> raw_moment2, out_t<T, Usm> raw_moment3,
                       out_t<T, Usm> raw_moment4)
      : base(wanted2, wanted3, wanted4),
        mean_(mean),
        raw_moment2_(raw_moment2),
        raw_moment3_(raw_moment3),
        raw_moment4_(raw_moment4) {}
  kept_sums kept() const { return {this->want2, this->want3, this->want4}; }
  std::uint64_t channels() const { return channels_up_to(this->want2, this->want3, this->want4); }
  void require(sycl::handler& cgh) const {
    require_all(cgh, mean_, raw_moment2_, raw_moment3_, raw_moment4_);
  }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    base::operator()(helper, dim, mean_, raw_moment2_, raw_moment3_, raw_moment4_);
  }

 private:
  out_t<T, Usm> mean_, raw_moment2_, raw_moment3_, raw_moment4_;
};

// The central families keep S2 always, S3 for either higher order (the fourth central order
// expands through it), S4 for the fourth.
constexpr kept_sums central_kept(std::uint8_t want3, std::uint8_t want4) {
  return {1, static_cast<std::uint8_t>(want3 || want4), static_cast<std::uint8_t>(want4 != 0)};
}

template <typename T, typename Handle>
class central_sum_func_fast_base {
 public:
  central_sum_func_fast_base(std::uint8_t wanted3, std::uint8_t wanted4)
      : want3(wanted3), want4(wanted4) {}
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim, Handle sum2, Handle sum3,
                  Handle sum4) const {
    const auto terms = terms_of(helper, dim);
    sum2[dim] = terms.c2();
    if (want3) {
      sum3[dim] = terms.c3();
    }
    if (want4) {
      sum4[dim] = terms.c4();
    }
  }

  std::uint8_t want3, want4;
};

template <typename T, bool Usm>
class central_sum_func_fast : public central_sum_func_fast_base<T, out_t<T, Usm>>,
                              public moment_functor_kind<T, Usm, false> {
  using base = central_sum_func_fast_base<T, out_t<T, Usm>>;

 public:
  central_sum_func_fast(std::uint8_t wanted3, std::uint8_t wanted4, out_t<T, Usm> sum2,
                        out_t<T, Usm> sum3, out_t<T, Usm> sum4)
      : base(wanted3, wanted4), sum2_(sum2), sum3_(sum3), sum4_(sum4) {}
  kept_sums kept() const { return central_kept(this->want3, this->want4); }
  std::uint64_t channels() const { return channels_up_to(true, this->want3, this->want4); }
  void require(sycl::handler& cgh) const { require_all(cgh, sum2_, sum3_, sum4_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    base::operator()(helper, dim, sum2_, sum3_, sum4_);
  }

 private:
  out_t<T, Usm> sum2_, sum3_, sum4_;
};

template <typename T, typename Handle>
class central_moment_func_fast_base {
 public:
  central_moment_func_fast_base(std::uint8_t wanted3, std::uint8_t wanted4)
      : want3(wanted3), want4(wanted4) {}
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim, Handle moment2, Handle moment3,
                  Handle moment4) const {
    const auto terms = terms_of(helper, dim);
    const T w = helper.weight_sum();
    moment2[dim] = terms.variance();
    if (want3) {
      moment3[dim] = terms.c3() / w;
    }
    if (want4) {
      moment4[dim] = terms.c4() / w;
    }
  }

  std::uint8_t want3, want4;
};

template <typename T, bool Usm>
class central_moment_func_fast : public central_moment_func_fast_base<T, out_t<T, Usm>>,
                                 public moment_functor_kind<T, Usm, false> {
  using base = central_moment_func_fast_base<T, out_t<T, Usm>>;

 public:
  central_moment_func_fast(std::uint8_t wanted3, std::uint8_t wanted4, out_t<T, Usm> moment2,
                           out_t<T, Usm> moment3, out_t<T, Usm> moment4)
      : base(wanted3, wanted4), moment2_(moment2), moment3_(moment3), moment4_(moment4) {}
  kept_sums kept() const { return central_kept(this->want3, this->want4); }
  std::uint64_t channels() const { return channels_up_to(true, this->want3, this->want4); }
  void require(sycl::handler& cgh) const { require_all(cgh, moment2_, moment3_, moment4_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    base::operator()(helper, dim, moment2_, moment3_, moment4_);
  }

 private:
  out_t<T, Usm> moment2_, moment3_, moment4_;
};

template <typename T, bool Usm>
class variation_func_fast : public moment_functor_kind<T, Usm, false> {
 public:
  explicit variation_func_fast(out_t<T, Usm> variation) : variation_(variation) {}
  kept_sums kept() const { return {1, 0, 0}; }
  std::uint64_t channels() const { return 2; }
  void require(sycl::handler& cgh) const { require_all(cgh, variation_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    const auto terms = terms_of(helper, dim);
    variation_[dim] = sycl::sqrt(terms.variance()) / terms.mean();
  }

 private:
  out_t<T, Usm> variation_;
};

template <typename T, typename Handle>
class skewness_func_fast_base {
 public:
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim, Handle skewness) const {
    const auto terms = terms_of(helper, dim);
    skewness[dim] = skewness_of(terms.c3() / helper.weight_sum(), terms.variance());
  }
};

template <typename T, bool Usm>
class skewness_func_fast : public skewness_func_fast_base<T, out_t<T, Usm>>,
                           public moment_functor_kind<T, Usm, false> {
  using base = skewness_func_fast_base<T, out_t<T, Usm>>;

 public:
  explicit skewness_func_fast(out_t<T, Usm> skewness) : skewness_(skewness) {}
  kept_sums kept() const { return {1, 1, 0}; }
  std::uint64_t channels() const { return 3; }
  void require(sycl::handler& cgh) const { require_all(cgh, skewness_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    base::operator()(helper, dim, skewness_);
  }

 private:
  out_t<T, Usm> skewness_;
};

template <typename T, typename Handle>
class kurtosis_func_fast_base {
 public:
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim, Handle kurtosis) const {
    const auto terms = terms_of(helper, dim);
    kurtosis[dim] = kurtosis_of(terms.c4() / helper.weight_sum(), terms.variance());
  }
};

template <typename T, bool Usm>
class kurtosis_func_fast : public kurtosis_func_fast_base<T, out_t<T, Usm>>,
                           public moment_functor_kind<T, Usm, false> {
  using base = kurtosis_func_fast_base<T, out_t<T, Usm>>;

 public:
  explicit kurtosis_func_fast(out_t<T, Usm> kurtosis) : kurtosis_(kurtosis) {}
  kept_sums kept() const { return {1, 1, 1}; }
  std::uint64_t channels() const { return 4; }
  void require(sycl::handler& cgh) const { require_all(cgh, kurtosis_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    base::operator()(helper, dim, kurtosis_);
  }

 private:
  out_t<T, Usm> kurtosis_;
};

}  // namespace vorlex::orv::stats::detail::gpu
