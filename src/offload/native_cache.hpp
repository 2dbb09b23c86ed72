// A process-wide map from native handles to the SYCL objects made from them, behind a reader-writer
// spin word. Entries are added and never removed until the process ends. The map is Boost's
// node-based unordered_map: a value never moves once inserted, and for these keys it keeps a
// power-of-two bucket count that it reaches by masking the hash.
#pragma once

#include <boost/unordered_map.hpp>

#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

#include "offload/rw_spin_word.hpp"

namespace vorlex::orv::stats::detail::offload {

// 64-bit FNV-1a of a key word's eight bytes in memory order.
inline std::uint64_t fnv1a(std::uint64_t word) {
  unsigned char bytes[sizeof word];
  std::memcpy(bytes, &word, sizeof word);
  std::uint64_t hash = 0xCBF29CE484222325ULL;
  for (const unsigned char byte : bytes) {
    hash ^= byte;
    hash *= 0x100000001B3ULL;
  }
  return hash;
}

// A native context with the device it was made for (0 for OpenCL). The hash is symmetrical in the
// two words, so {a, b} and {b, a} share a bucket and stay two entries.
struct context_key {
  std::uint64_t context;
  std::uint64_t device;
  friend bool operator==(const context_key& a, const context_key& b) {
    return a.context == b.context && a.device == b.device;
  }
};
struct context_key_hash {
  std::size_t operator()(const context_key& key) const {
    return fnv1a(key.context) ^ fnv1a(key.device);
  }
};

struct queue_key {
  std::uint64_t queue;
  friend bool operator==(const queue_key& a, const queue_key& b) { return a.queue == b.queue; }
};
struct queue_key_hash {
  std::size_t operator()(const queue_key& key) const { return fnv1a(key.queue); }
};

template <typename Key, typename Value, typename Hash>
class native_cache {
 public:
  using key_type = Key;
  using value_type = Value;

  // The caller holds the lock, as a reader or as the writer.
  Value* find(const Key& key) {
    const auto found = map_.find(key);
    return found != map_.end() ? &found->second : nullptr;
  }

  // The map's value of the key under the read lock, or null.
  Value* find_shared(const Key& key) {
    lock.read_enter();
    Value* found = find(key);
    lock.read_leave();
    return found;
  }

  // Under the write lock: inserts the key with a default value and assigns made to it.
  void insert(const Key& key, const Value& made) { map_[key] = made; }

  // Keeps a heap object handed out on creation reachable for the life of the process; it is never
  // freed. Under the write lock.
  Value* keep(Value* made) {
    kept_->push_back(made);
    return made;
  }

  // At exit every entry's SYCL object is destroyed.
  ~native_cache() { map_.clear(); }

  rw_spin_word lock;

 private:
  boost::unordered_map<Key, Value, Hash> map_;
  std::vector<Value*>* kept_ = new std::vector<Value*>;
};

// The look-up of the exported functions: a reader first; on a miss the writer looks again, since
// another thread may have inserted in between, and only then makes the object. The first call for a
// key gets the heap object it made, later ones the map's copy. An exception of make leaves the
// write lock held: nothing releases it, and every later use of the cache waits for good.
template <typename Cache, typename Make>
typename Cache::value_type* lookup_or_create(Cache& cache, const typename Cache::key_type& key,
                                             Make&& make) {
  if (auto* hit = cache.find_shared(key)) {
    return hit;
  }
  cache.lock.write_enter();
  if (auto* hit = cache.find(key)) {
    cache.lock.write_leave();
    return hit;
  }
  auto* made = cache.keep(new typename Cache::value_type(std::invoke(make)));
  cache.insert(key, *made);
  cache.lock.write_leave();
  return made;
}

}  // namespace vorlex::orv::stats::detail::offload
