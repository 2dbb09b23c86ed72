// Waiting by polling for a moment before blocking. A hand-off between two threads that are both
// awake costs a cache line; waking one that sleeps costs a system call, and on a virtual machine an
// interrupt between processors: several microseconds. Short commands in a loop stay on the first
// path.
#pragma once

#include <chrono>
#include <thread>

namespace sycl::detail {

// How long a waiter polls, and how long an idle worker thread polls for work, before sleeping.
inline constexpr std::chrono::microseconds wait_poll_time{10};
inline constexpr std::chrono::microseconds idle_poll_time{30};

inline void relax_cpu() noexcept {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#else
  std::this_thread::yield();
#endif
}

// Polls ready() until it holds (true) or the time is up (false). After the first few polls the
// poller lets other threads have its processor between polls: when threads outnumber processors,
// the one it waits for may need this one's.
template <class Ready>
bool poll_until(const Ready& ready, std::chrono::microseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  for (unsigned k = 1;; ++k) {
    if (ready()) {
      return true;
    }
    if (k > 64) {
      std::this_thread::yield();
    } else {
      relax_cpu();
    }
    if (k % 16 == 0 && std::chrono::steady_clock::now() >= end) {
      return ready();
    }
  }
}

}  // namespace sycl::detail
