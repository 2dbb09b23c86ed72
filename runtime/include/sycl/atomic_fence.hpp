// Memory orders, memory scopes and the fence that uses them.
#pragma once

#include <atomic>

#include "sycl/defines.hpp"

namespace sycl {

enum class memory_order : int { relaxed, acquire, release, acq_rel, seq_cst };

inline constexpr auto memory_order_relaxed = memory_order::relaxed;
inline constexpr auto memory_order_acquire = memory_order::acquire;
inline constexpr auto memory_order_release = memory_order::release;
inline constexpr auto memory_order_acq_rel = memory_order::acq_rel;
inline constexpr auto memory_order_seq_cst = memory_order::seq_cst;

enum class memory_scope : int { work_item, sub_group, work_group, device, system };

inline constexpr auto memory_scope_work_item = memory_scope::work_item;
inline constexpr auto memory_scope_sub_group = memory_scope::sub_group;
inline constexpr auto memory_scope_work_group = memory_scope::work_group;
inline constexpr auto memory_scope_device = memory_scope::device;
inline constexpr auto memory_scope_system = memory_scope::system;

namespace detail {

inline std::memory_order std_order(memory_order order) {
  switch (order) {
    case memory_order::relaxed:
      return std::memory_order_relaxed;
    case memory_order::acquire:
      return std::memory_order_acquire;
    case memory_order::release:
      return std::memory_order_release;
    case memory_order::acq_rel:
      return std::memory_order_acq_rel;
    case memory_order::seq_cst:
      break;
  }
  return std::memory_order_seq_cst;
}

#if defined(TESSEL_SANITIZE_THREAD)
// ThreadSanitizer does not model fences; an update of one shared word orders the same accesses and
// is seen by it.
inline std::atomic<int> fence_word{0};
#endif

}  // namespace detail

// The work-items of a group share one thread, so only device and system scopes order anything
// against other threads.
inline void atomic_fence(memory_order order, memory_scope scope) {
  if (order == memory_order::relaxed) {
    return;
  }
  if (scope != memory_scope::device && scope != memory_scope::system) {
    std::atomic_signal_fence(detail::std_order(order));
    return;
  }
#if defined(TESSEL_SANITIZE_THREAD)
  detail::fence_word.fetch_add(0, detail::std_order(order));
#else
  std::atomic_thread_fence(detail::std_order(order));
#endif
}

}  // namespace sycl
