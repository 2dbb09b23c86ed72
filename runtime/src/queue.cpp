#include "sycl/queue.hpp"

#include <utility>

#include "context_impl.hpp"
#include "device_impl.hpp"
#include "queue_impl.hpp"
#include "sycl/device_selector.hpp"

namespace sycl {
namespace {

using detail::impl_access;

std::shared_ptr<detail::queue_impl> make_queue_impl(const context* ctx, const device& d,
                                                    async_handler handler,
                                                    const property_list& props) {
  const auto& dev = impl_access::get(d);
  std::shared_ptr<detail::context_impl> context_of_queue =
      ctx != nullptr ? impl_access::get(*ctx) : dev->platform().default_context();
  if (!context_of_queue->holds(*dev)) {
    throw exception(make_error_code(errc::invalid), "The queue's device is not in its context");
  }
  return std::make_shared<detail::queue_impl>(dev, std::move(context_of_queue), std::move(handler),
                                              props);
}

}  // namespace

queue::queue(const property_list& props) : queue(device(default_selector_v), props) {}
queue::queue(const async_handler& handler, const property_list& props)
    : queue(device(default_selector_v), handler, props) {}
queue::queue(const device& d, const property_list& props)
    : impl_(make_queue_impl(nullptr, d, {}, props)) {}
queue::queue(const device& d, const async_handler& handler, const property_list& props)
    : impl_(make_queue_impl(nullptr, d, handler, props)) {}
queue::queue(const context& ctx, const device& d, const property_list& props)
    : impl_(make_queue_impl(&ctx, d, {}, props)) {}
queue::queue(const context& ctx, const device& d, const async_handler& handler,
             const property_list& props)
    : impl_(make_queue_impl(&ctx, d, handler, props)) {}
queue::queue(std::shared_ptr<detail::queue_impl> impl) : impl_(std::move(impl)) {}

backend queue::get_backend() const noexcept {
  return impl_->device()->get_backend();
}
context queue::get_context() const {
  return impl_access::make<context>(impl_->context());
}
device queue::get_device() const {
  return impl_access::make<device>(impl_->device());
}
bool queue::is_in_order() const {
  return impl_->in_order();
}
const property_list& queue::properties() const noexcept {
  return impl_->properties();
}

event queue::submit_impl(const detail::command_group_ref& cgf) {
  return impl_access::make<event>(impl_->submit(cgf));
}

event queue::submit_impl(const detail::command_group_ref& cgf, queue& secondary) {
  try {
    return submit_impl(cgf);
  } catch (const exception&) {
    return secondary.submit_impl(cgf);
  }
}

void queue::wait() {
  impl_->wait();
}
void queue::wait_and_throw() {
  impl_->wait();
  impl_->throw_asynchronous();
}
void queue::throw_asynchronous() {
  impl_->throw_asynchronous();
}

event queue::memcpy(void* dest, const void* src, std::size_t bytes) {
  return memcpy(dest, src, bytes, std::vector<event>{});
}
event queue::memcpy(void* dest, const void* src, std::size_t bytes, event dependency) {
  return memcpy(dest, src, bytes, std::vector<event>{std::move(dependency)});
}
event queue::memcpy(void* dest, const void* src, std::size_t bytes,
                    const std::vector<event>& dependencies) {
  return submit([&](handler& cgh) {
    cgh.depends_on(dependencies);
    cgh.memcpy(dest, src, bytes);
  });
}
event queue::memset(void* dest, int value, std::size_t bytes) {
  return memset(dest, value, bytes, std::vector<event>{});
}
event queue::memset(void* dest, int value, std::size_t bytes, event dependency) {
  return memset(dest, value, bytes, std::vector<event>{std::move(dependency)});
}
event queue::memset(void* dest, int value, std::size_t bytes,
                    const std::vector<event>& dependencies) {
  return submit([&](handler& cgh) {
    cgh.depends_on(dependencies);
    cgh.memset(dest, value, bytes);
  });
}

}  // namespace sycl
