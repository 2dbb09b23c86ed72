// The offload road's functors: a plain functor's result, and with it the mean and the raw moments
// that came out on the way, so that one pass answers several estimates. USM outputs only.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>

#include "gpu/moment_functors.hpp"
#include "gpu/out_handle.hpp"

namespace vorlex::orv::stats::detail::gpu::ex {

// The mean and the second raw moment always; the third and fourth where the reduction keeps S3 and
// S4, which is where the plain result expands through them.
template <typename Plain>
class with_raw_moments : public Plain {
  using T = typename Plain::value_type;
  using handle = pointer_or_accessor<T, Plain::usm>;

 public:
  template <typename... PlainArguments>
  with_raw_moments(handle mean, handle raw_moment2, handle raw_moment3, handle raw_moment4,
                   PlainArguments... plain)
      : Plain(plain...),
        mean_(mean),
        raw_moment2_(raw_moment2),
        raw_moment3_(raw_moment3),
        raw_moment4_(raw_moment4) {}
  void require(sycl::handler& cgh) const {
    require_all(cgh, mean_, raw_moment2_, raw_moment3_, raw_moment4_);
    Plain::require(cgh);
  }
  template <typename Helper>
  void operator()(const Helper& helper, std::uint64_t dim) const {
    const kept_sums kept = this->kept();
    const T w = helper.weight_sum();
    mean_[dim] = helper.s1(dim) / w;
    raw_moment2_[dim] = helper.s2(dim) / w;
    if (kept.has_s3) {
      raw_moment3_[dim] = helper.s3(dim) / w;
    }
    if (kept.has_s4) {
      raw_moment4_[dim] = helper.s4(dim) / w;
    }
    Plain::operator()(helper, dim);
  }

 private:
  handle mean_, raw_moment2_, raw_moment3_, raw_moment4_;
};

}  // namespace vorlex::orv::stats::detail::gpu::ex
