// One command and the event that tells its state.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <vector>

#include "command_action.hpp"
#include "sycl/info.hpp"

namespace sycl::detail {

class buffer_impl;
class event_impl;
class queue_impl;

// The commands that touch one buffer and have not been superseded: the last one that wrote and the
// ones that read since. Guarded by the scheduler's mutex.
struct access_history {
  std::shared_ptr<event_impl> last_writer;
  std::vector<std::shared_ptr<event_impl>> readers;
};

class event_impl {
 public:
  // Made by a queue for a command group. A null action completes as soon as the dependencies do.
  event_impl(std::unique_ptr<command_action> action, std::shared_ptr<queue_impl> queue,
             std::vector<std::shared_ptr<buffer_impl>> buffers)
      : action_(std::move(action)),
        error_sink_(queue),
        origin_(queue),
        buffers_(std::move(buffers)),
        claimable_(action_ != nullptr && action_->runs_on_waiting_thread()) {}
  // A host access: "runs" from the moment its dependencies are met until the scheduler is told it
  // has ended.
  struct host_access_tag {};
  explicit event_impl(host_access_tag) : host_access_(true) {}

  info::event_command_status status() const noexcept { return status_.load(); }
  std::weak_ptr<queue_impl> origin() const { return origin_; }

 private:
  friend class scheduler;

  // Guarded by the scheduler's mutex, but for status_, which is also read without it.
  std::atomic<info::event_command_status> status_{info::event_command_status::submitted};
  std::size_t pending_ = 0;  // dependencies not yet complete
  std::vector<std::shared_ptr<event_impl>> successors_;
  std::condition_variable done_;

  // Released when the command completes.
  std::unique_ptr<command_action> action_;
  std::shared_ptr<queue_impl> error_sink_;
  std::weak_ptr<queue_impl> origin_;
  std::vector<std::shared_ptr<buffer_impl>> buffers_;
  bool host_access_ = false;

  // Who runs the command: once it is ready it is queued for a worker, and the first thread to take
  // it, a worker or one that waits for it, runs it.
  enum run_state : int { not_ready, queued, taken };
  std::atomic<int> run_state_{not_ready};
  const bool claimable_ = false;  // a waiting thread may take it
};

}  // namespace sycl::detail
