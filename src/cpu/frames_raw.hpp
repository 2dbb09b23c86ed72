// CPU frames of the statistics that need no scratch of their own: the mean, the raw sums and
// moments, and the extremes. Each frame builds its functor over the caller's outputs and calls
// submit. The USM form returns the host task's event at once. The buffer form of raw_sum and
// raw_moment makes one-element dummies for the optional outputs, whose end at the close of the
// frame waits for the host task; the other buffer frames make no buffer and return at once.
//
// Every frame takes the caller's mean, null for the forms without one: these statistics have none,
// so it is never given here. The method of these statistics changes nothing: the estimator is told
// 1.
#pragma once

#include <sycl/sycl.hpp>

#include <type_traits>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "cpu/functors.hpp"
#include "cpu/scratch.hpp"
#include "cpu/submit_helper.hpp"

namespace vorlex::orv::stats::detail::cpu {

using event_list = std::vector<sycl::event>;

template <typename T>
using buffer_t = sycl::buffer<T, 1>;

template <typename F, typename = void>
struct takes_dummies : std::false_type {};
template <typename F>
struct takes_dummies<F, std::void_t<decltype(F::takes_dummies)>> : std::true_type {};

template <template <typename, bool> class Func>
struct outputs_frame {
  template <method M, typename T, layout L, typename... Out>
  static sycl::event usm(sycl::queue& queue, T* /*user_mean*/, const dataset<L, T*>& data,
                         const event_list& dependencies, Out... outputs) {
    Func<T, true> functor(1, static_cast<T*>(outputs)...);
    return submit(queue, data, functor, dependencies);
  }

  template <method M, typename T, layout L, typename... Out>
  static void buffer(sycl::queue& queue, const buffer_t<T>* /*user_mean*/,
                     const dataset<L, buffer_t<T>>& data, Out... outputs) {
    if constexpr (takes_dummies<Func<T, false>>::value) {
      buffer_t<T> dummy2 = dummy_buffer<T>();
      buffer_t<T> dummy3 = dummy_buffer<T>();
      buffer_t<T> dummy4 = dummy_buffer<T>();
      Func<T, false> functor(1, buffer_t<T>(outputs)..., dummy2, dummy3, dummy4);
      submit(queue, data, functor);
    } else {
      Func<T, false> functor(1, buffer_t<T>(outputs)...);
      submit(queue, data, functor);
    }
  }
};

using mean_frame = outputs_frame<mean_func>;
using min_frame = outputs_frame<min_func>;
using max_frame = outputs_frame<max_func>;
using min_max_frame = outputs_frame<min_max_func>;
using raw_sum_frame = outputs_frame<raw_sum_func>;
using raw_moment_frame = outputs_frame<raw_moment_func>;

}  // namespace vorlex::orv::stats::detail::cpu
