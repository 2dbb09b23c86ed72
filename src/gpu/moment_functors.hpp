// The functors that finish a moment statistic from the reduced sums. A functor holds its output
// handles and wanted-flags, tells the plan what the reduction must keep (kept, channels), binds its
// accessors (require), and on the device stores the statistic of one dimension.
//
// Each central statistic has two forms: from raw power sums (UserMean false), and around the
// caller's mean (UserMean true), where the reduction sums central powers already, so the functor
// only scales them.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <utility>

#include "gpu/moment_formulas.hpp"
#include "gpu/out_handle.hpp"

namespace vorlex::orv::stats::detail::gpu {

// Which sums a reduction keeps beyond its first one. Around the caller's mean the first sum is the
// second order, so has_s2 stays 0 there.
struct kept_sums {
  std::uint8_t has_s2;
  std::uint8_t has_s3;
  std::uint8_t has_s4;
};

// Channels count orders, the highest kept one deciding, not the sums kept.
constexpr std::uint64_t channels_up_to(bool order2, bool order3, bool order4) {
  return order4 ? 4 : order3 ? 3 : order2 ? 2 : 1;
}

// A central statistic needs the second order and, as asked, the third and fourth. From raw sums the
// fourth order expands through S3; around the caller's mean S2 takes slot 0 and the fourth needs no
// third, while the channels still count every order up to the highest one but the first.
template <bool UserMean>
constexpr kept_sums central_kept(bool order3, bool order4) {
  if constexpr (UserMean) {
    return {0, static_cast<std::uint8_t>(order3), static_cast<std::uint8_t>(order4)};
  } else {
    return {1, static_cast<std::uint8_t>(order3 || order4), static_cast<std::uint8_t>(order4)};
  }
}

template <bool UserMean>
constexpr std::uint64_t central_channels(bool order3, bool order4) {
  return channels_up_to(true, order3, order4) - (UserMean ? 1 : 0);
}

template <typename Helper>
auto terms_of(const Helper& helper, std::uint64_t dim) {
  return central_terms(helper.s1(dim), helper.s2(dim), helper.s3(dim), helper.s4(dim),
                       helper.weight_sum(), helper.weight_square_sum());
}

// The central quantities around the caller's mean, read from the sums when asked for.
template <typename Helper>
class around_given_mean {
 public:
  using value_type = decltype(std::declval<const Helper&>().s2(0));
  around_given_mean(const Helper& helper, std::uint64_t dim) : helper_(helper), dim_(dim) {}
  value_type mean() const { return helper_.mean(dim_); }
  value_type c2() const { return helper_.s2(dim_); }
  value_type c3() const { return helper_.s3(dim_); }
  value_type c4() const { return helper_.s4(dim_); }
  value_type variance() const {
    return central_terms<value_type>::corrected_variance(helper_.s2(dim_), helper_.weight_sum(),
                                                         helper_.weight_square_sum());
  }

