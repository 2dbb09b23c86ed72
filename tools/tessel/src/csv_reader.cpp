#include "csv_reader.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <fmt/format.h>

#include "column_ref.hpp"
#include "csv_chunks.hpp"
#include "csv_cursor.hpp"
#include "csv_rows.hpp"
#include "errors.hpp"
#include "number.hpp"
#include "parallel.hpp"

namespace tessel {
namespace {

constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";
constexpr std::size_t min_chunk_bytes = std::size_t{1} << 20;
constexpr std::size_t chunks_per_worker = 4;

// The cells of the first row that is not blank; the cursor stands after it.
std::vector<csv_cell> first_row(csv_cursor& cursor) {
  std::vector<csv_cell> cells;
  while (!cursor.at_end()) {
    csv_cell cell = cursor.next();
    if (cells.empty() && cell.last_in_row && cell.text.empty() && !cell.quoted) {
      continue;
    }
    cells.push_back(cell);
    if (cell.last_in_row) {
      break;
    }
  }
  return cells;
}

template <class T>
bool looks_like_header(const std::vector<csv_cell>& row) {
  return std::any_of(row.begin(), row.end(), [](const csv_cell& cell) {
    return cell.escaped || (!is_missing(cell.text) &&
                            parse_number<T>(cell.text).status == number_status::not_a_number);
  });
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
        progress_(progress),
        workers_(options.threads ? options.threads : available_cores()) {}

  csv_table build() {
    if (text_.starts_with(byte_order_mark)) {
      text_.remove_prefix(byte_order_mark.size());
    }
    table_.type = options_.type;
    shape_.delimiter = options_.delimiter ? options_.delimiter : detect_delimiter(text_);
    shape_.missing = options_.missing;
    table_.delimiter = shape_.delimiter;

    csv_cursor cursor(text_, file_name_, shape_.delimiter);
    const std::vector<csv_cell> first = first_row(cursor);
    if (first.empty()) {
      throw data_error_at(file_name_, 1, 1, "empty file");
    }
    shape_.n_file_columns = first.size();
    shape_.first_line = first.front().line;
    const bool header = options_.header == header_mode::present ||
                        (options_.header == header_mode::detect && looks_like_header<T>(first));
    std::vector<std::string> names;
    if (header) {
      for (const csv_cell& cell : first) {
        names.push_back(unescape(cell));
      }
    } else {
      cursor = csv_cursor(text_, file_name_, shape_.delimiter);
    }
    if (options_.weights_column) {
      shape_.weights_column = resolve_column("--weights-column", *options_.weights_column, names,
                                             shape_.n_file_columns, file_name_);
      if (shape_.n_file_columns == 1) {
        throw usage_error(fmt::format(
            "--weights-column: {} has only that column, no dimension would be left", file_name_));
      }
      if (header) {
        names.erase(names.begin() + static_cast<std::ptrdiff_t>(*shape_.weights_column));
      }
    }
    table_.names = std::move(names);
    table_.n_columns =
        static_cast<std::int64_t>(shape_.n_file_columns - (shape_.weights_column ? 1 : 0));

    data_begin_ = cursor.position();
    data_line_ = cursor.line();
    data_column_ = cursor.column();
    const std::size_t data = text_.size() - data_begin_;
    const std::size_t chunk_bytes =
        options_.chunk_bytes ? options_.chunk_bytes
                             : std::max(min_chunk_bytes, data / (workers_ * chunks_per_worker) + 1);
    if (!read(plan_chunks(text_, data_begin_, data_line_, shape_.n_file_columns, chunk_bytes,
                          workers_))) {
      // A chunk did not start at a row, which only a mistake earlier in the text can cause: reading
      // it whole finds that mistake where it lies.
      if (!read(plan_chunks(text_, data_begin_, data_line_, shape_.n_file_columns, data, 1))) {
        throw std::length_error("tessel: the CSV reader's row bound does not hold");
      }
    }
    if (table_.n_rows == 0) {
      throw data_error_at(file_name_, end_line_, end_column_, "no data rows after the header");
    }
    return std::move(table_);
  }

 private:
  // Reads every chunk into the table, or answers false when one of them turned out not to start at
  // a row. Rethrows the first data error in the order of the text.
  bool read(const std::vector<csv_chunk>& chunks) {
    allocate(chunks.empty() ? 0 : chunks.back().first_row + chunks.back().max_rows);
    const csv_row_reader<T> reader(text_, file_name_, shape_, table_.cells.template as<T>(),
                                   table_.weights.template as<T>());
    std::vector<chunk_result> results(chunks.size());
    read_progress shared{{0}, data_begin_, progress_};
    parallel_for(chunks.size(), workers_, [&](std::size_t j, unsigned worker) {
      results[j] = reader.read(chunks[j], shared, worker);
    });

    table_.n_rows = 0;
    table_.missing_cells = table_.missing_weights = 0;
    end_line_ = data_line_;
    end_column_ = data_column_;
    for (std::size_t j = 0; j < chunks.size(); ++j) {
      if (results[j].error) {
        std::rethrow_exception(results[j].error);
      }
      if (!results[j].consistent) {
        return false;
      }
      close_gap(chunks[j], results[j].rows);
      table_.missing_cells += results[j].missing_cells;
      table_.missing_weights += results[j].missing_weights;
      end_line_ = results[j].end_line;
      end_column_ = results[j].end_column;
    }
    return true;
  }

  void allocate(std::size_t max_rows) {
    const auto columns = static_cast<std::size_t>(table_.n_columns);
    if (max_rows > SIZE_MAX / sizeof(T) / columns) {
      throw std::bad_alloc();
    }
    table_.cells = block(memory_, max_rows * columns * sizeof(T));
    table_.weights = shape_.weights_column ? block(memory_, max_rows * sizeof(T)) : block();
  }

  // Moves a chunk's rows down to follow the rows before it, when the chunks before left room.
  void close_gap(const csv_chunk& chunk, std::size_t rows) {
    const auto row = static_cast<std::size_t>(table_.n_rows);
    if (chunk.first_row != row && rows > 0) {
      const auto columns = static_cast<std::size_t>(table_.n_columns);
      T* const cells = table_.cells.template as<T>();
      std::memmove(cells + row * columns, cells + chunk.first_row * columns,
                   rows * columns * sizeof(T));
      if (shape_.weights_column) {
        T* const weights = table_.weights.template as<T>();
        std::memmove(weights + row, weights + chunk.first_row, rows * sizeof(T));
      }
    }
    table_.n_rows += static_cast<std::int64_t>(rows);
  }

  std::string_view text_;
  std::string_view file_name_;
  const csv_options& options_;
  std::pmr::memory_resource& memory_;
  progress& progress_;
  unsigned workers_;
  csv_row_shape shape_;
  csv_table table_;
  std::size_t data_begin_ = 0;
  std::int64_t data_line_ = 1;
  std::int64_t data_column_ = 1;
  std::int64_t end_line_ = 1;
  std::int64_t end_column_ = 1;
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
