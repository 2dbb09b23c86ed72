// The two element types the library computes in, and the two ways a matrix lies in memory.
#pragma once

#include <cstddef>
#include <string_view>

namespace tessel {

enum class element_type { f32, f64 };

constexpr std::size_t size_of(element_type type) {
  return type == element_type::f32 ? 4 : 8;
}
constexpr std::string_view name_of(element_type type) {
  return type == element_type::f32 ? "float" : "double";
}

// Mirrors the library's layout: row_major keeps one dimension's observations together (element (d,
// i) at d * n_observations + i), col_major one observation's dimensions (element (d, i) at d + i *
// n_dims).
enum class matrix_layout { row_major, col_major };

constexpr std::string_view name_of(matrix_layout layout) {
  return layout == matrix_layout::row_major ? "row_major" : "col_major";
}

// How the rows of a file (axis 0 of an array) are read.
enum class rows_are { observations, dimensions };

}  // namespace tessel
