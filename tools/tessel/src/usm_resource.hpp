// Memory the queue's device can reach and the host can write: the readers parse a file straight
// into it, and the library reads it where it lies.
#pragma once

#include <sys/mman.h>

#include <cstdint>
#include <memory_resource>
#include <new>

#include <sycl/sycl.hpp>

namespace tessel {

class usm_resource : public std::pmr::memory_resource {
 public:
  explicit usm_resource(sycl::queue queue) : queue_(std::move(queue)) {}

 private:
  // Some allocators take only sizes that are a multiple of the alignment.
  void* do_allocate(std::size_t bytes, std::size_t alignment) override {
    const std::size_t rounded = (bytes + alignment - 1) / alignment * alignment;
    void* const memory = sycl::aligned_alloc_shared(alignment, rounded, queue_);
    if (memory == nullptr) {
      throw std::bad_alloc();
    }
    ask_for_huge_pages(memory, rounded);
    return memory;
  }
  // A table read from a large file is written once in full: huge pages take thousands of page
  // faults off that first touch. Only a hint, so memory the kernel will not back that way is fine.
  static void ask_for_huge_pages(void* memory, std::size_t bytes) {
    constexpr std::uintptr_t huge = std::uintptr_t{1} << 21;
    const auto first = (reinterpret_cast<std::uintptr_t>(memory) + huge - 1) & ~(huge - 1);
    const auto last = (reinterpret_cast<std::uintptr_t>(memory) + bytes) & ~(huge - 1);
    if (last > first) {
      ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
    }
  }
  void do_deallocate(void* memory, std::size_t, std::size_t) override {
    sycl::free(memory, queue_);
  }
  bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override {
    return this == &other;
  }

  sycl::queue queue_;
};

}  // namespace tessel
