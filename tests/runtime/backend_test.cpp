// Interop with backends this runtime does not have: every entry throws backend_mismatch and
// names the backend.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <sycl/sycl.hpp>
#include <utility>
#include <vector>

#include "devices.hpp"

namespace tessel::test {
namespace {

TEST(Interop, EveryFormNamesTheMissingBackend) {
  namespace lz = sycl::ext::tessel::level_zero;
  sycl::queue q(sycl::gpu_selector_v);
  const sycl::context ctx = q.get_context();
  const sycl::device dev = q.get_device();
  sycl::event e = q.single_task([] {});
  void* handle = reinterpret_cast<void*>(std::uintptr_t{0x1000});
  const std::vector<std::pair<std::function<void()>, const char*>> calls = {
      {[&] { sycl::make_platform<sycl::backend::opencl>(handle); }, "OpenCL"},
      {[&] { sycl::make_device<sycl::backend::opencl>(handle); }, "OpenCL"},
      {[&] { sycl::make_context<sycl::backend::opencl>(handle, {}); }, "OpenCL"},
      {[&] { sycl::make_queue<sycl::backend::opencl>(handle, ctx, {}); }, "OpenCL"},
      {[&] { sycl::make_event<sycl::backend::opencl>(handle, ctx); }, "OpenCL"},
      {[&] { (void)sycl::get_native<sycl::backend::opencl>(e); }, "OpenCL"},
      {[&] { sycl::make_context<sycl::backend::ext_tessel_level_zero>(handle); }, "Level Zero"},
      {[&] { (void)sycl::get_native<sycl::backend::ext_tessel_level_zero>(q); }, "Level Zero"},
      {[&] { lz::make_platform(0x10); }, "Level Zero"},
      {[&] { lz::make_device(dev.get_platform(), 0x20); }, "Level Zero"},
      {[&] { lz::make_context({dev}, 0x30, true); }, "Level Zero"},
      {[&] { lz::make_queue(ctx, dev, 0x40, false, true, {}); }, "Level Zero"},
      {[&] { lz::make_queue(ctx, 0x40); }, "Level Zero"}};
  for (const auto& [call, backend] : calls) {
    const sycl::exception error = expect_sycl_error(call);
    EXPECT_EQ(error.code(), sycl::errc::backend_mismatch);
    EXPECT_EQ(error.code().value(), 14);
    EXPECT_NE(std::string(error.what()).find(backend), std::string::npos) << error.what();
  }
  EXPECT_EQ(e.get_backend(), sycl::backend::ext_tessel_host);
  EXPECT_EQ(dev.get_backend(), sycl::backend::ext_tessel_host);
}

}  // namespace
}  // namespace tessel::test
