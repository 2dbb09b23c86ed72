// Execution contexts for work-items: fibers on pooled stacks, switched with
// Boost.Context's fcontext, with the stack-switch notes the sanitizers need.
#pragma once

#include <boost/context/detail/fcontext.hpp>
#include <boost/context/stack_context.hpp>

#include <cstddef>
#include <vector>

namespace sycl::detail::emu {

// One place execution can be suspended and resumed: a fiber, or the worker
// thread's own stack while it runs fibers.
struct fiber_context {
  boost::context::detail::fcontext_t fctx = nullptr;
  const void* stack_bottom = nullptr;  // known for fibers; learnt for the thread on first switch
  std::size_t stack_size = 0;
  void* fake_stack = nullptr;  // AddressSanitizer's save slot for this context
  void* tsan_fiber = nullptr;  // ThreadSanitizer's fiber (or the thread's own)
};

// A stack with a guard page, and the sanitizer fiber of the fiber last started on it.
struct fiber_stack {
  boost::context::stack_context stack;
  void* tsan_fiber = nullptr;
};

// Stacks of one worker thread, reused from group to group.
class fiber_stack_pool {
 public:
  fiber_stack_pool() = default;
  fiber_stack_pool(const fiber_stack_pool&) = delete;
  fiber_stack_pool& operator=(const fiber_stack_pool&) = delete;
  ~fiber_stack_pool();

  fiber_stack* acquire();
  void release(fiber_stack* s) { free_.push_back(s); }

 private:
  std::vector<fiber_stack*> all_;
  std::vector<fiber_stack*> free_;
};

using fiber_entry = void (*)(boost::context::detail::transfer_t);

// Prepares `ctx` to start `entry` on `stack`.
void make_fiber(fiber_context& ctx, fiber_stack& stack, fiber_entry entry);

// Marks the calling thread's own context as the one fibers return to.
void adopt_thread(fiber_context& ctx);

// Suspends `from` and runs `to`; returns when something switches back to `from`.
void switch_fiber(fiber_context& from, fiber_context& to);

// Leaves a fiber that has finished for good; its stack may be reused at once.
[[noreturn]] void exit_fiber(fiber_context& from, fiber_context& to);

// First thing a fiber entry does with the transfer that started it.
void enter_fiber(boost::context::detail::transfer_t t);

}  // namespace sycl::detail::emu
