// Buffer accessors: sycl::accessor for commands (kernels and host tasks) and sycl::host_accessor
// for the host.
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

#include "sycl/access.hpp"
#include "sycl/buffer.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/accessor_state.hpp"
#include "sycl/id.hpp"
#include "sycl/multi_ptr.hpp"
#include "sycl/property_list.hpp"
#include "sycl/range.hpp"

namespace sycl {
namespace detail {

template <typename T, access_mode Default, typename... Rest>
struct tag_mode {
  static constexpr access_mode value = Default;
};
template <typename T, access_mode Default, access_mode Mode, target Target, typename... Rest>
struct tag_mode<T, Default, access_tag<Mode, Target>, Rest...> {
  static constexpr access_mode value = Mode;
};
template <typename T, access_mode Default, typename First, typename... Rest>
struct tag_mode<T, Default, First, Rest...> : tag_mode<T, Default, Rest...> {};

template <target Default, typename... Rest>
struct tag_target {
  static constexpr target value = Default;
};
template <target Default, access_mode Mode, target Target, typename... Rest>
struct tag_target<Default, access_tag<Mode, Target>, Rest...> {
  static constexpr target value = Target;
};
template <target Default, typename First, typename... Rest>
struct tag_target<Default, First, Rest...> : tag_target<Default, Rest...> {};

template <typename DataT>
inline constexpr access_mode default_access_mode =
    std::is_const_v<DataT> ? access_mode::read : access_mode::read_write;

template <typename T, typename DataT>
using enable_if_buffer_of =
    std::enable_if_t<std::is_same_v<std::remove_const_t<T>, std::remove_const_t<DataT>>>;

template <typename DataT, access_mode Mode>
using accessed_type = std::conditional_t<Mode == access_mode::read, const DataT, DataT>;

}  // namespace detail

template <typename DataT, int Dimensions = 1,
          access_mode AccessMode = detail::default_access_mode<DataT>,
          target AccessTarget = target::device,
          access::placeholder IsPlaceholder = access::placeholder::false_t>
class accessor {
  static_assert(Dimensions == 1, "this runtime's accessors are one-dimensional");
  static_assert(AccessTarget == target::device || AccessTarget == target::host_task,
                "buffer accessors target the device or a host task");

 public:
  using value_type = detail::accessed_type<DataT, AccessMode>;
  using reference = value_type&;
  using const_reference = const DataT&;
  template <access::decorated IsDecorated>
  using accessor_ptr = multi_ptr<value_type, access::address_space::global_space, IsDecorated>;
  using iterator = value_type*;
  using const_iterator = const value_type*;
  using difference_type = std::ptrdiff_t;
  using size_type = std::size_t;

  using tag_type = detail::access_tag<AccessMode, AccessTarget>;
  template <typename T, typename A>
  using buffer_type = buffer<T, Dimensions, A>;

  accessor() = default;

  // Placeholders: bound to a command group later by handler::require.
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, const property_list& = {}) {
    init(buf, nullptr, buf.get_range(), {});
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, tag_type, const property_list& = {}) {
    init(buf, nullptr, buf.get_range(), {});
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, range<Dimensions> r, const property_list& = {}) {
    init(buf, nullptr, r, {});
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, range<Dimensions> r, tag_type, const property_list& = {}) {
    init(buf, nullptr, r, {});
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, range<Dimensions> r, id<Dimensions> offset,
           const property_list& = {}) {
    init(buf, nullptr, r, offset);
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, range<Dimensions> r, id<Dimensions> offset, tag_type,
           const property_list& = {}) {
    init(buf, nullptr, r, offset);
  }

  // Bound to the command group of cgh.
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, handler& cgh, const property_list& = {}) {
    init(buf, &cgh, buf.get_range(), {});
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, handler& cgh, tag_type, const property_list& = {}) {
    init(buf, &cgh, buf.get_range(), {});
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, handler& cgh, range<Dimensions> r, const property_list& = {}) {
    init(buf, &cgh, r, {});
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, handler& cgh, range<Dimensions> r, tag_type,
           const property_list& = {}) {
    init(buf, &cgh, r, {});
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, handler& cgh, range<Dimensions> r, id<Dimensions> offset,
           const property_list& = {}) {
    init(buf, &cgh, r, offset);
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  accessor(buffer_type<T, A>& buf, handler& cgh, range<Dimensions> r, id<Dimensions> offset,
           tag_type, const property_list& = {}) {
    init(buf, &cgh, r, offset);
  }

  bool is_placeholder() const noexcept { return state_.placeholder; }
  std::size_t byte_size() const noexcept { return state_.count * sizeof(DataT); }
  std::size_t size() const noexcept { return state_.count; }
  std::size_t get_count() const noexcept { return state_.count; }
  std::size_t max_size() const noexcept { return state_.count; }
  bool empty() const noexcept { return state_.count == 0; }
  range<Dimensions> get_range() const { return range<1>(state_.count); }
  id<Dimensions> get_offset() const { return id<1>(state_.offset); }

  // Indices count from the start of the accessed range.
  reference operator[](id<Dimensions> index) const { return element(index[0]); }
  template <typename Index, typename = std::enable_if_t<std::is_integral_v<Index>>>
  reference operator[](Index index) const {
    return element(static_cast<std::size_t>(index));
  }

  // Both point at element 0 of the buffer, also for a ranged accessor.
  template <access::decorated IsDecorated>
  accessor_ptr<IsDecorated> get_multi_ptr() const noexcept {
    return accessor_ptr<IsDecorated>(base());
  }
  global_ptr<value_type> get_pointer() const noexcept { return global_ptr<value_type>(base()); }

  iterator begin() const noexcept { return base() + state_.offset; }
  iterator end() const noexcept { return begin() + state_.count; }
  const_iterator cbegin() const noexcept { return begin(); }
  const_iterator cend() const noexcept { return end(); }

  friend bool operator==(const accessor& a, const accessor& b) {
    return a.state_.tag == b.state_.tag;
  }
  friend bool operator!=(const accessor& a, const accessor& b) { return !(a == b); }

 private:
  friend class handler;

  template <typename T, typename A>
  void init(buffer_type<T, A>& buf, handler* cgh, range<Dimensions> r, id<Dimensions> offset) {
    detail::check_access_range(offset[0], r[0], buf.size());
    state_.data = buf.storage();
    state_.tag = detail::next_accessor_tag();
    state_.buffer = detail::impl_access::get(buf).get();
    state_.offset = offset[0];
    state_.count = r[0];
    state_.mode = AccessMode;
    state_.placeholder = cgh == nullptr;
    if (cgh != nullptr) {
      detail::add_requirement(*cgh, state_);
    }
  }
  value_type* base() const noexcept { return static_cast<value_type*>(state_.data); }
  reference element(std::size_t index) const { return base()[state_.offset + index]; }

  detail::accessor_state state_;
};

