// Execution contexts for work-items: long-lived fibers on pooled stacks, switched with
// Boost.Context's fcontext, with the stack-switch notes the sanitizers need.
#pragma once

#include <boost/context/detail/fcontext.hpp>
#include <boost/context/stack_context.hpp>

#include <cstddef>
#include <vector>

namespace sycl::detail::emu {

// One place execution can be suspended and resumed: a fiber, or the worker thread's own stack while
// it runs fibers.
struct fiber_context {
  boost::context::detail::fcontext_t fctx = nullptr;
  const void* stack_bottom = nullptr;  // known for fibers; learnt for the thread on first switch
  std::size_t stack_size = 0;
  void* fake_stack = nullptr;  // AddressSanitizer's save slot for this context
  void* tsan_fiber = nullptr;  // ThreadSanitizer's fiber (or the thread's own)
};

// A fiber with a stack of its own. Its entry never returns: it loops, taking one piece of work
// after another, so the fiber and its sanitizer state are made once and live as long as the pool.
struct fiber {
  fiber_context context;
  boost::context::stack_context stack;
};

using fiber_entry = void (*)(boost::context::detail::transfer_t);

// Fibers of one thread, made on first need and reused from group to group. They never move to
// another thread.
class fiber_pool {
 public:
  explicit fiber_pool(fiber_entry entry) : entry_(entry) {}
  fiber_pool(const fiber_pool&) = delete;
  fiber_pool& operator=(const fiber_pool&) = delete;
  ~fiber_pool();

  // An idle fiber: one that has not started yet, or one suspended in its entry's loop waiting for
  // work.
  fiber* acquire();
  void release(fiber* f) { free_.push_back(f); }

 private:
  fiber_entry entry_;
  std::vector<fiber*> all_;
  std::vector<fiber*> free_;
};

// Marks the calling thread's own context as the one fibers return to.
void adopt_thread(fiber_context& ctx);

// Suspends `from` and runs `to`; returns when something switches back to `from`.
void switch_fiber(fiber_context& from, fiber_context& to);

// First thing a fiber entry does with the transfer that started it.
void enter_fiber(boost::context::detail::transfer_t t);

}  // namespace sycl::detail::emu
