// Interop with backends this runtime does not have: every entry throws
// backend_mismatch and names the backend.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <sycl/sycl.hpp>

namespace {

void expect_missing(const std::function<void()>& call, const std::string& backend_name) {
  try {
    call();
    ADD_FAILURE() << "no exception";
  } catch (const sycl::exception& e) {
    EXPECT_EQ(e.code(), sycl::errc::backend_mismatch);
    EXPECT_EQ(e.code().value(), 14);
    EXPECT_NE(std::string(e.what()).find(backend_name), std::string::npos) << e.what();
  }
}

TEST(Interop, GenericFormsNameTheMissingBackend) {
  sycl::queue q(sycl::cpu_selector_v);
  const sycl::context ctx = q.get_context();
  void* handle = reinterpret_cast<void*>(std::uintptr_t{0x1000});
  expect_missing([&] { sycl::make_platform<sycl::backend::opencl>(handle); }, "OpenCL");
  expect_missing([&] { sycl::make_device<sycl::backend::opencl>(handle); }, "OpenCL");
  expect_missing([&] { sycl::make_context<sycl::backend::opencl>(handle, {}); }, "OpenCL");
  expect_missing([&] { sycl::make_queue<sycl::backend::opencl>(handle, ctx, {}); }, "OpenCL");
  expect_missing([&] { sycl::make_event<sycl::backend::opencl>(handle, ctx); }, "OpenCL");
  expect_missing([&] { sycl::make_context<sycl::backend::ext_tessel_level_zero>(handle); },
                 "Level Zero");
}

TEST(Interop, LevelZeroFormsNameTheMissingBackend) {
  namespace lz = sycl::ext::tessel::level_zero;
  sycl::queue q(sycl::gpu_selector_v);
  const sycl::context ctx = q.get_context();
  const sycl::device dev = q.get_device();
  expect_missing([&] { lz::make_platform(0x10); }, "Level Zero");
  expect_missing([&] { lz::make_device(dev.get_platform(), 0x20); }, "Level Zero");
  expect_missing([&] { lz::make_context({dev}, 0x30, true); }, "Level Zero");
  expect_missing([&] { lz::make_queue(ctx, dev, 0x40, false, true, {}); }, "Level Zero");
  expect_missing([&] { lz::make_queue(ctx, 0x40); }, "Level Zero");
}

TEST(Interop, NativeHandlesOfAnEventAreRefused) {
  sycl::queue q(sycl::gpu_selector_v);
  sycl::event e = q.single_task([] {});
  e.wait();
  EXPECT_EQ(e.get_backend(), sycl::backend::ext_tessel_host);
  EXPECT_NE(e.get_backend(), sycl::backend::opencl);
  expect_missing([&] { (void)sycl::get_native<sycl::backend::opencl>(e); }, "OpenCL");
  expect_missing([&] { (void)sycl::get_native<sycl::backend::ext_tessel_level_zero>(q); },
                 "Level Zero");
}

}  // namespace
