#include <vorlex/orv/stats.hpp>

#include <string>

namespace vorlex::orv {
namespace {

// "<kind>" or "<kind>: <detail>": a text never ends in ": ".
std::string with_detail(const char* kind, const std::string& detail) {
  return detail.empty() ? std::string(kind) : std::string(kind) + ": " + detail;
}

std::string device_name(const sycl::device& device) {
  return device.get_info<sycl::info::device::name>();
}

}  // namespace

exception::exception(const std::string& domain, const std::string& function,
                     const std::string& info)
    : msg("vorlex::orv") {
  if (!domain.empty()) {
    msg += "::" + domain;
  }
  if (!function.empty()) {
    msg += "::" + function;
  }
  if (!info.empty()) {
    msg += ": " + info;
  }
}

exception::~exception() = default;

const char* exception::what() const noexcept {
  return msg.c_str();
}

invalid_argument::invalid_argument(const std::string& domain, const std::string& function,
                                   const std::string& info)
    : exception(domain, function, with_detail("invalid argument", info)) {}

invalid_argument::~invalid_argument() = default;

unimplemented::unimplemented(const std::string& domain, const std::string& function,
                             const std::string& info)
    : exception(domain, function, with_detail("unimplemented functionality", info)) {}

unimplemented::~unimplemented() = default;

unsupported_device::unsupported_device(const std::string& domain, const std::string& function,
                                       const sycl::device& device)
    : exception(domain, function, "unsupported device: " + device_name(device)) {}

unsupported_device::~unsupported_device() = default;

device_bad_alloc::device_bad_alloc(const std::string& domain, const std::string& function,
                                   const sycl::device& device)
    : exception(domain, function, "cannot allocate memory on " + device_name(device)) {}

device_bad_alloc::~device_bad_alloc() = default;

computation_error::computation_error(const std::string& domain, const std::string& function,
                                     const std::string& info)
    : exception(domain, function, with_detail("computation error", info)) {}

computation_error::~computation_error() = default;

}  // namespace vorlex::orv
