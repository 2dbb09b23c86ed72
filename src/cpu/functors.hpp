// What each statistic asks of the estimator on a CPU queue: the result arrays it hands to the
// task, by which editing call, the estimate mask and the method value. A functor owns nothing and
// computes nothing; its estimate() runs once in the host task, between the creation of the task
// and its deletion.
//
// Both forms hold the same members in the same order. The buffer form (Usm false) builds its
// accessors as placeholders and binds them in require(); its optional outputs sit on the frame's
// one-element dummies when the caller left them out, and a flag says so. The USM form (Usm true)
// hands its pointers over as they stand.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>

#include "cpu/estimator_calls.hpp"
#include "cpu/functor_members.hpp"
#include "orv/ss_task.h"

namespace vorlex::orv::stats::detail::cpu {

template <typename T, bool Usm>
struct mean_func {
  mean_func(result_source_t<T, Usm> mean_storage, std::int64_t method_value)
      : mean(make_result(mean_storage)), method(method_value) {}

  void require(sycl::handler& cgh) const { require_placeholder(cgh, mean); }

  void estimate(ss_task* task) const {
    ss_edit_task<T>(task, SS_FIELD_MEAN, host_pointer(mean));
    ss_compute<T>(task, SS_MEAN, method);
  }

  result_t<T, Usm> mean;
  std::int64_t method;
};

template <typename T, bool Usm>
struct min_func {
  min_func(result_source_t<T, Usm> min_storage, std::int64_t method_value)
      : min(make_result(min_storage)), method(method_value) {}

  void require(sycl::handler& cgh) const { require_placeholder(cgh, min); }

  void estimate(ss_task* task) const {
    ss_edit_task<T>(task, SS_FIELD_MIN, host_pointer(min));
    ss_compute<T>(task, SS_MIN, method);
  }

  result_t<T, Usm> min;
  std::int64_t method;
};

template <typename T, bool Usm>
struct max_func {
  max_func(result_source_t<T, Usm> max_storage, std::int64_t method_value)
      : max(make_result(max_storage)), method(method_value) {}

  void require(sycl::handler& cgh) const { require_placeholder(cgh, max); }

  void estimate(ss_task* task) const {
    ss_edit_task<T>(task, SS_FIELD_MAX, host_pointer(max));
    ss_compute<T>(task, SS_MAX, method);
  }

  result_t<T, Usm> max;
  std::int64_t method;
};

// Both extremes in one computation: the min/max stage runs once.
template <typename T, bool Usm>
struct min_max_func {
  min_max_func(result_source_t<T, Usm> min_storage, result_source_t<T, Usm> max_storage,
               std::int64_t method_value)
      : min(make_result(min_storage)), max(make_result(max_storage)), method(method_value) {}

  void require(sycl::handler& cgh) const {
    require_placeholder(cgh, min);
    require_placeholder(cgh, max);
  }

  void estimate(ss_task* task) const {
    ss_edit_task<T>(task, SS_FIELD_MIN, host_pointer(min));
    ss_edit_task<T>(task, SS_FIELD_MAX, host_pointer(max));
    ss_compute<T>(task, SS_MIN | SS_MAX, method);
  }

  result_t<T, Usm> min;
  result_t<T, Usm> max;
  std::int64_t method;
};

// The first sum has no flag: its bit is always in the mask, also when the caller left it out.
template <typename T, bool Usm>
struct raw_sum_func : wants_2_to_4<Usm> {
  // Buffer form.
  raw_sum_func(sycl::buffer<T, 1> sum_storage, sycl::buffer<T, 1> sum2_storage,
               sycl::buffer<T, 1> sum3_storage, sycl::buffer<T, 1> sum4_storage,
               sycl::buffer<T, 1> dummy2, sycl::buffer<T, 1> dummy3, sycl::buffer<T, 1> dummy4,
               std::int64_t method_value)
      : wants_2_to_4<Usm>{is_given(sum2_storage), is_given(sum3_storage), is_given(sum4_storage)},
        sum(make_result(sum_storage)),
        raw_sum2(make_optional_result(sum2_storage, dummy2)),
        raw_sum3(make_optional_result(sum3_storage, dummy3)),
        raw_sum4(make_optional_result(sum4_storage, dummy4)),
        method(method_value) {}

