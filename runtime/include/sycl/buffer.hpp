// sycl::buffer: storage that commands reach through accessors. Copies of a buffer share one
// storage; when the last copy goes, its destruction waits for the commands that use the storage and
// writes the data back.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vector>

#include "sycl/access.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/impl_access.hpp"
#include "sycl/exception.hpp"
#include "sycl/id.hpp"
#include "sycl/property_list.hpp"
#include "sycl/range.hpp"

namespace sycl {
class handler;
template <typename DataT, int Dimensions, access_mode AccessMode, target AccessTarget,
          access::placeholder IsPlaceholder>
class accessor;
template <typename DataT, int Dimensions, access_mode AccessMode>
class host_accessor;

// The runtime keeps buffer storage itself; the allocator parameter exists for the SYCL signature
// and is not called.
template <typename T>
using buffer_allocator = std::allocator<T>;

namespace detail {
class buffer_impl;

struct buffer_init {
  std::size_t bytes = 0;
  const void* initial = nullptr;  // copied into fresh storage
  void* final_data = nullptr;     // where destruction writes back
  void* host_storage = nullptr;   // used as the storage itself (use_host_ptr)
};

// The handle's shared_ptr: when its last copy goes, it waits for the commands that use the storage
// and writes back.
TESSEL_SYCL_API std::shared_ptr<buffer_impl> make_buffer(const buffer_init& init);
TESSEL_SYCL_API void* buffer_data(const buffer_impl& b) noexcept;
TESSEL_SYCL_API void buffer_set_final_data(buffer_impl& b, void* destination) noexcept;
TESSEL_SYCL_API void buffer_set_write_back(buffer_impl& b, bool write_back) noexcept;

template <typename Container, typename = void>
struct is_contiguous_container : std::false_type {};
template <typename Container>
struct is_contiguous_container<Container,
                               std::void_t<decltype(std::data(std::declval<Container&>())),
                                           decltype(std::size(std::declval<Container&>()))>>
    : std::true_type {};
}  // namespace detail

template <typename T, int Dimensions = 1,
          typename AllocatorT = buffer_allocator<std::remove_const_t<T>>>
class buffer {
  static_assert(Dimensions == 1, "this runtime's buffers are one-dimensional");
  static_assert(std::is_trivially_copyable_v<T>, "buffer elements are copied as bytes");

 public:
  using value_type = T;
  using reference = value_type&;
  using const_reference = const value_type&;
  using allocator_type = AllocatorT;

  buffer(const range<Dimensions>& r, const property_list& props = {})
      : buffer(r, detail::buffer_init{r.size() * sizeof(T), nullptr, nullptr, nullptr}, props) {}
  buffer(const range<Dimensions>& r, AllocatorT, const property_list& props = {})
      : buffer(r, props) {}

  buffer(T* host_data, const range<Dimensions>& r, const property_list& props = {})
      : buffer(r, host_init(host_data, r, props), props) {}
  buffer(T* host_data, const range<Dimensions>& r, AllocatorT, const property_list& props = {})
      : buffer(host_data, r, props) {}

  // Const host data seeds the buffer and is never written.
  template <typename U = T, typename = std::enable_if_t<!std::is_const_v<U>>>
  buffer(const U* host_data, const range<Dimensions>& r, const property_list& props = {})
      : buffer(r, detail::buffer_init{r.size() * sizeof(T), host_data, nullptr, nullptr}, props) {}

  // A contiguous container seeds the buffer and gets the data back.
  template <typename Container,
            typename = std::enable_if_t<detail::is_contiguous_container<Container>::value>>
  buffer(Container& container, const property_list& props = {})
      : buffer(std::data(container), range<Dimensions>(std::size(container)), props) {}

  template <typename InputIterator,
            typename = typename std::iterator_traits<InputIterator>::iterator_category>
  buffer(InputIterator first, InputIterator last, const property_list& props = {})
      : buffer(seed(first, last), props) {}

  range<Dimensions> get_range() const { return range_; }
  std::size_t size() const noexcept { return range_.size(); }
  std::size_t byte_size() const noexcept { return size() * sizeof(T); }
  std::size_t get_count() const { return size(); }
  AllocatorT get_allocator() const { return AllocatorT(); }

