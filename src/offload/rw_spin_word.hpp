// A reader-writer spin lock in one 32-bit word: bit 0 is set while a writer holds it, the rest
// counts readers in steps of 2. A reader announces itself before it waits, so a waiting reader
// keeps an arriving writer out while a waiting writer does not hold back arriving readers. Holders
// do little: a look-up, or (a writer) the creation of one SYCL object.
#pragma once

#include <atomic>
#include <cstdint>

namespace vorlex::orv::stats::detail::offload {

inline void spin_pause() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

class rw_spin_word {
 public:
  void read_enter() {
    word_.fetch_add(2, std::memory_order_acquire);
    while ((word_.load(std::memory_order_acquire) & 1U) != 0) {
      spin_pause();
    }
  }
  void read_leave() { word_.fetch_sub(2, std::memory_order_release); }

  // Enters only when there is neither a reader nor another writer.
  void write_enter() {
    std::uint32_t expected = 0;
    while (!word_.compare_exchange_weak(expected, 1, std::memory_order_acquire,
                                        std::memory_order_relaxed)) {
      expected = 0;
      spin_pause();
    }
  }
  void write_leave() { word_.fetch_sub(1, std::memory_order_release); }

 private:
  std::atomic<std::uint32_t> word_{0};
};

}  // namespace vorlex::orv::stats::detail::offload
