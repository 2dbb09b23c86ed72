#include "describe_input.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> names_of(const describe_result& result) {
  std::vector<std::string> names;
  for (const auto& dimension : result.dimensions)
    names.push_back(dimension.name);
  return names;
}

TEST(DescribeInput, SelectionNamesTheDescribedDimensions) {
  const scratch_dir dir;
  describe_options options;
  options.dims = "z,0";
  const describe_input input =
      prepare_describe(options, dir.write("d.csv", "x,y,z\n1,2,3\n4,5,6\n"), heap());
  EXPECT_THAT(names_of(input.result), ElementsAre("x", "z"));
  EXPECT_THAT(elements<std::int64_t>(input.selection, 3), ElementsAre(1, 0, 1));
  EXPECT_EQ(input.result.n_dims, 3);
  EXPECT_EQ(input.result.n_observations, 2);
  EXPECT_EQ(input.result.layout, matrix_layout::col_major);
  EXPECT_TRUE(input.weights.empty());
}

TEST(DescribeInput, EverythingSelectedNeedsNoSelectionArray) {
  const scratch_dir dir;
  const describe_input input = prepare_describe({}, dir.write("d.csv", "1,2\n"), heap());
  EXPECT_TRUE(input.selection.empty());
  EXPECT_THAT(names_of(input.result), ElementsAre("0", "1"));
}

TEST(DescribeInput, WeightsFromAColumnOrAFileOfTheRightLength) {
  const scratch_dir dir;
  const std::string data = dir.write("d.csv", "x,w\n1,0.5\n2,1.5\n");
  describe_options by_column;
  by_column.weights_column = "w";
  const describe_input from_column = prepare_describe(by_column, data, heap());
  EXPECT_THAT(elements<double>(from_column.weights, 2), ElementsAre(0.5, 1.5));
  EXPECT_EQ(from_column.result.weights, "column w of " + data);
  EXPECT_THAT(names_of(from_column.result), ElementsAre("x"));

  describe_options by_file;
  by_file.weights_file = dir.write("w.csv", "3\n4\n");
  const describe_input from_file = prepare_describe(by_file, data, heap());
  EXPECT_THAT(elements<double>(from_file.weights, 2), ElementsAre(3, 4));

  by_file.weights_file = dir.write("gap.csv", "3\nNA\n");
  EXPECT_EQ(prepare_describe(by_file, data, heap()).missing_weights, 1);

  by_file.weights_file = dir.write("short.csv", "3\n");
  EXPECT_EQ(data_error_text([&] { prepare_describe(by_file, data, heap()); }),
            *by_file.weights_file + ": --weights has 1 values, the data has 2 observations");
}

TEST(DescribeInput, WeightsAndMeansAreReadInTheDataType) {
  const scratch_dir dir;
  describe_options options;
  options.type = element_type::f32;
  options.weights_file = dir.write("w.csv", "0.1\n0.2\n");
  options.mean_file = dir.write("m.csv", "0.3\n");
  const describe_input input = prepare_describe(options, dir.write("d.csv", "1\n2\n"), heap());
  EXPECT_THAT(elements<float>(input.weights, 2), ElementsAre(0.1f, 0.2f));
  EXPECT_THAT(elements<float>(input.user_mean, 1), ElementsAre(0.3f));
}

TEST(DescribeInput, MeansForEveryDimensionOrForTheSelectedOnes) {
  const scratch_dir dir;
  const std::string data = dir.write("d.csv", "1,2,3\n4,5,6\n");
  describe_options options;
  options.mean_file = dir.write("all.csv", "7,8,9\n");
  EXPECT_THAT(elements<double>(prepare_describe(options, data, heap()).user_mean, 3),
              ElementsAre(7, 8, 9));

  options.dims = "0,2";
  options.mean_file = dir.write("selected.csv", "7,9\n");
  const describe_input spread = prepare_describe(options, data, heap());
  EXPECT_THAT(elements<double>(spread.user_mean, 3), ElementsAre(7, 0, 9));
  EXPECT_EQ(spread.result.user_mean, *options.mean_file);

  options.mean_file = dir.write("gap.csv", "7,NA\n");
  EXPECT_EQ(data_error_text([&] { prepare_describe(options, data, heap()); }),
            *options.mean_file + ":1:3: missing value \"NA\"");

  options.mean_file = dir.write("wrong.csv", "7\n");
  EXPECT_EQ(data_error_text([&] { prepare_describe(options, data, heap()); }),
            *options.mean_file +
                ": --mean has 1 values, expected 3 (one per dimension) or 2 (one per selected "
                "dimension)");
  options.dims.reset();
  EXPECT_EQ(data_error_text([&] { prepare_describe(options, data, heap()); }),
            *options.mean_file + ": --mean has 1 values, expected 3 (one per dimension)");
}

}  // namespace
}  // namespace tessel::test