  template <access_mode Mode = access_mode::read_write, target Target = target::device>
  accessor<T, Dimensions, Mode, Target, access::placeholder::false_t> get_access(handler& cgh) {
    return accessor<T, Dimensions, Mode, Target, access::placeholder::false_t>(*this, cgh);
  }
  template <access_mode Mode = access_mode::read_write, target Target = target::device>
  accessor<T, Dimensions, Mode, Target, access::placeholder::false_t> get_access(
      handler& cgh, range<Dimensions> access_range, id<Dimensions> access_offset = {}) {
    return accessor<T, Dimensions, Mode, Target, access::placeholder::false_t>(
        *this, cgh, access_range, access_offset);
  }
  template <access_mode Mode = access_mode::read_write>
  host_accessor<T, Dimensions, Mode> get_host_access() {
    return host_accessor<T, Dimensions, Mode>(*this);
  }
  template <access_mode Mode, target Target>
  host_accessor<T, Dimensions, Mode> get_host_access(detail::access_tag<Mode, Target>) {
    return host_accessor<T, Dimensions, Mode>(*this);
  }

  // Null stops the write-back; a pointer redirects it.
  void set_final_data(std::nullptr_t) { detail::buffer_set_final_data(*impl_, nullptr); }
  template <typename Destination,
            typename = std::enable_if_t<std::is_convertible_v<Destination*, T*>>>
  void set_final_data(Destination* destination) {
    detail::buffer_set_final_data(*impl_, const_cast<std::remove_const_t<T>*>(destination));
  }
  void set_write_back(bool flag = true) { detail::buffer_set_write_back(*impl_, flag); }
  bool is_sub_buffer() const { return false; }

  template <typename Property>
  bool has_property() const noexcept {
    return props_.has_property<Property>();
  }
  template <typename Property>
  Property get_property() const {
    return props_.get_property<Property>();
  }

  friend bool operator==(const buffer& a, const buffer& b) { return a.impl_ == b.impl_; }
  friend bool operator!=(const buffer& a, const buffer& b) { return !(a == b); }

 private:
  friend struct detail::impl_access;
  template <typename, int, access_mode, target, access::placeholder>
  friend class accessor;
  template <typename, int, access_mode>
  friend class host_accessor;

  struct seeded {
    std::vector<std::remove_const_t<T>> values;
  };

  buffer(const range<Dimensions>& r, const detail::buffer_init& init, const property_list& props)
      : impl_(detail::make_buffer(init)), range_(r), props_(props) {}
  explicit buffer(seeded&& s, const property_list& props)
      : buffer(range<Dimensions>(s.values.size()),
               detail::buffer_init{s.values.size() * sizeof(T), s.values.data(), nullptr, nullptr},
               props) {}

  static detail::buffer_init host_init(T* host_data, const range<Dimensions>& r,
                                       const property_list& props) {
    const std::size_t bytes = r.size() * sizeof(T);
    if constexpr (std::is_const_v<T>) {
      return {bytes, host_data, nullptr, nullptr};
    } else if (props.has_property<property::buffer::use_host_ptr>()) {
      return {bytes, nullptr, host_data, host_data};
    } else {
      return {bytes, host_data, host_data, nullptr};
    }
  }
  template <typename InputIterator>
  static seeded seed(InputIterator first, InputIterator last) {
    return seeded{std::vector<std::remove_const_t<T>>(first, last)};
  }

  void* storage() const noexcept { return detail::buffer_data(*impl_); }

  std::shared_ptr<detail::buffer_impl> impl_;
  range<Dimensions> range_;
  property_list props_;
};

template <typename T, typename AllocatorT = buffer_allocator<std::remove_const_t<T>>>
buffer(T*, const range<1>&, const property_list& = {}) -> buffer<T, 1, AllocatorT>;
template <typename InputIterator>
buffer(InputIterator, InputIterator, const property_list& = {})
    -> buffer<typename std::iterator_traits<InputIterator>::value_type, 1>;
template <typename Container,
          typename = std::enable_if_t<detail::is_contiguous_container<Container>::value>>
buffer(Container&, const property_list& = {})
    -> buffer<std::remove_reference_t<decltype(*std::data(std::declval<Container&>()))>, 1>;

}  // namespace sycl
