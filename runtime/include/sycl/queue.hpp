// sycl::queue: submits command groups to one device.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "sycl/context.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/backend_enum.hpp"
#include "sycl/detail/impl_access.hpp"
#include "sycl/detail/selector.hpp"
#include "sycl/device.hpp"
#include "sycl/event.hpp"
#include "sycl/exception.hpp"
#include "sycl/handler.hpp"
#include "sycl/nd_range.hpp"
#include "sycl/property_list.hpp"
#include "sycl/range.hpp"

namespace sycl {
namespace detail {
class queue_impl;

// A borrowed command-group function: submit calls it before it returns.
class command_group_ref {
 public:
  template <typename Function>
  explicit command_group_ref(Function& f)
      : object_(&f), call_([](void* o, handler& cgh) { (*static_cast<Function*>(o))(cgh); }) {}
  void operator()(handler& cgh) const { call_(object_, cgh); }

 private:
  void* object_;
  void (*call_)(void*, handler&);
};
}  // namespace detail

class TESSEL_SYCL_API queue {
 public:
  explicit queue(const property_list& props = {});
  explicit queue(const async_handler& handler, const property_list& props = {});
  template <typename DeviceSelector, typename = detail::enable_if_selector_t<DeviceSelector>>
  explicit queue(const DeviceSelector& selector, const property_list& props = {})
      : queue(detail::select_device(selector), props) {}
  template <typename DeviceSelector, typename = detail::enable_if_selector_t<DeviceSelector>>
  explicit queue(const DeviceSelector& selector, const async_handler& handler,
                 const property_list& props = {})
      : queue(detail::select_device(selector), handler, props) {}
  explicit queue(const device& d, const property_list& props = {});
  explicit queue(const device& d, const async_handler& handler, const property_list& props = {});
  template <typename DeviceSelector, typename = detail::enable_if_selector_t<DeviceSelector>>
  explicit queue(const context& ctx, const DeviceSelector& selector,
                 const property_list& props = {})
      : queue(ctx, detail::select_device(selector), props) {}
  template <typename DeviceSelector, typename = detail::enable_if_selector_t<DeviceSelector>>
  explicit queue(const context& ctx, const DeviceSelector& selector, const async_handler& handler,
                 const property_list& props = {})
      : queue(ctx, detail::select_device(selector), handler, props) {}
  // Throws errc::invalid when the context does not hold the device.
  explicit queue(const context& ctx, const device& d, const property_list& props = {});
  explicit queue(const context& ctx, const device& d, const async_handler& handler,
                 const property_list& props = {});

  backend get_backend() const noexcept;
  context get_context() const;
  device get_device() const;
  bool is_in_order() const;

  template <typename Property>
  bool has_property() const noexcept {
    return properties().has_property<Property>();
  }
  template <typename Property>
  Property get_property() const {
    return properties().get_property<Property>();
  }

  // Runs cgf on the calling thread and schedules the command it describes. What cgf throws, and a
  // command group that the device cannot run, are thrown here.
  template <typename CommandGroup>
  event submit(CommandGroup cgf) {
    return submit_impl(detail::command_group_ref(cgf));
  }
  // Falls back to the secondary queue when this one refuses the command group.
  template <typename CommandGroup>
  event submit(CommandGroup cgf, queue& secondary) {
    return submit_impl(detail::command_group_ref(cgf), secondary);
  }

  // Blocks until every command submitted to this queue has finished.
  void wait();
  // As wait, then hands the unconsumed asynchronous errors to the handler.
  void wait_and_throw();
  void throw_asynchronous();

  template <typename KernelName = detail::auto_name, typename KernelType>
  event single_task(const KernelType& kernel) {
    return submit([&](handler& cgh) { cgh.single_task<KernelName>(kernel); });
  }
  template <typename KernelName = detail::auto_name, typename KernelType>
  event single_task(event dependency, const KernelType& kernel) {
    return single_task<KernelName>(std::vector<event>{dependency}, kernel);
  }
  template <typename KernelName = detail::auto_name, typename KernelType>
  event single_task(const std::vector<event>& dependencies, const KernelType& kernel) {
    return submit([&](handler& cgh) {
      cgh.depends_on(dependencies);
      cgh.single_task<KernelName>(kernel);
    });
  }

  template <typename KernelName = detail::auto_name, typename Range, typename KernelType>
  event parallel_for(const Range& r, const KernelType& kernel) {
    return submit([&](handler& cgh) { cgh.parallel_for<KernelName>(r, kernel); });
  }
  template <typename KernelName = detail::auto_name, typename Range, typename KernelType>
  event parallel_for(const Range& r, event dependency, const KernelType& kernel) {
    return parallel_for<KernelName>(r, std::vector<event>{dependency}, kernel);
  }
  template <typename KernelName = detail::auto_name, typename Range, typename KernelType>
  event parallel_for(const Range& r, const std::vector<event>& dependencies,
                     const KernelType& kernel) {
    return submit([&](handler& cgh) {
      cgh.depends_on(dependencies);
      cgh.parallel_for<KernelName>(r, kernel);
    });
  }

  event memcpy(void* dest, const void* src, std::size_t bytes);
  event memcpy(void* dest, const void* src, std::size_t bytes, event dependency);
  event memcpy(void* dest, const void* src, std::size_t bytes,
               const std::vector<event>& dependencies);
  event memset(void* dest, int value, std::size_t bytes);
  event memset(void* dest, int value, std::size_t bytes, event dependency);
  event memset(void* dest, int value, std::size_t bytes, const std::vector<event>& dependencies);

  template <typename T>
  event fill(void* dest, const T& pattern, std::size_t count,
             const std::vector<event>& dependencies = {}) {
    return submit([&](handler& cgh) {
      cgh.depends_on(dependencies);
      cgh.fill(dest, pattern, count);
    });
  }
  template <typename T>
  event fill(void* dest, const T& pattern, std::size_t count, event dependency) {
    return fill(dest, pattern, count, std::vector<event>{dependency});
  }
  template <typename T>
  event copy(const T* src, T* dest, std::size_t count,
             const std::vector<event>& dependencies = {}) {
    return memcpy(dest, src, count * sizeof(T), dependencies);
  }
  template <typename T>
  event copy(const T* src, T* dest, std::size_t count, event dependency) {
    return memcpy(dest, src, count * sizeof(T), dependency);
  }

  friend bool operator==(const queue& a, const queue& b) { return a.impl_ == b.impl_; }
  friend bool operator!=(const queue& a, const queue& b) { return !(a == b); }

 private:
  friend struct detail::impl_access;
  explicit queue(std::shared_ptr<detail::queue_impl> impl);

  event submit_impl(const detail::command_group_ref& cgf);
  event submit_impl(const detail::command_group_ref& cgf, queue& secondary);
  const property_list& properties() const noexcept;

  std::shared_ptr<detail::queue_impl> impl_;
};

}  // namespace sycl
