// What a person sees when something is wrong: one line on stderr, nothing on stdout, and the
// exit status that says whose mistake it is (2 the command line, 1 the data).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "run_tool.hpp"
#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* emulated_gpu = "Tessel emulated GPU";

void expect_refused(const tool_run& run, int status, const std::string& message) {
  EXPECT_EQ(run.status, status);
  EXPECT_EQ(run.err, "tessel: " + message + "\n");
  EXPECT_EQ(run.out, "");
}

TEST(ToolErrors, DataErrorsExitOne) {
  const scratch_dir dir;
  const std::string ragged = dir.write("ragged.csv", "a,b\n1,2\n3\n");
  expect_refused(run_tessel({"describe", ragged, "--device", emulated_gpu}, dir.path("")), 1,
                 ragged + ":3:2: ragged row: 1 cells where line 1 has 2");
  const std::string gap = dir.write("gap.csv", "a,b\n1,2\n3,NA\n");
  expect_refused(
      run_tessel({"describe", gap, "--missing", "error", "--device", emulated_gpu}, dir.path("")),
      1, gap + ":3:3: missing value \"NA\"");
  const std::string missing = dir.path("missing.csv");
  expect_refused(run_tessel({"describe", missing, "--device", emulated_gpu}, dir.path("")), 1,
                 missing + ": cannot open: No such file or directory");
  const std::string data = dir.write("data.csv", "1\n2\n3\n");
  const std::string weights = dir.write("w.csv", "1\n2\n");
  expect_refused(
      run_tessel({"describe", data, "--weights", weights, "--device", emulated_gpu}, dir.path("")),
      1, weights + ": --weights has 2 values, the data has 3 observations");
}

TEST(ToolErrors, UsageErrorsExitTwo) {
  const scratch_dir dir;
  const std::string data = dir.write("data.csv", "x,y\n1,2\n3,4\n");
  const tool_run unknown_device = run_tessel({"describe", data, "--device", "tpu"}, dir.path(""));
  EXPECT_EQ(unknown_device.status, 2);
  EXPECT_THAT(unknown_device.err, StartsWith("tessel: --device: no device named \"tpu\"; choose "
                                             "auto, cpu, gpu or one of: "));
  EXPECT_THAT(unknown_device.err, HasSubstr("\"Tessel emulated GPU\""));
  EXPECT_EQ(unknown_device.out, "");

  const tool_run unknown_type = run_tessel({"describe", data, "--type", "half"}, dir.path(""));
  EXPECT_EQ(unknown_type.status, 2);
  EXPECT_THAT(unknown_type.err, StartsWith("tessel: --type: half not in {float,double}"));

  const tool_run unknown_option = run_tessel({"describe", data, "--frobnicate"}, dir.path(""));
  EXPECT_EQ(unknown_option.status, 2);
  EXPECT_THAT(unknown_option.err, HasSubstr("--frobnicate"));

  expect_refused(
      run_tessel({"describe", data, "--dims", "z", "--device", emulated_gpu}, dir.path("")), 2,
      "--dims: \"z\" is neither a dimension's name nor an index or a range like 2-5");
  expect_refused(run_tessel({"describe", data, "--weights-column", "w", "--device", emulated_gpu},
                            dir.path("")),
                 2, "--weights-column: " + data + " has no column named \"w\"");
}

TEST(Tool, DescribesTheSampleDatasetWithoutAFile) {
  const scratch_dir dir;
  const tool_run run = run_tessel({"describe", "--device", emulated_gpu}, dir.path(""));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("sample.csv: 48 observations of 4 dimensions, double in "
                                 "col_major, on Tessel emulated GPU\n"));
  for (const char* name : {"temperature_c", "humidity_pct", "pressure_hpa", "wind_speed_ms"}) {
    EXPECT_THAT(run.out, HasSubstr(name));
  }
  EXPECT_THAT(run.out, HasSubstr("\ncount "));
  EXPECT_THAT(run.out, HasSubstr("\nkurtosis "));
}

TEST(Tool, ListsTheDevicesWithTheirLimits) {
  const scratch_dir dir;
  const tool_run run = run_tessel({"devices"}, dir.path(""));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Tessel emulated GPU\n  kind                 gpu (emulated, "
                                 "chosen only by name)\n"));
  EXPECT_THAT(run.out, HasSubstr("Tessel host CPU\n  kind                 cpu\n"));
  EXPECT_THAT(run.out, HasSubstr("  max work-group size  "));
}

}  // namespace
}  // namespace tessel::test
