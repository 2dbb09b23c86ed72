#include <fmt/format.h>

#include "format.hpp"

namespace tessel {
namespace {

// Quotes a name that holds a delimiter, a quote or a line break, doubling its quotes.
std::string csv_field(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    return std::string(text);
  }
  std::string quoted = "\"";
  for (const char c : text) {
    quoted += c;
    if (c == '"') {
      quoted += '"';
    }
  }
  return quoted + '"';
}

}  // namespace

std::string format_csv(const describe_result& result) {
  const std::vector<statistic_info> columns = result.statistics();
  std::string text = "index,name";
  for (const statistic_info& column : columns) {
    text += fmt::format(",{}", column.key);
  }
  text += '\n';
  for (const dimension_summary& dimension : result.dimensions) {
    text += fmt::format("{},{}", dimension.index, csv_field(dimension.name));
    for (const statistic_info& column : columns) {
      text += ',';
      text += format_value(result, dimension, column.id);
    }
    text += '\n';
  }
  return text;
}

}  // namespace tessel
