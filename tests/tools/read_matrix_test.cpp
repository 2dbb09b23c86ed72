#include "read_matrix.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "sample_data.hpp"
#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

// Element (d, i) as the library addresses the matrix.
double at(const matrix& m, std::int64_t d, std::int64_t i) {
  const std::int64_t index =
      m.layout == matrix_layout::row_major ? d * m.n_observations + i : d + i * m.n_dims;
  return m.values.as<double>()[index];
}

// A file of 3 rows by 2 columns whose cell (r, c) holds 10 * r + c; read either way round,
// every element must land where the layout says, without a transpose.
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
                                       raw_bytes(values, false)));
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

TEST(ReadMatrix, NamesFromTheHeaderOnlyWhenRowsAreObservations) {
  const scratch_dir dir;
  const std::string path = dir.write("h.csv", "x,y,z\n1,2,3\n");
  EXPECT_THAT(read_matrix(path, {}, heap()).names, ElementsAre("x", "y", "z"));
  read_options by_dimension;
  by_dimension.orientation = rows_are::dimensions;
  EXPECT_THAT(read_matrix(path, by_dimension, heap()).names, ElementsAre("0"));
}

TEST(ReadMatrix, OneDimensionalArrayIsOneDimensionEitherWay) {
  const scratch_dir dir;
  const std::string path =
      dir.write("v.npy", npy_file("{'descr': '<f4', 'fortran_order': False, 'shape': (3,), }",
                                  raw_bytes<float>({1, 2, 3}, false)));
  for (const rows_are orientation : {rows_are::observations, rows_are::dimensions}) {
    read_options options;
    options.orientation = orientation;
    const matrix m = read_matrix(path, options, heap());
    EXPECT_EQ(m.type, element_type::f32);
    EXPECT_EQ(m.n_dims, 1);
    EXPECT_EQ(m.n_observations, 3);
  }
}

TEST(ReadMatrix, KindComesFromTheMagicOrTheExtension) {
  const scratch_dir dir;
  const std::string npy_named_txt =
      dir.write("data.txt", npy_file("{'descr': '<f8', 'fortran_order': False, 'shape': (1,), }",
                                     raw_bytes<double>({4}, false)));
  EXPECT_EQ(read_matrix(npy_named_txt, {}, heap()).n_observations, 1);
  const std::string csv_named_npy = dir.write("data.npy", "1,2\n");
  EXPECT_EQ(data_error_text([&] { read_matrix(csv_named_npy, {}, heap()); }),
            csv_named_npy + ": not a .npy file (it does not start with \\x93NUMPY)");
}

TEST(ReadMatrix, FilesThatCannotBeRead) {
  const scratch_dir dir;
  const std::string missing = dir.path("missing.csv");
  EXPECT_EQ(data_error_text([&] { read_matrix(missing, {}, heap()); }),
            missing + ": cannot open: No such file or directory");
  EXPECT_EQ(data_error_text([&] { read_matrix(dir.path(""), {}, heap()); }),
            dir.path("") + ": is a directory");
  EXPECT_EQ(data_error_text([&] { read_matrix("/dev/null", {}, heap()); }),
            "/dev/null: not a regular file (tessel maps files, it cannot read a pipe or a device)");
  const std::string empty = dir.write("empty.csv", "");
  EXPECT_EQ(data_error_text([&] { read_matrix(empty, {}, heap()); }), empty + ":1:1: empty file");
}

TEST(ReadMatrix, WeightsColumnNeedsRowsAsObservations) {
  const scratch_dir dir;
  read_options options;
  options.orientation = rows_are::dimensions;
  options.weights_column = "0";
  EXPECT_THAT(usage_error_text([&] { read_matrix(dir.write("w.csv", "1,2\n"), options, heap()); }),
              StartsWith("--weights-column needs rows read as observations"));
}

TEST(ReadValues, OneRowOrOneColumn) {
  const scratch_dir dir;
  const value_list column = read_values(dir.write("c.csv", "w\n1\n2\n3\n"), element_type::f64,
                                        "--weights", missing_policy::skip, heap());
  EXPECT_EQ(column.count, 3);
  EXPECT_THAT(elements<double>(column.values, 3), ElementsAre(1, 2, 3));
  const value_list row = read_values(dir.write("r.csv", "4;5\n"), element_type::f32, "--mean",
                                     missing_policy::skip, heap());
  EXPECT_THAT(elements<float>(row.values, 2), ElementsAre(4.0f, 5.0f));
  const std::string square = dir.write("s.csv", "1,2\n3,4\n");
  EXPECT_EQ(data_error_text([&] {
              read_values(square, element_type::f64, "--mean", missing_policy::skip, heap());
            }),
            square + ": --mean needs one row or one column of values, the file has 2 rows of 2");
}

TEST(SampleDataset, FoundInTheSourceTreeAndBesideAnInstall) {
  const std::string from_source = find_sample_dataset("/nonexistent/bin/tessel");
  const matrix sample = read_matrix(from_source, {}, heap());
  EXPECT_EQ(sample.n_dims, 4);
  EXPECT_EQ(sample.n_observations, 48);
  EXPECT_EQ(sample.names.front(), "temperature_c");

  const scratch_dir prefix;
  std::filesystem::create_directories(prefix.path("share/tessel"));
  std::filesystem::create_directories(prefix.path("bin"));
  const std::string installed = prefix.write("share/tessel/sample.csv", "1\n");
  EXPECT_EQ(find_sample_dataset(prefix.path("bin/tessel")), installed);
}

}  // namespace
}  // namespace tessel::test