  // USM form.
  raw_sum_func(T* sum_storage, T* sum2_storage, T* sum3_storage, T* sum4_storage,
               std::int64_t method_value)
      : sum(sum_storage),
        raw_sum2(sum2_storage),
        raw_sum3(sum3_storage),
        raw_sum4(sum4_storage),
        method(method_value) {}

  void require(sycl::handler& cgh) const {
    require_placeholder(cgh, sum);
    require_placeholder(cgh, raw_sum2);
    require_placeholder(cgh, raw_sum3);
    require_placeholder(cgh, raw_sum4);
  }

  void estimate(ss_task* task) const {
    const auto [w2, w3, w4] = this->wanted(raw_sum2, raw_sum3, raw_sum4);
    ss_edit_sums<T>(task, host_pointer(sum), given_if(w2, raw_sum2), given_if(w3, raw_sum3),
                    given_if(w4, raw_sum4), nullptr, nullptr, nullptr);
    ss_compute<T>(
        task, SS_SUM | bit_if(w2, SS_RAW_SUM2) | bit_if(w3, SS_RAW_SUM3) | bit_if(w4, SS_RAW_SUM4),
        method);
  }

  result_t<T, Usm> sum;
  result_t<T, Usm> raw_sum2;
  result_t<T, Usm> raw_sum3;
  result_t<T, Usm> raw_sum4;
  std::int64_t method;
};

// The mean has no flag: its bit is always in the mask.
template <typename T, bool Usm>
struct raw_moment_func : wants_2_to_4<Usm> {
  // Buffer form.
  raw_moment_func(sycl::buffer<T, 1> mean_storage, sycl::buffer<T, 1> raw2_storage,
                  sycl::buffer<T, 1> raw3_storage, sycl::buffer<T, 1> raw4_storage,
                  sycl::buffer<T, 1> dummy2, sycl::buffer<T, 1> dummy3, sycl::buffer<T, 1> dummy4,
                  std::int64_t method_value)
      : wants_2_to_4<Usm>{is_given(raw2_storage), is_given(raw3_storage), is_given(raw4_storage)},
        mean(make_result(mean_storage)),
        raw2(make_optional_result(raw2_storage, dummy2)),
        raw3(make_optional_result(raw3_storage, dummy3)),
        raw4(make_optional_result(raw4_storage, dummy4)),
        method(method_value) {}

  // USM form.
  raw_moment_func(T* mean_storage, T* raw2_storage, T* raw3_storage, T* raw4_storage,
                  std::int64_t method_value)
      : mean(mean_storage),
        raw2(raw2_storage),
        raw3(raw3_storage),
        raw4(raw4_storage),
        method(method_value) {}

  void require(sycl::handler& cgh) const {
    require_placeholder(cgh, mean);
    require_placeholder(cgh, raw2);
    require_placeholder(cgh, raw3);
    require_placeholder(cgh, raw4);
  }

  void estimate(ss_task* task) const {
    const auto [w2, w3, w4] = this->wanted(raw2, raw3, raw4);
    ss_edit_moments<T>(task, host_pointer(mean), given_if(w2, raw2), given_if(w3, raw3),
                       given_if(w4, raw4), nullptr, nullptr, nullptr);
    ss_compute<T>(task,
                  SS_MEAN | bit_if(w2, SS_RAW_MOMENT2) | bit_if(w3, SS_RAW_MOMENT3) |
                      bit_if(w4, SS_RAW_MOMENT4),
                  method);
  }

  result_t<T, Usm> mean;
  result_t<T, Usm> raw2;
  result_t<T, Usm> raw3;
  result_t<T, Usm> raw4;
  std::int64_t method;
};

// Central sums about the estimator's mean (method 2) or the caller's (256): only the mean and
// the sums go to the task.
template <typename T, bool Usm>
struct central_sum_func : wants_3_to_4<Usm> {
  // Buffer form.
  central_sum_func(sycl::buffer<T, 1> mean_storage, sycl::buffer<T, 1> sum2_storage,
                   sycl::buffer<T, 1> sum3_storage, sycl::buffer<T, 1> sum4_storage,
                   sycl::buffer<T, 1> dummy3, sycl::buffer<T, 1> dummy4, std::int64_t method_value)
      : wants_3_to_4<Usm>{is_given(sum3_storage), is_given(sum4_storage)},
        mean(make_result(mean_storage)),
        central_sum2(make_result(sum2_storage)),
        central_sum3(make_optional_result(sum3_storage, dummy3)),
        central_sum4(make_optional_result(sum4_storage, dummy4)),
        method(method_value) {}

