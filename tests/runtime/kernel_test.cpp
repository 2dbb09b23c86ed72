// Kernels through the queue and the handler: range launches and the launches a device refuses at
// submission.

#include <functional>
#include <utility>

#include "devices.hpp"

namespace tessel::test {
namespace {

class KernelOnDevice : public on_each_device {};

TEST_P(KernelOnDevice, RangeKernelTakesItemIdOrIndex) {
  sycl::queue q(GetParam());
  for (const std::size_t n : {0, 1, 7, 1000}) {
    std::vector<std::size_t> by_item(n), by_id(n), by_index(n);
    {
      sycl::buffer<std::size_t> a(by_item.data(), sycl::range<1>(n));
      q.submit([&](sycl::handler& cgh) {
        sycl::accessor out(a, cgh, sycl::write_only);
        cgh.parallel_for(sycl::range<1>(n),
                         [=](sycl::item<1> it) { out[it] = it.get_linear_id() * it.get_range(0); });
      });
      std::size_t* p = by_id.data();
      q.parallel_for<class by_id_kernel>(n, [=](sycl::id<1> i) { p[i[0]] += i[0] + 1; });
      std::size_t* r = by_index.data();
      q.parallel_for(sycl::range<1>(n), [=](std::size_t i) { r[i] += 2 * i; });
      q.wait();
    }
    for (std::size_t i = 0; i < n; ++i) {
      ASSERT_EQ(by_item[i], i * n);
      ASSERT_EQ(by_id[i], i + 1);
      ASSERT_EQ(by_index[i], 2 * i);
    }
  }
}

TEST_P(KernelOnDevice, RefusedLaunchesThrowAtSubmission) {
  sycl::queue q(GetParam());
  const std::size_t max = GetParam().get_info<sycl::info::device::max_work_group_size>();
  const std::size_t local_bytes = GetParam().get_info<sycl::info::device::local_mem_size>();
  const auto nothing = [](sycl::nd_item<1>) {};
  const std::vector<std::pair<std::function<void()>, sycl::errc>> launches = {
      {[&] { q.parallel_for(sycl::nd_range<1>(8, 0), nothing); }, sycl::errc::nd_range},
      {[&] { q.parallel_for(sycl::nd_range<1>(10, 4), nothing); }, sycl::errc::nd_range},
      {[&] { q.parallel_for(sycl::nd_range<1>(2 * (max + 1), max + 1), nothing); },
       sycl::errc::nd_range},
      {[&] {
         q.submit([&](sycl::handler& cgh) {
           sycl::local_accessor<char, 1> too_big(sycl::range<1>(local_bytes + 1), cgh);
           cgh.parallel_for(sycl::nd_range<1>(1, 1), [=](sycl::nd_item<1>) { (void)too_big; });
         });
       },
       sycl::errc::nd_range},
      {[&] {
         q.submit([&](sycl::handler& cgh) {
           sycl::local_accessor<int, 1> local(sycl::range<1>(4), cgh);
           cgh.parallel_for(sycl::range<1>(4), [=](sycl::id<1>) { (void)local; });
         });
       },
       sycl::errc::kernel_argument}};
  for (const auto& [launch, code] : launches) {
    EXPECT_EQ(expect_sycl_error(launch).code(), code);
  }
}

INSTANTIATE_TEST_SUITE_P(Devices, KernelOnDevice, testing::ValuesIn(all_devices()), device_label);

}  // namespace
}  // namespace tessel::test
