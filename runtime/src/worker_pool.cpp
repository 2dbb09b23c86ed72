#include "worker_pool.hpp"

#include <iterator>
#include <utility>

#include "spin_wait.hpp"

namespace sycl::detail {

worker_pool::~worker_pool() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (auto& t : threads_) {
    t.join();
  }
}

void worker_pool::push(const void* key, std::function<void()> task) {
  bool wake = false;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    tasks_.push_back({key, std::move(task)});
    queued_.store(tasks_.size(), std::memory_order_release);
    // Threads that were woken or made but have not yet taken a task will each take one, so compare
    // with the queue's length rather than with zero. A polling thread takes one without being
    // woken.
    if (tasks_.size() > idle_ + starting_ + polling_ && threads_.size() < max_threads) {
      ++starting_;
      threads_.emplace_back([this] { loop(); });
    } else {
      wake = tasks_.size() > polling_;
    }
  }
  // Outside the lock: the woken thread's first act is to take it.
  if (wake) {
    wake_.notify_one();
  }
}

void worker_pool::withdraw(const void* key) {
  std::lock_guard<std::mutex> lock(mutex_);
  // The newest first: a waiter usually takes back what was just pushed.
  for (auto it = tasks_.rbegin(); it != tasks_.rend(); ++it) {
    if (it->key == key) {
      tasks_.erase(std::next(it).base());
      queued_.store(tasks_.size(), std::memory_order_relaxed);
      return;
    }
  }
}

void worker_pool::loop() {
  std::unique_lock<std::mutex> lock(mutex_);
  --starting_;
  for (;;) {
    if (tasks_.empty() && !stopping_ && polling_ == 0) {
      // Whatever push() saw, this thread looks at the queue again under the lock before it sleeps,
      // so no task is missed.
      ++polling_;
      lock.unlock();
      poll_until([this] { return queued_.load(std::memory_order_acquire) != 0; }, idle_poll_time);
      lock.lock();
      --polling_;
    }
    ++idle_;
    wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
    --idle_;
    if (tasks_.empty()) {
      return;  // stopping, and nothing left to run
    }
    std::function<void()> task = std::move(tasks_.front().run);
    tasks_.pop_front();
    queued_.store(tasks_.size(), std::memory_order_relaxed);
    lock.unlock();
    task();
    task = nullptr;  // what the task held goes before the lock is taken again
    lock.lock();
  }
}

}  // namespace sycl::detail
