// What each statistic asks of the estimator on a CPU queue: the result arrays it hands to the task,
// by which editing call, the estimate mask and the method value. A functor owns nothing and
// computes nothing; its estimate() runs once in the host task, between the creation of the task and
// its deletion.
//
// Both forms hold the same members in the same order. The buffer form (Usm false) builds its
// accessors as placeholders and binds them in require(); its optional outputs sit on the frame's
// one-element dummies when the caller left them out, and a flag says so. The USM form (Usm true)
// hands its pointers over as they stand.
#pragma once

#include <sycl/sycl.hpp>

#include <array>
#include <cstddef>
#include <cstdint>

#include "common/pointer_or_accessor.hpp"
#include "cpu/estimator_calls.hpp"
#include "cpu/functor_members.hpp"
#include "orv/ss_task.h"

namespace vorlex::orv::stats::detail::cpu {

// Results given by field edits, then one computation: the mean, either extreme, or both (the
// min/max stage runs once for the two).
template <typename T, bool Usm, std::uint64_t Mask, std::int64_t... Fields>
struct field_func {
  template <typename... Sources>
  explicit field_func(std::int64_t method_value, Sources... storage)
      : results{make_result(storage)...}, method(method_value) {}

  void require(sycl::handler& cgh) const {
    for (const auto& result : results) {
      require_placeholder(cgh, result);
    }
  }

  void estimate(ss_task* task) const {
    std::size_t k = 0;
    (ss_edit_task<T>(task, Fields, host_pointer(results[k++])), ...);
    ss_compute<T>(task, Mask, method);
  }

  std::array<pointer_or_accessor<T, Usm>, sizeof...(Fields)> results;
  std::int64_t method;
};

template <typename T, bool Usm>
using mean_func = field_func<T, Usm, SS_MEAN, SS_FIELD_MEAN>;
template <typename T, bool Usm>
using min_func = field_func<T, Usm, SS_MIN, SS_FIELD_MIN>;
template <typename T, bool Usm>
using max_func = field_func<T, Usm, SS_MAX, SS_FIELD_MAX>;
template <typename T, bool Usm>
using min_max_func = field_func<T, Usm, SS_MIN | SS_MAX, SS_FIELD_MIN, SS_FIELD_MAX>;

// The raw families: a first result whose bit is always in the mask (also when the caller left it
// out), and three optional ones, all by one edit call (Edit) with the mask bits of Bits.
struct raw_sums_edit {
  static constexpr std::uint64_t bits[4] = {SS_SUM, SS_RAW_SUM2, SS_RAW_SUM3, SS_RAW_SUM4};
  template <typename T>
  static void edit(ss_task* task, T* first, T* second, T* third, T* fourth) {
    ss_edit_sums<T>(task, first, second, third, fourth, nullptr, nullptr, nullptr);
  }
};

struct raw_moments_edit {
  static constexpr std::uint64_t bits[4] = {SS_MEAN, SS_RAW_MOMENT2, SS_RAW_MOMENT3,
                                            SS_RAW_MOMENT4};
  template <typename T>
  static void edit(ss_task* task, T* first, T* second, T* third, T* fourth) {
    ss_edit_moments<T>(task, first, second, third, fourth, nullptr, nullptr, nullptr);
  }
};

template <typename T, bool Usm, typename Edit>
struct raw_func : wants_2_to_4<Usm> {
  // The buffer frame gives one-element dummies for the optional outputs.
  static constexpr bool takes_dummies = true;

  // Buffer form.
  raw_func(std::int64_t method_value, sycl::buffer<T, 1> first_storage,
           sycl::buffer<T, 1> second_storage, sycl::buffer<T, 1> third_storage,
           sycl::buffer<T, 1> fourth_storage, sycl::buffer<T, 1> dummy2, sycl::buffer<T, 1> dummy3,
           sycl::buffer<T, 1> dummy4)
      : wants_2_to_4<Usm>{is_given(second_storage), is_given(third_storage),
                          is_given(fourth_storage)},
        first(make_result(first_storage)),
        second(make_optional_result(second_storage, dummy2)),
        third(make_optional_result(third_storage, dummy3)),
        fourth(make_optional_result(fourth_storage, dummy4)),
        method(method_value) {}

