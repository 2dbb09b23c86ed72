// Runs launches on a fixed set of worker threads: work-groups one at a time per thread (the calling
// thread helps), range launches in chunks.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>
#include <vector>

#include "settings.hpp"
#include "sycl/detail/kernel_launch.hpp"

namespace sycl::detail::emu {

class executor {
 public:
  explicit executor(executor_settings settings);
  executor(const executor&) = delete;
  executor& operator=(const executor&) = delete;
  ~executor();

  // Block until every group or item has run; rethrow the first error.
  void run(const nd_range_launch& launch);
  void run(const range_launch& launch);

 private:
  struct job;

  void execute(job& j);
  void work(job& j);
  void worker_loop();
  void start_workers();

  executor_settings settings_;
  std::mutex mutex_;
  std::condition_variable wake_;  // a job was published, or the executor stops
  std::condition_variable idle_;  // a worker left a job
  std::vector<job*> jobs_;        // published jobs that may have units left
  std::vector<std::thread> workers_;
  bool started_ = false;
  bool stopping_ = false;
};

}  // namespace sycl::detail::emu