template <typename T, int D, typename A, typename... Rest>
accessor(buffer<T, D, A>&, Rest&&...)
    -> accessor<T, D,
                detail::tag_mode<T, detail::default_access_mode<T>, std::decay_t<Rest>...>::value,
                detail::tag_target<target::device, std::decay_t<Rest>...>::value>;

template <typename DataT, int Dimensions = 1,
          access_mode AccessMode = detail::default_access_mode<DataT>>
class host_accessor {
  static_assert(Dimensions == 1, "this runtime's accessors are one-dimensional");

 public:
  using value_type = detail::accessed_type<DataT, AccessMode>;
  using reference = value_type&;
  using const_reference = const DataT&;
  using iterator = value_type*;
  using const_iterator = const value_type*;
  using difference_type = std::ptrdiff_t;
  using size_type = std::size_t;
  template <typename T, typename A>
  using buffer_type = buffer<T, Dimensions, A>;

  host_accessor() = default;

  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  host_accessor(buffer_type<T, A>& buf, const property_list& = {}) {
    init(buf, buf.get_range(), {});
  }
  template <typename T, typename A, target Target, typename = detail::enable_if_buffer_of<T, DataT>>
  host_accessor(buffer_type<T, A>& buf, detail::access_tag<AccessMode, Target>,
                const property_list& = {}) {
    init(buf, buf.get_range(), {});
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  host_accessor(buffer_type<T, A>& buf, range<Dimensions> r, const property_list& = {}) {
    init(buf, r, {});
  }
  template <typename T, typename A, target Target, typename = detail::enable_if_buffer_of<T, DataT>>
  host_accessor(buffer_type<T, A>& buf, range<Dimensions> r, detail::access_tag<AccessMode, Target>,
                const property_list& = {}) {
    init(buf, r, {});
  }
  template <typename T, typename A, typename = detail::enable_if_buffer_of<T, DataT>>
  host_accessor(buffer_type<T, A>& buf, range<Dimensions> r, id<Dimensions> offset,
                const property_list& = {}) {
    init(buf, r, offset);
  }
  template <typename T, typename A, target Target, typename = detail::enable_if_buffer_of<T, DataT>>
  host_accessor(buffer_type<T, A>& buf, range<Dimensions> r, id<Dimensions> offset,
                detail::access_tag<AccessMode, Target>, const property_list& = {}) {
    init(buf, r, offset);
  }

  std::size_t byte_size() const noexcept { return count_ * sizeof(DataT); }
  std::size_t size() const noexcept { return count_; }
  std::size_t get_count() const noexcept { return count_; }
  std::size_t max_size() const noexcept { return count_; }
  bool empty() const noexcept { return count_ == 0; }
  range<Dimensions> get_range() const { return range<1>(count_); }
  id<Dimensions> get_offset() const { return id<1>(offset_); }

  reference operator[](id<Dimensions> index) const { return data_[offset_ + index[0]]; }
  template <typename Index, typename = std::enable_if_t<std::is_integral_v<Index>>>
  reference operator[](Index index) const {
    return data_[offset_ + static_cast<std::size_t>(index)];
  }
  // Element 0 of the buffer, also for a ranged accessor.
  value_type* get_pointer() const noexcept { return data_; }

  iterator begin() const noexcept { return data_ + offset_; }
  iterator end() const noexcept { return begin() + count_; }
  const_iterator cbegin() const noexcept { return begin(); }
  const_iterator cend() const noexcept { return end(); }

 private:
  template <typename T, typename A>
  void init(buffer_type<T, A>& buf, range<Dimensions> r, id<Dimensions> offset) {
    detail::check_access_range(offset[0], r[0], buf.size());
    hold_ = detail::acquire_host_access(*detail::impl_access::get(buf), AccessMode);
    data_ = static_cast<value_type*>(buf.storage());
    offset_ = offset[0];
    count_ = r[0];
  }

  value_type* data_ = nullptr;
  std::size_t offset_ = 0;
  std::size_t count_ = 0;
  std::shared_ptr<void> hold_;  // the buffer stays held for the host until the last copy goes
};

template <typename T, int D, typename A, typename... Rest>
host_accessor(buffer<T, D, A>&, Rest&&...) -> host_accessor<
    T, D, detail::tag_mode<T, detail::default_access_mode<T>, std::decay_t<Rest>...>::value>;

}  // namespace sycl
