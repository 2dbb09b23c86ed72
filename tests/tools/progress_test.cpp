#include "progress.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace tessel::test {
namespace {

// One line rewritten once per percent, not once per update, then cleared; only for large files on a
// terminal.
TEST(Progress, OneLineRewrittenInPercentStepsThenCleared) {
  std::FILE* const out = std::tmpfile();
  ASSERT_NE(out, nullptr);
  {
    progress shown("big.csv", 1000, out);
    for (std::uint64_t done = 0; done <= 1000; done += 5) {
      shown.update(done);
    }
  }
  std::rewind(out);
  std::string text;
  for (int c = std::fgetc(out); c != EOF; c = std::fgetc(out)) {
    text += static_cast<char>(c);
  }
  std::fclose(out);
  EXPECT_EQ(text.rfind("\rtessel: reading big.csv:   0%", 0), 0u);
  EXPECT_NE(text.find("\rtessel: reading big.csv:  50%"), std::string::npos);
  EXPECT_NE(text.find("\rtessel: reading big.csv: 100%"), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 4), "\r\x1b[K");
  EXPECT_LE(text.size(), 101 * std::string("\rtessel: reading big.csv: 100%").size() + 4);
  EXPECT_TRUE(progress::wanted(progress::threshold_bytes + 1, true));
  EXPECT_FALSE(progress::wanted(progress::threshold_bytes, true));
  EXPECT_FALSE(progress::wanted(progress::threshold_bytes + 1, false));
}

}  // namespace
}  // namespace tessel::test
