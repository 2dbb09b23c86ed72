#include "scheduler.hpp"

#include <algorithm>
#include <cstdlib>
#include <exception>

#include "queue_impl.hpp"
#include "spin_wait.hpp"

namespace sycl::detail {

using status = info::event_command_status;

namespace {
// The command whose captures this thread is releasing: a buffer whose last handle goes with them
// must not wait for that command.
thread_local const event_impl* releasing_command = nullptr;
}  // namespace

scheduler& scheduler::get() {
  static scheduler* const instance = [] {
    auto* s = new scheduler;
    std::atexit([] { get().drain(); });
    return s;
  }();
  return *instance;
}

void scheduler::add_dependency(const std::shared_ptr<event_impl>& cmd,
                               const std::shared_ptr<event_impl>& dep) {
  if (!dep || dep == cmd || dep->status_ == status::complete) {
    return;
  }
  dep->successors_.push_back(cmd);
  ++cmd->pending_;
}

void scheduler::submit(const std::shared_ptr<event_impl>& cmd,
                       const std::vector<std::shared_ptr<event_impl>>& deps,
                       const std::vector<buffer_access>& accesses) {
  bool ready = false;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    ++in_flight_;
    for (const auto& d : deps) {
      add_dependency(cmd, d);
    }
    for (const auto& access : accesses) {
      access_history& h = *access.history;
      add_dependency(cmd, h.last_writer);
      if (access.writes) {
        for (const auto& r : h.readers) {
          add_dependency(cmd, r);
        }
        h.readers.clear();
        h.last_writer = cmd;
      } else {
        h.readers.erase(
            std::remove_if(h.readers.begin(), h.readers.end(),
                           [](const auto& r) { return r->status_ == status::complete; }),
            h.readers.end());
        h.readers.push_back(cmd);
      }
    }
    ready = cmd->pending_ == 0;
  }
  if (ready) {
    dispatch({cmd});
  }
}

void scheduler::wait(const std::shared_ptr<event_impl>& e) {
  // A ready host task that no worker has taken yet is run here: the thread would only block until
  // it is done.
  int queued = event_impl::queued;
  if (e->claimable_ && e->run_state_.compare_exchange_strong(queued, event_impl::taken)) {
    pool_.withdraw(e.get());
    dispatch(run(e));
    return;
  }
  if (poll_until([&] { return e->status_.load(std::memory_order_acquire) == status::complete; },
                 wait_poll_time)) {
    return;
  }
  std::unique_lock<std::mutex> lock(mutex_);
  e->done_.wait(lock, [&] { return e->status_ == status::complete; });
}

std::vector<std::shared_ptr<event_impl>> scheduler::users(access_history& history) {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::shared_ptr<event_impl>> found;
  for (const auto& r : history.readers) {
    if (r.get() != releasing_command) {
      found.push_back(r);
    }
  }
  if (history.last_writer && history.last_writer.get() != releasing_command) {
    found.push_back(history.last_writer);
  }
  return found;
}

std::shared_ptr<event_impl> scheduler::begin_host_access(access_history& history, bool writes) {
  auto e = std::make_shared<event_impl>(event_impl::host_access_tag{});
  submit(e, {}, {{&history, writes}});
  std::unique_lock<std::mutex> lock(mutex_);
  e->done_.wait(lock, [&] { return e->status_ != status::submitted; });
  return e;
}

void scheduler::end_host_access(const std::shared_ptr<event_impl>& e) {
  dispatch(complete(e));
}

void scheduler::drain() {
  std::unique_lock<std::mutex> lock(mutex_);
  drained_.wait(lock, [&] { return in_flight_ == 0; });
}

void scheduler::dispatch(const std::vector<std::shared_ptr<event_impl>>& ready) {
  for (const auto& e : ready) {
    if (e->host_access_) {
      std::lock_guard<std::mutex> lock(mutex_);
      e->status_ = status::running;
      e->done_.notify_all();
    } else {
      e->run_state_.store(event_impl::queued);
      pool_.push(e.get(), [this, e] {
        int queued = event_impl::queued;
        if (e->run_state_.compare_exchange_strong(queued, event_impl::taken)) {
          execute(e);
        }
      });
    }
  }
}

void scheduler::execute(std::shared_ptr<event_impl> e) {
  // A command that this one makes ready runs next on this thread: a chain of dependent commands
  // then costs no thread wake-up per link.
  while (e) {
    std::vector<std::shared_ptr<event_impl>> ready = run(std::move(e));
    const auto next =
        std::find_if(ready.begin(), ready.end(), [](const auto& r) { return !r->host_access_; });
    if (next != ready.end()) {
      e = std::move(*next);
      ready.erase(next);
      e->run_state_.store(event_impl::taken);
    }
    dispatch(ready);
  }
}

std::vector<std::shared_ptr<event_impl>> scheduler::run(std::shared_ptr<event_impl> e) {
  e->status_ = status::running;
  if (e->action_) {
    try {
      e->action_->run();
    } catch (...) {
      if (e->error_sink_) {
        e->error_sink_->report(std::current_exception());
      }
    }
  }
  // Let go of the command's captures and of its queue before anyone learns that it is complete: a
  // queue whose last handle goes after a wait hands its errors over there and then, not later on
  // this thread. Only this thread touches these members once the command runs.
  releasing_command = e.get();
  e->action_.reset();
  e->error_sink_.reset();
  e->buffers_.clear();
  releasing_command = nullptr;
  return complete(e);
}

std::vector<std::shared_ptr<event_impl>> scheduler::complete(const std::shared_ptr<event_impl>& e) {
  std::vector<std::shared_ptr<event_impl>> ready;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    e->status_ = status::complete;
    for (const auto& s : e->successors_) {
      if (--s->pending_ == 0) {
        ready.push_back(s);
      }
    }
    e->successors_.clear();
    e->done_.notify_all();
    if (--in_flight_ == 0) {
      drained_.notify_all();
    }
  }
  return ready;
}

}  // namespace sycl::detail
