#include "orv/orv_serv.h"

#include <sched.h>

namespace {

void pause_briefly() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

}  // namespace

extern "C" void orv_serv_lock(volatile int* word) {
  if (word == nullptr) {
    return;
  }
  for (unsigned attempt = 0;; ++attempt) {
    // Read before exchanging, so that waiters do not keep the word's cache line moving.
    if (__atomic_load_n(word, __ATOMIC_RELAXED) == 0 &&
        __atomic_exchange_n(word, 1, __ATOMIC_ACQUIRE) == 0) {
      return;
    }
    if (attempt < 64) {
      pause_briefly();
    } else {
      sched_yield();
    }
  }
}

extern "C" void orv_serv_unlock(volatile int* word) {
  if (word != nullptr) {
    __atomic_store_n(word, 0, __ATOMIC_RELEASE);
  }
}
