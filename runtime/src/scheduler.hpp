// Orders commands: by their explicit dependencies and by conflicting accesses to the same buffer
// (read after write, write after read, write after write, in submission order). Ready commands run
// on the worker pool.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "event_impl.hpp"
#include "worker_pool.hpp"

namespace sycl::detail {

struct buffer_access {
  access_history* history;
  bool writes;
};

class scheduler {
 public:
  // Made on first use and never destroyed, so that handles in static objects may outlive everything
  // else; at exit it waits for the commands in flight.
  static scheduler& get();

  // Runs cmd once deps and the earlier conflicting accesses have completed. accesses holds each
  // buffer once.
  void submit(const std::shared_ptr<event_impl>& cmd,
              const std::vector<std::shared_ptr<event_impl>>& deps,
              const std::vector<buffer_access>& accesses);
  void wait(const std::shared_ptr<event_impl>& e);
  // The commands that use a buffer now; waiting for them all finishes it.
  std::vector<std::shared_ptr<event_impl>> users(access_history& history);

  // A host accessor's hold on a buffer: begin blocks until the conflicting commands have completed;
  // conflicting commands submitted later wait for end.
  std::shared_ptr<event_impl> begin_host_access(access_history& history, bool writes);
  void end_host_access(const std::shared_ptr<event_impl>& e);

  // Blocks until every submitted command has completed.
  void drain();

 private:
  scheduler() = default;

  void add_dependency(const std::shared_ptr<event_impl>& cmd,
                      const std::shared_ptr<event_impl>& dep);
  void dispatch(const std::vector<std::shared_ptr<event_impl>>& ready);
  void execute(std::shared_ptr<event_impl> e);
  // Runs a command that this thread has taken, marks it complete and returns the commands that this
  // made ready.
  std::vector<std::shared_ptr<event_impl>> run(std::shared_ptr<event_impl> e);
  // Marks e complete and returns the commands that this made ready.
  std::vector<std::shared_ptr<event_impl>> complete(const std::shared_ptr<event_impl>& e);

  std::mutex mutex_;
  std::condition_variable drained_;
  std::size_t in_flight_ = 0;
  worker_pool pool_;
};

}  // namespace sycl::detail
