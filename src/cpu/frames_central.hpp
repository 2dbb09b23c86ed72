// CPU frames of the statistics that need scratch: the central sums and moments, variation, skewness
// and kurtosis. Scratch holds the mean and the moments that the estimator must be given besides the
// wanted outputs; the caller's mean, where given, takes the scratch mean's place and the estimator
// is told 256.
//
// A USM frame with scratch waits for its host task and frees the scratch before it returns; one
// without (central_sum with the caller's mean) returns at once. A buffer frame's scratch and
// dummies end with the frame, and their end waits for the host task.
#pragma once

#include <sycl/sycl.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
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
      // method::fast is the estimator's 2 in the USM form and its 1 in the buffer form.
      central_sum_func_fast<T, true> functor(2, scratch[0], scratch[1], scratch[2], scratch[3],
                                             sum2, sum3, sum4);
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
      central_sum_func_fast<T, false> functor(1, mean, raw2, raw3, raw4, sum2, sum3, sum4, dummy3,
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
    central_moment_func<T, true> functor(plain ? central_method_value<M> : user_mean_method_value,
                                         plain ? scratch[0] : user_mean, scratch[1], scratch[2],
                                         scratch[3], moment2, moment3, moment4);
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
    central_moment_func<T, false> functor(plain ? central_method_value<M> : user_mean_method_value,
                                          mean, raw2, raw3, raw4, moment2, moment3, moment4, dummy3,
                                          dummy4);
    submit(queue, data, functor);
  }
};

// variation, skewness and kurtosis: every scratch array has one element per dimension, and the
// method changes nothing. Kind names the statistic, its functor and its moment arrays (blocks), the
// mean's included, which the caller's mean replaces.
template <typename Kind>
struct derived_frame {
  static constexpr std::size_t blocks = Kind::blocks;

  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* user_mean, const dataset<L, T*>& data,
                         const event_list& dependencies, T* output) {
    const bool plain = user_mean == nullptr;
    std::array<bool, blocks> wanted;
    wanted.fill(true);
    wanted[0] = plain;
    usm_scratch<T, blocks> scratch(queue, data.n_dims, Kind::name, wanted);
    auto functor = make<T, true>(plain, output, plain ? scratch[0] : user_mean, scratch,
                                 std::make_index_sequence<blocks - 1>{});
    return scratch.release_after(submit(queue, data, functor, dependencies));
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* user_mean,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> output) {
    const bool plain = user_mean == nullptr;
    buffer_t<T> mean = plain ? scratch_buffer<T>(data.n_dims) : *user_mean;
    const auto moments = scratch_buffers<T>(data.n_dims, std::make_index_sequence<blocks - 1>{});
    auto functor =
        make<T, false>(plain, output, mean, moments, std::make_index_sequence<blocks - 1>{});
    submit(queue, data, functor);
  }

 private:
  // The moment arrays after the mean are moments[1], moments[2], ...: scratch of the USM form, an
  // array of buffers (from 0) in the buffer form.
  template <typename T, bool Usm, typename Mean, typename Moments, std::size_t... K>
  static auto make(bool plain, Mean output, Mean mean, const Moments& moments,
                   std::index_sequence<K...>) {
    constexpr std::size_t first = Usm ? 1 : 0;
    return typename Kind::template func<T, Usm>(plain ? 1 : user_mean_method_value, output, mean,
                                                moments[first + K]...);
  }

  template <typename T, std::size_t... K>
  static std::array<buffer_t<T>, sizeof...(K)> scratch_buffers(std::int64_t n_dims,
                                                               std::index_sequence<K...>) {
    return {(static_cast<void>(K), scratch_buffer<T>(n_dims))...};
  }
};

struct variation_kind {
  static constexpr const char* name = "variation";
  static constexpr std::size_t blocks = 3;
  template <typename T, bool Usm>
  using func = variation_func<T, Usm>;
};

struct skewness_kind {
  static constexpr const char* name = "skewness";
  static constexpr std::size_t blocks = 5;
  template <typename T, bool Usm>
  using func = skewness_func<T, Usm>;
};

struct kurtosis_kind {
  static constexpr const char* name = "kurtosis";
  static constexpr std::size_t blocks = 6;
  template <typename T, bool Usm>
  using func = kurtosis_func<T, Usm>;
};

using variation_frame = derived_frame<variation_kind>;
using skewness_frame = derived_frame<skewness_kind>;
using kurtosis_frame = derived_frame<kurtosis_kind>;

}  // namespace vorlex::orv::stats::detail::cpu
