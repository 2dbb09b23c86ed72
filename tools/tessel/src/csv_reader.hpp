// A numeric matrix from CSV text: an optional header row of names, comma, semicolon or tab between
// cells, cells quoted or not, '\n' or "\r\n" between rows.
#pragma once

#include <cstdint>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "block.hpp"
#include "element_type.hpp"
#include "missing.hpp"
#include "progress.hpp"

namespace tessel {

enum class header_mode { detect, present, absent };

struct csv_options {
  char delimiter = 0;  // 0: the most frequent of ',', ';', '\t' in the first line
  // detect: the first row is a header when one of its cells is neither a number nor missing.
  header_mode header = header_mode::detect;
  element_type type = element_type::f64;
  // A header name or a column number counted from 0; that column becomes `weights`.
  std::optional<std::string> weights_column;
  missing_policy missing = missing_policy::skip;
  // The data rows are read in chunks of about this many bytes on up to `threads` threads (0: chunks
  // of at least 1 MiB, a few per core, on every core).
  std::size_t chunk_bytes = 0;
  unsigned threads = 0;
};

struct csv_table {
  element_type type = element_type::f64;
  char delimiter = ',';
  std::int64_t n_rows = 0;
  std::int64_t n_columns = 0;        // without the weights column
  block cells;                       // n_rows * n_columns elements, row after row
  block weights;                     // n_rows elements when a weights column was asked for
  std::int64_t missing_cells = 0;    // NaN in `cells` for each missing value
  std::int64_t missing_weights = 0;  // and in `weights`
  std::vector<std::string> names;    // the header's names of the n_columns; empty without header
};

// Throws data_error with file, line and column for what the text gets wrong (the first mistake in
// the text, whichever chunk found it), and usage_error when the weights column names no column of
// the text.
csv_table parse_csv(std::string_view text, std::string_view file_name, const csv_options& options,
                    std::pmr::memory_resource& memory, progress& progress);

}  // namespace tessel
