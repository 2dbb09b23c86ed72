// The devices tessel can compute on, as the SYCL runtime sees them.
#pragma once

#include <string>

#include <sycl/sycl.hpp>

namespace tessel {

// auto: a GPU of a real backend if there is one, else the CPU device. cpu, gpu: the first of that
// kind (gpu never picks the emulated GPU). Any other word is a device's name, compared without
// regard to case. Throws usage_error when nothing fits.
sycl::device select_device(const std::string& wanted);

// `tessel devices`: one block per device with its limits.
std::string list_devices();

}  // namespace tessel
