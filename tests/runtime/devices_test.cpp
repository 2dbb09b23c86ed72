// Devices, platforms, contexts and device selection with every device visible.
#include <gtest/gtest.h>

#include <string>
#include <sycl/sycl.hpp>

namespace {

sycl::device the_gpu() {
  return sycl::device(sycl::gpu_selector_v);
}
sycl::device the_cpu() {
  return sycl::device(sycl::cpu_selector_v);
}

TEST(Devices, HostCpuAndEmulatedGpuAreListed) {
  const auto devices = sycl::device::get_devices();
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(sycl::device::get_devices(sycl::info::device_type::gpu).size(), 1u);
  EXPECT_EQ(sycl::device::get_devices(sycl::info::device_type::cpu).size(), 1u);
  EXPECT_TRUE(sycl::device::get_devices(sycl::info::device_type::accelerator).empty());
}

TEST(Devices, HostCpuDescribesItself) {
  const sycl::device cpu = the_cpu();
  EXPECT_TRUE(cpu.is_cpu());
  EXPECT_FALSE(cpu.is_gpu());
  EXPECT_FALSE(cpu.is_accelerator());
  EXPECT_NE(cpu.get_info<sycl::info::device::name>().find("CPU"), std::string::npos);
  EXPECT_FALSE(cpu.get_info<sycl::info::device::vendor>().empty());
  EXPECT_TRUE(cpu.has(sycl::aspect::fp64));
  EXPECT_TRUE(cpu.has(sycl::aspect::cpu));
  EXPECT_FALSE(cpu.has(sycl::aspect::emulated));
  EXPECT_GE(cpu.get_info<sycl::info::device::max_work_group_size>(), 1u);
  EXPECT_GE(cpu.get_info<sycl::info::device::max_compute_units>(), 1u);
  EXPECT_GT(cpu.get_info<sycl::info::device::global_mem_size>(), 0u);
  EXPECT_EQ(cpu.get_info<sycl::info::device::device_type>(), sycl::info::device_type::cpu);
}

TEST(Devices, EmulatedGpuSaysSoAndHasDefaultSettings) {
  const sycl::device gpu = the_gpu();
  EXPECT_TRUE(gpu.is_gpu());
  EXPECT_FALSE(gpu.is_cpu());
  EXPECT_EQ(gpu.get_info<sycl::info::device::name>(), "Tessel emulated GPU");
  EXPECT_TRUE(gpu.has(sycl::aspect::emulated));
  EXPECT_TRUE(gpu.has(sycl::aspect::fp64));
  EXPECT_EQ(gpu.get_info<sycl::info::device::max_work_group_size>(), 256u);
  EXPECT_EQ(gpu.get_info<sycl::info::device::local_mem_size>(), 65536u);
  EXPECT_EQ(gpu.get_backend(), sycl::backend::ext_tessel_host);
}

TEST(Devices, StandardSelectors) {
  EXPECT_TRUE(sycl::device(sycl::default_selector_v).is_gpu());
  EXPECT_TRUE(sycl::device().is_gpu());
  EXPECT_TRUE(the_gpu().is_gpu());
  EXPECT_TRUE(the_cpu().is_cpu());
  try {
    sycl::device none(sycl::accelerator_selector_v);
    FAIL() << "an accelerator was found";
  } catch (const sycl::exception& e) {
    EXPECT_EQ(e.code(), sycl::errc::runtime);
    EXPECT_STREQ(e.what(), "No device of requested type available");
  }
}

TEST(Devices, CallableSelectorsScoreAndReject) {
  const auto prefer_cpu = [](const sycl::device& d) { return d.is_cpu() ? 10 : 1; };
  EXPECT_TRUE(sycl::device(prefer_cpu).is_cpu());
  const auto only_gpu = [](const sycl::device& d) { return d.is_gpu() ? 0 : -1; };
  EXPECT_TRUE(sycl::queue(only_gpu).get_device().is_gpu());
  const auto reject_all = [](const sycl::device&) { return -1; };
  try {
    sycl::queue q(reject_all);
    FAIL() << "a rejected device was chosen";
  } catch (const sycl::exception& e) {
    EXPECT_EQ(e.code(), sycl::errc::runtime);
    EXPECT_STREQ(e.what(), "No device of requested type available");
  }
}

TEST(Devices, AspectSelector) {
  EXPECT_TRUE(
      sycl::device(sycl::aspect_selector({sycl::aspect::fp64}, {sycl::aspect::gpu})).is_cpu());
  EXPECT_TRUE(sycl::device(sycl::aspect_selector(sycl::aspect::emulated)).is_gpu());
  EXPECT_THROW(sycl::device(sycl::aspect_selector(sycl::aspect::fp16)), sycl::exception);
}

TEST(Devices, PlatformHoldsBothDevices) {
  const auto platforms = sycl::platform::get_platforms();
  ASSERT_EQ(platforms.size(), 1u);
  const sycl::platform& p = platforms.front();
  EXPECT_EQ(p.get_devices().size(), 2u);
  EXPECT_EQ(the_cpu().get_platform(), p);
  EXPECT_EQ(sycl::platform(), p);
  EXPECT_TRUE(p.has(sycl::aspect::fp64));
  EXPECT_FALSE(p.has(sycl::aspect::emulated));
  EXPECT_FALSE(p.get_info<sycl::info::platform::name>().empty());
}

TEST(Contexts, QueuesOfOneDeviceShareTheDefaultContext) {
  const sycl::queue a(the_cpu());
  const sycl::queue b(the_cpu());
  EXPECT_EQ(a.get_context(), b.get_context());
  EXPECT_NE(a, b);
  const sycl::context own(the_cpu());
  EXPECT_NE(own, a.get_context());
  ASSERT_EQ(own.get_devices().size(), 1u);
  EXPECT_EQ(own.get_devices().front(), the_cpu());
  EXPECT_EQ(sycl::queue(own, the_cpu()).get_context(), own);
}

TEST(Contexts, AQueueNeedsItsDeviceInItsContext) {
  const sycl::context cpu_only(the_cpu());
  try {
    sycl::queue q(cpu_only, the_gpu());
    FAIL() << "a queue was made outside its context";
  } catch (const sycl::exception& e) {
    EXPECT_EQ(e.code(), sycl::errc::invalid);
  }
  EXPECT_THROW(sycl::context(std::vector<sycl::device>{}), sycl::exception);
}

TEST(Queues, PropertiesAndDevice) {
  const sycl::queue in_order(the_cpu(), sycl::property::queue::in_order{});
  EXPECT_TRUE(in_order.is_in_order());
  EXPECT_TRUE(in_order.has_property<sycl::property::queue::in_order>());
  const sycl::queue plain(sycl::gpu_selector_v);
  EXPECT_FALSE(plain.is_in_order());
  EXPECT_TRUE(plain.get_device().is_gpu());
  EXPECT_THROW(plain.get_property<sycl::property::queue::in_order>(), sycl::exception);
}

TEST(Exceptions, CarryCodeCategoryAndContext) {
  const sycl::exception plain(sycl::make_error_code(sycl::errc::kernel), "boom");
  EXPECT_EQ(plain.code(), sycl::errc::kernel);
  EXPECT_EQ(&plain.category(), &sycl::sycl_category());
  EXPECT_STREQ(plain.what(), "boom");
  EXPECT_FALSE(plain.has_context());
  EXPECT_THROW(plain.get_context(), sycl::exception);
  const sycl::context ctx(the_cpu());
  const sycl::exception with_context(ctx, sycl::errc::invalid);
  EXPECT_TRUE(with_context.has_context());
  EXPECT_EQ(with_context.get_context(), ctx);
  EXPECT_EQ(static_cast<int>(sycl::errc::backend_mismatch), 14);
}

}  // namespace
