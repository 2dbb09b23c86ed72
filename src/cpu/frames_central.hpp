// CPU frames of the statistics that need scratch: the central sums and moments, variation,
// skewness and kurtosis. Scratch holds the mean and the moments that the estimator must be given
// besides the wanted outputs; the caller's mean, where given, takes the scratch mean's place and
// the estimator is told 256.
//
// A USM frame with scratch waits for its host task and frees the scratch before it returns; one
// without (central_sum with the caller's mean) returns at once. A buffer frame's scratch and
// dummies end with the frame, and their end waits for the host task.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <vorlex/orv/stats.hpp>

#include "cpu/frames_raw.hpp"
#include "cpu/functors.hpp"
#include "cpu/scratch.hpp"
#include "cpu/submit_helper.hpp"

namespace vorlex::orv::stats::detail::cpu {

// The estimator's method for the plain forms of the central families.
template <method M>
constexpr std::int64_t central_method_value = M == method::estimator ? 2 : 1;

constexpr std::int64_t user_mean_method_value = 256;

struct central_sum_frame {
  static constexpr const char* name = "central_sum";

  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* user_mean, const dataset<L, T*>& data,
                         const event_list& dependencies, T* sum2, T* sum3, T* sum4) {
    if (user_mean != nullptr) {
      central_sum_func<T, true> functor(user_mean, sum2, sum3, sum4, user_mean_method_value);
      return submit(queue, data, functor, dependencies);
    }
    if constexpr (M == method::estimator) {
      usm_scratch<T, 1> scratch(queue, data.n_dims, name, {true});
      central_sum_func<T, true> functor(scratch[0], sum2, sum3, sum4, 2);
      return scratch.release_after(submit(queue, data, functor, dependencies));
    } else {
      usm_scratch<T, 4> scratch(queue, data.n_dims, name,
                                {true, true, sum3 != nullptr, sum4 != nullptr});
      central_sum_func_fast<T, true> functor(scratch[0], scratch[1], scratch[2], scratch[3], sum2,
                                             sum3, sum4);
      return scratch.release_after(submit(queue, data, functor, dependencies));
    }
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* user_mean,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> sum2, buffer_t<T> sum3,
                     buffer_t<T> sum4) {
    if (user_mean != nullptr) {
      buffer_t<T> dummy3 = dummy_buffer<T>();
      buffer_t<T> dummy4 = dummy_buffer<T>();
      central_sum_func<T, false> functor(*user_mean, sum2, sum3, sum4, dummy3, dummy4,
                                         user_mean_method_value);
      submit(queue, data, functor);
      return;
    }
    if constexpr (M == method::estimator) {
      buffer_t<T> mean = scratch_buffer<T>(data.n_dims);
      buffer_t<T> dummy3 = dummy_buffer<T>();
      buffer_t<T> dummy4 = dummy_buffer<T>();
      central_sum_func<T, false> functor(mean, sum2, sum3, sum4, dummy3, dummy4, 2);
      submit(queue, data, functor);
    } else {
      // The upper raw moments shrink to one element when no wanted sum needs them.
      buffer_t<T> mean = scratch_buffer<T>(data.n_dims);
      buffer_t<T> raw2 = scratch_buffer<T>(data.n_dims);
      buffer_t<T> raw3 = scratch_buffer_if<T>(is_given(sum3) || is_given(sum4), data.n_dims);
      buffer_t<T> raw4 = scratch_buffer_if<T>(is_given(sum4), data.n_dims);
      buffer_t<T> dummy3 = dummy_buffer<T>();
      buffer_t<T> dummy4 = dummy_buffer<T>();
      central_sum_func_fast<T, false> functor(mean, raw2, raw3, raw4, sum2, sum3, sum4, dummy3,
                                              dummy4);
      submit(queue, data, functor);
    }
  }
};

struct central_moment_frame {
  static constexpr const char* name = "central_moment";

  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* user_mean, const dataset<L, T*>& data,
                         const event_list& dependencies, T* moment2, T* moment3, T* moment4) {
    const bool plain = user_mean == nullptr;
    usm_scratch<T, 4> scratch(queue, data.n_dims, name,
                              {plain, true, moment3 != nullptr, moment4 != nullptr});
    central_moment_func<T, true> functor(plain ? scratch[0] : user_mean, scratch[1], scratch[2],
                                         scratch[3], moment2, moment3, moment4,
                                         plain ? central_method_value<M> : user_mean_method_value);
    return scratch.release_after(submit(queue, data, functor, dependencies));
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* user_mean,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> moment2, buffer_t<T> moment3,
                     buffer_t<T> moment4) {
    const bool plain = user_mean == nullptr;
    buffer_t<T> mean = plain ? scratch_buffer<T>(data.n_dims) : *user_mean;
    buffer_t<T> raw2 = scratch_buffer<T>(data.n_dims);
    buffer_t<T> raw3 = scratch_buffer_if<T>(is_given(moment3) || is_given(moment4), data.n_dims);
    buffer_t<T> raw4 = scratch_buffer_if<T>(is_given(moment4), data.n_dims);
    buffer_t<T> dummy3 = dummy_buffer<T>();
    buffer_t<T> dummy4 = dummy_buffer<T>();
    central_moment_func<T, false> functor(mean, raw2, raw3, raw4, moment2, moment3, moment4, dummy3,
                                          dummy4,
                                          plain ? central_method_value<M> : user_mean_method_value);
    submit(queue, data, functor);
  }
};

