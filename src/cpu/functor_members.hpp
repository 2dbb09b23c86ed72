// What the CPU functors are made of. A result member is a placeholder accessor in the buffer form
// (Usm false) and a plain pointer in the USM form (Usm true); either way the estimator gets a host
// pointer to write to.
#pragma once

#include <sycl/sycl.hpp>

#include <array>
#include <cstdint>
#include <type_traits>

#include "common/has_elements.hpp"

namespace vorlex::orv::stats::detail::cpu {

template <typename T>
using result_accessor = sycl::accessor<T, 1, sycl::access_mode::read_write, sycl::target::device>;

// What a result member is built from.
template <typename T, bool Usm>
using result_source_t = std::conditional_t<Usm, T*, sycl::buffer<T, 1>>;

template <typename T>
T* make_result(T* output) {
  return output;
}

// Built outside of any command group; require() binds it to one. An output without elements is
// reached through no element.
template <typename T>
result_accessor<T> make_result(sycl::buffer<T, 1> output) {
  return has_elements(output) ? result_accessor<T>(output)
                              : result_accessor<T>(output, sycl::range<1>(0));
}

// An optional output of the buffer form: the caller's buffer if it has elements, else the frame's
// dummy, so that the accessor always has a buffer to bind to.
template <typename T>
result_accessor<T> make_optional_result(sycl::buffer<T, 1> output, sycl::buffer<T, 1> dummy) {
  return has_elements(output) ? result_accessor<T>(output) : result_accessor<T>(dummy);
}

template <typename T>
T* host_pointer(T* output) {
  return output;
}

// An accessor of no elements points at no storage, and the estimator is told so: this is the
// caller's zero-length first output, which the estimator must not write to.
template <typename T>
T* host_pointer(const result_accessor<T>& output) {
  return output.empty() ? nullptr
                        : output.template get_multi_ptr<sycl::access::decorated::no>().get();
}

// A pointer that a rule may withhold: the buffer form gives null where its rule says so; the USM
// form gives its pointers as they stand, whatever the rule.
template <typename T>
T* given_if(bool /*rule*/, T* output) {
  return output;
}

template <typename T>
T* given_if(bool rule, const result_accessor<T>& output) {
  return rule ? host_pointer(output) : nullptr;
}

// An accessor of no elements orders nothing and is left unbound: binding it would give a caller's
// buffer of no elements storage on some runtimes, after which it could no longer be told from a
// buffer of one element.
template <typename T>
void require_placeholder(sycl::handler& cgh, const result_accessor<T>& output) {
  if (output.is_placeholder() && output.get_range().size() != 0) {
    cgh.require(output);
  }
}

constexpr std::uint64_t bit_if(bool wanted, std::uint64_t bit) {
  return wanted ? bit : 0;
}

// The presence flags of the buffer form's optional outputs, true where the caller's buffer has
// elements. A USM functor has none: there an output is wanted when its pointer is not null.
// wanted() answers for either form, for the optional outputs in order.
template <bool Usm>
struct wants_2_to_4 {
  template <typename Result>
  std::array<bool, 3> wanted(const Result&, const Result&, const Result&) const {
    return {want2, want3, want4};
  }
  bool want2;
  bool want3;
  bool want4;
};
template <>
struct wants_2_to_4<true> {
  template <typename T>
  std::array<bool, 3> wanted(T* second, T* third, T* fourth) const {
    return {second != nullptr, third != nullptr, fourth != nullptr};
  }
};

template <bool Usm>
struct wants_3_to_4 {
  template <typename Result>
  std::array<bool, 2> wanted(const Result&, const Result&) const {
    return {want3, want4};
  }
  bool want3;
  bool want4;
};
template <>
struct wants_3_to_4<true> {
  template <typename T>
  std::array<bool, 2> wanted(T* third, T* fourth) const {
    return {third != nullptr, fourth != nullptr};
  }
};

}  // namespace vorlex::orv::stats::detail::cpu
