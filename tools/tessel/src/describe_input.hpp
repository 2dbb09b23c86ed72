// Everything `tessel describe` needs before it computes: the matrix, the selection, weights and
// user means, all in memory from the given resource, and the result's frame.
#pragma once

#include <memory_resource>
#include <string>

#include "block.hpp"
#include "cli.hpp"
#include "describe_result.hpp"
#include "matrix.hpp"

namespace tessel {

struct describe_input {
  matrix data;
  block selection;  // n_dims std::int64_t, 1 selects; empty when every dimension is selected
  block weights;    // n_observations elements of data.type, or empty
  std::int64_t missing_weights = 0;  // NaN among the weights: observations no dimension uses
  block user_mean;                   // n_dims elements of data.type, or empty
  describe_result result;            // source, shape and selected dimensions; no values yet
};

// Reads `path` and the files the options name. Throws data_error and usage_error.
describe_input prepare_describe(const describe_options& options, const std::string& path,
                                std::pmr::memory_resource& memory);

}  // namespace tessel
