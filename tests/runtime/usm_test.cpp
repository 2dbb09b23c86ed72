// Unified shared memory: kinds, pointer queries, queue memory operations and the test hook that
// makes malloc_shared fail.

#include <cstdint>
#include <limits>

#include "devices.hpp"

namespace tessel::test {
namespace {

class UsmOnDevice : public on_each_device {};

TEST_P(UsmOnDevice, KindsAreReportedForWholeAllocationsOfTheirContext) {
  sycl::queue q(GetParam());
  const sycl::context ctx = q.get_context();
  double* d = sycl::malloc_device<double>(16, q);
  double* s = sycl::malloc_shared<double>(16, q);
  double* h = sycl::malloc_host<double>(16, q);
  void* aligned = sycl::aligned_alloc_device(256, 10, q);
  EXPECT_EQ(sycl::get_pointer_type(d, ctx), sycl::usm::alloc::device);
  EXPECT_EQ(sycl::get_pointer_type(s + 15, ctx), sycl::usm::alloc::shared);
  EXPECT_EQ(sycl::get_pointer_type(h + 7, ctx), sycl::usm::alloc::host);
  // Just past the end: nothing, or another allocation, never the shared one.
  EXPECT_NE(sycl::get_pointer_type(s + 16, ctx), sycl::usm::alloc::shared);
  EXPECT_EQ(sycl::get_pointer_device(s + 3, ctx), q.get_device());
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned) % 256, 0u);
  double on_stack = 0;
  EXPECT_EQ(sycl::get_pointer_type(&on_stack, ctx), sycl::usm::alloc::unknown);
  EXPECT_EQ(sycl::get_pointer_type(nullptr, ctx), sycl::usm::alloc::unknown);
  EXPECT_EQ(sycl::get_pointer_type(d, sycl::context(GetParam())), sycl::usm::alloc::unknown);
  EXPECT_THROW(sycl::get_pointer_device(&on_stack, ctx), sycl::exception);
  for (void* p : {static_cast<void*>(d), static_cast<void*>(s), static_cast<void*>(h), aligned}) {
    sycl::free(p, q);
  }
  EXPECT_EQ(sycl::get_pointer_type(s, ctx), sycl::usm::alloc::unknown);
  sycl::free(nullptr, q);
  EXPECT_EQ(sycl::malloc_shared(0, q), nullptr);
  EXPECT_EQ(sycl::malloc_device<double>(std::numeric_limits<std::size_t>::max() / 4, q), nullptr);
  EXPECT_EQ(sycl::aligned_alloc_shared(3, 64, q), nullptr);
}

TEST_P(UsmOnDevice, MemoryOperationsAreOrderedByTheirEvents) {
  sycl::queue q(GetParam());
  constexpr std::size_t n = 100;
  int* a = sycl::malloc_device<int>(n, q);
  int* b = sycl::malloc_shared<int>(n, q);
  std::vector<int> host(n, -1);
  sycl::event set = q.memset(a, 0, n * sizeof(int));
  sycl::event filled = q.fill(a + 10, 7, 20, set);
  sycl::event copied = q.copy(a, b, n, filled);
  sycl::event incremented =
      q.parallel_for(sycl::range<1>(n), copied, [=](sycl::id<1> i) { b[i] += 1; });
  q.memcpy(host.data(), b, n * sizeof(int), incremented).wait();
  for (std::size_t i = 0; i < n; ++i) {
    ASSERT_EQ(host[i], (i >= 10 && i < 30) ? 8 : 1) << "element " << i;
  }
  q.submit([&](sycl::handler& cgh) { cgh.memset(b, 0xab, 2); }).wait();
  q.submit([&](sycl::handler& cgh) { cgh.fill(b + 2, 5, 2); }).wait();
  q.submit([&](sycl::handler& cgh) { cgh.copy(b + 3, b + 4, 1); }).wait();
  EXPECT_EQ(std::vector<int>(b, b + 6), (std::vector<int>{0xabab, 1, 5, 5, 5, 1}));
  sycl::free(a, q);
  sycl::free(b, q);
}

INSTANTIATE_TEST_SUITE_P(Devices, UsmOnDevice, testing::ValuesIn(all_devices()), device_label);

TEST(UsmFailureHook, MallocSharedFailsAfterTheGivenSuccesses) {
  sycl::queue q(sycl::cpu_selector_v);
  sycl::detail::fail_malloc_shared_after(2);
  void* first = sycl::malloc_shared(8, q);
  void* second = sycl::malloc_shared<double>(1, q.get_device(), q.get_context());
  void* third = sycl::malloc_shared(8, q);
  void* device_memory = sycl::malloc_device(8, q);  // other kinds are not affected
  sycl::detail::fail_malloc_shared_after(-1);
  void* fourth = sycl::malloc_shared(8, q);
  EXPECT_EQ(third, nullptr);
  for (void* p : {first, second, device_memory, fourth}) {
    EXPECT_NE(p, nullptr);
    sycl::free(p, q);
  }
}

}  // namespace
}  // namespace tessel::test
