// A column given on the command line by its header name or by its number counted from 0.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

// A plain non-negative decimal number, or nothing.
std::optional<std::size_t> parse_index(std::string_view text);

// The column that `wanted` names: a name of `names` first, else a number below n_columns. Throws
// usage_error naming `option` and the file when there is no such column.
std::size_t resolve_column(std::string_view option, const std::string& wanted,
                           const std::vector<std::string>& names, std::size_t n_columns,
                           std::string_view file_name);

}  // namespace tessel