  // USM form.
  central_sum_func(T* mean_storage, T* sum2_storage, T* sum3_storage, T* sum4_storage,
                   std::int64_t method_value)
      : mean(mean_storage),
        central_sum2(sum2_storage),
        central_sum3(sum3_storage),
        central_sum4(sum4_storage),
        method(method_value) {}

  void require(sycl::handler& cgh) const {
    require_placeholder(cgh, mean);
    require_placeholder(cgh, central_sum2);
    require_placeholder(cgh, central_sum3);
    require_placeholder(cgh, central_sum4);
  }

  void estimate(ss_task* task) const {
    const auto [w3, w4] = this->wanted(central_sum3, central_sum4);
    ss_edit_task<T>(task, SS_FIELD_MEAN, host_pointer(mean));
    ss_edit_sums<T>(task, nullptr, nullptr, nullptr, nullptr, host_pointer(central_sum2),
                    given_if(w3 || w4, central_sum3), given_if(w4, central_sum4));
    ss_compute<T>(task, SS_CENTRAL_SUM2 | bit_if(w3, SS_CENTRAL_SUM3) | bit_if(w4, SS_CENTRAL_SUM4),
                  method);
  }

  result_t<T, Usm> mean;
  result_t<T, Usm> central_sum2;
  result_t<T, Usm> central_sum3;
  result_t<T, Usm> central_sum4;
  std::int64_t method;
};

// central_sum with method::fast: the mean and the raw moments go to the task as well, from the
// frame's scratch. It has no method member: the buffer form tells the estimator 1, and the USM
// form 2, for both element types and layouts.
template <typename T, bool Usm>
struct central_sum_func_fast : wants_3_to_4<Usm> {
  // Buffer form.
  central_sum_func_fast(sycl::buffer<T, 1> mean_storage, sycl::buffer<T, 1> raw2_storage,
                        sycl::buffer<T, 1> raw3_storage, sycl::buffer<T, 1> raw4_storage,
                        sycl::buffer<T, 1> sum2_storage, sycl::buffer<T, 1> sum3_storage,
                        sycl::buffer<T, 1> sum4_storage, sycl::buffer<T, 1> dummy3,
                        sycl::buffer<T, 1> dummy4)
      : wants_3_to_4<Usm>{is_given(sum3_storage), is_given(sum4_storage)},
        mean(make_result(mean_storage)),
        raw2(make_result(raw2_storage)),
        raw3(make_result(raw3_storage)),
        raw4(make_result(raw4_storage)),
        central_sum2(make_result(sum2_storage)),
        central_sum3(make_optional_result(sum3_storage, dummy3)),
        central_sum4(make_optional_result(sum4_storage, dummy4)) {}

  // USM form.
  central_sum_func_fast(T* mean_storage, T* raw2_storage, T* raw3_storage, T* raw4_storage,
                        T* sum2_storage, T* sum3_storage, T* sum4_storage)
      : mean(mean_storage),
        raw2(raw2_storage),
        raw3(raw3_storage),
        raw4(raw4_storage),
        central_sum2(sum2_storage),
        central_sum3(sum3_storage),
        central_sum4(sum4_storage) {}

  void require(sycl::handler& cgh) const {
    require_placeholder(cgh, mean);
    require_placeholder(cgh, raw2);
    require_placeholder(cgh, raw3);
    require_placeholder(cgh, raw4);
    require_placeholder(cgh, central_sum2);
    require_placeholder(cgh, central_sum3);
    require_placeholder(cgh, central_sum4);
  }

