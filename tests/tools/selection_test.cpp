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
  EXPECT_THAT(parse_selection("c-d,3", names), ElementsAre(0, 0, 1, 1, 0, 0, 0, 0));
  EXPECT_THAT(parse_selection("4-4,4", names), ElementsAre(0, 0, 0, 0, 1, 0, 0, 0));
}

TEST(Selection, WrongItemsAreUsageErrors) {
  const std::string not_an_item =
      "\" is neither a dimension's name nor an index or a range like 2-5";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", "an empty item in the list"},
      {"1,,2", "an empty item in the list"},
      {"8", "\"8\" is past the last dimension, 7 (counted from 0)"},
      {"6-9", "\"6-9\" is past the last dimension, 7 (counted from 0)"},
      {"5-2", "the range \"5-2\" runs backwards"},
      {"zz", "\"zz" + not_an_item},
      {"-1", "\"-1" + not_an_item}};
  for (const auto& [list, message] : cases) {
    EXPECT_EQ(error_text<usage_error>([&] { parse_selection(list, names); }), "--dims: " + message);
  }
}

}  // namespace
}  // namespace tessel::test
