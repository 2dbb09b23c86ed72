#include "csv_reader.hpp"

#include <algorithm>
#include <stdexcept>

#include <fmt/format.h>

#include "column_ref.hpp"
#include "csv_cursor.hpp"
#include "errors.hpp"
#include "number.hpp"

namespace tessel {
namespace {

constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";

bool is_blank_row(const csv_cell& first) {
  return first.last_in_row && first.text.empty() && !first.quoted;
}

// The cells of the first row that is not blank; the cursor stands after it.
std::vector<csv_cell> first_row(csv_cursor& cursor) {
  std::vector<csv_cell> cells;
  while (!cursor.at_end()) {
    csv_cell cell = cursor.next();
    if (cells.empty() && is_blank_row(cell))
      continue;
    cells.push_back(cell);
    if (cell.last_in_row)
      break;
  }
  return cells;
}

// "1,5" where the delimiter is not a comma: a number written with a decimal comma.
bool has_decimal_comma(std::string_view text) {
  const std::size_t comma = text.find(',');
  if (comma == std::string_view::npos)
    return false;
  std::string with_point(text);
  with_point[comma] = '.';
  return parse_number<double>(with_point).status == number_status::ok;
}

template <class T>
bool is_number(const csv_cell& cell) {
  return !cell.escaped && parse_number<T>(cell.text).status != number_status::not_a_number;
}

template <class T>
bool looks_like_header(const std::vector<csv_cell>& row) {
  return std::any_of(row.begin(), row.end(), [](const csv_cell& cell) {
    return !cell.text.empty() && !is_number<T>(cell);
  });
}

// Every row ends in '\n' but the last, and holds n_columns cells of at least one byte with a
// delimiter between them: the smaller bound keeps a file of blank lines under a wide header
// from asking for more memory than a few times its own size.
std::size_t count_rows_at_most(std::string_view text, std::size_t n_columns) {
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  return std::min(lines, (text.size() + 1) / (2 * n_columns));
}

template <class T>
class table_builder {
 public:
  table_builder(std::string_view text, std::string_view file_name, const csv_options& options,
                std::pmr::memory_resource& memory, progress& progress)
      : text_(text),
        file_name_(file_name),
        options_(options),
        memory_(memory),
        progress_(progress) {}

  csv_table build() {
    if (text_.starts_with(byte_order_mark))
      text_.remove_prefix(byte_order_mark.size());
    table_.type = options_.type;
    table_.delimiter = options_.delimiter ? options_.delimiter : detect_delimiter(text_);

    csv_cursor cursor(text_, file_name_, table_.delimiter);
    const std::vector<csv_cell> first = first_row(cursor);
    if (first.empty())
      throw data_error_at(file_name_, 1, 1, "empty file");
    n_file_columns_ = first.size();
    first_line_ = first.front().line;
    const bool header = options_.header == header_mode::present ||
                        (options_.header == header_mode::detect && looks_like_header<T>(first));
    std::vector<std::string> names;
    if (header) {
      for (const csv_cell& cell : first)
        names.push_back(unescape(cell));
    } else {
      cursor = csv_cursor(text_, file_name_, table_.delimiter);
    }
    if (options_.weights_column) {
      weights_column_ = resolve_column("--weights-column", *options_.weights_column, names,
                                       n_file_columns_, file_name_);
      if (n_file_columns_ == 1) {
        throw usage_error(fmt::format(
            "--weights-column: {} has only that column, no dimension would be left", file_name_));
      }
      if (header)
        names.erase(names.begin() + static_cast<std::ptrdiff_t>(*weights_column_));
    }
    table_.names = std::move(names);
    table_.n_columns = static_cast<std::int64_t>(n_file_columns_ - (weights_column_ ? 1 : 0));

    allocate(count_rows_at_most(text_.substr(cursor.position()), n_file_columns_));
    read_rows(cursor);
    if (table_.n_rows == 0) {
      throw data_error_at(file_name_, cursor.line(), cursor.column(),
                          "no data rows after the header");
    }
    return std::move(table_);
  }