  void estimate(ss_task* task) const {
    const auto [w3, w4] = this->wanted(central_sum3, central_sum4);
    ss_edit_moments<T>(task, host_pointer(mean), host_pointer(raw2), given_if(w3 || w4, raw3),
                       given_if(w4, raw4), nullptr, nullptr, nullptr);
    ss_edit_sums<T>(task, nullptr, nullptr, nullptr, nullptr, host_pointer(central_sum2),
                    given_if(w3 || w4, central_sum3), given_if(w4, central_sum4));
    ss_compute<T>(task, SS_CENTRAL_SUM2 | bit_if(w3, SS_CENTRAL_SUM3) | bit_if(w4, SS_CENTRAL_SUM4),
                  Usm ? 2 : 1);
  }

  result_t<T, Usm> mean;
  result_t<T, Usm> raw2;
  result_t<T, Usm> raw3;
  result_t<T, Usm> raw4;
  result_t<T, Usm> central_sum2;
  result_t<T, Usm> central_sum3;
  result_t<T, Usm> central_sum4;
};

// The second central moment has no flag: its bit is always in the mask.
template <typename T, bool Usm>
struct central_moment_func : wants_3_to_4<Usm> {
  // Buffer form.
  central_moment_func(sycl::buffer<T, 1> mean_storage, sycl::buffer<T, 1> raw2_storage,
                      sycl::buffer<T, 1> raw3_storage, sycl::buffer<T, 1> raw4_storage,
                      sycl::buffer<T, 1> central2_storage, sycl::buffer<T, 1> central3_storage,
                      sycl::buffer<T, 1> central4_storage, sycl::buffer<T, 1> dummy3,
                      sycl::buffer<T, 1> dummy4, std::int64_t method_value)
      : wants_3_to_4<Usm>{is_given(central3_storage), is_given(central4_storage)},
        mean(make_result(mean_storage)),
        raw2(make_result(raw2_storage)),
        raw3(make_result(raw3_storage)),
        raw4(make_result(raw4_storage)),
        central2(make_result(central2_storage)),
        central3(make_optional_result(central3_storage, dummy3)),
        central4(make_optional_result(central4_storage, dummy4)),
        method(method_value) {}

  // USM form.
  central_moment_func(T* mean_storage, T* raw2_storage, T* raw3_storage, T* raw4_storage,
                      T* central2_storage, T* central3_storage, T* central4_storage,
                      std::int64_t method_value)
      : mean(mean_storage),
        raw2(raw2_storage),
        raw3(raw3_storage),
        raw4(raw4_storage),
        central2(central2_storage),
        central3(central3_storage),
        central4(central4_storage),
        method(method_value) {}

  void require(sycl::handler& cgh) const {
    require_placeholder(cgh, mean);
    require_placeholder(cgh, raw2);
    require_placeholder(cgh, raw3);
    require_placeholder(cgh, raw4);
    require_placeholder(cgh, central2);
    require_placeholder(cgh, central3);
    require_placeholder(cgh, central4);
  }

  void estimate(ss_task* task) const {
    const auto [w3, w4] = this->wanted(central3, central4);
    ss_edit_moments<T>(task, host_pointer(mean), host_pointer(raw2), given_if(w3 || w4, raw3),
                       given_if(w4, raw4), host_pointer(central2), given_if(w3, central3),
                       given_if(w4, central4));
    ss_compute<T>(
        task, SS_CENTRAL_MOMENT2 | bit_if(w3, SS_CENTRAL_MOMENT3) | bit_if(w4, SS_CENTRAL_MOMENT4),
        method);
  }

  result_t<T, Usm> mean;
  result_t<T, Usm> raw2;
  result_t<T, Usm> raw3;
  result_t<T, Usm> raw4;
  result_t<T, Usm> central2;
  result_t<T, Usm> central3;
  result_t<T, Usm> central4;
  std::int64_t method;
};

// Only the derived estimate is asked for; the moment arrays are what the estimator needs to be
// given, and nothing reads them afterwards.
template <typename T, bool Usm>
struct kurtosis_func {
  kurtosis_func(result_source_t<T, Usm> mean_storage, result_source_t<T, Usm> raw2_storage,
                result_source_t<T, Usm> raw3_storage, result_source_t<T, Usm> raw4_storage,
                result_source_t<T, Usm> central2_storage, result_source_t<T, Usm> central4_storage,
                result_source_t<T, Usm> kurtosis_storage, std::int64_t method_value)
      : mean(make_result(mean_storage)),
        raw2(make_result(raw2_storage)),
        raw3(make_result(raw3_storage)),
        raw4(make_result(raw4_storage)),
        central2(make_result(central2_storage)),
        central4(make_result(central4_storage)),
        kurtosis(make_result(kurtosis_storage)),
        method(method_value) {}

