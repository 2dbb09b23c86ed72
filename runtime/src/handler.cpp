#include <algorithm>
#include <atomic>
#include <string>

#include "actions.hpp"
#include "handler_impl.hpp"
#include "sycl/detail/impl_access.hpp"
#include "sycl/handler.hpp"

namespace sycl {
namespace detail {

void handler_impl::claim_action(action_kind kind) {
  if (action_ != action_kind::none) {
    throw exception(make_error_code(errc::invalid),
                    "A command group holds at most one kernel, host task or memory operation");
  }
  action_ = kind;
}

void handler_impl::add_dependency(std::shared_ptr<event_impl> e) {
  if (e) {
    deps_.push_back(std::move(e));
  }
}

void handler_impl::add_access(access_request request) {
  accesses_.push_back(std::move(request));
}

std::size_t handler_impl::reserve_local(std::size_t bytes_wanted, std::size_t alignment) {
  if (alignment == 0) {
    alignment = 1;
  }
  const std::size_t offset = (local_mem_ + alignment - 1) / alignment * alignment;
  local_mem_ = offset + bytes_wanted;
  return offset;
}

void handler_impl::check_nd_range() const {
  const device_limits& limits = device_->limits();
  if (local_size == 0) {
    throw exception(make_error_code(errc::nd_range), "The local range of an nd_range is 0");
  }
  if (global_size % local_size != 0) {
    throw exception(make_error_code(errc::nd_range),
                    "The global range " + std::to_string(global_size) +
                        " is not a multiple of the local range " + std::to_string(local_size));
  }
  if (local_size > limits.max_work_group_size) {
    throw exception(make_error_code(errc::nd_range),
                    "The work-group size " + std::to_string(local_size) + " exceeds the " +
                        std::to_string(limits.max_work_group_size) + " of " + limits.name);
  }
  if (local_mem_ > limits.local_mem_size) {
    throw exception(make_error_code(errc::nd_range),
                    "The kernel's local memory of " + std::to_string(local_mem_) +
                        " bytes exceeds the " + std::to_string(limits.local_mem_size) +
                        " bytes of " + limits.name);
  }
}

std::vector<requirement> handler_impl::requirements() const {
  std::vector<requirement> found;
  found.reserve(accesses_.size());
  for (const auto& a : accesses_) {
    found.push_back({a.tag, a.buffer->data(), a.buffer->bytes(), reads(a.mode), writes(a.mode)});
  }
  return found;
}

std::unique_ptr<command_action> handler_impl::take_action() {
  switch (action_) {
    case action_kind::none:
      return nullptr;
    case action_kind::range_kernel: {
      if (local_mem_ != 0) {
        throw exception(make_error_code(errc::kernel_argument),
                        "A local_accessor needs an nd_range kernel");
      }
      range_launch launch;
      launch.size = global_size;
      launch.invoke = range_invoke;
      launch.kernel_size = kernel_size;
      return make_kernel_action(device_->runner(), std::move(object), launch, requirements());
    }
    case action_kind::nd_kernel: {
      check_nd_range();
      nd_range_launch launch;
      launch.global_size = global_size;
      launch.local_size = local_size;
      launch.local_mem_bytes = local_mem_;
      launch.invoke = nd_invoke;
      launch.kernel_size = kernel_size;
      return make_kernel_action(device_->runner(), std::move(object), launch, requirements());
    }
    case action_kind::host_task:
      return make_host_task_action(std::move(object), task_invoke, device_->get_backend());
    case action_kind::copy:
      return make_copy_action(dest, src, bytes);
    case action_kind::fill:
      return make_fill_action(dest, std::move(pattern), fill_count);
  }
  return nullptr;
}

std::uint64_t next_accessor_tag() noexcept {
  static std::atomic<std::uint32_t> counter{0};
  return accessor_tag_marker | (counter.fetch_add(1, std::memory_order_relaxed) + 1u);
}

void add_requirement(handler& cgh, const accessor_state& acc) {
  if (acc.buffer == nullptr) {
    throw exception(make_error_code(errc::accessor), "The accessor is bound to no buffer");
  }
  cgh.impl_->add_access({acc.buffer->shared_from_this(), acc.mode, acc.tag});
}

TESSEL_SYCL_API std::size_t reserve_local_memory(handler& cgh, std::size_t bytes,
                                                 std::size_t alignment) {
  return cgh.impl_->reserve_local(bytes, alignment);
}

}  // namespace detail

void handler::depends_on(event e) {
  impl_->add_dependency(detail::impl_access::get(e));
}

void handler::depends_on(const std::vector<event>& events) {
  for (const auto& e : events) {
    depends_on(e);
  }
}

void handler::set_range_kernel(detail::erased_object kernel, std::size_t kernel_size,
                               detail::range_kernel_invoker invoke, std::size_t size) {
  impl_->claim_action(detail::handler_impl::action_kind::range_kernel);
  impl_->object = std::move(kernel);
  impl_->kernel_size = kernel_size;
  impl_->range_invoke = invoke;
  impl_->global_size = size;
}

void handler::set_nd_kernel(detail::erased_object kernel, std::size_t kernel_size,
                            detail::nd_kernel_invoker invoke, std::size_t global_size,
                            std::size_t local_size) {
  impl_->claim_action(detail::handler_impl::action_kind::nd_kernel);
  impl_->object = std::move(kernel);
  impl_->kernel_size = kernel_size;
  impl_->nd_invoke = invoke;
  impl_->global_size = global_size;
  impl_->local_size = local_size;
}

void handler::set_host_task(detail::erased_object task, detail::host_task_invoker invoke) {
  impl_->claim_action(detail::handler_impl::action_kind::host_task);
  impl_->object = std::move(task);
  impl_->task_invoke = invoke;
}

void handler::set_copy(void* dest, const void* src, std::size_t bytes) {
  impl_->claim_action(detail::handler_impl::action_kind::copy);
  impl_->dest = dest;
  impl_->src = src;
  impl_->bytes = bytes;
}

void handler::set_fill(void* dest, const void* pattern, std::size_t pattern_bytes,
                       std::size_t count) {
  impl_->claim_action(detail::handler_impl::action_kind::fill);
  const auto* first = static_cast<const unsigned char*>(pattern);
  impl_->dest = dest;
  impl_->pattern.assign(first, first + pattern_bytes);
  impl_->fill_count = count;
}

void handler::check_copy_fits(std::size_t src_bytes, std::size_t dest_bytes) {
  if (dest_bytes < src_bytes) {
    throw exception(make_error_code(errc::invalid),
                    "The destination accessor is smaller than the source accessor");
  }
}

void handler::memcpy(void* dest, const void* src, std::size_t bytes) {
  set_copy(dest, src, bytes);
}

void handler::memset(void* dest, int value, std::size_t bytes) {
  const auto byte = static_cast<unsigned char>(value);
  set_fill(dest, &byte, 1, bytes);
}

}  // namespace sycl
