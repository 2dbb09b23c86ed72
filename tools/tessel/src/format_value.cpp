#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "format.hpp"

namespace tessel {

std::string format_value(const describe_result& result, const dimension_summary& dimension,
                         statistic which, int digits) {
  // NaN has no sign worth showing.
  const double value =
      std::isnan(dimension[which]) ? std::numeric_limits<double>::quiet_NaN() : dimension[which];
  if (which == statistic::count) {
    return fmt::format("{}", static_cast<std::int64_t>(value));
  }
  if (result.type == element_type::f32) {
    const auto single = static_cast<float>(value);
    return digits ? fmt::format("{:.{}g}", single, digits) : fmt::format("{}", single);
  }
  return digits ? fmt::format("{:.{}g}", value, digits) : fmt::format("{}", value);
}

}  // namespace tessel
