#include "sycl/event.hpp"

#include <utility>

#include "event_impl.hpp"
#include "queue_impl.hpp"
#include "scheduler.hpp"

namespace sycl {

event::event() = default;
event::event(std::shared_ptr<detail::event_impl> impl) : impl_(std::move(impl)) {}

backend event::get_backend() const noexcept {
  return backend::ext_tessel_host;
}

void event::wait() {
  if (impl_) {
    detail::scheduler::get().wait(impl_);
  }
}

void event::wait(const std::vector<event>& events) {
  for (event e : events) {
    e.wait();
  }
}

void event::wait_and_throw() {
  wait();
  if (!impl_) {
    return;
  }
  if (auto q = impl_->origin().lock()) {
    q->throw_asynchronous();
  }
}

void event::wait_and_throw(const std::vector<event>& events) {
  for (event e : events) {
    e.wait_and_throw();
  }
}

template <>
info::event_command_status event::get_info<info::event::command_execution_status>() const {
  return impl_ ? impl_->status() : info::event_command_status::complete;
}

}  // namespace sycl
