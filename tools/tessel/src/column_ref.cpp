#include "column_ref.hpp"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "errors.hpp"

namespace tessel {

std::optional<std::size_t> parse_index(std::string_view text) {
  std::size_t number = 0;
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, number);
  if (text.empty() || error != std::errc() || end != last) {
    return {};
  }
  return number;
}

std::size_t resolve_column(std::string_view option, const std::string& wanted,
                           const std::vector<std::string>& names, std::size_t n_columns,
                           std::string_view file_name) {
  if (const auto found = std::find(names.begin(), names.end(), wanted); found != names.end()) {
    return static_cast<std::size_t>(found - names.begin());
  }
  const auto number = parse_index(wanted);
  if (!number) {
    throw usage_error(fmt::format("{}: {} has no column named {}{}", option, file_name,
                                  quoted_excerpt(wanted),
                                  names.empty() ? " (it has no header row)" : ""));
  }
  if (*number >= n_columns) {
    throw usage_error(fmt::format("{}: {} has no column {} (it has {}, counted from 0)", option,
                                  file_name, *number, n_columns));
  }
  return *number;
}

}  // namespace tessel
