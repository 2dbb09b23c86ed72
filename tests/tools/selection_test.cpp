#include "selection.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

using ::testing::ElementsAre;

const std::vector<std::string> names = {"a", "b", "c-d", "3", "e", "f", "g", "h"};

TEST(Selection, IndicesRangesAndNames) {
  EXPECT_THAT(parse_selection("0,2,5-7", names), ElementsAre(1, 0, 1, 0, 0, 1, 1, 1));
  EXPECT_THAT(parse_selection(" b , e ,1", names), ElementsAre(0, 1, 0, 0, 1, 0, 0, 0));
  // A name wins over a reading as a range or an index.
  EXPECT_THAT(parse_selection("c-d", names), ElementsAre(0, 0, 1, 0, 0, 0, 0, 0));
  EXPECT_THAT(parse_selection("3", names), ElementsAre(0, 0, 0, 1, 0, 0, 0, 0));
  EXPECT_THAT(parse_selection("4-4,4", names), ElementsAre(0, 0, 0, 0, 1, 0, 0, 0));
}

TEST(Selection, WrongItemsAreUsageErrors) {
  const auto error = [](std::string_view list) {
    return usage_error_text([&] { parse_selection(list, names); });
  };
  EXPECT_EQ(error(""), "--dims: an empty item in the list");
  EXPECT_EQ(error("1,,2"), "--dims: an empty item in the list");
  EXPECT_EQ(error("8"), "--dims: \"8\" is past the last dimension, 7 (counted from 0)");
  EXPECT_EQ(error("6-9"), "--dims: \"6-9\" is past the last dimension, 7 (counted from 0)");
  EXPECT_EQ(error("5-2"), "--dims: the range \"5-2\" runs backwards");
  EXPECT_EQ(error("zz"),
            "--dims: \"zz\" is neither a dimension's name nor an index or a range "
            "like 2-5");
  EXPECT_EQ(error("-1"),
            "--dims: \"-1\" is neither a dimension's name nor an index or a range "
            "like 2-5");
}

}  // namespace
}  // namespace tessel::test