  void require(sycl::handler& cgh) const {
    require_placeholder(cgh, mean);
    require_placeholder(cgh, raw2);
    require_placeholder(cgh, raw3);
    require_placeholder(cgh, raw4);
    require_placeholder(cgh, central2);
    require_placeholder(cgh, central4);
    require_placeholder(cgh, kurtosis);
  }

  void estimate(ss_task* task) const {
    ss_edit_moments<T>(task, host_pointer(mean), host_pointer(raw2), host_pointer(raw3),
                       host_pointer(raw4), host_pointer(central2), nullptr, host_pointer(central4));
    ss_edit_task<T>(task, SS_FIELD_KURTOSIS, host_pointer(kurtosis));
    ss_compute<T>(task, SS_KURTOSIS, method);
  }

  result_t<T, Usm> mean;
  result_t<T, Usm> raw2;
  result_t<T, Usm> raw3;
  result_t<T, Usm> raw4;
  result_t<T, Usm> central2;
  result_t<T, Usm> central4;
  result_t<T, Usm> kurtosis;
  std::int64_t method;
};

template <typename T, bool Usm>
struct skewness_func {
  skewness_func(result_source_t<T, Usm> mean_storage, result_source_t<T, Usm> raw2_storage,
                result_source_t<T, Usm> raw3_storage, result_source_t<T, Usm> central2_storage,
                result_source_t<T, Usm> central3_storage, result_source_t<T, Usm> skewness_storage,
                std::int64_t method_value)
      : mean(make_result(mean_storage)),
        raw2(make_result(raw2_storage)),
        raw3(make_result(raw3_storage)),
        central2(make_result(central2_storage)),
        central3(make_result(central3_storage)),
        skewness(make_result(skewness_storage)),
        method(method_value) {}

  void require(sycl::handler& cgh) const {
    require_placeholder(cgh, mean);
    require_placeholder(cgh, raw2);
    require_placeholder(cgh, raw3);
    require_placeholder(cgh, central2);
    require_placeholder(cgh, central3);
    require_placeholder(cgh, skewness);
  }

  void estimate(ss_task* task) const {
    ss_edit_moments<T>(task, host_pointer(mean), host_pointer(raw2), host_pointer(raw3), nullptr,
                       host_pointer(central2), host_pointer(central3), nullptr);
    ss_edit_task<T>(task, SS_FIELD_SKEWNESS, host_pointer(skewness));
    ss_compute<T>(task, SS_SKEWNESS, method);
  }

  result_t<T, Usm> mean;
  result_t<T, Usm> raw2;
  result_t<T, Usm> raw3;
  result_t<T, Usm> central2;
  result_t<T, Usm> central3;
  result_t<T, Usm> skewness;
  std::int64_t method;
};

template <typename T, bool Usm>
struct variation_func {
  variation_func(result_source_t<T, Usm> mean_storage, result_source_t<T, Usm> raw2_storage,
                 result_source_t<T, Usm> central2_storage,
                 result_source_t<T, Usm> variation_storage, std::int64_t method_value)
      : mean(make_result(mean_storage)),
        raw2(make_result(raw2_storage)),
        central2(make_result(central2_storage)),
        variation(make_result(variation_storage)),
        method(method_value) {}

  void require(sycl::handler& cgh) const {
    require_placeholder(cgh, mean);
    require_placeholder(cgh, raw2);
    require_placeholder(cgh, central2);
    require_placeholder(cgh, variation);
  }

  void estimate(ss_task* task) const {
    ss_edit_moments<T>(task, host_pointer(mean), host_pointer(raw2), nullptr, nullptr,
                       host_pointer(central2), nullptr, nullptr);
    ss_edit_task<T>(task, SS_FIELD_VARIATION, host_pointer(variation));
    ss_compute<T>(task, SS_VARIATION, method);
  }

  result_t<T, Usm> mean;
  result_t<T, Usm> raw2;
  result_t<T, Usm> central2;
  result_t<T, Usm> variation;
  std::int64_t method;
};

}  // namespace vorlex::orv::stats::detail::cpu