  // USM form.
  raw_func(std::int64_t method_value, T* first_storage, T* second_storage, T* third_storage,
           T* fourth_storage)
      : first(first_storage),
        second(second_storage),
        third(third_storage),
        fourth(fourth_storage),
        method(method_value) {}

  void require(sycl::handler& cgh) const {
    require_placeholder(cgh, first);
    require_placeholder(cgh, second);
    require_placeholder(cgh, third);
    require_placeholder(cgh, fourth);
  }

  void estimate(ss_task* task) const {
    const auto [w2, w3, w4] = this->wanted(second, third, fourth);
    Edit::edit(task, host_pointer(first), given_if(w2, second), given_if(w3, third),
               given_if(w4, fourth));
    ss_compute<T>(task,
                  Edit::bits[0] | bit_if(w2, Edit::bits[1]) | bit_if(w3, Edit::bits[2]) |
                      bit_if(w4, Edit::bits[3]),
                  method);
  }

  pointer_or_accessor<T, Usm> first;
  pointer_or_accessor<T, Usm> second;
  pointer_or_accessor<T, Usm> third;
  pointer_or_accessor<T, Usm> fourth;
  std::int64_t method;
};

template <typename T, bool Usm>
using raw_sum_func = raw_func<T, Usm, raw_sums_edit>;
template <typename T, bool Usm>
using raw_moment_func = raw_func<T, Usm, raw_moments_edit>;

// Central sums about the estimator's mean (method 2) or the caller's (256): only the mean and the
// sums go to the task.
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

  pointer_or_accessor<T, Usm> mean;
  pointer_or_accessor<T, Usm> central_sum2;
  pointer_or_accessor<T, Usm> central_sum3;
  pointer_or_accessor<T, Usm> central_sum4;
  std::int64_t method;
};

// The central families with the raw moments they expand through, from the frame's scratch:
// central_moment, and central_sum with method::fast. The second central result has no flag: its bit
// is always in the mask. Sums go by a second edit call, after the moments; the sums' third array is
// given for a wanted fourth as well.
struct central_sums_edit {
  static constexpr std::uint64_t bits[3] = {SS_CENTRAL_SUM2, SS_CENTRAL_SUM3, SS_CENTRAL_SUM4};
  template <typename T, typename Result>
  static void edit(ss_task* task, T* mean, T* raw2, T* raw3, T* raw4, T* second,
                   const Result& third, const Result& fourth, bool w3, bool w4) {
    ss_edit_moments<T>(task, mean, raw2, raw3, raw4, nullptr, nullptr, nullptr);
    ss_edit_sums<T>(task, nullptr, nullptr, nullptr, nullptr, second, given_if(w3 || w4, third),
                    given_if(w4, fourth));
  }
};

struct central_moments_edit {
  static constexpr std::uint64_t bits[3] = {SS_CENTRAL_MOMENT2, SS_CENTRAL_MOMENT3,
                                            SS_CENTRAL_MOMENT4};
  template <typename T, typename Result>
  static void edit(ss_task* task, T* mean, T* raw2, T* raw3, T* raw4, T* second,
                   const Result& third, const Result& fourth, bool w3, bool w4) {
    ss_edit_moments<T>(task, mean, raw2, raw3, raw4, second, given_if(w3, third),
                       given_if(w4, fourth));
  }
};

template <typename T, bool Usm, typename Edit>
struct central_func : wants_3_to_4<Usm> {
  // Buffer form.
  central_func(std::int64_t method_value, sycl::buffer<T, 1> mean_storage,
               sycl::buffer<T, 1> raw2_storage, sycl::buffer<T, 1> raw3_storage,
               sycl::buffer<T, 1> raw4_storage, sycl::buffer<T, 1> second_storage,
               sycl::buffer<T, 1> third_storage, sycl::buffer<T, 1> fourth_storage,
               sycl::buffer<T, 1> dummy3, sycl::buffer<T, 1> dummy4)
      : wants_3_to_4<Usm>{is_given(third_storage), is_given(fourth_storage)},
        mean(make_result(mean_storage)),
        raw2(make_result(raw2_storage)),
        raw3(make_result(raw3_storage)),
        raw4(make_result(raw4_storage)),
        second(make_result(second_storage)),
        third(make_optional_result(third_storage, dummy3)),
        fourth(make_optional_result(fourth_storage, dummy4)),
        method(method_value) {}

