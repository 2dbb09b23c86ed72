#include "fiber.hpp"

#include <boost/context/protected_fixedsize_stack.hpp>
#include <boost/context/stack_traits.hpp>

#include <memory>

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

// Kernels keep little on their stacks; AddressSanitizer's redzones make frames several times
// larger.
#if defined(TESSEL_SANITIZE_ADDRESS)
constexpr std::size_t stack_bytes = 256 * 1024;
#else
constexpr std::size_t stack_bytes = 64 * 1024;
#endif

boost::context::protected_fixedsize_stack stack_allocator() {
  return boost::context::protected_fixedsize_stack(stack_bytes);
}

// Runs in the context that has just been switched to: records where the sender was suspended, and,
// for the thread's own stack, where that stack is.
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

fiber_pool::~fiber_pool() {
  auto allocator = stack_allocator();
  for (fiber* f : all_) {
#if defined(TESSEL_SANITIZE_ADDRESS)
    // A fiber suspended in its loop leaves poisoned redzones in frames that never return; the
    // memory must not carry them to its next owner.
    ASAN_UNPOISON_MEMORY_REGION(f->context.stack_bottom, f->context.stack_size);
#endif
#if defined(TESSEL_SANITIZE_THREAD)
    __tsan_destroy_fiber(f->context.tsan_fiber);
#endif
    allocator.deallocate(f->stack);
    delete f;
  }
}

fiber* fiber_pool::acquire() {
  if (!free_.empty()) {
    fiber* f = free_.back();
    free_.pop_back();
    return f;
  }
  all_.reserve(all_.size() + 1);
  free_.reserve(all_.size() + 1);
  auto made = std::make_unique<fiber>();
  made->stack = stack_allocator().allocate();
  fiber_context& ctx = made->context;
  const std::size_t guard = boost::context::stack_traits::page_size();
  char* top = static_cast<char*>(made->stack.sp);
  ctx.stack_bottom = top - made->stack.size + guard;
  ctx.stack_size = made->stack.size - guard;
#if defined(TESSEL_SANITIZE_THREAD)
  ctx.tsan_fiber = __tsan_create_fiber(0);
#endif
  ctx.fctx = fctx::make_fcontext(top, ctx.stack_size, entry_);
  all_.push_back(made.get());
  return made.release();
}

void adopt_thread(fiber_context& ctx) {
  ctx = fiber_context{};
#if defined(TESSEL_SANITIZE_THREAD)
  ctx.tsan_fiber = __tsan_get_current_fiber();
#endif
}

void switch_fiber(fiber_context& from, fiber_context& to) {
#if defined(TESSEL_SANITIZE_ADDRESS)
  __sanitizer_start_switch_fiber(&from.fake_stack, to.stack_bottom, to.stack_size);
#endif
#if defined(TESSEL_SANITIZE_THREAD)
  __tsan_switch_to_fiber(to.tsan_fiber, 0);
#endif
  const fctx::transfer_t t = fctx::jump_fcontext(to.fctx, &from);
  after_switch(from.fake_stack, t);
}

void enter_fiber(fctx::transfer_t t) {
  after_switch(nullptr, t);
}

}  // namespace sycl::detail::emu
