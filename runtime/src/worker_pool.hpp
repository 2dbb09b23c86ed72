// Threads that run ready commands. A command may block for as long as it likes (a host task waiting
// for something outside the runtime): a task that finds no idle thread gets a new one, so ready
// commands never wait behind a blocked one (up to max_threads; beyond that, tasks queue). One idle
// thread at a time polls for work for a moment before it sleeps, so that a command that follows
// soon after another is taken without a wake-up.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace sycl::detail {

class worker_pool {
 public:
  worker_pool() = default;
  worker_pool(const worker_pool&) = delete;
  worker_pool& operator=(const worker_pool&) = delete;
  // Runs the tasks still queued, then joins the threads.
  ~worker_pool();

  // key names the task for withdraw; it may be null.
  void push(const void* key, std::function<void()> task);
  // Takes back a task that has not started, when another thread has run its work instead: left in
  // the queue it would count as waiting work, and wake or make a thread for nothing.
  void withdraw(const void* key);

  static constexpr std::size_t max_threads = 256;

 private:
  struct queued_task {
    const void* key;
    std::function<void()> run;
  };

  void loop();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<queued_task> tasks_;
  std::atomic<std::size_t> queued_{0};  // tasks_.size(), for the polling thread
  std::vector<std::thread> threads_;
  std::size_t idle_ = 0;      // waiting for a task
  std::size_t starting_ = 0;  // made, not yet waiting
  std::size_t polling_ = 0;   // polling for a task, at most one
  bool stopping_ = false;
};

}  // namespace sycl::detail
