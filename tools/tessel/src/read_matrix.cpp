#include "read_matrix.hpp"

#include <fmt/format.h>

#include "errors.hpp"
#include "mapped_file.hpp"
#include "npy_header.hpp"
#include "npy_reader.hpp"
#include "progress.hpp"

namespace tessel {
namespace {

bool is_npy(const mapped_file& file) {
  return file.path().ends_with(".npy") || has_npy_magic(file.text());
}

std::vector<std::string> index_names(std::int64_t count) {
  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(count));
  for (std::int64_t d = 0; d < count; ++d) {
    names.push_back(std::to_string(d));
  }
  return names;
}

// Rows of the file are observations: a row holds one observation's dimensions, which is the
// library's col_major; rows as dimensions is row_major. A Fortran-ordered array turns that over.
matrix shape_matrix(element_type type, std::int64_t rows, std::int64_t columns,
                    bool columns_contiguous, rows_are orientation) {
  matrix result;
  result.type = type;
  const bool by_observation = orientation == rows_are::observations;
  result.n_observations = by_observation ? rows : columns;
  result.n_dims = by_observation ? columns : rows;
  result.layout =
      by_observation == columns_contiguous ? matrix_layout::col_major : matrix_layout::row_major;
  return result;
}

matrix from_csv(const mapped_file& file, const read_options& options,
                std::pmr::memory_resource& memory) {
  csv_options csv;
  csv.delimiter = options.delimiter;
  csv.header = options.header;
  csv.type = options.type.value_or(element_type::f64);
  csv.weights_column = options.weights_column;
  csv.missing = options.missing;
  progress shown = progress::for_file(file.path(), file.size());
  csv_table table = parse_csv(file.text(), file.path(), csv, memory, shown);
  matrix result =
      shape_matrix(table.type, table.n_rows, table.n_columns, true, options.orientation);
  result.values = std::move(table.cells);
  result.weights = std::move(table.weights);
  result.missing_values = table.missing_cells;
  result.missing_weights = table.missing_weights;
  const bool named = options.orientation == rows_are::observations && !table.names.empty();
  result.names = named ? std::move(table.names) : index_names(result.n_dims);
  return result;
}

matrix from_npy(const mapped_file& file, const read_options& options,
                std::pmr::memory_resource& memory) {
  npy_options npy;
  npy.type = options.type;
  npy.weights_column = options.weights_column;
  npy.missing = options.missing;
  progress shown = progress::for_file(file.path(), file.size());
  npy_array array = read_npy(file.text(), file.path(), npy, memory, shown);
  matrix result = shape_matrix(array.type, array.n_rows, array.n_columns, !array.fortran_order,
                               options.orientation);
  if (array.rank == 1) {
    // A 1-D array is one dimension whichever way it is read.
    result = shape_matrix(array.type, array.n_rows, 1, true, rows_are::observations);
  }
  result.values = std::move(array.values);
  result.weights = std::move(array.weights);
  result.missing_values = array.missing_values;
  result.missing_weights = array.missing_weights;
  result.names = index_names(result.n_dims);
  return result;
}

}  // namespace

matrix read_matrix(const std::string& path, const read_options& options,
                   std::pmr::memory_resource& memory) {
  if (options.weights_column && options.orientation == rows_are::dimensions) {
    throw usage_error(
        "--weights-column needs rows read as observations; with "
        "--rows-are dimensions give the weights with --weights FILE");
  }
  const mapped_file file(path);
  return is_npy(file) ? from_npy(file, options, memory) : from_csv(file, options, memory);
}

value_list read_values(const std::string& path, element_type type, std::string_view option,
                       missing_policy missing, std::pmr::memory_resource& memory) {
  read_options options;
  options.type = type;
  options.missing = missing;
  matrix list = read_matrix(path, options, memory);
  if (list.n_dims > 1 && list.n_observations > 1) {
    throw data_error(
        fmt::format("{}: {} needs one row or one column of values, the file has {} "
                    "rows of {}",
                    path, option, list.n_observations, list.n_dims));
  }
  return {list.n_dims * list.n_observations, std::move(list.values), list.missing_values};
}

}  // namespace tessel
