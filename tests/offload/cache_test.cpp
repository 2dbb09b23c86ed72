// The caches of native handles: one entry per key however many threads miss on it at once, pointers
// that stay valid as the map grows, and the FNV-1a hash of the keys.
#include <gtest/gtest.h>

#include <sycl/sycl.hpp>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "offload/cache_lookups.hpp"
#include "offload/native_cache.hpp"

namespace tessel::test {
namespace {

namespace offload = vorlex::orv::stats::detail::offload;

TEST(NativeCache, FnvOneAOfTheKeyBytes) {
  EXPECT_EQ(offload::fnv1a(0), 0xa8c7f832281a39c5ULL);
  EXPECT_EQ(offload::fnv1a(0x0123456789abcdefULL), 0x37eb3f3347761c55ULL);
  const offload::context_key_hash hash;
  EXPECT_EQ(hash({0x1000, 0}), 0x53a03f8d0add0c15ULL ^ 0xa8c7f832281a39c5ULL);
  EXPECT_EQ(hash({0x1000, 0x2000}), hash({0x2000, 0x1000}));
  EXPECT_EQ(offload::queue_key_hash{}({0x1000}), 0x53a03f8d0add0c15ULL);
}

// Keys {k / 2, k % 2} and, for the symmetry of the hash, their mirror images.
TEST(NativeCache, EightThreadsMakeOneEntryPerKey) {
  static offload::context_cache_t
      cache;  // like the process-wide caches, whose heap objects live on
  const sycl::device device{sycl::cpu_selector_v};
  std::vector<offload::context_key> keys;
  for (std::uint64_t k = 0; k < 48; ++k) {
    keys.push_back({k / 2 + 1, k % 2});
    keys.push_back({k % 2, k / 2 + 1});
  }
  std::atomic<int> made{0};
  std::mutex seen_lock;
  std::map<std::size_t, std::multiset<sycl::context*>> seen;
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t i = 0; i < keys.size(); ++i) {
        const std::size_t k = (i * (2 * t + 1)) % keys.size();
        sycl::context* context = offload::lookup_or_create(cache, keys[k], [&] {
          ++made;
          return sycl::context(device);
        });
        const std::lock_guard<std::mutex> guard(seen_lock);
        seen[k].insert(context);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(made.load(), static_cast<int>(keys.size() - 1));  // {1, 1} appears twice
  for (const auto& [k, pointers] : seen) {
    sycl::context* in_map = cache.find_shared(keys[k]);
    ASSERT_NE(in_map, nullptr);
    // The map's own node for every hit, and the creator's heap object at most once.
    std::size_t others = 0;
    for (sycl::context* pointer : pointers) {
      if (pointer != in_map) {
        ++others;
        EXPECT_TRUE(*pointer == *in_map);
      }
    }
    EXPECT_LE(others, 1U);
  }
}

// The process-wide caches, as the exported look-ups use them: a hit reads nothing else.
TEST(NativeCache, HitsAreTheMapsEntries) {
  const sycl::context context{sycl::device{sycl::gpu_selector_v}};
  sycl::context* first =
      offload::lookup_or_create(offload::context_cache, {0x77, 0}, [&] { return context; });
  sycl::context* again = vorlex::orv::gpu::lookup_and_cache_kelpa_context(
      reinterpret_cast<void*>(0x77), nullptr, vorlex::orv::gpu::orv_gpu_backend_opencl, nullptr);
  EXPECT_NE(first, again);
  EXPECT_TRUE(*first == *again);
  EXPECT_EQ(again, vorlex::orv::gpu::lookup_and_cache_kelpa_context(
                       reinterpret_cast<void*>(0x77), nullptr,
                       vorlex::orv::gpu::orv_gpu_backend_opencl, nullptr));
}

}  // namespace
}  // namespace tessel::test
