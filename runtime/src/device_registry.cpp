#include "device_registry.hpp"

#include <cstdlib>
#include <sstream>
#include <string>

#include "host/host_cpu_device.hpp"
#include "sycl/exception.hpp"

namespace sycl::detail {
namespace {

struct visible_kinds {
  bool cpu = true;
  bool gpu = true;
};

std::string trim(const std::string& s) {
  const auto first = s.find_first_not_of(" \t");
  if (first == std::string::npos) {
    return {};
  }
  const auto last = s.find_last_not_of(" \t");
  return s.substr(first, last - first + 1);
}

// TESSEL_SYCL_DEVICES: a comma-separated list of cpu, gpu (emulated) and none, which adds no
// device; unset or blank means all.
visible_kinds visible_from_environment() {
  const char* value = std::getenv("TESSEL_SYCL_DEVICES");
  if (value == nullptr || trim(value).empty()) {
    return {};
  }
  visible_kinds kinds{false, false};
  std::istringstream list(value);
  std::string item;
  while (std::getline(list, item, ',')) {
    const std::string kind = trim(item);
    if (kind == "cpu") {
      kinds.cpu = true;
    } else if (kind == "gpu") {
      kinds.gpu = true;
    } else if (kind != "none") {
      throw exception(make_error_code(errc::runtime),
                      "TESSEL_SYCL_DEVICES names an unknown kind of device '" + kind +
                          "' (expected cpu, gpu or none)");
    }
  }
  return kinds;
}

}  // namespace

device_registry& device_registry::get() {
  // Never destroyed: handles in static objects may outlive any order.
  static device_registry* const instance = new device_registry;
  return *instance;
}

device_registry::device_registry() {
  const visible_kinds visible = visible_from_environment();
  auto host = std::make_shared<platform_impl>("Tessel SYCL", "Tessel", "SYCL 2020 (Tessel 0.1)",
                                              backend::ext_tessel_host);
  if (visible.gpu) {
    host->add(std::make_shared<device_impl>(make_emulated_gpu(), true, *host));
  }
  if (visible.cpu) {
    host->add(std::make_shared<device_impl>(make_host_cpu_device(), false, *host));
  }
  platforms_.push_back(host);
  for (const auto& p : platforms_) {
    devices_.insert(devices_.end(), p->devices().begin(), p->devices().end());
  }
}

}  // namespace sycl::detail
