#include "parallel.hpp"

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace tessel {

unsigned available_cores() {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (::sched_getaffinity(0, sizeof set, &set) != 0) {
    return std::max(1u, std::thread::hardware_concurrency());
  }
  return static_cast<unsigned>(std::max(1, CPU_COUNT(&set)));
}

void parallel_for(std::size_t count, unsigned workers,
                  const std::function<void(std::size_t, unsigned)>& task) {
  if (count == 0) {
    return;
  }
  std::atomic<std::size_t> next{0};
  std::atomic<bool> failed{false};
  std::exception_ptr first_error;
  std::mutex error_lock;
  const auto work = [&](unsigned worker) {
    for (std::size_t index = next++; index < count && !failed; index = next++) {
      try {
        task(index, worker);
      } catch (...) {
        const std::lock_guard lock(error_lock);
        if (!first_error) {
          first_error = std::current_exception();
        }
        failed = true;
      }
    }
  };
  const auto helpers =
      static_cast<unsigned>(std::min<std::size_t>(std::max(workers, 1u), count) - 1);
  std::vector<std::jthread> threads;
  threads.reserve(helpers);
  for (unsigned worker = 1; worker <= helpers; ++worker) {
    threads.emplace_back(work, worker);
  }
  work(0);
  threads.clear();
  if (first_error) {
    std::rethrow_exception(first_error);
  }
}

}  // namespace tessel
