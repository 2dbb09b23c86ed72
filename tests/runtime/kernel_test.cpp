// Kernels through the queue and the handler: range and nd_range launches,
// single tasks, and the launches a device refuses at submission.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <numeric>
#include <sycl/sycl.hpp>
#include <vector>

#include "devices.hpp"

namespace {

class KernelOnDevice : public tessel_test::on_each_device {};

TEST_P(KernelOnDevice, RangeKernelTakesItemIdOrIndex) {
  sycl::queue q(GetParam());
  constexpr std::size_t n = 1000;
  std::vector<std::size_t> by_item(n), by_id(n), by_index(n);
  {
    sycl::buffer<std::size_t> a(by_item.data(), sycl::range<1>(n));
    sycl::buffer<std::size_t> b(by_id.data(), sycl::range<1>(n));
    q.submit([&](sycl::handler& cgh) {
      sycl::accessor out(a, cgh, sycl::write_only);
      cgh.parallel_for(sycl::range<1>(n),
                       [=](sycl::item<1> it) { out[it] = it.get_linear_id() * it.get_range(0); });
    });
    q.submit([&](sycl::handler& cgh) {
      sycl::accessor out(b, cgh, sycl::write_only);
      cgh.parallel_for<class by_id_kernel>(n, [=](sycl::id<1> i) { out[i] = i[0] + 1; });
    });
    std::size_t* p = by_index.data();
    q.parallel_for(sycl::range<1>(n), [=](std::size_t i) { p[i] = 2 * i; }).wait();
  }
  for (std::size_t i = 0; i < n; ++i) {
    ASSERT_EQ(by_item[i], i * n);
    ASSERT_EQ(by_id[i], i + 1);
    ASSERT_EQ(by_index[i], 2 * i);
  }
}

TEST_P(KernelOnDevice, NdRangeKernelSeesItsGroups) {
  sycl::queue q(GetParam());
  constexpr std::size_t groups = 5;
  constexpr std::size_t local = 4;
  std::vector<double> sums(groups, 0.0);
  std::vector<double> data(groups * local);
  std::iota(data.begin(), data.end(), 1.0);
  {
    sycl::buffer<double> in(data.data(), sycl::range<1>(data.size()));
    sycl::buffer<double> out(sums.data(), sycl::range<1>(groups));
    q.submit([&](sycl::handler& cgh) {
      sycl::accessor x(in, cgh, sycl::read_only);
      sycl::accessor s(out, cgh, sycl::write_only);
      sycl::local_accessor<double, 1> scratch(sycl::range<1>(local), cgh);
      cgh.parallel_for(sycl::nd_range<1>(groups * local, local), [=](sycl::nd_item<1> it) {
        scratch[it.get_local_id(0)] = x[it.get_global_id()];
        sycl::group_barrier(it.get_group());
        const double total = sycl::reduce_over_group(it.get_group(), scratch[it.get_local_id(0)],
                                                     sycl::plus<double>());
        if (it.get_local_id(0) == 0)
          s[it.get_group(0)] = total;
      });
    });
  }
  for (std::size_t g = 0; g < groups; ++g) {
    const double first = static_cast<double>(g * local + 1);
    EXPECT_EQ(sums[g], 4 * first + 6) << "group " << g;
  }
}

TEST_P(KernelOnDevice, RefusedLaunchesThrowAtSubmission) {
  sycl::queue q(GetParam());
  const std::size_t max = GetParam().get_info<sycl::info::device::max_work_group_size>();
  const auto expect_code = [&](auto&& submit, sycl::errc code) {
    try {
      submit();
      ADD_FAILURE() << "the launch was accepted";
    } catch (const sycl::exception& e) {
      EXPECT_EQ(e.code(), code) << e.what();
    }
  };
  const auto nothing = [](sycl::nd_item<1>) {};
  expect_code([&] { q.parallel_for(sycl::nd_range<1>(8, 0), nothing); }, sycl::errc::nd_range);
  expect_code([&] { q.parallel_for(sycl::nd_range<1>(10, 4), nothing); }, sycl::errc::nd_range);
  expect_code([&] { q.parallel_for(sycl::nd_range<1>(2 * (max + 1), max + 1), nothing); },
              sycl::errc::nd_range);
  const std::size_t local_bytes = GetParam().get_info<sycl::info::device::local_mem_size>();
  expect_code(
      [&] {
        q.submit([&](sycl::handler& cgh) {
          sycl::local_accessor<char, 1> too_big(sycl::range<1>(local_bytes + 1), cgh);
          cgh.parallel_for(sycl::nd_range<1>(1, 1), [=](sycl::nd_item<1>) { (void)too_big; });
        });
      },
      sycl::errc::nd_range);
  expect_code(
      [&] {
        q.submit([&](sycl::handler& cgh) {
          sycl::local_accessor<int, 1> local(sycl::range<1>(4), cgh);
          cgh.parallel_for(sycl::range<1>(4), [=](sycl::id<1>) { (void)local; });
        });
      },
      sycl::errc::kernel_argument);
}

TEST_P(KernelOnDevice, EmptyRangeRunsNothing) {
  sycl::queue q(GetParam());
  int calls = 0;
  int* p = &calls;
  q.parallel_for(sycl::range<1>(0), [=](sycl::id<1>) { ++*p; }).wait();
  EXPECT_EQ(calls, 0);
}

INSTANTIATE_TEST_SUITE_P(Devices, KernelOnDevice, testing::ValuesIn(tessel_test::all_devices()),
                         tessel_test::device_label);

// The requirements a GPU backend would read: one per accessor, with the tag
// that marks the accessor in the kernel object's bytes.
TEST(KernelObjects, AccessorTagsMarkAccessorsInTheKernelBytes) {
  sycl::buffer<int> b(sycl::range<1>(4));
  sycl::queue q(sycl::cpu_selector_v);
  q.submit([&](sycl::handler& cgh) {
    sycl::accessor a(b, cgh);
    const auto kernel = [=](sycl::id<1> i) { a[i] = 1; };
    static_assert(std::is_trivially_copyable_v<decltype(kernel)>);
    std::uint64_t words[sizeof(kernel) / sizeof(std::uint64_t)];
    std::memcpy(words, &kernel, sizeof(words));
    int marked = 0;
    for (std::uint64_t w : words) {
      if ((w & 0xffffffff00000000ull) == sycl::detail::accessor_tag_marker)
        ++marked;
    }
    EXPECT_EQ(marked, 1);
    cgh.parallel_for(sycl::range<1>(4), kernel);
  });
}

}  // namespace
