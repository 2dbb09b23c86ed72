#include "read_matrix.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

using ::testing::ElementsAre;

// Element (d, i) as the library addresses the matrix.
double at(const matrix& m, std::int64_t d, std::int64_t i) {
  const std::int64_t index =
      m.layout == matrix_layout::row_major ? d * m.n_observations + i : d + i * m.n_dims;
  return m.values.as<double>()[index];
}

// A file of 3 rows by 2 columns whose cell (r, c) holds 10 * r + c; read either way round, every
// element must land where the layout says, without a transpose.
using reading = std::tuple<std::string, rows_are>;  // file kind: csv, npy_c, npy_f

class ReadMatrixLayout : public ::testing::TestWithParam<reading> {};

std::string reading_name(const ::testing::TestParamInfo<reading>& tested) {
  return std::get<0>(tested.param) + (std::get<1>(tested.param) == rows_are::observations
                                          ? "_rows_are_observations"
                                          : "_rows_are_dimensions");
}

TEST_P(ReadMatrixLayout, ElementsStandWhereTheLayoutSays) {
  const auto [kind, orientation] = GetParam();
  const scratch_dir dir;
  std::string path;
  if (kind == "csv") {
    path = dir.write("m.csv", "0,1\n10,11\n20,21\n");
  } else {
    const bool fortran = kind == "npy_f";
    const std::vector<double> values = fortran ? std::vector<double>{0, 10, 20, 1, 11, 21}
                                               : std::vector<double>{0, 1, 10, 11, 20, 21};
    path = dir.write("m.npy", npy_file(std::string("{'descr': '<f8', 'fortran_order': ") +
                                           (fortran ? "True" : "False") + ", 'shape': (3, 2), }",
                                       raw_bytes(values)));
  }
  read_options options;
  options.orientation = orientation;
  const matrix m = read_matrix(path, options, heap());
  const bool by_observation = orientation == rows_are::observations;
  ASSERT_EQ(m.n_dims, by_observation ? 2 : 3);
  ASSERT_EQ(m.n_observations, by_observation ? 3 : 2);
  for (std::int64_t d = 0; d < m.n_dims; ++d) {
    for (std::int64_t i = 0; i < m.n_observations; ++i) {
      const std::int64_t row = by_observation ? i : d;
      const std::int64_t column = by_observation ? d : i;
      EXPECT_EQ(at(m, d, i), static_cast<double>(10 * row + column)) << "d " << d << " i " << i;
    }
  }
  const bool rows_contiguous = kind != "npy_f";
  EXPECT_EQ(m.layout, by_observation == rows_contiguous ? matrix_layout::col_major
                                                        : matrix_layout::row_major);
}

INSTANTIATE_TEST_SUITE_P(All, ReadMatrixLayout,
                         ::testing::Combine(::testing::Values("csv", "npy_c", "npy_f"),
                                            ::testing::Values(rows_are::observations,
                                                              rows_are::dimensions)),
                         reading_name);

// Names come from the header only when rows are observations; a 1-D array is one dimension either
// way round; the kind of file comes from its magic, else from its extension.
TEST(ReadMatrix, NamesOneDimensionalArraysAndKinds) {
  const scratch_dir dir;
  const std::string header = dir.write("h.csv", "x,y,z\n1,2,3\n");
  EXPECT_THAT(read_matrix(header, {}, heap()).names, ElementsAre("x", "y", "z"));
  read_options by_dimension;
  by_dimension.orientation = rows_are::dimensions;
  EXPECT_THAT(read_matrix(header, by_dimension, heap()).names, ElementsAre("0"));
  const std::string vector =
      dir.write("v.txt", npy_file("{'descr': '<f4', 'fortran_order': False, 'shape': (3,), }",
                                  raw_bytes<float>({1, 2, 3})));
  for (const read_options& options : {read_options{}, by_dimension}) {
    const matrix m = read_matrix(vector, options, heap());
    EXPECT_EQ(m.type, element_type::f32);
    EXPECT_EQ(m.n_dims, 1);
    EXPECT_EQ(m.n_observations, 3);
  }
}

}  // namespace
}  // namespace tessel::test
