// Missing values are left out dimension by dimension: dimensions that miss the same observations
// form a group, computed in one library call over the observations they have.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <vector>

#include "block.hpp"
#include "matrix.hpp"

namespace tessel {

struct observation_group {
  std::vector<std::size_t> dims;    // of the matrix, in increasing order
  std::vector<std::size_t> absent;  // observations left out, in increasing order
};

// Groups the selected dimensions (selection: one element per dimension, non-zero selects) by the
// observations they miss: their own missing values (NaN) and those whose weight is missing, which
// no dimension can use. Dimensions that miss nothing come first, in one group.
std::vector<observation_group> group_by_missing(const matrix& data, const block& weights,
                                                std::int64_t missing_weights,
                                                const std::vector<std::int64_t>& selection);

// A group's observations without the absent ones, one dimension after the other (the library's
// row_major), with their weights when there are any.
struct gathered_group {
  std::size_t count = 0;  // observations per dimension
  block values;
  block weights;
};

gathered_group gather_group(const matrix& data, const block& weights,
                            const observation_group& group, std::pmr::memory_resource& memory);

}  // namespace tessel
