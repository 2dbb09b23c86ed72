// The standard device selectors. A selector is any callable that scores a device; a negative score
// rejects it.
#pragma once

#include <utility>
#include <vector>

#include "sycl/aspect.hpp"
#include "sycl/defines.hpp"
#include "sycl/device.hpp"

namespace sycl {
namespace detail {

// Prefers a real GPU, then the emulated one, then the CPU.
struct default_selector_t {
  TESSEL_SYCL_API int operator()(const device& d) const;
};
// A real GPU before the emulated one; rejects the rest.
struct gpu_selector_t {
  TESSEL_SYCL_API int operator()(const device& d) const;
};
struct cpu_selector_t {
  TESSEL_SYCL_API int operator()(const device& d) const;
};
struct accelerator_selector_t {
  TESSEL_SYCL_API int operator()(const device& d) const;
};

class aspect_selector_t {
 public:
  aspect_selector_t(std::vector<aspect> required, std::vector<aspect> denied)
      : required_(std::move(required)), denied_(std::move(denied)) {}
  // Among the devices that pass, the default selector's preference decides.
  TESSEL_SYCL_API int operator()(const device& d) const;

 private:
  std::vector<aspect> required_;
  std::vector<aspect> denied_;
};

}  // namespace detail

inline constexpr detail::default_selector_t default_selector_v{};
inline constexpr detail::gpu_selector_t gpu_selector_v{};
inline constexpr detail::cpu_selector_t cpu_selector_v{};
inline constexpr detail::accelerator_selector_t accelerator_selector_v{};

inline detail::aspect_selector_t aspect_selector(const std::vector<aspect>& required,
                                                 const std::vector<aspect>& denied = {}) {
  return detail::aspect_selector_t(required, denied);
}
template <typename... Aspects>
detail::aspect_selector_t aspect_selector(Aspects... required) {
  return detail::aspect_selector_t({required...}, {});
}

}  // namespace sycl
