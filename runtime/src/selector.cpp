#include <algorithm>

#include "device_registry.hpp"
#include "sycl/device_selector.hpp"
#include "sycl/exception.hpp"

namespace sycl {
namespace detail {
namespace {

constexpr int real_gpu_score = 1000;
constexpr int emulated_gpu_score = 500;
constexpr int accelerator_score = 400;
constexpr int cpu_score = 300;
constexpr int other_score = 100;

}  // namespace

device select_device(const std::function<int(const device&)>& selector) {
  const device_registry& registry = device_registry::get();
  std::shared_ptr<device_impl> best;
  int best_score = -1;
  for (const auto& d : registry.devices()) {
    const int score = selector(impl_access::make<device>(d));
    if (score >= 0 && score > best_score) {
      best = d;
      best_score = score;
    }
  }
  if (!best) {
    throw exception(make_error_code(errc::runtime), "No device of requested type available");
  }
  return impl_access::make<device>(best);
}

int default_selector_t::operator()(const device& d) const {
  if (d.is_gpu()) {
    return d.has(aspect::emulated) ? emulated_gpu_score : real_gpu_score;
  }
  if (d.is_accelerator()) {
    return accelerator_score;
  }
  if (d.is_cpu()) {
    return cpu_score;
  }
  return other_score;
}

int gpu_selector_t::operator()(const device& d) const {
  if (!d.is_gpu()) {
    return -1;
  }
  return d.has(aspect::emulated) ? emulated_gpu_score : real_gpu_score;
}

int cpu_selector_t::operator()(const device& d) const {
  return d.is_cpu() ? cpu_score : -1;
}

int accelerator_selector_t::operator()(const device& d) const {
  return d.is_accelerator() ? accelerator_score : -1;
}

int aspect_selector_t::operator()(const device& d) const {
  const auto has = [&](aspect a) { return d.has(a); };
  if (!std::all_of(required_.begin(), required_.end(), has)) {
    return -1;
  }
  if (std::any_of(denied_.begin(), denied_.end(), has)) {
    return -1;
  }
  return default_selector_t()(d);
}

}  // namespace detail
}  // namespace sycl
