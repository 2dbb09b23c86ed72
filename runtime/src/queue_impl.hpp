// What stands behind sycl::queue.
#pragma once

#include <exception>
#include <memory>
#include <mutex>
#include <vector>

#include "context_impl.hpp"
#include "device_impl.hpp"
#include "event_impl.hpp"
#include "sycl/exception.hpp"
#include "sycl/property_list.hpp"

namespace sycl {
class event;
namespace detail {
class command_group_ref;

class queue_impl : public std::enable_shared_from_this<queue_impl> {
 public:
  queue_impl(std::shared_ptr<device_impl> d, std::shared_ptr<context_impl> ctx,
             async_handler handler, const property_list& props);
  queue_impl(const queue_impl&) = delete;
  queue_impl& operator=(const queue_impl&) = delete;
  // Errors nobody consumed go to the handler now.
  ~queue_impl();

  const std::shared_ptr<device_impl>& device() const noexcept { return device_; }
  const std::shared_ptr<context_impl>& context() const noexcept { return context_; }
  const property_list& properties() const noexcept { return props_; }
  bool in_order() const noexcept { return in_order_; }

  std::shared_ptr<event_impl> submit(const command_group_ref& cgf);
  void wait();
  void throw_asynchronous();
  // An asynchronous error of one of this queue's commands.
  void report(std::exception_ptr error);

 private:
  void deliver(std::vector<std::exception_ptr> errors) const;

  std::shared_ptr<device_impl> device_;
  std::shared_ptr<context_impl> context_;
  async_handler handler_;
  property_list props_;
  bool in_order_;

  std::mutex submit_mutex_;  // orders submissions, for in-order queues
  std::shared_ptr<event_impl> last_;
  std::vector<std::shared_ptr<event_impl>> outstanding_;

  std::mutex errors_mutex_;
  std::vector<std::exception_ptr> errors_;
};

}  // namespace detail
}  // namespace sycl
