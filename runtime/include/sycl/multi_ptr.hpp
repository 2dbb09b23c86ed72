// sycl::multi_ptr: a pointer that carries its address space. Every space is plain memory on the
// devices of this runtime, so the space only types the pointer.
#pragma once

#include <cstddef>
#include <iterator>
#include <type_traits>

#include "sycl/access.hpp"
#include "sycl/defines.hpp"

namespace sycl {

template <typename ElementType, access::address_space Space,
          access::decorated DecorateAddress = access::decorated::legacy>
class multi_ptr {
 public:
  static constexpr bool is_decorated = DecorateAddress == access::decorated::yes;
  static constexpr access::address_space address_space = Space;

  using value_type = ElementType;
  using element_type = ElementType;
  using difference_type = std::ptrdiff_t;
  using pointer = ElementType*;
  using reference = std::add_lvalue_reference_t<ElementType>;
  using iterator_category = std::random_access_iterator_tag;

  multi_ptr() = default;
  multi_ptr(std::nullptr_t) {}
  explicit multi_ptr(ElementType* raw) : ptr_(raw) {}

  // A pointer converts to the same space with other decoration, to the generic space, and to a more
  // qualified or void element type.
  template <typename Other, access::address_space OtherSpace, access::decorated OtherDecoration,
            typename = std::enable_if_t<(OtherSpace == Space ||
                                         OtherSpace == access::address_space::generic_space) &&
                                        std::is_convertible_v<ElementType*, Other*>>>
  operator multi_ptr<Other, OtherSpace, OtherDecoration>() const {
    return multi_ptr<Other, OtherSpace, OtherDecoration>(ptr_);
  }
  // Legacy pointers still convert to a raw pointer implicitly.
  template <access::decorated D = DecorateAddress,
            typename = std::enable_if_t<D == access::decorated::legacy>>
  operator ElementType*() const {
    return ptr_;
  }

  ElementType* get() const { return ptr_; }
  ElementType* get_raw() const { return ptr_; }
  ElementType* get_decorated() const { return ptr_; }

  template <typename E = ElementType, typename = std::enable_if_t<!std::is_void_v<E>>>
  E& operator*() const {
    return *ptr_;
  }
  ElementType* operator->() const { return ptr_; }
  template <typename E = ElementType, typename = std::enable_if_t<!std::is_void_v<E>>>
  E& operator[](std::ptrdiff_t index) const {
    return ptr_[index];
  }

  multi_ptr& operator++() {
    ++ptr_;
    return *this;
  }
  multi_ptr operator++(int) {
    multi_ptr old = *this;
    ++ptr_;
    return old;
  }
  multi_ptr& operator--() {
    --ptr_;
    return *this;
  }
  multi_ptr operator--(int) {
    multi_ptr old = *this;
    --ptr_;
    return old;
  }
  multi_ptr& operator+=(difference_type n) {
    ptr_ += n;
    return *this;
  }
  multi_ptr& operator-=(difference_type n) {
    ptr_ -= n;
    return *this;
  }
  friend multi_ptr operator+(multi_ptr p, difference_type n) { return p += n; }
  friend multi_ptr operator-(multi_ptr p, difference_type n) { return p -= n; }
  friend difference_type operator-(const multi_ptr& a, const multi_ptr& b) {
    return a.ptr_ - b.ptr_;
  }

  friend bool operator==(const multi_ptr& a, const multi_ptr& b) { return a.ptr_ == b.ptr_; }
  friend bool operator!=(const multi_ptr& a, const multi_ptr& b) { return a.ptr_ != b.ptr_; }
  friend bool operator<(const multi_ptr& a, const multi_ptr& b) { return a.ptr_ < b.ptr_; }
  friend bool operator==(const multi_ptr& a, std::nullptr_t) { return a.ptr_ == nullptr; }
  friend bool operator!=(const multi_ptr& a, std::nullptr_t) { return a.ptr_ != nullptr; }
  explicit operator bool() const { return ptr_ != nullptr; }

 private:
  ElementType* ptr_ = nullptr;
};

template <access::address_space Space, access::decorated Decoration, typename ElementType>
multi_ptr<ElementType, Space, Decoration> address_space_cast(ElementType* raw) {
  return multi_ptr<ElementType, Space, Decoration>(raw);
}

template <typename ElementType, access::decorated IsDecorated = access::decorated::legacy>
using global_ptr = multi_ptr<ElementType, access::address_space::global_space, IsDecorated>;
template <typename ElementType, access::decorated IsDecorated = access::decorated::legacy>
using local_ptr = multi_ptr<ElementType, access::address_space::local_space, IsDecorated>;
template <typename ElementType, access::decorated IsDecorated = access::decorated::legacy>
using private_ptr = multi_ptr<ElementType, access::address_space::private_space, IsDecorated>;
template <typename ElementType, access::decorated IsDecorated = access::decorated::legacy>
using generic_ptr = multi_ptr<ElementType, access::address_space::generic_space, IsDecorated>;

template <typename ElementType>
using raw_global_ptr = global_ptr<ElementType, access::decorated::no>;
template <typename ElementType>
using raw_local_ptr = local_ptr<ElementType, access::decorated::no>;
template <typename ElementType>
using raw_private_ptr = private_ptr<ElementType, access::decorated::no>;
template <typename ElementType>
using decorated_global_ptr = global_ptr<ElementType, access::decorated::yes>;
template <typename ElementType>
using decorated_local_ptr = local_ptr<ElementType, access::decorated::yes>;
template <typename ElementType>
using decorated_private_ptr = private_ptr<ElementType, access::decorated::yes>;

}  // namespace sycl
