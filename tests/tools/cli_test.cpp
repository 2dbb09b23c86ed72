#include "cli.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace tessel::test {
namespace {

using ::testing::HasSubstr;

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

TEST(CommandLine, DescribeDefaults) {
  const describe_options options = describe({});
  EXPECT_FALSE(options.file);
  EXPECT_EQ(options.device, "auto");
  EXPECT_FALSE(options.type);
  EXPECT_FALSE(options.dims);
  EXPECT_EQ(options.orientation, rows_are::observations);
  EXPECT_EQ(options.output, output_format::table);
  EXPECT_FALSE(options.all);
  EXPECT_EQ(options.delimiter, 0);
  EXPECT_EQ(options.header, header_mode::detect);
  EXPECT_EQ(options.missing, missing_policy::skip);
  EXPECT_EQ(options.precision, 6);
  EXPECT_FALSE(options.one_pass);
}

TEST(CommandLine, DescribeEveryOption) {
  const describe_options options =
      describe({"data.csv",    "--device", "emulated gpu", "--type",
                "float",       "--dims",   "0,2-3",        "--weights-column",
                "w",           "--mean",   "m.csv",        "--rows-are",
                "dimensions",  "--output", "json",         "--all",
                "--delimiter", "tab",      "--header",     "no",
                "--missing",   "error",    "--precision",  "full",
                "--one-pass"});
  EXPECT_EQ(options.file, "data.csv");
  EXPECT_EQ(options.device, "emulated gpu");
  EXPECT_EQ(options.type, element_type::f32);
  EXPECT_EQ(options.dims, "0,2-3");
  EXPECT_EQ(options.weights_column, "w");
  EXPECT_FALSE(options.weights_file);
  EXPECT_EQ(options.mean_file, "m.csv");
  EXPECT_EQ(options.orientation, rows_are::dimensions);
  EXPECT_EQ(options.output, output_format::json);
  EXPECT_TRUE(options.all);
  EXPECT_EQ(options.delimiter, '\t');
  EXPECT_EQ(options.header, header_mode::absent);
  EXPECT_EQ(options.missing, missing_policy::error);
  EXPECT_EQ(options.precision, 0);
  EXPECT_TRUE(options.one_pass);
  EXPECT_EQ(describe({"--type=double", "--weights", "w.csv"}).weights_file, "w.csv");
  EXPECT_EQ(describe({"--precision", "17"}).precision, 17);
}

TEST(CommandLine, Devices) {
  const parsed result = parse({"devices"});
  ASSERT_TRUE(result.outcome.run);
  EXPECT_TRUE(std::holds_alternative<devices_options>(*result.outcome.run));
}

TEST(CommandLine, HelpExitsZero) {
  const parsed result = parse({"describe", "--help"});
  EXPECT_FALSE(result.outcome.run);
  EXPECT_EQ(result.outcome.exit_code, 0);
  EXPECT_THAT(result.out, HasSubstr("--weights-column"));
  EXPECT_THAT(result.out, HasSubstr("on a GPU           the mean first"));
}

TEST(CommandLine, UsageErrorsExitTwoWithOneLine) {
  for (const std::vector<const char*>& args : std::vector<std::vector<const char*>>{
           {},
           {"frobnicate"},
           {"describe", "--type", "quad"},
           {"describe", "--output", "xml"},
           {"describe", "--rows-are", "columns"},
           {"describe", "--delimiter", "|"},
           {"describe", "--bogus"},
           {"describe", "a.csv", "b.csv"},
           {"describe", "--weights", "w.csv", "--weights-column", "w"},
           {"describe", "--dims"},
           {"describe", "--missing", "drop"},
           {"describe", "--precision", "0"},
           {"describe", "--precision", "18"},
           {"describe", "--precision", "6x"}}) {
    const parsed result = parse(args);
    SCOPED_TRACE(result.err);
    EXPECT_FALSE(result.outcome.run);
    EXPECT_EQ(result.outcome.exit_code, 2);
    EXPECT_THAT(result.err, ::testing::StartsWith("tessel: "));
    EXPECT_THAT(result.err, ::testing::EndsWith(" (see tessel --help)\n"));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
  }
}

TEST(CommandLine, UsageErrorsSayWhatIsWrong) {
  EXPECT_THAT(parse({"describe", "--type", "quad"}).err, HasSubstr("quad"));
  EXPECT_THAT(parse({"describe", "--weights", "w", "--weights-column", "1"}).err,
              HasSubstr("excludes"));
  EXPECT_THAT(parse({"describe", "--precision", "0"}).err,
              HasSubstr("give a number of significant digits from 1 to 17, or full"));
}

}  // namespace
}  // namespace tessel::test
