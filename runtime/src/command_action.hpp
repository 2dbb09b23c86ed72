// What a command does once its dependencies are met.
#pragma once

namespace sycl::detail {

class command_action {
 public:
  virtual ~command_action() = default;
  // Runs on a runtime worker thread; what it throws becomes an asynchronous error of the command's
  // queue.
  virtual void run() = 0;
  // Whether a thread that waits for the command may run it itself once it is ready, rather than
  // wait for a worker to take it: true of work that runs on the calling thread anyway.
  virtual bool runs_on_waiting_thread() const noexcept { return false; }
};

}  // namespace sycl::detail