// variation, skewness and kurtosis: every scratch array has one element per dimension, and the
// method changes nothing.
struct variation_frame {
  static constexpr const char* name = "variation";

  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* user_mean, const dataset<L, T*>& data,
                         const event_list& dependencies, T* variation) {
    const bool plain = user_mean == nullptr;
    usm_scratch<T, 3> scratch(queue, data.n_dims, name, {plain, true, true});
    variation_func<T, true> functor(plain ? scratch[0] : user_mean, scratch[1], scratch[2],
                                    variation, plain ? 1 : user_mean_method_value);
    return scratch.release_after(submit(queue, data, functor, dependencies));
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* user_mean,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> variation) {
    const bool plain = user_mean == nullptr;
    buffer_t<T> mean = plain ? scratch_buffer<T>(data.n_dims) : *user_mean;
    buffer_t<T> raw2 = scratch_buffer<T>(data.n_dims);
    buffer_t<T> central2 = scratch_buffer<T>(data.n_dims);
    variation_func<T, false> functor(mean, raw2, central2, variation,
                                     plain ? 1 : user_mean_method_value);
    submit(queue, data, functor);
  }
};

struct skewness_frame {
  static constexpr const char* name = "skewness";

  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* user_mean, const dataset<L, T*>& data,
                         const event_list& dependencies, T* skewness) {
    const bool plain = user_mean == nullptr;
    usm_scratch<T, 5> scratch(queue, data.n_dims, name, {plain, true, true, true, true});
    skewness_func<T, true> functor(plain ? scratch[0] : user_mean, scratch[1], scratch[2],
                                   scratch[3], scratch[4], skewness,
                                   plain ? 1 : user_mean_method_value);
    return scratch.release_after(submit(queue, data, functor, dependencies));
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* user_mean,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> skewness) {
    const bool plain = user_mean == nullptr;
    buffer_t<T> mean = plain ? scratch_buffer<T>(data.n_dims) : *user_mean;
    buffer_t<T> raw2 = scratch_buffer<T>(data.n_dims);
    buffer_t<T> raw3 = scratch_buffer<T>(data.n_dims);
    buffer_t<T> central2 = scratch_buffer<T>(data.n_dims);
    buffer_t<T> central3 = scratch_buffer<T>(data.n_dims);
    skewness_func<T, false> functor(mean, raw2, raw3, central2, central3, skewness,
                                    plain ? 1 : user_mean_method_value);
    submit(queue, data, functor);
  }
};

struct kurtosis_frame {
  static constexpr const char* name = "kurtosis";

  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* user_mean, const dataset<L, T*>& data,
                         const event_list& dependencies, T* kurtosis) {
    const bool plain = user_mean == nullptr;
    usm_scratch<T, 6> scratch(queue, data.n_dims, name, {plain, true, true, true, true, true});
    kurtosis_func<T, true> functor(plain ? scratch[0] : user_mean, scratch[1], scratch[2],
                                   scratch[3], scratch[4], scratch[5], kurtosis,
                                   plain ? 1 : user_mean_method_value);
    return scratch.release_after(submit(queue, data, functor, dependencies));
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* user_mean,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> kurtosis) {
    const bool plain = user_mean == nullptr;
    buffer_t<T> mean = plain ? scratch_buffer<T>(data.n_dims) : *user_mean;
    buffer_t<T> raw2 = scratch_buffer<T>(data.n_dims);
    buffer_t<T> raw3 = scratch_buffer<T>(data.n_dims);
    buffer_t<T> raw4 = scratch_buffer<T>(data.n_dims);
    buffer_t<T> central2 = scratch_buffer<T>(data.n_dims);
    buffer_t<T> central4 = scratch_buffer<T>(data.n_dims);
    kurtosis_func<T, false> functor(mean, raw2, raw3, raw4, central2, central4, kurtosis,
                                    plain ? 1 : user_mean_method_value);
    submit(queue, data, functor);
  }
};

}  // namespace vorlex::orv::stats::detail::cpu
