#include "csv_rows.hpp"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include <fmt/format.h>

#include "decimal_from_chars.hpp"
#include "errors.hpp"
#include "number.hpp"

namespace tessel {
namespace {

constexpr std::size_t progress_step = std::size_t{1} << 20;

bool is_blank_row(const csv_cell& first) {
  return first.last_in_row && first.text.empty() && !first.quoted;
}

// "1,5" where the delimiter is not a comma: a number written with a decimal comma.
bool has_decimal_comma(std::string_view text) {
  const std::size_t comma = text.find(',');
  if (comma == std::string_view::npos) {
    return false;
  }
  std::string with_point(text);
  with_point[comma] = '.';
  return parse_number<double>(with_point).status == number_status::ok;
}

}  // namespace

template <class T>
csv_row_reader<T>::csv_row_reader(std::string_view text, std::string_view file_name,
                                  const csv_row_shape& shape, T* cells, T* weights)
    : text_(text),
      file_name_(file_name),
      shape_(shape),
      weights_column_(shape.weights_column.value_or(shape.n_file_columns)),
      n_columns_(shape.n_file_columns - (shape.weights_column ? 1 : 0)),
      cells_(cells),
      weights_(weights) {}

template <class T>
chunk_result csv_row_reader<T>::read(const csv_chunk& chunk, read_progress& progress,
                                     unsigned worker) const {
  chunk_result result;
  position at{chunk.begin, chunk.line, chunk.begin};
  std::size_t reported = chunk.begin;
  try {
    while (at.offset < chunk.end) {
      const std::size_t row = chunk.first_row + result.rows;
      const bool kept = result.rows < chunk.max_rows;
      if (kept && read_plain_row(at, row)) {
        ++result.rows;
      } else {
        const std::size_t before = result.rows;
        read_row(at, row, kept, result);
        if (result.rows > before && !kept) {
          result.consistent = false;
          break;
        }
      }
      if (at.offset - reported >= progress_step) {
        const std::uint64_t done = progress.done += at.offset - reported;
        reported = at.offset;
        if (worker == 0) {
          progress.shown.update(progress.base + done);
        }
      }
    }
  } catch (const data_error&) {
    result.error = std::current_exception();
  }
  progress.done += std::min(at.offset, chunk.end) - std::min(reported, chunk.end);
  result.consistent = result.consistent && (result.error || at.offset == chunk.end);
  result.end_line = at.line;
  result.end_column = static_cast<std::int64_t>(at.offset - at.line_start) + 1;
  return result;
}

// A row of finite numbers with nothing else between the delimiters, ended by "\n", "\r\n" or the
// end of the text: the common row, read without the cursor. Anything else leaves `at` alone and
// answers false.
template <class T>
bool csv_row_reader<T>::read_plain_row(position& at, std::size_t row) const {
  const char* next = text_.data() + at.offset;
  const char* const end = text_.data() + text_.size();
  for (std::size_t column = 0; column < shape_.n_file_columns; ++column) {
    T value;
    const auto [stop, error] = decimal_from_chars(next, end, value);
    if (error != std::errc() || !std::isfinite(value)) {
      return false;
    }
    if (column + 1 < shape_.n_file_columns) {
      if (stop == end || *stop != shape_.delimiter) {
        return false;
      }
      next = stop + 1;
    } else if (stop == end) {
      next = end;
    } else if (*stop == '\n') {
      next = stop + 1;
    } else if (*stop == '\r' && end - stop > 1 && stop[1] == '\n') {
      next = stop + 2;
    } else {
      return false;
    }
    store(row, column, value);
  }
  at.offset = static_cast<std::size_t>(next - text_.data());
  if (next[-1] == '\n') {
    ++at.line;
    at.line_start = at.offset;
  }
  return true;
}

// One row through the cursor, or a blank line. A row past the chunk's room is read and checked but
// kept nowhere.
template <class T>
void csv_row_reader<T>::read_row(position& at, std::size_t row, bool kept,
                                 chunk_result& result) const {
  csv_cursor cursor(text_, file_name_, shape_.delimiter, at.offset, at.line);
  csv_cell cell = cursor.next();
  if (!is_blank_row(cell)) {
    for (std::size_t column = 0;; ++column) {
      if (column == shape_.n_file_columns) {
        report_long_row(cursor, cell);
      }
      const T value = to_value(cell, column, result);
      if (kept) {
        store(row, column, value);
      }
      if (cell.last_in_row) {
        if (column + 1 < shape_.n_file_columns) {
          report_short_row(cell, column + 1);
        }
        break;
      }
      cell = cursor.next();
    }
    ++result.rows;
  }
  at.offset = cursor.position();
  at.line = cursor.line();
  at.line_start = at.offset + 1 - static_cast<std::size_t>(cursor.column());
}

template <class T>
void csv_row_reader<T>::store(std::size_t row, std::size_t column, T value) const {
  if (column == weights_column_) {
    weights_[row] = value;
  } else {
    cells_[row * n_columns_ + column - (column > weights_column_ ? 1 : 0)] = value;
  }
}

template <class T>
T csv_row_reader<T>::to_value(const csv_cell& cell, std::size_t column,
                              chunk_result& result) const {
  if (!cell.escaped && is_missing(cell.text)) {
    if (shape_.missing == missing_policy::error) {
      throw data_error_at(file_name_, cell.line, cell.column,
                          cell.text.empty() ? std::string("empty cell")
                                            : "missing value " + quoted_excerpt(cell.text));
    }
    ++(column == weights_column_ ? result.missing_weights : result.missing_cells);
    return std::numeric_limits<T>::quiet_NaN();
  }
  const parsed_number<T> number = cell.escaped ? parsed_number<T>{} : parse_number<T>(cell.text);
  switch (number.status) {
    case number_status::ok:
      return number.value;
    case number_status::out_of_range:
      throw data_error_at(file_name_, cell.line, cell.column,
                          fmt::format("number {} is out of range for {}", quoted_excerpt(cell.text),
                                      sizeof(T) == 4 ? "float" : "double"));
    case number_status::not_a_number:
      break;
  }
  throw data_error_at(file_name_, cell.line, cell.column,
                      "non-numeric cell " + quoted_excerpt(cell.text) +
                          (has_decimal_comma(cell.text) ? " (tessel reads decimal points, not "
                                                          "decimal commas)"
                                                        : ""));
}

template <class T>
void csv_row_reader<T>::report_long_row(csv_cursor& cursor, const csv_cell& extra) const {
  std::size_t cells = shape_.n_file_columns + 1;
  for (csv_cell cell = extra; !cell.last_in_row; cell = cursor.next()) {
    ++cells;
  }
  throw ragged(extra.line, extra.column, cells);
}

template <class T>
void csv_row_reader<T>::report_short_row(const csv_cell& last, std::size_t cells) const {
  const std::size_t width = last.text.size() + (last.quoted ? 2 : 0);
  throw ragged(last.line, last.column + static_cast<std::int64_t>(width), cells);
}

template <class T>
data_error csv_row_reader<T>::ragged(std::int64_t line, std::int64_t column,
                                     std::size_t cells) const {
  return data_error_at(file_name_, line, column,
                       fmt::format("ragged row: {} cells where line {} has {}", cells,
                                   shape_.first_line, shape_.n_file_columns));
}

template class csv_row_reader<float>;
template class csv_row_reader<double>;

}  // namespace tessel
