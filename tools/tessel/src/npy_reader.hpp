// The elements of a float32 or float64 .npy array, converted to the element type asked for and kept
// in the file's order (C or Fortran).
#pragma once

#include <cstdint>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>

#include "block.hpp"
#include "element_type.hpp"
#include "missing.hpp"
#include "progress.hpp"

namespace tessel {

struct npy_options {
  std::optional<element_type> type;               // unset: the type the file stores
  std::optional<std::string> weights_column;      // a column number (axis 1) of a 2-D array
  missing_policy missing = missing_policy::skip;  // NaN elements are missing values
};

struct npy_array {
  element_type type = element_type::f64;
  int rank = 2;                // 1 or 2
  std::int64_t n_rows = 0;     // extent of axis 0
  std::int64_t n_columns = 0;  // extent of axis 1 without the weights column; 1 for a 1-D array
  bool fortran_order = false;  // true: values[r + c * n_rows], else values[r * n_columns + c]
  block values;
  block weights;                     // n_rows elements when a weights column was asked for
  std::int64_t missing_values = 0;   // NaN elements of `values`
  std::int64_t missing_weights = 0;  // and of `weights`
};

// Throws data_error with the reason for a file it cannot read, and usage_error for a weights column
// that does not exist.
npy_array read_npy(std::string_view bytes, std::string_view file_name, const npy_options& options,
                   std::pmr::memory_resource& memory, progress& progress);

}  // namespace tessel
