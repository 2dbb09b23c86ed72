#include "device_impl.hpp"

#include "context_impl.hpp"

namespace sycl::detail {

device_impl::device_impl(std::unique_ptr<device_backend> runner, bool emulated,
                         platform_impl& owner)
    : runner_(std::move(runner)),
      limits_(runner_->limits()),
      emulated_(emulated),
      platform_(&owner) {}

backend device_impl::get_backend() const noexcept {
  return platform_->get_backend();
}

bool device_impl::has(aspect a) const noexcept {
  switch (a) {
    case aspect::cpu:
      return limits_.is_cpu;
    case aspect::gpu:
      return limits_.is_gpu;
    case aspect::accelerator:
      return limits_.is_accelerator;
    case aspect::emulated:
      return emulated_;
    case aspect::fp64:
      return limits_.fp64;
    case aspect::usm_device_allocations:
    case aspect::usm_host_allocations:
    case aspect::usm_shared_allocations:
      return true;
    default:
      return false;
  }
}

std::shared_ptr<context_impl> platform_impl::default_context() {
  std::call_once(default_context_once_, [this] {
    default_context_ = std::make_shared<context_impl>(devices_, async_handler{});
  });
  return default_context_;
}

}  // namespace sycl::detail
