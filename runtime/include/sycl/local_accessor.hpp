// sycl::local_accessor: work-group local memory. It holds only an offset into the group's arena, so
// kernel objects stay trivially copyable; the arena itself, not the accessor's range, bounds what a
// kernel may touch.
#pragma once

#include <cstddef>

#include "sycl/access.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/kernel_launch.hpp"
#include "sycl/id.hpp"
#include "sycl/multi_ptr.hpp"
#include "sycl/property_list.hpp"
#include "sycl/range.hpp"

namespace sycl {

template <typename DataT, int Dimensions = 1>
class local_accessor;

template <typename DataT>
class local_accessor<DataT, 1> {
 public:
  using value_type = DataT;
  using reference = DataT&;
  using const_reference = const DataT&;
  template <access::decorated IsDecorated>
  using accessor_ptr = multi_ptr<DataT, access::address_space::local_space, IsDecorated>;
  using iterator = DataT*;
  using const_iterator = const DataT*;
  using difference_type = std::ptrdiff_t;
  using size_type = std::size_t;

  local_accessor() = default;
  local_accessor(range<1> allocation_size, handler& cgh, const property_list& = {})
      : offset_(
            detail::reserve_local_memory(cgh, allocation_size[0] * sizeof(DataT), alignof(DataT))),
        count_(allocation_size[0]) {}

  DataT& operator[](id<1> index) const { return data()[index[0]]; }
  DataT& operator[](std::size_t index) const { return data()[index]; }

  template <access::decorated IsDecorated>
  accessor_ptr<IsDecorated> get_multi_ptr() const noexcept {
    return accessor_ptr<IsDecorated>(data());
  }
  local_ptr<DataT> get_pointer() const noexcept { return local_ptr<DataT>(data()); }

  iterator begin() const noexcept { return data(); }
  iterator end() const noexcept { return data() + count_; }

  std::size_t size() const noexcept { return count_; }
  std::size_t byte_size() const noexcept { return count_ * sizeof(DataT); }
  std::size_t max_size() const noexcept { return count_; }
  bool empty() const noexcept { return count_ == 0; }
  range<1> get_range() const { return range<1>(count_); }

 private:
  DataT* data() const noexcept {
    return reinterpret_cast<DataT*>(detail::current_local_arena() + offset_);
  }

  std::size_t offset_ = 0;
  std::size_t count_ = 0;
};

}  // namespace sycl
