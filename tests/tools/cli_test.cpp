#include "cli.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace tessel::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

struct parsed {
  cli_outcome outcome;
  std::string out, err;
};

parsed parse(std::vector<const char*> args) {
  args.insert(args.begin(), "tessel");
  std::ostringstream out, err;
  cli_outcome outcome = parse_command_line(static_cast<int>(args.size()), args.data(), out, err);
  return {std::move(outcome), out.str(), err.str()};
}

describe_options describe(std::vector<const char*> args) {
  args.insert(args.begin(), "describe");
  const parsed result = parse(args);
  EXPECT_TRUE(result.outcome.run.has_value()) << result.err;
  return std::get<describe_options>(result.outcome.run.value());
}

// The options that the end-to-end runs leave at their defaults.
TEST(CommandLine, OptionsReachTheirFields) {
  const describe_options options = describe({"data.csv", "--delimiter", "tab", "--header", "no",
                                             "--missing", "error", "--precision", "full"});
  EXPECT_EQ(options.file, "data.csv");
  EXPECT_EQ(options.delimiter, '\t');
  EXPECT_EQ(options.header, header_mode::absent);
  EXPECT_EQ(options.missing, missing_policy::error);
  EXPECT_EQ(options.precision, 0);
  EXPECT_EQ(describe({"--precision", "17"}).precision, 17);
  const parsed help = parse({"describe", "--help"});
  EXPECT_FALSE(help.outcome.run);
  EXPECT_EQ(help.outcome.exit_code, 0);
  EXPECT_THAT(help.out, HasSubstr("on a GPU           the mean first"));
}

// One line on stderr that names what is wrong, and status 2.
TEST(CommandLine, UsageErrorsExitTwoWithOneLine) {
  const std::vector<std::pair<std::vector<const char*>, const char*>> cases = {
      {{}, ""},
      {{"frobnicate"}, "subcommand"},
      {{"describe", "--type", "quad"}, "quad"},
      {{"describe", "--output", "xml"}, "xml"},
      {{"describe", "--rows-are", "columns"}, "columns"},
      {{"describe", "--delimiter", "|"}, "|"},
      {{"describe", "--bogus"}, "--bogus"},
      {{"describe", "a.csv", "b.csv"}, "b.csv"},
      {{"describe", "--weights", "w.csv", "--weights-column", "w"}, "excludes"},
      {{"describe", "--dims"}, "--dims"},
      {{"describe", "--missing", "drop"}, "drop"},
      {{"describe", "--precision", "0"},
       "give a number of significant digits from 1 to 17, or full"},
      {{"describe", "--precision", "18"}, "--precision"},
      {{"describe", "--precision", "6x"}, "--precision"}};
  for (const auto& [args, says] : cases) {
    const parsed result = parse(args);
    SCOPED_TRACE(result.err);
    EXPECT_FALSE(result.outcome.run);
    EXPECT_EQ(result.outcome.exit_code, 2);
    EXPECT_THAT(result.err, StartsWith("tessel: "));
    EXPECT_THAT(result.err, HasSubstr(says));
    EXPECT_THAT(result.err, EndsWith(" (see tessel --help)\n"));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
  }
}

}  // namespace
}  // namespace tessel::test
