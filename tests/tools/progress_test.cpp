#include "progress.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace tessel::test {
namespace {

std::string contents(std::FILE* file) {
  std::rewind(file);
  std::string text;
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
    text += static_cast<char>(c);
  }
  return text;
}

TEST(Progress, OneLineRewrittenInPercentStepsThenCleared) {
  std::FILE* const out = std::tmpfile();
  ASSERT_NE(out, nullptr);
  {
    progress shown("big.csv", 1000, out);
    for (std::uint64_t done = 0; done <= 1000; done += 5) {
      shown.update(done);
    }
  }
  const std::string text = contents(out);
  std::fclose(out);
  EXPECT_EQ(text.rfind("\rtessel: reading big.csv:   0%", 0), 0u);
  EXPECT_NE(text.find("\rtessel: reading big.csv:  50%"), std::string::npos);
  EXPECT_NE(text.find("\rtessel: reading big.csv: 100%"), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 4), "\r\x1b[K");
  // Once per percent, not once per update.
  std::size_t reports = 0;
  for (std::size_t at = text.find("reading"); at != std::string::npos;
       at = text.find("reading", at + 1)) {
    ++reports;
  }
  EXPECT_LE(reports, 101u);
}

TEST(Progress, OnlyForLargeFilesOnATerminal) {
  EXPECT_TRUE(progress::wanted(progress::threshold_bytes + 1, true));
  EXPECT_FALSE(progress::wanted(progress::threshold_bytes, true));
  EXPECT_FALSE(progress::wanted(progress::threshold_bytes + 1, false));
}

}  // namespace
}  // namespace tessel::test
