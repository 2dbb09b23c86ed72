#include "queue_impl.hpp"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <utility>

#include "buffer_impl.hpp"
#include "handler_impl.hpp"
#include "scheduler.hpp"
#include "sycl/queue.hpp"

namespace sycl::detail {
namespace {

// SYCL's default asynchronous handler: report every error, then terminate.
void default_async_handler(const exception_list& errors) {
  for (const std::exception_ptr& e : errors) {
    try {
      std::rethrow_exception(e);
    } catch (const std::exception& x) {
      std::fprintf(stderr, "Tessel SYCL: unhandled asynchronous error: %s\n", x.what());
    } catch (...) {
      std::fprintf(stderr, "Tessel SYCL: unhandled asynchronous error of unknown type\n");
    }
  }
  std::fflush(stderr);
  std::terminate();
}

// One entry per buffer, writing if any of its accessors writes.
std::vector<buffer_access> merge_accesses(const std::vector<access_request>& requests,
                                          std::vector<std::shared_ptr<buffer_impl>>& buffers) {
  std::vector<buffer_access> merged;
  for (const auto& r : requests) {
    auto known = std::find(buffers.begin(), buffers.end(), r.buffer);
    if (known == buffers.end()) {
      buffers.push_back(r.buffer);
      merged.push_back({&r.buffer->history, writes(r.mode)});
    } else {
      merged[static_cast<std::size_t>(known - buffers.begin())].writes |= writes(r.mode);
    }
  }
  return merged;
}

}  // namespace

queue_impl::queue_impl(std::shared_ptr<device_impl> d, std::shared_ptr<context_impl> ctx,
                       async_handler handler, const property_list& props)
    : device_(std::move(d)),
      context_(std::move(ctx)),
      handler_(std::move(handler)),
      props_(props),
      in_order_(props.has_property<property::queue::in_order>()) {}

queue_impl::~queue_impl() {
  if (errors_.empty()) {
    return;
  }
  // A destructor cannot let the handler's rethrow escape; say what it was.
  try {
    deliver(std::move(errors_));
  } catch (const std::exception& x) {
    std::fprintf(stderr, "Tessel SYCL: asynchronous error at queue destruction: %s\n", x.what());
  } catch (...) {
    std::fprintf(stderr, "Tessel SYCL: asynchronous error of unknown type at queue destruction\n");
  }
}

std::shared_ptr<event_impl> queue_impl::submit(const command_group_ref& cgf) {
  handler_impl group(device_);
  {
    handler cgh = group.make_handler();
    cgf(cgh);
  }
  std::unique_ptr<command_action> action = group.take_action();
  std::vector<std::shared_ptr<buffer_impl>> buffers;
  const std::vector<buffer_access> accesses = merge_accesses(group.accesses(), buffers);
  auto cmd = std::make_shared<event_impl>(std::move(action), shared_from_this(), buffers);

  std::lock_guard<std::mutex> lock(submit_mutex_);
  if (in_order_ && last_) {
    std::vector<std::shared_ptr<event_impl>> deps = group.dependencies();
    deps.push_back(last_);
    scheduler::get().submit(cmd, deps, accesses);
  } else {
    scheduler::get().submit(cmd, group.dependencies(), accesses);
  }
  last_ = cmd;
  outstanding_.erase(std::remove_if(outstanding_.begin(), outstanding_.end(),
                                    [](const auto& e) {
                                      return e->status() == info::event_command_status::complete;
                                    }),
                     outstanding_.end());
  outstanding_.push_back(cmd);
  return cmd;
}

void queue_impl::wait() {
  std::vector<std::shared_ptr<event_impl>> pending;
  {
    std::lock_guard<std::mutex> lock(submit_mutex_);
    pending = outstanding_;
  }
  for (const auto& e : pending) {
    scheduler::get().wait(e);
  }
}

void queue_impl::throw_asynchronous() {
  std::vector<std::exception_ptr> errors;
  {
    std::lock_guard<std::mutex> lock(errors_mutex_);
    errors.swap(errors_);
  }
  if (!errors.empty()) {
    deliver(std::move(errors));
  }
}

void queue_impl::report(std::exception_ptr error) {
  std::lock_guard<std::mutex> lock(errors_mutex_);
  errors_.push_back(std::move(error));
}

void queue_impl::deliver(std::vector<std::exception_ptr> errors) const {
  exception_list list(std::move(errors));
  if (handler_) {
    handler_(std::move(list));
  } else if (context_->handler()) {
    context_->handler()(std::move(list));
  } else {
    default_async_handler(list);
  }
}

}  // namespace sycl::detail
