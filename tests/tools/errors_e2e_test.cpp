// What a person sees: on error one line on stderr, nothing on stdout, and the exit status that says
// whose mistake it is (2 the command line, 1 the data); without a file, the sample dataset.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "run_tool.hpp"
#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(ToolErrors, OneLineAndTheStatusThatSaysWhoseMistake) {
  const scratch_dir dir;
  const std::string data = dir.write("data.csv", "x,y\n1,2\n3\n");
  const std::string good = dir.write("good.csv", "x,y\n1,2\n3,4\n");
  const std::string three = dir.write("three.csv", "1\n2\n3\n");
  const std::string wide = dir.write("wide.csv", "1,2,3\n4,5,6\n");
  const std::string weights = dir.write("w.csv", "1\n2\n");
  const std::string one = dir.write("one.csv", "7\n");
  const std::string gap = dir.write("gap.csv", "7,NA\n");
  const std::string npy = dir.write("data.npy", "1,2\n");
  const std::string empty = dir.write("empty.csv", "");
  const std::string square = dir.write("square.csv", "1,2\n3,4\n");
  const std::string one_per = ": --mean has 1 values, expected 3 (one per dimension)";
  const std::vector<std::tuple<std::vector<std::string>, int, std::string>> cases = {
      {{data}, 1, data + ":3:2: ragged row: 1 cells where line 1 has 2"},
      {{dir.path("missing.csv")},
       1,
       dir.path("missing.csv") + ": cannot open: No such file or directory"},
      {{dir.path("")}, 1, dir.path("") + ": is a directory"},
      {{"/dev/null"},
       1,
       "/dev/null: not a regular file (tessel maps files, it cannot read a pipe or a device)"},
      {{empty}, 1, empty + ":1:1: empty file"},
      {{npy}, 1, npy + ": not a .npy file (it does not start with \\x93NUMPY)"},
      {{three, "--weights", weights},
       1,
       weights + ": --weights has 2 values, the data has 3 observations"},
      {{wide, "--mean", square},
       1,
       square + ": --mean needs one row or one column of values, the file has 2 rows of 2"},
      {{wide, "--dims", "0,2", "--mean", gap}, 1, gap + ":1:3: missing value \"NA\""},
      {{wide, "--dims", "0,2", "--mean", one},
       1,
       one + one_per + " or 2 (one per selected dimension)"},
      {{wide, "--mean", one}, 1, one + one_per + "\n"},
      {{good, "--dims", "z"}, 2, "--dims: \"z\" is neither a dimension's name"},
      {{good, "--device", "tpu"}, 2, "--device: no device named \"tpu\"; choose auto, cpu, gpu"},
      {{good, "--type", "half"}, 2, "--type: half not in {float,double}"},
      {{good, "--weights-column", "w"},
       2,
       "--weights-column: " + good + " has no column named \"w\""},
      {{good, "--rows-are", "dimensions", "--weights-column", "1"},
       2,
       "--weights-column needs rows read as observations; with --rows-are dimensions give the "
       "weights with --weights FILE\n"},
      {{good, "--frobnicate"}, 2, "--frobnicate"}};
  for (auto [args, status, message] : cases) {
    args.insert(args.begin(), "describe");
    if (status == 1) {
      args.insert(args.end(), {"--device", emulated_gpu});
    }
    const tool_run run = run_tessel(args, dir.path(""));
    EXPECT_EQ(run.status, status) << message;
    EXPECT_THAT(run.err, StartsWith("tessel: "));
    EXPECT_THAT(run.err, HasSubstr(message));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_EQ(run.out, "");
  }
}

TEST(Tool, DescribesTheSampleDatasetAndListsTheDevices) {
  const scratch_dir dir;
  const tool_run run = run_tessel({"describe", "--device", emulated_gpu}, dir.path(""));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("sample.csv: 48 observations of 4 dimensions, double in "
                                 "col_major, on Tessel emulated GPU\n"));
  EXPECT_THAT(run.out, HasSubstr("temperature_c"));
  EXPECT_THAT(run.out, HasSubstr("\nkurtosis "));
  const tool_run devices = run_tessel({"devices"}, dir.path(""));
  ASSERT_EQ(devices.status, 0) << devices.err;
  EXPECT_THAT(devices.out, HasSubstr("Tessel emulated GPU\n  kind                 gpu (emulated, "
                                     "chosen only by name)\n"));
  EXPECT_THAT(devices.out, HasSubstr("Tessel host CPU\n  kind                 cpu\n"));
}

}  // namespace
}  // namespace tessel::test
