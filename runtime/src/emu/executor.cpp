#include "executor.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <exception>
#include <memory>
#include <string>

#if TESSEL_SANITIZE_ADDRESS
#include <sanitizer/asan_interface.h>
#endif

#include "group_runner.hpp"
#include "shuffle.hpp"
#include "sycl/exception.hpp"

namespace sycl::detail::emu {

namespace {

// What a thread needs to run one group: the runner with its pooled stacks, and the local memory
// arena.
struct worker_state {
  group_runner runner;
  std::vector<std::max_align_t> arena;

  char* arena_of(std::size_t bytes) {
    const std::size_t slots = (bytes + sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t);
    if (arena.size() < slots) {
      arena.resize(slots);
    }
    return reinterpret_cast<char*>(arena.data());
  }
};

worker_state& this_thread_state() {
  thread_local worker_state state;
  return state;
}

[[noreturn]] void throw_nd_range(const std::string& message) {
  throw sycl::exception(make_error_code(errc::nd_range), message);
}

// Range launches are cut into this many chunks per worker, so that uneven items still spread over
// the workers.
constexpr std::size_t chunks_per_worker = 8;

// Uninitialised local memory reads as all ones bits (NaN, -1), never as what the previous group
// left.
constexpr int local_memory_poison = 0xFF;

// The arena has room for a block of a group's scalars (one per work-item) past the largest request,
// so that a kernel that overruns its request by that much corrupts nothing of the runtime's; the
// checking mode reports it.
constexpr std::size_t largest_scalar = 16;

// The checking mode: the arena past the request holds a pattern while the group runs (and, under
// AddressSanitizer, is poisoned, so that a read there is reported too); afterwards the last byte
// that differs from the pattern is the end of what the group wrote.
class local_memory_check {
 public:
  local_memory_check(bool on, char* arena, std::size_t request, std::size_t size)
      : on_(on), arena_(arena), request_(request), size_(size) {
    if (!on_) {
      return;
    }
    std::memset(arena_ + request_, pattern, size_ - request_);
#if TESSEL_SANITIZE_ADDRESS
    ASAN_POISON_MEMORY_REGION(arena_ + request_, size_ - request_);
#endif
  }
  local_memory_check(const local_memory_check&) = delete;
  local_memory_check& operator=(const local_memory_check&) = delete;
  ~local_memory_check() { unpoison(); }

  // An error if group `group` wrote past its request.
  std::exception_ptr verdict(std::size_t group) {
    if (!on_) {
      return nullptr;
    }
    unpoison();
    std::size_t end = size_;
    while (end > request_ && static_cast<unsigned char>(arena_[end - 1]) == pattern) {
      --end;
    }
    if (end == request_) {
      return nullptr;
    }
    return std::make_exception_ptr(sycl::exception(
        make_error_code(errc::kernel),
        "work-group " + std::to_string(group) + " wrote local memory up to byte " +
            std::to_string(end) + ", past its request of " + std::to_string(request_) + " bytes"));
  }

 private:
  static constexpr unsigned char pattern = 0xA5;

  void unpoison() {
#if TESSEL_SANITIZE_ADDRESS
    if (on_) {
      ASAN_UNPOISON_MEMORY_REGION(arena_ + request_, size_ - request_);
    }
#endif
  }

  bool on_;
  char* arena_;
  std::size_t request_;
  std::size_t size_;
};

}  // namespace

struct executor::job {
  std::size_t units = 0;
  std::atomic<std::size_t> next{0};
  std::atomic<bool> failed{false};
  std::mutex error_mutex;
  std::exception_ptr error;
  std::size_t active = 0;  // workers inside work(), guarded by the executor's mutex

  const nd_range_launch* nd = nullptr;
  const range_launch* flat = nullptr;
  std::size_t chunk = 0;
  std::uint64_t seed = 0;
  index_permutation order{1, 0};

  void fail(std::exception_ptr e) {
    std::lock_guard<std::mutex> lock(error_mutex);
    if (!error) {
      error = std::move(e);
    }
    failed.store(true, std::memory_order_relaxed);
  }
};

executor::executor(executor_settings settings) : settings_(settings) {}

executor::~executor() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (std::thread& t : workers_) {
    t.join();
  }
}

