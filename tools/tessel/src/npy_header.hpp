// The header of a NumPy .npy file, versions 1.0, 2.0 and 3.0, for float32 and float64 arrays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "element_type.hpp"

namespace tessel {

struct npy_header {
  element_type stored = element_type::f64;
  bool big_endian = false;
  bool fortran_order = false;
  std::vector<std::int64_t> shape;  // one or two extents, none of them 0
  std::size_t data_offset = 0;      // where the elements start in the file
  std::size_t element_count = 0;
};

// Throws data_error with the reason when the bytes are not a .npy file tessel can read, including
// when the data that the header announces is not all there.
npy_header parse_npy_header(std::string_view bytes, std::string_view file_name);

bool has_npy_magic(std::string_view bytes);

}  // namespace tessel
