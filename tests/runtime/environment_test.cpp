// Settings read from the environment once per process. ctest runs each suite
// in a process of its own with the environment its name says.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <sycl/sycl.hpp>

namespace {

void expect_no_device(const std::function<void()>& make) {
  try {
    make();
    ADD_FAILURE() << "a device was found";
  } catch (const sycl::exception& e) {
    EXPECT_EQ(e.code(), sycl::errc::runtime);
    EXPECT_STREQ(e.what(), "No device of requested type available");
  }
}

// TESSEL_SYCL_DEVICES=cpu
TEST(CpuOnly, OnlyTheHostCpuExists) {
  const auto devices = sycl::device::get_devices();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_TRUE(devices.front().is_cpu());
  EXPECT_TRUE(sycl::queue().get_device().is_cpu());  // the default falls back to the CPU
  expect_no_device([] { sycl::device d(sycl::gpu_selector_v); });
}

// TESSEL_SYCL_DEVICES=" gpu "
TEST(GpuOnly, OnlyTheEmulatedGpuExists) {
  const auto devices = sycl::device::get_devices();
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_TRUE(devices.front().is_gpu());
  expect_no_device([] { sycl::queue q(sycl::cpu_selector_v); });
}

// TESSEL_SYCL_DEVICES=none
TEST(NoDevice, NothingIsSelected) {
  EXPECT_TRUE(sycl::device::get_devices().empty());
  expect_no_device([] { sycl::queue q; });
  expect_no_device([] { sycl::device d(sycl::cpu_selector_v); });
}

// TESSEL_SYCL_DEVICES=cpu,fpga
TEST(UnknownKind, EveryDeviceQueryFails) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    try {
      (void)sycl::device::get_devices();
      ADD_FAILURE() << "an unknown kind of device was accepted";
    } catch (const sycl::exception& e) {
      EXPECT_EQ(e.code(), sycl::errc::runtime);
      EXPECT_NE(std::string(e.what()).find("fpga"), std::string::npos) << e.what();
    }
  }
}

// TESSEL_EMU_GPU_WORK_GROUP_SIZE=3, TESSEL_EMU_GPU_LOCAL_MEM_SIZE=96,
// TESSEL_EMU_GPU_COMPUTE_UNITS=2
TEST(EmulatedGpuSettings, LimitsComeFromTheEnvironment) {
  const sycl::device gpu(sycl::gpu_selector_v);
  EXPECT_EQ(gpu.get_info<sycl::info::device::max_work_group_size>(), 3u);
  EXPECT_EQ(gpu.get_info<sycl::info::device::local_mem_size>(), 96u);
  EXPECT_EQ(gpu.get_info<sycl::info::device::max_compute_units>(), 2u);
  // The host CPU keeps its own limits.
  EXPECT_GT(sycl::device(sycl::cpu_selector_v).get_info<sycl::info::device::max_work_group_size>(),
            3u);
}

TEST(EmulatedGpuSettings, LaunchesHonourThem) {
  sycl::queue q(sycl::gpu_selector_v);
  EXPECT_THROW(q.parallel_for(sycl::nd_range<1>(8, 4), [](sycl::nd_item<1>) {}), sycl::exception);
  int* groups = sycl::malloc_shared<int>(3, q);
  q.submit([&](sycl::handler& cgh) {
     sycl::local_accessor<double, 1> scratch(sycl::range<1>(12), cgh);  // all 96 bytes
     cgh.parallel_for(sycl::nd_range<1>(9, 3), [=](sycl::nd_item<1> it) {
       scratch[it.get_local_id(0)] = 1.0;
       const double n = sycl::reduce_over_group(it.get_group(), scratch[it.get_local_id(0)],
                                                sycl::plus<double>());
       if (it.get_local_id(0) == 0)
         groups[it.get_group(0)] = static_cast<int>(n);
     });
   }).wait();
  EXPECT_EQ(groups[0] + groups[1] + groups[2], 9);
  sycl::free(groups, q);
  try {
    q.submit([&](sycl::handler& cgh) {
      sycl::local_accessor<double, 1> scratch(sycl::range<1>(13), cgh);
      cgh.parallel_for(sycl::nd_range<1>(3, 3), [=](sycl::nd_item<1>) { (void)scratch; });
    });
    ADD_FAILURE() << "local memory past the device's was accepted";
  } catch (const sycl::exception& e) {
    EXPECT_EQ(e.code(), sycl::errc::nd_range);
  }
}

}  // namespace
