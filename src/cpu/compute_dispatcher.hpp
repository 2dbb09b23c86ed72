// The engine's own compute entry: validates a task and runs the estimator's stages that an estimate
// mask touches, in a fixed order, stopping at the first failure.
#pragma once

#include <cstdint>

#include "orv/ss_task.h"

namespace vorlex::orv::stats::detail::cpu {

// Status 0 for success, negative for failure, or the status of the last stage that ran. The method
// value is only passed on to the stages.
std::int32_t __ksusSSCompute(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method);
std::int32_t __ksudSSCompute(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method);

}  // namespace vorlex::orv::stats::detail::cpu
