#include "describe_input.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> names_of(const describe_result& result) {
  std::vector<std::string> names;
  for (const auto& dimension : result.dimensions) {
    names.push_back(dimension.name);
  }
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
  EXPECT_EQ(input.result.layout, matrix_layout::col_major);
  const describe_input all = prepare_describe({}, dir.write("all.csv", "1,2\n"), heap());
  EXPECT_TRUE(all.selection.empty());  // everything selected needs no selection array
  EXPECT_THAT(names_of(all.result), ElementsAre("0", "1"));
}

// Weights and means are read in the data's type; means come one per dimension or one per
// selected dimension, spread over the selected ones.
TEST(DescribeInput, WeightsAndMeansFromFiles) {
  const scratch_dir dir;
  describe_options options;
  options.type = element_type::f32;
  options.dims = "0,2";
  options.weights_file = dir.write("w.csv", "0.1\n0.2\n");
  options.mean_file = dir.write("m.csv", "0.3,7\n");
  const std::string data = dir.write("d.csv", "1,2,3\n4,5,6\n");
  const describe_input input = prepare_describe(options, data, heap());
  EXPECT_THAT(elements<float>(input.weights, 2), ElementsAre(0.1f, 0.2f));
  EXPECT_THAT(elements<float>(input.user_mean, 3), ElementsAre(0.3f, 0, 7));
  options.weights_file = dir.write("gap.csv", "3\nNA\n");
  EXPECT_EQ(prepare_describe(options, data, heap()).missing_weights, 1);

  struct refusal {
    const char *name, *text;
    bool weights, selected;
    const char* says;
  };
  const refusal refused[] = {
      {"short.csv", "3\n", true, false, ": --weights has 1 values, the data has 2 observations"},
      {"gap.csv", "7,NA\n", false, true, ":1:3: missing value \"NA\""},
      {"wrong.csv", "7\n", false, true,
       ": --mean has 1 values, expected 3 (one per dimension) or 2 (one per selected dimension)"},
      {"wrong.csv", "7\n", false, false, ": --mean has 1 values, expected 3 (one per dimension)"}};
  for (const refusal& r : refused) {
    describe_options bad;
    (r.weights ? bad.weights_file : bad.mean_file) = dir.write(r.name, r.text);
    if (r.selected) {
      bad.dims = "0,2";
    }
    EXPECT_EQ(data_error_text([&] { prepare_describe(bad, data, heap()); }),
              dir.path(r.name) + r.says);
  }
}

}  // namespace
}  // namespace tessel::test
