// Settings read from the environment once per process. ctest runs each suite in a process of its
// own with the environment its name says.

#include "devices.hpp"

namespace tessel::test {
namespace {

template <typename Make>
void expect_no_device(Make make) {
  const sycl::exception e = expect_sycl_error(make);
  EXPECT_EQ(e.code(), sycl::errc::runtime);
  EXPECT_STREQ(e.what(), "No device of requested type available");
}

// TESSEL_SYCL_DEVICES=cpu
TEST(CpuOnly, OnlyTheHostCpuExists) {
  ASSERT_EQ(sycl::device::get_devices().size(), 1u);
  EXPECT_TRUE(sycl::queue().get_device().is_cpu());  // the default falls back to the CPU
  expect_no_device([] { sycl::device d(sycl::gpu_selector_v); });
}

// TESSEL_SYCL_DEVICES=" gpu "
TEST(GpuOnly, OnlyTheEmulatedGpuExists) {
  ASSERT_EQ(sycl::device::get_devices().size(), 1u);
  EXPECT_TRUE(sycl::device::get_devices().front().is_gpu());
  expect_no_device([] { sycl::queue q(sycl::cpu_selector_v); });
}

// TESSEL_SYCL_DEVICES=none
TEST(NoDevice, NothingIsSelected) {
  EXPECT_TRUE(sycl::device::get_devices().empty());
  expect_no_device([] { sycl::queue q; });
}

// TESSEL_SYCL_DEVICES=cpu,fpga: every query fails, not only the first.
TEST(UnknownKind, EveryDeviceQueryFails) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    const sycl::exception e = expect_sycl_error([] { (void)sycl::device::get_devices(); });
    EXPECT_EQ(e.code(), sycl::errc::runtime);
    EXPECT_NE(std::string(e.what()).find("fpga"), std::string::npos) << e.what();
  }
}

// TESSEL_EMU_GPU_WORK_GROUP_SIZE=3, TESSEL_EMU_GPU_LOCAL_MEM_SIZE=96,
// TESSEL_EMU_GPU_COMPUTE_UNITS=2: the emulated GPU reports and enforces them, the CPU keeps its
// own.
TEST(EmulatedGpuSettings, LimitsComeFromTheEnvironment) {
  const sycl::device gpu(sycl::gpu_selector_v);
  EXPECT_EQ(gpu.get_info<sycl::info::device::max_work_group_size>(), 3u);
  EXPECT_EQ(gpu.get_info<sycl::info::device::local_mem_size>(), 96u);
  EXPECT_EQ(gpu.get_info<sycl::info::device::max_compute_units>(), 2u);
  EXPECT_GT(sycl::device(sycl::cpu_selector_v).get_info<sycl::info::device::max_work_group_size>(),
            3u);
  sycl::queue q(gpu);
  EXPECT_EQ(expect_sycl_error([&] {
              q.parallel_for(sycl::nd_range<1>(8, 4), [](sycl::nd_item<1>) {});
            }).code(),
            sycl::errc::nd_range);
  EXPECT_EQ(expect_sycl_error([&] {
              q.submit([&](sycl::handler& cgh) {
                sycl::local_accessor<double, 1> too_big(sycl::range<1>(13), cgh);
                cgh.parallel_for(sycl::nd_range<1>(3, 3), [=](sycl::nd_item<1>) { (void)too_big; });
              });
            }).code(),
            sycl::errc::nd_range);
}

}  // namespace
}  // namespace tessel::test
