#include "describe_input.hpp"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "errors.hpp"
#include "read_matrix.hpp"
#include "selection.hpp"

namespace tessel {
namespace {

block copy_selection(const std::vector<std::int64_t>& selection,
                     std::pmr::memory_resource& memory) {
  block copy(memory, selection.size() * sizeof(std::int64_t));
  std::copy(selection.begin(), selection.end(), copy.as<std::int64_t>());
  return copy;
}

value_list read_weights(const std::string& path, const matrix& data, missing_policy missing,
                        std::pmr::memory_resource& memory) {
  value_list weights = read_values(path, data.type, "--weights", missing, memory);
  if (weights.count != data.n_observations) {
    throw data_error(fmt::format("{}: --weights has {} values, the data has {} observations", path,
                                 weights.count, data.n_observations));
  }
  return weights;
}

// One mean per dimension, or one per selected dimension spread over the selected ones.
block read_user_mean(const std::string& path, const matrix& data,
                     const std::vector<std::int64_t>& selection,
                     std::pmr::memory_resource& memory) {
  value_list means = read_values(path, data.type, "--mean", missing_policy::error, memory);
  const auto selected = std::count(selection.begin(), selection.end(), 1);
  if (means.count == data.n_dims) {
    return std::move(means.values);
  }
  if (means.count != selected) {
    throw data_error(fmt::format(
        "{}: --mean has {} values, expected {} (one per dimension){}", path, means.count,
        data.n_dims,
        selected == data.n_dims ? ""
                                : fmt::format(" or {} (one per selected dimension)", selected)));
  }
  const std::size_t element = size_of(data.type);
  block spread(memory, static_cast<std::size_t>(data.n_dims) * element);
  std::memset(spread.as<char>(), 0, spread.bytes());
  std::size_t next = 0;
  for (std::size_t d = 0; d < selection.size(); ++d) {
    if (selection[d] == 0) {
      continue;
    }
    std::memcpy(spread.as<char>() + d * element, means.values.as<char>() + next * element, element);
    ++next;
  }
  return spread;
}

}  // namespace

describe_input prepare_describe(const describe_options& options, const std::string& path,
                                std::pmr::memory_resource& memory) {
  read_options reading;
  reading.type = options.type;
  reading.orientation = options.orientation;
  reading.delimiter = options.delimiter;
  reading.header = options.header;
  reading.weights_column = options.weights_column;
  reading.missing = options.missing;

  describe_input input;
  input.data = read_matrix(path, reading, memory);
  const matrix& data = input.data;

  std::vector<std::int64_t> selection(static_cast<std::size_t>(data.n_dims), 1);
  if (options.dims) {
    selection = parse_selection(*options.dims, data.names);
    input.selection = copy_selection(selection, memory);
  }
  if (options.weights_column) {
    input.weights = std::move(input.data.weights);
    input.missing_weights = data.missing_weights;
    input.result.weights = fmt::format("column {} of {}", *options.weights_column, path);
  } else if (options.weights_file) {
    value_list weights = read_weights(*options.weights_file, data, options.missing, memory);
    input.weights = std::move(weights.values);
    input.missing_weights = weights.missing;
    input.result.weights = *options.weights_file;
  }
  if (options.mean_file) {
    input.user_mean = read_user_mean(*options.mean_file, data, selection, memory);
    input.result.user_mean = *options.mean_file;
  }

  describe_result& result = input.result;
  result.source = path;
  result.type = data.type;
  result.layout = data.layout;
  result.n_observations = data.n_observations;
  result.n_dims = data.n_dims;
  result.all = options.all;
  result.missing_values = data.missing_values;
  result.missing_weights = input.missing_weights;
  for (std::size_t d = 0; d < selection.size(); ++d) {
    if (selection[d] == 0) {
      continue;
    }
    dimension_summary summary;
    summary.index = static_cast<std::int64_t>(d);
    summary.name = data.names[d];
    result.dimensions.push_back(std::move(summary));
  }
  return input;
}

}  // namespace tessel
