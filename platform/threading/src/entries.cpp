// The five C entries over the pool.
#include "orv/orv_ksu_serv_threader.h"
#include "pool.hpp"

#include <condition_variable>
#include <mutex>

namespace tessel::threading {
namespace {

int participants_for(std::int64_t count, int max_threads) {
  int participants = pool::instance().participants_limit();
  if (max_threads > 0 && max_threads < participants) {
    participants = max_threads;
  }
  if (count < participants) {
    participants = static_cast<int>(count);
  }
  return participants;
}

void run_loop(std::int64_t count, int max_threads, loop_body body, void* state) {
  if (count <= 0) {
    return;
  }
  loop job(count, participants_for(count, max_threads), body, state);
  pool::instance().run(job);
}

// Hands the turn of an ordered loop from each index to the next.
class ordered_turns {
 public:
  void wait_for(std::int64_t index) {
    std::unique_lock<std::mutex> lock(mutex_);
    turn_changed_.wait(lock, [&] { return turn_ == index; });
  }
  void pass(std::int64_t index) {
    std::lock_guard<std::mutex> lock(mutex_);
    turn_ = index + 1;
    turn_changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable turn_changed_;
  std::int64_t turn_ = 0;
};

struct ordered_loop {
  void* context;
  orv_ksu_serv_threader_for_ordered_body body;
  ordered_turns turns;
};

}  // namespace
}  // namespace tessel::threading

struct orv_ksu_serv_threader_iteration {
  tessel::threading::ordered_turns* turns;
  std::int64_t index;
  bool passed;
};

namespace tessel::threading {
namespace {

void run_ordered_iteration(void* state, std::int64_t index, int thread_index) {
  auto& job = *static_cast<ordered_loop*>(state);
  orv_ksu_serv_threader_iteration iteration{&job.turns, index, false};
  job.body(job.context, index, thread_index, &iteration);
  orv_ksu_serv_threader_ordered(&iteration, nullptr, nullptr);
}

void run_section(void* state, std::int64_t index, int) {
  const auto& section = static_cast<const orv_ksu_serv_threader_section*>(state)[index];
  if (section.run != nullptr) {
    section.run(section.context);
  }
}

}  // namespace
}  // namespace tessel::threading

using namespace tessel::threading;

extern "C" {

void orv_ksu_serv_threader_for(int64_t count, int max_threads, void* context,
                               orv_ksu_serv_threader_for_body body) {
  if (body != nullptr) {
    run_loop(count, max_threads, body, context);
  }
}

void orv_ksu_serv_threader_for_ordered(int64_t count, int max_threads, void* context,
                                       orv_ksu_serv_threader_for_ordered_body body) {
  if (body == nullptr || count <= 0) {
    return;
  }
  ordered_loop job{context, body, {}};
  run_loop(count, max_threads, run_ordered_iteration, &job);
}

void orv_ksu_serv_threader_sections(int64_t count, int max_threads,
                                    const orv_ksu_serv_threader_section* sections) {
  if (sections != nullptr) {
    run_loop(count, max_threads, run_section, const_cast<orv_ksu_serv_threader_section*>(sections));
  }
}

void orv_ksu_serv_threader_ordered(orv_ksu_serv_threader_iteration* iteration, void* context,
                                   orv_ksu_serv_threader_task section) {
  if (iteration == nullptr || iteration->passed) {
    return;
  }
  iteration->turns->wait_for(iteration->index);
  if (section != nullptr) {
    section(context);
  }
  iteration->passed = true;
  iteration->turns->pass(iteration->index);
}

int orv_ksu_serv_threader_get_num_threads_limit(void) {
  return pool::instance().participants_limit();
}

}  // extern "C"
