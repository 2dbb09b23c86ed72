#include "devices.hpp"

#include <algorithm>
#include <cctype>
#include <optional>
#include <vector>

#include <fmt/format.h>

#include "errors.hpp"

namespace tessel {
namespace {

// An emulated GPU (the bundled runtime's, a simulator's) runs on the host and is slow: it says so
// by its aspect, and auto and gpu leave it to be chosen by name.
bool is_real_gpu(const sycl::device& device) {
  return device.is_gpu() && !device.has(sycl::aspect::emulated);
}

std::string name_of(const sycl::device& device) {
  return device.get_info<sycl::info::device::name>();
}

bool same_name(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) ==
           std::tolower(static_cast<unsigned char>(y));
  });
}

template <class Predicate>
std::optional<sycl::device> first(const std::vector<sycl::device>& devices, Predicate predicate) {
  const auto found = std::find_if(devices.begin(), devices.end(), predicate);
  if (found == devices.end()) {
    return std::nullopt;
  }
  return *found;
}

std::string names(const std::vector<sycl::device>& devices) {
  std::vector<std::string> quoted;
  for (const sycl::device& device : devices) {
    quoted.push_back('"' + name_of(device) + '"');
  }
  return quoted.empty() ? "none" : fmt::format("{}", fmt::join(quoted, ", "));
}

std::string kind_of(const sycl::device& device) {
  if (device.is_cpu()) {
    return "cpu";
  }
  if (!device.is_gpu()) {
    return "other";
  }
  return is_real_gpu(device) ? "gpu" : "gpu (emulated, chosen only by name)";
}

std::string bytes_text(std::uint64_t bytes) {
  constexpr std::uint64_t mib = std::uint64_t{1} << 20;
  if (bytes >= mib) {
    return fmt::format("{} MiB", bytes / mib);
  }
  return fmt::format("{} KiB", bytes / 1024);
}

}  // namespace

sycl::device select_device(const std::string& wanted) {
  const std::vector<sycl::device> devices = sycl::device::get_devices();
  std::optional<sycl::device> chosen;
  if (wanted == "auto") {
    chosen = first(devices, is_real_gpu);
    if (!chosen) {
      chosen = first(devices, [](const sycl::device& d) { return d.is_cpu(); });
    }
  } else if (wanted == "cpu") {
    chosen = first(devices, [](const sycl::device& d) { return d.is_cpu(); });
  } else if (wanted == "gpu") {
    chosen = first(devices, is_real_gpu);
  } else {
    chosen = first(devices, [&](const sycl::device& d) { return same_name(name_of(d), wanted); });
    if (!chosen) {
      throw usage_error(
          fmt::format("--device: no device named \"{}\"; choose auto, cpu, gpu or "
                      "one of: {}",
                      wanted, names(devices)));
    }
  }
  if (!chosen) {
    throw usage_error(
        fmt::format("--device {}: no such device here (the runtime sees: {}; the "
                    "emulated GPU is chosen by its name)",
                    wanted, names(devices)));
  }
  return *chosen;
}

std::string list_devices() {
  std::string text;
  for (const sycl::device& device : sycl::device::get_devices()) {
    text += fmt::format(
        "{}\n"
        "  kind                 {}\n"
        "  compute units        {}\n"
        "  max work-group size  {}\n"
        "  local memory         {}\n"
        "  global memory        {}\n"
        "  double precision     {}\n",
        name_of(device), kind_of(device), device.get_info<sycl::info::device::max_compute_units>(),
        device.get_info<sycl::info::device::max_work_group_size>(),
        bytes_text(device.get_info<sycl::info::device::local_mem_size>()),
        bytes_text(device.get_info<sycl::info::device::global_mem_size>()),
        device.has(sycl::aspect::fp64) ? "yes" : "no");
  }
  return text.empty() ? "no devices\n" : text;
}

}  // namespace tessel