void executor::run(const nd_range_launch& launch) {
  const std::size_t local = launch.local_size;
  if (local == 0) {
    throw_nd_range("a work-group size of 0 is not allowed");
  }
  if (launch.global_size % local != 0) {
    throw_nd_range("the global size " + std::to_string(launch.global_size) +
                   " is not a multiple of the work-group size " + std::to_string(local));
  }
  if (local > settings_.max_work_group_size) {
    throw_nd_range("the work-group size " + std::to_string(local) +
                   " exceeds the device's maximum of " +
                   std::to_string(settings_.max_work_group_size));
  }
  if (launch.local_mem_bytes > settings_.local_mem_size) {
    throw_nd_range("the kernel's " + std::to_string(launch.local_mem_bytes) +
                   " bytes of local memory exceed the device's " +
                   std::to_string(settings_.local_mem_size));
  }
  job j;
  j.units = launch.global_size / local;
  j.nd = &launch;
  if (settings_.shuffle_seed != 0) {
    j.seed = mix(settings_.shuffle_seed ^ mix(launch.global_size ^ mix(local)));
    j.order = index_permutation(j.units, j.seed);
  }
  execute(j);
}

void executor::run(const range_launch& launch) {
  job j;
  const std::size_t chunks =
      std::min<std::size_t>(launch.size, std::size_t{settings_.compute_units} * chunks_per_worker);
  if (chunks == 0) {
    return;
  }
  j.chunk = (launch.size + chunks - 1) / chunks;
  j.units = (launch.size + j.chunk - 1) / j.chunk;
  j.flat = &launch;
  if (settings_.shuffle_seed != 0) {
    j.seed = mix(settings_.shuffle_seed ^ mix(launch.size));
    j.order = index_permutation(j.units, j.seed);
  }
  execute(j);
}

void executor::execute(job& j) {
  if (j.units == 0) {
    return;
  }
  const bool shared = j.units > 1 && settings_.compute_units > 1;
  if (shared) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!started_) {
      start_workers();
    }
    jobs_.push_back(&j);
  }
  if (shared) {
    wake_.notify_all();
  }
  work(j);
  if (shared) {
    std::unique_lock<std::mutex> lock(mutex_);
    jobs_.erase(std::remove(jobs_.begin(), jobs_.end(), &j), jobs_.end());
    idle_.wait(lock, [&] { return j.active == 0; });
  }
  if (j.error) {
    std::rethrow_exception(j.error);
  }
}

void executor::work(job& j) {
  while (!j.failed.load(std::memory_order_relaxed)) {
    const std::size_t unit = j.next.fetch_add(1, std::memory_order_relaxed);
    if (unit >= j.units) {
      return;
    }
    const std::size_t index = j.seed != 0 ? j.order(unit) : unit;
    if (j.nd != nullptr) {
      worker_state& state = this_thread_state();
      const std::size_t arena_size =
          settings_.local_mem_size + settings_.max_work_group_size * largest_scalar;
      char* arena = state.arena_of(arena_size);
      std::memset(arena, local_memory_poison, j.nd->local_mem_bytes);
      local_memory_check check(settings_.check_local_memory, arena, j.nd->local_mem_bytes,
                               arena_size);
      const std::uint64_t item_seed = j.seed != 0 ? mix(j.seed ^ mix(index)) | 1 : 0;
      std::exception_ptr e = state.runner.run(*j.nd, index, j.units, arena, item_seed);
      if (!e) {
        e = check.verdict(index);
      }
      if (e) {
        j.fail(std::move(e));
      }
    } else {
      const std::size_t first = index * j.chunk;
      const std::size_t last = std::min(j.flat->size, first + j.chunk);
      try {
        for (std::size_t i = first; i < last; ++i) {
          j.flat->invoke(j.flat->kernel, i, j.flat->size);
        }
      } catch (...) {
        j.fail(std::current_exception());
      }
    }
  }
}

void executor::start_workers() {
  started_ = true;
  for (std::uint32_t w = 1; w < settings_.compute_units; ++w) {
    workers_.emplace_back([this] { worker_loop(); });
  }
}

void executor::worker_loop() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    wake_.wait(lock, [&] { return stopping_ || !jobs_.empty(); });
    if (stopping_) {
      return;
    }
    job* j = jobs_.front();
    ++j->active;
    lock.unlock();
    work(*j);
    lock.lock();
    // Units are all claimed: no other worker needs to find this job.
    jobs_.erase(std::remove(jobs_.begin(), jobs_.end(), j), jobs_.end());
    if (--j->active == 0) {
      idle_.notify_all();
    }
  }
}

}  // namespace sycl::detail::emu
