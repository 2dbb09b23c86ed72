// The devices whose kernels the executor runs: the emulated GPU, and kernel execution for the host
// CPU device.
#include <memory>
#include <utility>

#include "executor.hpp"
#include "settings.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/kernel_launch.hpp"

namespace sycl::detail {

namespace {

class executor_backend final : public device_backend {
 public:
  executor_backend(device_limits limits, std::uint64_t shuffle_seed)
      : limits_(std::move(limits)), executor_(emu::settings_for(limits_, shuffle_seed)) {}

  const device_limits& limits() const override { return limits_; }
  void run(const nd_range_launch& launch) override { executor_.run(launch); }
  void run(const range_launch& launch) override { executor_.run(launch); }

 private:
  device_limits limits_;
  emu::executor executor_;
};

}  // namespace

TESSEL_SYCL_API std::unique_ptr<device_backend> make_emulated_gpu() {
  return std::make_unique<executor_backend>(emu::emulated_gpu_limits_from_environment(),
                                            emu::shuffle_seed_from_environment());
}

TESSEL_SYCL_API std::unique_ptr<device_backend> make_host_cpu_executor(device_limits limits) {
  return std::make_unique<executor_backend>(std::move(limits),
                                            emu::shuffle_seed_from_environment());
}

}  // namespace sycl::detail
