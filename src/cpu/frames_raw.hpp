// CPU frames of the statistics that need no scratch of their own: the mean, the raw sums and
// moments, and the extremes. Each frame builds its functor over the caller's outputs and calls
// submit. The USM form returns the host task's event at once. The buffer form of raw_sum and
// raw_moment makes one-element dummies for the optional outputs, whose end at the close of the
// frame waits for the host task; the other buffer frames make no buffer and return at once.
//
// Every frame takes the caller's mean, null for the forms without one: these statistics have
// none, so it is never given here. The method of these statistics changes nothing: the
// estimator is told 1.
#pragma once

#include <sycl/sycl.hpp>

#include <vector>
#include <vorlex/orv/stats.hpp>

#include "cpu/functors.hpp"
#include "cpu/scratch.hpp"
#include "cpu/submit_helper.hpp"

namespace vorlex::orv::stats::detail::cpu {

using event_list = std::vector<sycl::event>;

template <typename T>
using buffer_t = sycl::buffer<T, 1>;

struct mean_frame {
  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* /*user_mean*/, const dataset<L, T*>& data,
                         const event_list& dependencies, T* mean) {
    mean_func<T, true> functor(mean, 1);
    return submit(queue, data, functor, dependencies);
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* /*user_mean*/,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> mean) {
    mean_func<T, false> functor(mean, 1);
    submit(queue, data, functor);
  }
};

struct min_frame {
  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* /*user_mean*/, const dataset<L, T*>& data,
                         const event_list& dependencies, T* min) {
    min_func<T, true> functor(min, 1);
    return submit(queue, data, functor, dependencies);
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* /*user_mean*/,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> min) {
    min_func<T, false> functor(min, 1);
    submit(queue, data, functor);
  }
};

struct max_frame {
  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* /*user_mean*/, const dataset<L, T*>& data,
                         const event_list& dependencies, T* max) {
    max_func<T, true> functor(max, 1);
    return submit(queue, data, functor, dependencies);
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* /*user_mean*/,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> max) {
    max_func<T, false> functor(max, 1);
    submit(queue, data, functor);
  }
};

struct min_max_frame {
  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* /*user_mean*/, const dataset<L, T*>& data,
                         const event_list& dependencies, T* min, T* max) {
    min_max_func<T, true> functor(min, max, 1);
    return submit(queue, data, functor, dependencies);
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* /*user_mean*/,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> min, buffer_t<T> max) {
    min_max_func<T, false> functor(min, max, 1);
    submit(queue, data, functor);
  }
};

struct raw_sum_frame {
  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* /*user_mean*/, const dataset<L, T*>& data,
                         const event_list& dependencies, T* sum, T* sum2, T* sum3, T* sum4) {
    raw_sum_func<T, true> functor(sum, sum2, sum3, sum4, 1);
    return submit(queue, data, functor, dependencies);
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* /*user_mean*/,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> sum, buffer_t<T> sum2,
                     buffer_t<T> sum3, buffer_t<T> sum4) {
    buffer_t<T> dummy2 = dummy_buffer<T>();
    buffer_t<T> dummy3 = dummy_buffer<T>();
    buffer_t<T> dummy4 = dummy_buffer<T>();
    raw_sum_func<T, false> functor(sum, sum2, sum3, sum4, dummy2, dummy3, dummy4, 1);
    submit(queue, data, functor);
  }
};

struct raw_moment_frame {
  template <method M, typename T, layout L>
  static sycl::event usm(sycl::queue& queue, T* /*user_mean*/, const dataset<L, T*>& data,
                         const event_list& dependencies, T* mean, T* raw2, T* raw3, T* raw4) {
    raw_moment_func<T, true> functor(mean, raw2, raw3, raw4, 1);
    return submit(queue, data, functor, dependencies);
  }

  template <method M, typename T, layout L>
  static void buffer(sycl::queue& queue, const buffer_t<T>* /*user_mean*/,
                     const dataset<L, buffer_t<T>>& data, buffer_t<T> mean, buffer_t<T> raw2,
                     buffer_t<T> raw3, buffer_t<T> raw4) {
    buffer_t<T> dummy2 = dummy_buffer<T>();
    buffer_t<T> dummy3 = dummy_buffer<T>();
    buffer_t<T> dummy4 = dummy_buffer<T>();
    raw_moment_func<T, false> functor(mean, raw2, raw3, raw4, dummy2, dummy3, dummy4, 1);
    submit(queue, data, functor);
  }
};

}  // namespace vorlex::orv::stats::detail::cpu
