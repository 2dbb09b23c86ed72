// A matrix read from a file, in the file's own order, ready for the library's dataset.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "block.hpp"
#include "element_type.hpp"

namespace tessel {

struct matrix {
  element_type type = element_type::f64;
  matrix_layout layout = matrix_layout::col_major;
  std::int64_t n_dims = 0;
  std::int64_t n_observations = 0;
  block values;   // n_dims * n_observations elements of `type`, laid out by `layout`
  block weights;  // n_observations elements when a weights column was taken out
  std::int64_t missing_values = 0;   // elements of `values` that are NaN: missing
  std::int64_t missing_weights = 0;  // and of `weights`
  std::vector<std::string> names;    // one per dimension: the header's names, else "0", "1", ...
};

}  // namespace tessel
