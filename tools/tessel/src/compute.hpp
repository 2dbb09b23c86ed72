// Computes the statistics of `tessel describe`: central statistics through the library's USM
// entries on the chosen device, order statistics on the host meanwhile.
#pragma once

#include <sycl/sycl.hpp>

#include "describe_input.hpp"

namespace tessel {

// Fills the values of input.result for every selected dimension, each over its own present
// observations, and input.result.method. The input's memory must be reachable from the queue's
// device. Throws what the library or the runtime throws; nothing the queue still runs outlives the
// call.
void compute(describe_input& input, sycl::queue& queue, bool one_pass);

}  // namespace tessel
