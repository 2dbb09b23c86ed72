// --dims: which dimensions to describe, e.g. "0,2,5-7" or "height,weight".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

// The library's selection: one element per dimension, 1 selects, 0 skips. Each item of the
// comma-separated list is a dimension's name, an index from 0, or a range "a-b" of indices. Throws
// usage_error for an item that is none of these.
std::vector<std::int64_t> parse_selection(std::string_view list,
                                          const std::vector<std::string>& names);

}  // namespace tessel
