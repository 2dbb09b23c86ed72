// Seeded orders for exposing missing barriers and races between groups: a small generator, a
// shuffle of item order, and a bijection on group indices that needs no table (launches can have
// millions of groups).
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace sycl::detail::emu {

// splitmix64: statistically sound enough for orders, and the same on every standard library.
inline std::uint64_t mix(std::uint64_t x) {
  x += 0x9e3779b97f4a7c15ULL;
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
  return x ^ (x >> 31);
}

class order_rng {
 public:
  explicit order_rng(std::uint64_t seed) : state_(seed) {}
  std::uint64_t next() { return mix(state_++); }
  // Uniform enough in [0, n) for n far below 2^64.
  std::size_t below(std::size_t n) { return static_cast<std::size_t>(next() % n); }

  template <typename T>
  void shuffle(std::vector<T>& v, std::size_t first = 0) {
    for (std::size_t i = v.size(); i > first + 1; --i) {
      std::swap(v[i - 1], v[first + below(i - first)]);
    }
  }

 private:
  std::uint64_t state_;
};

// A permutation of [0, n): a four-round Feistel network on the smallest even bit width that holds
// n, walking cycles until the value falls inside.
class index_permutation {
 public:
  index_permutation(std::size_t n, std::uint64_t seed) : n_(n), key_(seed) {
    unsigned bits = 2;
    while (bits < 64 && (std::uint64_t{1} << bits) < n) {
      bits += 2;
    }
    half_ = bits / 2;
    mask_ = (std::uint64_t{1} << half_) - 1;
  }

  std::size_t operator()(std::size_t i) const {
    std::uint64_t x = i;
    do {
      x = encrypt(x);
    } while (x >= n_);
    return static_cast<std::size_t>(x);
  }

 private:
  std::uint64_t encrypt(std::uint64_t x) const {
    std::uint64_t left = x >> half_, right = x & mask_;
    for (std::uint64_t round = 0; round < 4; ++round) {
      const std::uint64_t next = left ^ (mix(right ^ (key_ + round)) & mask_);
      left = right;
      right = next;
    }
    return (left << half_) | right;
  }

  std::uint64_t n_;
  std::uint64_t key_;
  unsigned half_;
  std::uint64_t mask_;
};

}  // namespace sycl::detail::emu
