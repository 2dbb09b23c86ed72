// What a command does once its dependencies are met.
#pragma once

namespace sycl::detail {

class command_action {
 public:
  virtual ~command_action() = default;
  // Runs on a runtime worker thread; what it throws becomes an asynchronous
  // error of the command's queue.
  virtual void run() = 0;
};

}  // namespace sycl::detail
