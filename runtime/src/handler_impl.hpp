// What a command group collects while its function runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "buffer_impl.hpp"
#include "command_action.hpp"
#include "device_impl.hpp"
#include "event_impl.hpp"
#include "sycl/access.hpp"
#include "sycl/detail/erased_object.hpp"
#include "sycl/detail/kernel_launch.hpp"
#include "sycl/handler.hpp"

namespace sycl::detail {

struct access_request {
  std::shared_ptr<buffer_impl> buffer;
  access_mode mode;
  std::uint64_t tag;
};

class handler_impl {
 public:
  explicit handler_impl(std::shared_ptr<device_impl> d) : device_(std::move(d)) {}

  handler make_handler() { return handler(*this); }

  enum class action_kind { none, range_kernel, nd_kernel, host_task, copy, fill };

  // Throws errc::invalid when the group already has an action.
  void claim_action(action_kind kind);
  void add_dependency(std::shared_ptr<event_impl> e);
  void add_access(access_request request);
  std::size_t reserve_local(std::size_t bytes, std::size_t alignment);

  // Checks the action against the device (throws errc::nd_range or errc::kernel_argument) and turns
  // it into what the command runs.
  std::unique_ptr<command_action> take_action();

  const std::vector<std::shared_ptr<event_impl>>& dependencies() const noexcept { return deps_; }
  const std::vector<access_request>& accesses() const noexcept { return accesses_; }

  // The action's parameters, filled by the handler.
  erased_object object;
  std::size_t kernel_size = 0;
  range_kernel_invoker range_invoke = nullptr;
  nd_kernel_invoker nd_invoke = nullptr;
  host_task_invoker task_invoke = nullptr;
  std::size_t global_size = 0;
  std::size_t local_size = 0;
  void* dest = nullptr;
  const void* src = nullptr;
  std::size_t bytes = 0;
  std::vector<unsigned char> pattern;
  std::size_t fill_count = 0;

 private:
  void check_nd_range() const;
  std::vector<requirement> requirements() const;

  std::shared_ptr<device_impl> device_;
  action_kind action_ = action_kind::none;
  std::vector<std::shared_ptr<event_impl>> deps_;
  std::vector<access_request> accesses_;
  std::size_t local_mem_ = 0;
};

}  // namespace sycl::detail
