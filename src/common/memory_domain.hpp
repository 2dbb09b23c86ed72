// The domain that every failed device allocation names, whichever statistic or entry it stops.
#pragma once

namespace vorlex::orv::stats::detail {

inline constexpr const char* memory_domain = "rng";

}  // namespace vorlex::orv::stats::detail
