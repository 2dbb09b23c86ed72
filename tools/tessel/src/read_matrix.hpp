// Reads a data file (CSV, or .npy by its extension or its first bytes) into a matrix whose layout
// follows the file's order, so that nothing is transposed or copied twice.
#pragma once

#include <cstdint>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>

#include "block.hpp"
#include "csv_reader.hpp"
#include "element_type.hpp"
#include "matrix.hpp"

namespace tessel {

struct read_options {
  std::optional<element_type> type;  // unset: double for CSV, the stored type for .npy
  rows_are orientation = rows_are::observations;
  char delimiter = 0;  // CSV only; 0 detects it
  header_mode header = header_mode::detect;
  std::optional<std::string> weights_column;
  missing_policy missing = missing_policy::skip;
};

matrix read_matrix(const std::string& path, const read_options& options,
                   std::pmr::memory_resource& memory);

// A list of values from a file of one row or one column, for `option` (--weights, --mean).
struct value_list {
  std::int64_t count = 0;
  block values;
  std::int64_t missing = 0;  // NaN among the values
};

value_list read_values(const std::string& path, element_type type, std::string_view option,
                       missing_policy missing, std::pmr::memory_resource& memory);

}  // namespace tessel