 private:
  const Helper& helper_;
  std::uint64_t dim_;
};

template <bool UserMean, typename Helper>
auto central_of(const Helper& helper, std::uint64_t dim) {
  if constexpr (UserMean) {
    return around_given_mean<Helper>(helper, dim);
  } else {
    return terms_of(helper, dim);
  }
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
  explicit mean_func(pointer_or_accessor<T, Usm> mean) : mean_(mean) {}
  kept_sums kept() const { return {0, 0, 0}; }
  std::uint64_t channels() const { return 1; }
  void require(sycl::handler& cgh) const { require_all(cgh, mean_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    mean_[dim] = helper.s1(dim) / helper.weight_sum();
  }

 private:
  pointer_or_accessor<T, Usm> mean_;
};

// The raw families store S1 to S4 as they are (sums) or over W (moments).
struct raw_sums {
  template <typename T>
  static T of(T sum, T /*w*/) {
    return sum;
  }
};

struct raw_moments {
  template <typename T>
  static T of(T sum, T w) {
    return sum / w;
  }
};

template <typename T, bool Usm, typename Scale>
class raw_func : public moment_functor_kind<T, Usm, false> {
 public:
  raw_func(std::uint8_t wanted2, std::uint8_t wanted3, std::uint8_t wanted4,
           pointer_or_accessor<T, Usm> first, pointer_or_accessor<T, Usm> second,
           pointer_or_accessor<T, Usm> third, pointer_or_accessor<T, Usm> fourth)
      : want2_(wanted2),
        want3_(wanted3),
        want4_(wanted4),
        first_(first),
        second_(second),
        third_(third),
        fourth_(fourth) {}
  kept_sums kept() const { return {want2_, want3_, want4_}; }
  std::uint64_t channels() const { return channels_up_to(want2_, want3_, want4_); }
  void require(sycl::handler& cgh) const { require_all(cgh, first_, second_, third_, fourth_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    const T w = helper.weight_sum();
    first_[dim] = Scale::of(helper.s1(dim), w);
    if (want2_) {
      second_[dim] = Scale::of(helper.s2(dim), w);
    }
    if (want3_) {
      third_[dim] = Scale::of(helper.s3(dim), w);
    }
    if (want4_) {
      fourth_[dim] = Scale::of(helper.s4(dim), w);
    }
  }

 private:
  std::uint8_t want2_, want3_, want4_;
  pointer_or_accessor<T, Usm> first_, second_, third_, fourth_;
};

template <typename T, bool Usm>
using raw_sum_func = raw_func<T, Usm, raw_sums>;
template <typename T, bool Usm>
using raw_moment_func = raw_func<T, Usm, raw_moments>;

// The central families: orders 2 to 4 as sums of powers of deviations, or as moments (the second
// one the corrected variance, the others over W).
struct central_sums {
  template <typename Terms, typename T>
  static T second(const Terms& terms, T /*w*/) {
    return terms.c2();
  }
  template <typename Terms, typename T>
  static T third(const Terms& terms, T /*w*/) {
    return terms.c3();
  }
  template <typename Terms, typename T>
  static T fourth(const Terms& terms, T /*w*/) {
    return terms.c4();
  }
};

struct central_moments {
  template <typename Terms, typename T>
  static T second(const Terms& terms, T /*w*/) {
    return terms.variance();
  }
  template <typename Terms, typename T>
  static T third(const Terms& terms, T w) {
    return terms.c3() / w;
  }
  template <typename Terms, typename T>
  static T fourth(const Terms& terms, T w) {
    return terms.c4() / w;
  }
};

template <typename T, bool Usm, bool UserMean, typename Family>
class central_func : public moment_functor_kind<T, Usm, UserMean> {
 public:
  central_func(std::uint8_t wanted3, std::uint8_t wanted4, pointer_or_accessor<T, Usm> second,
               pointer_or_accessor<T, Usm> third, pointer_or_accessor<T, Usm> fourth)
      : want3_(wanted3), want4_(wanted4), second_(second), third_(third), fourth_(fourth) {}
  kept_sums kept() const { return central_kept<UserMean>(want3_, want4_); }
  std::uint64_t channels() const { return central_channels<UserMean>(want3_, want4_); }
  void require(sycl::handler& cgh) const { require_all(cgh, second_, third_, fourth_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    const auto terms = central_of<UserMean>(helper, dim);
    const T w = helper.weight_sum();
    second_[dim] = Family::second(terms, w);
    if (want3_) {
      third_[dim] = Family::third(terms, w);
    }
    if (want4_) {
      fourth_[dim] = Family::fourth(terms, w);
    }
  }

 private:
  std::uint8_t want3_, want4_;
  pointer_or_accessor<T, Usm> second_, third_, fourth_;
};

template <typename T, bool Usm, bool UserMean>
using central_sum_func = central_func<T, Usm, UserMean, central_sums>;
template <typename T, bool Usm, bool UserMean>
using central_moment_func = central_func<T, Usm, UserMean, central_moments>;

// variation, skewness and kurtosis: one result from the central orders the shape needs.
struct variation_shape {
  static constexpr bool order3 = false, order4 = false;
  template <typename Terms, typename T>
  static T of(const Terms& terms, T /*w*/) {
    return sycl::sqrt(terms.variance()) / terms.mean();
  }
};

struct skewness_shape {
  static constexpr bool order3 = true, order4 = false;
  template <typename Terms, typename T>
  static T of(const Terms& terms, T w) {
    return skewness_of(terms.c3() / w, terms.variance());
  }
};

struct kurtosis_shape {
  static constexpr bool order3 = false, order4 = true;
  template <typename Terms, typename T>
  static T of(const Terms& terms, T w) {
    return kurtosis_of(terms.c4() / w, terms.variance());
  }
};

template <typename T, bool Usm, bool UserMean, typename Shape>
class shape_func : public moment_functor_kind<T, Usm, UserMean> {
 public:
  explicit shape_func(pointer_or_accessor<T, Usm> result) : result_(result) {}
  kept_sums kept() const { return central_kept<UserMean>(Shape::order3, Shape::order4); }
  std::uint64_t channels() const {
    return central_channels<UserMean>(Shape::order3, Shape::order4);
  }
  void require(sycl::handler& cgh) const { require_all(cgh, result_); }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    result_[dim] = Shape::of(central_of<UserMean>(helper, dim), helper.weight_sum());
  }

 private:
  pointer_or_accessor<T, Usm> result_;
};

template <typename T, bool Usm, bool UserMean>
using variation_func = shape_func<T, Usm, UserMean, variation_shape>;
template <typename T, bool Usm, bool UserMean>
using skewness_func = shape_func<T, Usm, UserMean, skewness_shape>;
template <typename T, bool Usm, bool UserMean>
using kurtosis_func = shape_func<T, Usm, UserMean, kurtosis_shape>;

}  // namespace vorlex::orv::stats::detail::gpu