 private:
  void allocate(std::size_t max_rows) {
    const auto columns = static_cast<std::size_t>(table_.n_columns);
    if (max_rows > SIZE_MAX / sizeof(T) / columns)
      throw std::bad_alloc();
    table_.cells = block(memory_, max_rows * columns * sizeof(T));
    if (weights_column_)
      table_.weights = block(memory_, max_rows * sizeof(T));
    cells_ = table_.cells.template as<T>();
    weights_ = table_.weights.template as<T>();
    max_rows_ = max_rows;
  }

  void read_rows(csv_cursor& cursor) {
    while (!cursor.at_end()) {
      csv_cell cell = cursor.next();
      if (is_blank_row(cell))
        continue;
      for (std::size_t column = 0;; ++column) {
        if (column == n_file_columns_)
          report_long_row(cursor, cell);
        store(cell, column);
        if (cell.last_in_row) {
          if (column + 1 < n_file_columns_)
            report_short_row(cell, column + 1);
          break;
        }
        cell = cursor.next();
      }
      if (static_cast<std::size_t>(table_.n_rows) == max_rows_) {
        throw std::length_error("tessel: the CSV reader's row bound does not hold");
      }
      ++table_.n_rows;
      progress_.update(cursor.position());
    }
  }

  // A row past the bound cannot be a whole row: it is checked but kept nowhere, and its
  // error is reported when it is found.
  void store(const csv_cell& cell, std::size_t column) {
    const T value = to_number(cell);
    if (static_cast<std::size_t>(table_.n_rows) == max_rows_)
      return;
    if (weights_column_ && column == *weights_column_) {
      weights_[table_.n_rows] = value;
      return;
    }
    const std::size_t skip = weights_column_ && column > *weights_column_ ? 1 : 0;
    cells_[static_cast<std::size_t>(table_.n_rows) * static_cast<std::size_t>(table_.n_columns) +
           column - skip] = value;
  }

  T to_number(const csv_cell& cell) const {
    if (cell.text.empty())
      throw data_error_at(file_name_, cell.line, cell.column, "empty cell");
    const parsed_number<T> number = cell.escaped ? parsed_number<T>{} : parse_number<T>(cell.text);
    switch (number.status) {
      case number_status::ok:
        return number.value;
      case number_status::out_of_range:
        throw data_error_at(file_name_, cell.line, cell.column,
                            fmt::format("number {} is out of range for {}",
                                        quoted_excerpt(cell.text), name_of(options_.type)));
      case number_status::not_a_number:
        break;
    }
    throw data_error_at(file_name_, cell.line, cell.column,
                        "non-numeric cell " + quoted_excerpt(cell.text) +
                            (has_decimal_comma(cell.text) ? " (tessel reads decimal points, not "
                                                            "decimal commas)"
                                                          : ""));
  }

  [[noreturn]] void report_long_row(csv_cursor& cursor, const csv_cell& extra) const {
    std::size_t cells = n_file_columns_ + 1;
    for (csv_cell cell = extra; !cell.last_in_row; cell = cursor.next())
      ++cells;
    throw ragged(extra.line, extra.column, cells);
  }

  [[noreturn]] void report_short_row(const csv_cell& last, std::size_t cells) const {
    const std::size_t width = last.text.size() + (last.quoted ? 2 : 0);
    throw ragged(last.line, last.column + static_cast<std::int64_t>(width), cells);
  }

  data_error ragged(std::int64_t line, std::int64_t column, std::size_t cells) const {
    return data_error_at(file_name_, line, column,
                         fmt::format("ragged row: {} cells where line {} has {}", cells,
                                     first_line_, n_file_columns_));
  }

  std::string_view text_;
  std::string_view file_name_;
  const csv_options& options_;
  std::pmr::memory_resource& memory_;
  progress& progress_;
  csv_table table_;
  std::size_t n_file_columns_ = 0;
  std::int64_t first_line_ = 1;
  std::optional<std::size_t> weights_column_;
  T* cells_ = nullptr;
  T* weights_ = nullptr;
  std::size_t max_rows_ = 0;
};

}  // namespace

csv_table parse_csv(std::string_view text, std::string_view file_name, const csv_options& options,
                    std::pmr::memory_resource& memory, progress& progress) {
  if (options.type == element_type::f32) {
    return table_builder<float>(text, file_name, options, memory, progress).build();
  }
  return table_builder<double>(text, file_name, options, memory, progress).build();
}

}  // namespace tessel
