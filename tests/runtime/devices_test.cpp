// Devices, selectors, platforms, contexts and queues with every device visible.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <sycl/sycl.hpp>
#include <vector>

#include "devices.hpp"

namespace tessel::test {
namespace {

sycl::device gpu() {
  return sycl::device(sycl::gpu_selector_v);
}
sycl::device cpu() {
  return sycl::device(sycl::cpu_selector_v);
}

TEST(Devices, HostCpuAndEmulatedGpuDescribeThemselves) {
  EXPECT_EQ(sycl::device::get_devices().size(), 2u);
  EXPECT_EQ(sycl::device::get_devices(sycl::info::device_type::cpu).size(), 1u);
  EXPECT_TRUE(sycl::device::get_devices(sycl::info::device_type::accelerator).empty());
  EXPECT_TRUE(cpu().is_cpu() && !cpu().is_gpu() && !cpu().has(sycl::aspect::emulated));
  EXPECT_TRUE(cpu().has(sycl::aspect::fp64) && cpu().has(sycl::aspect::cpu));
  EXPECT_NE(cpu().get_info<sycl::info::device::name>().find("CPU"), std::string::npos);
  EXPECT_TRUE(gpu().is_gpu() && !gpu().is_cpu() && gpu().has(sycl::aspect::emulated));
  EXPECT_EQ(gpu().get_info<sycl::info::device::name>(), "Tessel emulated GPU");
  EXPECT_EQ(gpu().get_info<sycl::info::device::max_work_group_size>(), 256u);
  EXPECT_EQ(gpu().get_info<sycl::info::device::local_mem_size>(), 65536u);
  const sycl::platform platform;
  EXPECT_EQ(sycl::platform::get_platforms().size(), 1u);
  EXPECT_EQ(platform.get_devices().size(), 2u);
  EXPECT_EQ(cpu().get_platform(), platform);
  EXPECT_FALSE(platform.has(sycl::aspect::emulated));  // only one of its devices has it
}

TEST(Devices, SelectorsScorePreferAndReject) {
  EXPECT_TRUE(sycl::device().is_gpu());
  EXPECT_TRUE(sycl::device([](const sycl::device& d) { return d.is_cpu() ? 10 : 1; }).is_cpu());
  EXPECT_TRUE(
      sycl::queue([](const sycl::device& d) { return d.is_gpu() ? 0 : -1; }).get_device().is_gpu());
  EXPECT_TRUE(
      sycl::device(sycl::aspect_selector({sycl::aspect::fp64}, {sycl::aspect::gpu})).is_cpu());
  EXPECT_TRUE(sycl::device(sycl::aspect_selector(sycl::aspect::emulated)).is_gpu());
  const std::vector<std::function<void()>> refused = {
      [] { sycl::device d(sycl::accelerator_selector_v); },
      [] { sycl::queue q([](const sycl::device&) { return -1; }); },
      [] { sycl::device d(sycl::aspect_selector(sycl::aspect::fp16)); }};
  for (const auto& select : refused) {
    const sycl::exception e = expect_sycl_error(select);
    EXPECT_EQ(e.code(), sycl::errc::runtime);
    EXPECT_STREQ(e.what(), "No device of requested type available");
  }
}

TEST(Contexts, QueuesShareTheDefaultContextAndNeedTheirDeviceInIt) {
  const sycl::queue a(cpu()), b(cpu());
  EXPECT_EQ(a.get_context(), b.get_context());
  EXPECT_NE(a, b);
  const sycl::context own(cpu());
  EXPECT_NE(own, a.get_context());
  EXPECT_EQ(sycl::queue(own, cpu()).get_context(), own);
  EXPECT_EQ(expect_sycl_error([&] { sycl::queue q(own, gpu()); }).code(), sycl::errc::invalid);
  EXPECT_EQ(expect_sycl_error([] { sycl::context c(std::vector<sycl::device>{}); }).code(),
            sycl::errc::invalid);
  EXPECT_EQ(sycl::exception(own, sycl::errc::invalid).get_context(), own);
  EXPECT_EQ(expect_sycl_error([] { sycl::exception(sycl::errc::kernel).get_context(); }).code(),
            sycl::errc::invalid);
  EXPECT_TRUE(sycl::queue(cpu(), sycl::property::queue::in_order{}).is_in_order());
  EXPECT_THROW(a.get_property<sycl::property::queue::in_order>(), sycl::exception);
}

}  // namespace
}  // namespace tessel::test
