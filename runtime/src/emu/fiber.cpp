#include "fiber.hpp"

#include <boost/context/protected_fixedsize_stack.hpp>
#include <boost/context/stack_traits.hpp>

#if defined(TESSEL_SANITIZE_ADDRESS)
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif
#if defined(TESSEL_SANITIZE_THREAD)
#include <sanitizer/tsan_interface.h>
#endif

namespace sycl::detail::emu {

namespace fctx = boost::context::detail;

namespace {

// Kernels keep little on their stacks; AddressSanitizer's redzones make
// frames several times larger.
#if defined(TESSEL_SANITIZE_ADDRESS)
constexpr std::size_t stack_bytes = 256 * 1024;
#else
constexpr std::size_t stack_bytes = 64 * 1024;
#endif

boost::context::protected_fixedsize_stack stack_allocator() {
  return boost::context::protected_fixedsize_stack(stack_bytes);
}

void before_switch([[maybe_unused]] void** fake_stack_save, [[maybe_unused]] fiber_context& to) {
#if defined(TESSEL_SANITIZE_ADDRESS)
  __sanitizer_start_switch_fiber(fake_stack_save, to.stack_bottom, to.stack_size);
#endif
#if defined(TESSEL_SANITIZE_THREAD)
  __tsan_switch_to_fiber(to.tsan_fiber, 0);
#endif
}

// Runs in the context that has just been switched to: records where the
// sender was suspended, and, for the thread's own stack, where that stack is.
void after_switch([[maybe_unused]] void* fake_stack, fctx::transfer_t t) {
  auto* sender = static_cast<fiber_context*>(t.data);
  sender->fctx = t.fctx;
#if defined(TESSEL_SANITIZE_ADDRESS)
  const void* bottom = nullptr;
  std::size_t size = 0;
  __sanitizer_finish_switch_fiber(fake_stack, &bottom, &size);
  sender->stack_bottom = bottom;
  sender->stack_size = size;
#endif
}

}  // namespace

fiber_stack_pool::~fiber_stack_pool() {
  auto allocator = stack_allocator();
  for (fiber_stack* s : all_) {
#if defined(TESSEL_SANITIZE_THREAD)
    if (s->tsan_fiber != nullptr)
      __tsan_destroy_fiber(s->tsan_fiber);
#endif
    allocator.deallocate(s->stack);
    delete s;
  }
}

fiber_stack* fiber_stack_pool::acquire() {
  if (!free_.empty()) {
    fiber_stack* s = free_.back();
    free_.pop_back();
    return s;
  }
  all_.reserve(all_.size() + 1);
  free_.reserve(all_.size() + 1);
  auto* s = new fiber_stack{stack_allocator().allocate(), nullptr};
  all_.push_back(s);
  return s;
}

void make_fiber(fiber_context& ctx, fiber_stack& stack, fiber_entry entry) {
  const std::size_t guard = boost::context::stack_traits::page_size();
  char* top = static_cast<char*>(stack.stack.sp);
  ctx.stack_bottom = top - stack.stack.size + guard;
  ctx.stack_size = stack.stack.size - guard;
  ctx.fake_stack = nullptr;
#if defined(TESSEL_SANITIZE_THREAD)
  // A fiber that has exited keeps the shadow frames that never returned;
  // reusing it would grow its shadow stack with every start until it overflows.
  if (stack.tsan_fiber != nullptr)
    __tsan_destroy_fiber(stack.tsan_fiber);
  stack.tsan_fiber = __tsan_create_fiber(0);
#endif
  ctx.tsan_fiber = stack.tsan_fiber;
  ctx.fctx = fctx::make_fcontext(top, stack.stack.size - guard, entry);
}

void adopt_thread(fiber_context& ctx) {
  ctx = fiber_context{};
#if defined(TESSEL_SANITIZE_THREAD)
  ctx.tsan_fiber = __tsan_get_current_fiber();
#endif
}

void switch_fiber(fiber_context& from, fiber_context& to) {
  before_switch(&from.fake_stack, to);
  const fctx::transfer_t t = fctx::jump_fcontext(to.fctx, &from);
  after_switch(from.fake_stack, t);
}

void exit_fiber(fiber_context& from, fiber_context& to) {
#if defined(TESSEL_SANITIZE_ADDRESS)
  // The frames above this one never return, so their redzones would stay
  // poisoned for the next fiber on this stack. Frames below have returned.
  char* top = static_cast<char*>(const_cast<void*>(from.stack_bottom)) + from.stack_size;
  char* low = static_cast<char*>(__builtin_frame_address(0)) - 4096;
  if (low < from.stack_bottom)
    low = static_cast<char*>(const_cast<void*>(from.stack_bottom));
  ASAN_UNPOISON_MEMORY_REGION(low, static_cast<std::size_t>(top - low));
#endif
  before_switch(nullptr, to);
  fctx::jump_fcontext(to.fctx, &from);
  __builtin_unreachable();
}

void enter_fiber(fctx::transfer_t t) {
  after_switch(nullptr, t);
}

}  // namespace sycl::detail::emu
