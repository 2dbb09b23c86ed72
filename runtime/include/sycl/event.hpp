// sycl::event: the state of one submitted command.
#pragma once

#include <memory>
#include <vector>

#include "sycl/defines.hpp"
#include "sycl/detail/backend_enum.hpp"
#include "sycl/detail/impl_access.hpp"
#include "sycl/info.hpp"

namespace sycl {
namespace detail {
class event_impl;
}

class TESSEL_SYCL_API event {
 public:
  // An event that is already complete.
  event();

  backend get_backend() const noexcept;

  // Blocks until the command has finished. Never throws for the command's own failure: that goes to
  // the queue's asynchronous handler.
  void wait();
  static void wait(const std::vector<event>& events);
  // As wait, then hands the unconsumed asynchronous errors of the command's queue to that queue's
  // handler.
  void wait_and_throw();
  static void wait_and_throw(const std::vector<event>& events);

  template <typename Param>
  typename Param::return_type get_info() const;

  friend bool operator==(const event& a, const event& b) { return a.impl_ == b.impl_; }
  friend bool operator!=(const event& a, const event& b) { return !(a == b); }

 private:
  friend struct detail::impl_access;
  explicit event(std::shared_ptr<detail::event_impl> impl);

  std::shared_ptr<detail::event_impl> impl_;
};

template <>
TESSEL_SYCL_API info::event_command_status event::get_info<info::event::command_execution_status>()
    const;

}  // namespace sycl
