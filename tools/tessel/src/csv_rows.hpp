// Reads the data rows of one chunk of CSV text into a table's memory. A row of plain numbers is
// read number by number where it stands; any other row (blanks, quotes, missing values, errors)
// goes through the cell cursor from its start, which gives the same values and the messages with
// their lines and columns.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string_view>

#include "csv_chunks.hpp"
#include "csv_cursor.hpp"
#include "element_type.hpp"
#include "errors.hpp"
#include "missing.hpp"
#include "progress.hpp"

namespace tessel {

struct csv_row_shape {
  char delimiter = ',';
  std::size_t n_file_columns = 0;
  std::optional<std::size_t> weights_column;  // its cells go to the weights
  std::int64_t first_line = 1;                // the line ragged-row messages compare with
  missing_policy missing = missing_policy::skip;
};

struct chunk_result {
  std::size_t rows = 0;
  std::int64_t missing_cells = 0;    // NaN stored for a missing value, by dimension cells
  std::int64_t missing_weights = 0;  // and in the weights column
  // False when a row ran past the chunk's end or its room: the chunk did not start at a row.
  bool consistent = true;
  std::exception_ptr error;   // the first data_error of the chunk; nothing after it was read
  std::int64_t end_line = 0;  // where reading stopped
  std::int64_t end_column = 0;
};

// Bytes read so far by all workers; worker 0 shows them.
struct read_progress {
  std::atomic<std::uint64_t> done{0};
  std::uint64_t base = 0;  // bytes before the data
  progress& shown;
};

template <class T>
class csv_row_reader {
 public:
  // cells: room for n_file_columns cells (less the weights column) per row; weights: one per row
  // when the shape has a weights column.
  csv_row_reader(std::string_view text, std::string_view file_name, const csv_row_shape& shape,
                 T* cells, T* weights);

  chunk_result read(const csv_chunk& chunk, read_progress& progress, unsigned worker) const;

 private:
  struct position {
    std::size_t offset;
    std::int64_t line;
    std::size_t line_start;
  };

  bool read_plain_row(position& at, std::size_t row) const;
  void read_row(position& at, std::size_t row, bool kept, chunk_result& result) const;
  void store(std::size_t row, std::size_t column, T value) const;
  T to_value(const csv_cell& cell, std::size_t column, chunk_result& result) const;
  [[noreturn]] void report_long_row(csv_cursor& cursor, const csv_cell& extra) const;
  [[noreturn]] void report_short_row(const csv_cell& last, std::size_t cells) const;
  data_error ragged(std::int64_t line, std::int64_t column, std::size_t cells) const;

  std::string_view text_;
  std::string_view file_name_;
  csv_row_shape shape_;
  std::size_t weights_column_;  // n_file_columns without one
  std::size_t n_columns_;
  T* cells_;
  T* weights_;
};

extern template class csv_row_reader<float>;
extern template class csv_row_reader<double>;

}  // namespace tessel
