// Working storage of the CPU frames: result arrays for estimates that the caller did not ask for
// but that the estimator needs to be given. Scratch is sized to the dimensions, never to the
// observations, and ends with the call that made it.
#pragma once

#include <sycl/sycl.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vorlex/orv/stats.hpp>

#include "common/memory_domain.hpp"

namespace vorlex::orv::stats::detail::cpu {

// USM scratch: N optional blocks of n_dims elements from sycl::malloc_shared. All wanted blocks are
// allocated before any is looked at; if one is null, those that are not are freed and
// device_bad_alloc leaves with the memory domain, the statistic's name and the device. An unwanted
// block is null.
template <typename T, std::size_t N>
class usm_scratch {
 public:
  usm_scratch(sycl::queue& queue, std::int64_t n_dims, const char* statistic,
              const std::array<bool, N>& wanted)
      : queue_(queue) {
    for (std::size_t k = 0; k < N; ++k) {
      if (wanted[k]) {
        blocks_[k] = sycl::malloc_shared<T>(static_cast<std::size_t>(n_dims), queue_);
      }
    }
    for (std::size_t k = 0; k < N; ++k) {
      if (wanted[k] && blocks_[k] == nullptr) {
        free_all();
        throw device_bad_alloc(memory_domain, statistic, queue_.get_device());
      }
    }
  }

  T* operator[](std::size_t k) const { return blocks_[k]; }

  // A frame with scratch is synchronous: it waits for its host task without rethrowing its errors
  // (they go to the queue's asynchronous handler), frees the blocks in the order of their
  // allocation and returns the finished event. A frame without any block returns the event at once.
  sycl::event release_after(sycl::event done) {
    if (empty()) {
      return done;
    }
    done.wait();
    free_all();
    return done;
  }

 private:
  bool empty() const {
    for (const T* block : blocks_) {
      if (block != nullptr) {
        return false;
      }
    }
    return true;
  }

  void free_all() {
    for (T*& block : blocks_) {
      if (block != nullptr) {
        sycl::free(block, queue_);
        block = nullptr;
      }
    }
  }

  sycl::queue& queue_;
  std::array<T*, N> blocks_{};
};

// Buffer scratch of n_dims elements, or a one-element buffer where one only has to exist.
template <typename T>
sycl::buffer<T, 1> scratch_buffer(std::int64_t n_dims) {
  return sycl::buffer<T, 1>(sycl::range<1>(static_cast<std::size_t>(n_dims)));
}

template <typename T>
sycl::buffer<T, 1> dummy_buffer() {
  return sycl::buffer<T, 1>(sycl::range<1>(1));
}

template <typename T>
sycl::buffer<T, 1> scratch_buffer_if(bool needed, std::int64_t n_dims) {
  return needed ? scratch_buffer<T>(n_dims) : dummy_buffer<T>();
}

}  // namespace vorlex::orv::stats::detail::cpu
