// Properties of queues, buffers and accessors, and the list that carries them.
#pragma once

#include <cstdint>
#include <type_traits>

#include "sycl/exception.hpp"

namespace sycl {
namespace detail {
enum class property_kind : unsigned {
  queue_in_order,
  queue_enable_profiling,
  buffer_use_host_ptr,
  no_init,
};

template <property_kind Kind>
struct property_base {
  static constexpr property_kind kind = Kind;
};
}  // namespace detail

namespace property {
namespace queue {
struct in_order : detail::property_base<detail::property_kind::queue_in_order> {};
struct enable_profiling : detail::property_base<detail::property_kind::queue_enable_profiling> {};
}  // namespace queue
namespace buffer {
struct use_host_ptr : detail::property_base<detail::property_kind::buffer_use_host_ptr> {};
}  // namespace buffer
struct no_init : detail::property_base<detail::property_kind::no_init> {};
}  // namespace property

inline constexpr property::no_init no_init{};

namespace detail {
template <typename T, typename = void>
struct is_property_impl : std::false_type {};
template <typename T>
struct is_property_impl<T, std::void_t<decltype(T::kind)>>
    : std::bool_constant<std::is_base_of_v<property_base<T::kind>, T>> {};
}  // namespace detail

template <typename T>
struct is_property : detail::is_property_impl<T> {};
template <typename T>
inline constexpr bool is_property_v = is_property<T>::value;

class property_list {
 public:
  template <typename... Properties,
            typename = std::enable_if_t<(is_property<Properties>::value && ...)>>
  property_list(Properties...) : kinds_((bit(Properties::kind) | ... | 0u)) {}

  template <typename Property>
  bool has_property() const noexcept {
    return (kinds_ & bit(Property::kind)) != 0;
  }
  template <typename Property>
  Property get_property() const {
    if (!has_property<Property>()) {
      throw exception(make_error_code(errc::invalid), "The property list lacks that property");
    }
    return Property{};
  }

 private:
  static constexpr unsigned bit(detail::property_kind kind) {
    return 1u << static_cast<unsigned>(kind);
  }
  unsigned kinds_ = 0;
};

}  // namespace sycl
