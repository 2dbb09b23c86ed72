// The three ways `tessel describe` writes its result. Each returns the whole text, so that nothing
// is printed before every statistic has been computed.
#pragma once

#include <cstddef>
#include <string>

#include "describe_result.hpp"

namespace tessel {

enum class output_format { table, csv, json };

// A value with `digits` significant digits, or with 0 the shortest text that reads back as the same
// float or double; a count is an integer.
std::string format_value(const describe_result& result, const dimension_summary& dimension,
                         statistic which, int digits = 0);

// Statistics as rows, dimensions as columns, each column aligned on the decimal point, values with
// `digits` significant digits (0: round-trip); columns that do not fit in `width` characters go to
// further blocks below (0: one block however wide).
std::string format_table(const describe_result& result, std::size_t width, int digits);

// One row per dimension.
std::string format_csv(const describe_result& result);

// One object; numbers that are not finite are null.
std::string format_json(const describe_result& result);

}  // namespace tessel
