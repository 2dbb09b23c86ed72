#include "errors.hpp"

#include <fmt/format.h>

namespace tessel {

data_error data_error_at(std::string_view file, std::int64_t line, std::int64_t column,
                         std::string_view message) {
  return data_error(fmt::format("{}:{}:{}: {}", file, line, column, message));
}

std::string quoted_excerpt(std::string_view text) {
  constexpr std::size_t max_shown = 40;
  std::string out = "\"";
  for (std::size_t k = 0; k < text.size() && k < max_shown; ++k) {
    const auto byte = static_cast<unsigned char>(text[k]);
    if (byte < 0x20 || byte >= 0x7f || byte == '"' || byte == '\\') {
      out += fmt::format("\\x{:02x}", byte);
    } else {
      out += static_cast<char>(byte);
    }
  }
  out += text.size() > max_shown ? "\"..." : "\"";
  return out;
}

}  // namespace tessel
