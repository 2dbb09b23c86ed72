#include "simd.hpp"

#include <cstdlib>
#include <cstring>

namespace tessel::estimator {

bool avx2_enabled() {
  static const bool enabled = [] {
    const char* asked = std::getenv("TESSEL_ESTIMATOR_SIMD");
    if (asked != nullptr && std::strcmp(asked, "sse2") == 0) {
      return false;
    }
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  }();
  return enabled;
}

}  // namespace tessel::estimator
