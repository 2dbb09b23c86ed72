#include "pool.hpp"

#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>

namespace tessel::threading {
namespace {

int wanted_participants() {
  if (const char* text = std::getenv("TESSEL_NUM_THREADS")) {
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end != text && *end == '\0' && value >= 1 && value <= 1024) {
      return static_cast<int>(value);
    }
  }
  const unsigned hardware = std::thread::hardware_concurrency();
  return hardware == 0 ? 1 : static_cast<int>(hardware);
}

}  // namespace

void loop::work(int thread_index) noexcept {
  for (std::int64_t i = next_index_.fetch_add(1, std::memory_order_relaxed); i < count_;
       i = next_index_.fetch_add(1, std::memory_order_relaxed)) {
    body_(state_, i, thread_index);
  }
}

pool& pool::instance() {
  // Never destroyed: threads of other libraries may still run loops while static objects are torn
  // down at exit. Its threads are detached and end with the process.
  static pool* const the_pool = new pool(wanted_participants());
  return *the_pool;
}

pool::pool(int participants) {
  for (int k = 1; k < participants; ++k) {
    try {
      std::thread(&pool::serve, this).detach();
    } catch (const std::system_error&) {
      break;  // fewer threads than asked for: loops still complete on their callers
    }
    ++workers_;
  }
}

loop* pool::find_open() const noexcept {
  for (loop* job = open_; job != nullptr; job = job->next_open_) {
    if (job->participants_ < job->max_participants_ &&
        job->next_index_.load(std::memory_order_relaxed) < job->count_) {
      return job;
    }
  }
  return nullptr;
}

void pool::run(loop& job) noexcept {
  const bool shared = job.max_participants_ > 1 && job.count_ > 1;
  if (shared) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      job.next_open_ = open_;
      if (open_ != nullptr) {
        open_->previous_open_ = &job;
      }
      open_ = &job;
    }
    work_available_.notify_all();
  }
  job.work(0);
  if (!shared) {
    return;
  }
  {
    std::lock_guard<std::mutex> lock(mutex_);
    (job.previous_open_ != nullptr ? job.previous_open_->next_open_ : open_) = job.next_open_;
    if (job.next_open_ != nullptr) {
      job.next_open_->previous_open_ = job.previous_open_;
    }
  }
  // No pool thread can join any more; wait for those inside to finish their indices.
  std::unique_lock<std::mutex> lock(job.mutex_);
  job.helpers_left_.wait(lock, [&] { return job.helpers_ == 0; });
}

void pool::serve() noexcept {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    loop* const open = find_open();
    if (open == nullptr) {
      work_available_.wait(lock);
      continue;
    }
    loop& job = *open;
    const int thread_index = job.participants_++;
    {
      std::lock_guard<std::mutex> job_lock(job.mutex_);
      ++job.helpers_;
    }
    lock.unlock();
    job.work(thread_index);
    {
      // Notified under the loop's lock: its owner cannot return, and end the loop, before this
      // thread has let go of it.
      std::lock_guard<std::mutex> job_lock(job.mutex_);
      if (--job.helpers_ == 0) {
        job.helpers_left_.notify_all();
      }
    }
    lock.lock();
  }
}

}  // namespace tessel::threading
