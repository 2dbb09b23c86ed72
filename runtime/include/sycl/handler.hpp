// sycl::handler: collects one command group, its dependencies, its requirements and its one action,
// which the queue then schedules.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include "sycl/access.hpp"
#include "sycl/accessor.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/erased_object.hpp"
#include "sycl/detail/kernel_launch.hpp"
#include "sycl/event.hpp"
#include "sycl/id.hpp"
#include "sycl/interop_handle.hpp"
#include "sycl/item.hpp"
#include "sycl/nd_range.hpp"
#include "sycl/range.hpp"

namespace sycl {

// Kernel objects are copied as bytes to a device.
template <typename T>
struct is_device_copyable : std::is_trivially_copyable<T> {};
template <typename T>
inline constexpr bool is_device_copyable_v = is_device_copyable<T>::value;

namespace detail {
class handler_impl;

// The name of a kernel that was given none.
struct auto_name {};

using host_task_invoker = void (*)(void* task, const interop_handle& ih);

template <typename Kernel>
void invoke_range_kernel(const void* kernel, std::size_t index, std::size_t size) {
  static_cast<const Kernel*>(kernel)->operator()(
      item_factory::make<1, true>(range<1>(size), id<1>(index), id<1>()));
}
template <typename Kernel>
void invoke_single_task(const void* kernel, std::size_t, std::size_t) {
  static_cast<const Kernel*>(kernel)->operator()();
}
template <typename Kernel>
void invoke_nd_kernel(const void* kernel, const nd_item<1>& it) {
  static_cast<const Kernel*>(kernel)->operator()(it);
}
template <typename Task>
void invoke_host_task(void* task, const interop_handle& ih) {
  if constexpr (std::is_invocable_v<Task&, interop_handle>) {
    (*static_cast<Task*>(task))(ih);
  } else {
    (*static_cast<Task*>(task))();
  }
}

template <typename Kernel>
constexpr void check_kernel() {
  static_assert(is_device_copyable_v<Kernel>,
                "a kernel object is copied as bytes to the device, so it must be device copyable");
}
}  // namespace detail

class TESSEL_SYCL_API handler {
 public:
  handler(const handler&) = delete;
  handler& operator=(const handler&) = delete;

  void depends_on(event e);
  void depends_on(const std::vector<event>& events);

  // Binds a placeholder accessor to this command group.
  template <typename DataT, int Dimensions, access_mode Mode, target Target,
            access::placeholder IsPlaceholder>
  void require(accessor<DataT, Dimensions, Mode, Target, IsPlaceholder> acc) {
    detail::add_requirement(*this, acc.state_);
  }

  template <typename KernelName = detail::auto_name, typename KernelType>
  void single_task(const KernelType& kernel) {
    detail::check_kernel<KernelType>();
    set_range_kernel(detail::erased_object::make<KernelType>(kernel), sizeof(KernelType),
                     &detail::invoke_single_task<KernelType>, 1);
  }

  template <typename KernelName = detail::auto_name, typename KernelType>
  void parallel_for(range<1> r, const KernelType& kernel) {
    detail::check_kernel<KernelType>();
    set_range_kernel(detail::erased_object::make<KernelType>(kernel), sizeof(KernelType),
                     &detail::invoke_range_kernel<KernelType>, r.size());
  }

  template <typename KernelName = detail::auto_name, typename KernelType>
  void parallel_for(nd_range<1> r, const KernelType& kernel) {
    detail::check_kernel<KernelType>();
    set_nd_kernel(detail::erased_object::make<KernelType>(kernel), sizeof(KernelType),
                  &detail::invoke_nd_kernel<KernelType>, r.get_global_range().size(),
                  r.get_local_range().size());
  }

  // Runs task on a runtime thread once the dependencies are met; task takes nothing or an
  // interop_handle.
  template <typename Task>
  void host_task(Task&& task) {
    using task_type = std::decay_t<Task>;
    static_assert(
        std::is_invocable_v<task_type&> || std::is_invocable_v<task_type&, interop_handle>,
        "a host task takes no argument or an interop_handle");
    set_host_task(detail::erased_object::make<task_type>(std::forward<Task>(task)),
                  &detail::invoke_host_task<task_type>);
  }

  template <typename SrcT, int Dimensions, access_mode Mode, target Target,
            access::placeholder IsPlaceholder, typename DestT>
  void copy(accessor<SrcT, Dimensions, Mode, Target, IsPlaceholder> src, DestT* dest) {
    static_assert(std::is_same_v<std::remove_const_t<SrcT>, DestT>, "copy between equal types");
    require(src);
    set_copy(dest, src.begin(), src.byte_size());
  }
  template <typename SrcT, typename DestT, int Dimensions, access_mode Mode, target Target,
            access::placeholder IsPlaceholder>
  void copy(const SrcT* src, accessor<DestT, Dimensions, Mode, Target, IsPlaceholder> dest) {
    static_assert(std::is_same_v<SrcT, DestT>, "copy between equal types");
    require(dest);
    set_copy(dest.begin(), src, dest.byte_size());
  }
  // Throws errc::invalid when dest is smaller than src.
  template <typename SrcT, int SrcDimensions, access_mode SrcMode, target SrcTarget,
            access::placeholder SrcPlaceholder, typename DestT, int DestDimensions,
            access_mode DestMode, target DestTarget, access::placeholder DestPlaceholder>
  void copy(accessor<SrcT, SrcDimensions, SrcMode, SrcTarget, SrcPlaceholder> src,
            accessor<DestT, DestDimensions, DestMode, DestTarget, DestPlaceholder> dest) {
    static_assert(std::is_same_v<std::remove_const_t<SrcT>, DestT>, "copy between equal types");
    check_copy_fits(src.byte_size(), dest.byte_size());
    require(src);
    require(dest);
    set_copy(dest.begin(), src.begin(), src.byte_size());
  }
  template <typename T, int Dimensions, access_mode Mode, target Target,
            access::placeholder IsPlaceholder>
  void fill(accessor<T, Dimensions, Mode, Target, IsPlaceholder> dest, const T& value) {
    require(dest);
    set_fill(dest.begin(), &value, sizeof(T), dest.size());
  }

  void memcpy(void* dest, const void* src, std::size_t bytes);
  void memset(void* dest, int value, std::size_t bytes);
  template <typename T>
  void fill(void* dest, const T& pattern, std::size_t count) {
    set_fill(dest, &pattern, sizeof(T), count);
  }
  template <typename T>
  void copy(const T* src, T* dest, std::size_t count) {
    memcpy(dest, src, count * sizeof(T));
  }

 private:
  friend class detail::handler_impl;
  friend void detail::add_requirement(handler& cgh, const detail::accessor_state& acc);
  friend std::size_t detail::reserve_local_memory(handler& cgh, std::size_t bytes,
                                                  std::size_t alignment);

  explicit handler(detail::handler_impl& impl) : impl_(&impl) {}

  void set_range_kernel(detail::erased_object kernel, std::size_t kernel_size,
                        detail::range_kernel_invoker invoke, std::size_t size);
  void set_nd_kernel(detail::erased_object kernel, std::size_t kernel_size,
                     detail::nd_kernel_invoker invoke, std::size_t global_size,
                     std::size_t local_size);
  void set_host_task(detail::erased_object task, detail::host_task_invoker invoke);
  void set_copy(void* dest, const void* src, std::size_t bytes);
  void set_fill(void* dest, const void* pattern, std::size_t pattern_bytes, std::size_t count);
  static void check_copy_fits(std::size_t src_bytes, std::size_t dest_bytes);

  detail::handler_impl* impl_;
};

}  // namespace sycl
