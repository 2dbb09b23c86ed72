// The process-wide pool behind the threading entries.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace tessel::threading {

using loop_body = void (*)(void* state, std::int64_t index, int thread_index);

// One parallel loop. Its indices are claimed one at a time by whichever participant is free, so a
// participant only ever waits for indices that another one is already running.
class loop {
 public:
  loop(std::int64_t count, int max_participants, loop_body body, void* state) noexcept
      : count_(count), max_participants_(max_participants), body_(body), state_(state) {}
  loop(const loop&) = delete;
  loop& operator=(const loop&) = delete;

 private:
  friend class pool;
  void work(int thread_index) noexcept;

  const std::int64_t count_;
  const int max_participants_;
  const loop_body body_;
  void* const state_;
  std::atomic<std::int64_t> next_index_{0};

  // Guarded by the pool's mutex: the caller is participant 0, pool threads join after it.
  int participants_ = 1;
  loop* previous_open_ = nullptr;
  loop* next_open_ = nullptr;

  std::mutex mutex_;
  std::condition_variable helpers_left_;
  int helpers_ = 0;  // pool threads inside work(); guarded by mutex_
};

class pool {
 public:
  static pool& instance();

  int participants_limit() const noexcept { return workers_ + 1; }

  // Runs every index of the loop, with the calling thread as participant 0, and returns when all
  // have run. Safe from any thread, also from inside another loop's body.
  void run(loop& job) noexcept;

 private:
  explicit pool(int participants);
  void serve() noexcept;
  loop* find_open() const noexcept;

  std::mutex mutex_;
  std::condition_variable work_available_;
  loop* open_ = nullptr;  // loops that may still take helpers, newest first
  int workers_ = 0;
};

}  // namespace tessel::threading