  // USM form.
  central_func(std::int64_t method_value, T* mean_storage, T* raw2_storage, T* raw3_storage,
               T* raw4_storage, T* second_storage, T* third_storage, T* fourth_storage)
      : mean(mean_storage),
        raw2(raw2_storage),
        raw3(raw3_storage),
        raw4(raw4_storage),
        second(second_storage),
        third(third_storage),
        fourth(fourth_storage),
        method(method_value) {}

  void require(sycl::handler& cgh) const {
    for (const auto* result : {&mean, &raw2, &raw3, &raw4, &second, &third, &fourth}) {
      require_placeholder(cgh, *result);
    }
  }

  void estimate(ss_task* task) const {
    const auto [w3, w4] = this->wanted(third, fourth);
    Edit::edit(task, host_pointer(mean), host_pointer(raw2), given_if(w3 || w4, raw3),
               given_if(w4, raw4), host_pointer(second), third, fourth, w3, w4);
    ss_compute<T>(task, Edit::bits[0] | bit_if(w3, Edit::bits[1]) | bit_if(w4, Edit::bits[2]),
                  method);
  }

  pointer_or_accessor<T, Usm> mean;
  pointer_or_accessor<T, Usm> raw2;
  pointer_or_accessor<T, Usm> raw3;
  pointer_or_accessor<T, Usm> raw4;
  pointer_or_accessor<T, Usm> second;
  pointer_or_accessor<T, Usm> third;
  pointer_or_accessor<T, Usm> fourth;
  std::int64_t method;
};

template <typename T, bool Usm>
using central_sum_func_fast = central_func<T, Usm, central_sums_edit>;
template <typename T, bool Usm>
using central_moment_func = central_func<T, Usm, central_moments_edit>;

// A derived estimate: only it is asked for. The moment arrays are what the estimator must be given,
// at their places among the arguments of EditMoments (0 mean, 1 to 3 raw moments 2 to 4, 4 to 6
// central moments 2 to 4); nothing reads them afterwards.
template <typename T, bool Usm, std::uint64_t Bit, std::int64_t Field, std::size_t... Places>
struct derived_func {
  template <typename... Sources>
  derived_func(std::int64_t method_value, result_source_t<T, Usm> output_storage,
               Sources... moment_storage)
      : moments{make_result(moment_storage)...},
        output(make_result(output_storage)),
        method(method_value) {}

  void require(sycl::handler& cgh) const {
    for (const auto& moment : moments) {
      require_placeholder(cgh, moment);
    }
    require_placeholder(cgh, output);
  }

  void estimate(ss_task* task) const {
    std::array<T*, 7> edit{};
    std::size_t k = 0;
    ((edit[Places] = host_pointer(moments[k++])), ...);
    ss_edit_moments<T>(task, edit[0], edit[1], edit[2], edit[3], edit[4], edit[5], edit[6]);
    ss_edit_task<T>(task, Field, host_pointer(output));
    ss_compute<T>(task, Bit, method);
  }

  std::array<pointer_or_accessor<T, Usm>, sizeof...(Places)> moments;
  pointer_or_accessor<T, Usm> output;
  std::int64_t method;
};

template <typename T, bool Usm>
using kurtosis_func = derived_func<T, Usm, SS_KURTOSIS, SS_FIELD_KURTOSIS, 0, 1, 2, 3, 4, 6>;
template <typename T, bool Usm>
using skewness_func = derived_func<T, Usm, SS_SKEWNESS, SS_FIELD_SKEWNESS, 0, 1, 2, 4, 5>;
template <typename T, bool Usm>
using variation_func = derived_func<T, Usm, SS_VARIATION, SS_FIELD_VARIATION, 0, 1, 4>;

}  // namespace vorlex::orv::stats::detail::cpu
