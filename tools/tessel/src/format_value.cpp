#include <fmt/format.h>

#include "format.hpp"

namespace tessel {

std::string format_value(const describe_result& result, const dimension_summary& dimension,
                         statistic which) {
  const double value = dimension[which];
  if (which == statistic::count)
    return fmt::format("{}", static_cast<std::int64_t>(value));
  if (result.type == element_type::f32)
    return fmt::format("{}", static_cast<float>(value));
  return fmt::format("{}", value);
}

}  // namespace tessel
