#include "missing.hpp"

#include <array>
#include <cmath>

#include "number.hpp"

namespace tessel {

bool is_missing(std::string_view text) {
  constexpr std::array<std::string_view, 8> markers = {"NA",   "N/A",  "n/a",  "#N/A",
                                                       "<NA>", "null", "NULL", "None"};
  if (text.empty()) {
    return true;
  }
  for (const std::string_view marker : markers) {
    if (text == marker) {
      return true;
    }
  }
  const parsed_number<double> number = parse_number<double>(text);
  return number.status == number_status::ok && std::isnan(number.value);
}

}  // namespace tessel
