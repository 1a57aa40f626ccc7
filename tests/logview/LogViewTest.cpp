#include <gtest/gtest.h>

#include <tuple>

#include "core/AtomicFile.h"
#include "logview/LogExplain.h"
#include "logview/LogFollower.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

TEST(ExplainLogLine, PlainWordsForTheLinesOperatorsMeetMost) {
  const std::tuple<const char*, const char*, LogTone> rows[] = {
      {"19-Nov 14:05:09: WinSend: No reply within 5000 ms", "Pmdirect did not answer (waited 5000 ms).",
       LogTone::Problem},
      // The subject may hold the words that part the values.
      {"19-Nov 14:05:09: SendMessages: Sent No. 12 titled: Fuel titled: diesel",
       "Message 12 \"Fuel titled: diesel\" went to Pmdirect: sent.", LogTone::Good},
      // Close to a known line is not that line.
      {"19-Nov 14:05:09: Connection Failed twice", "", LogTone::Plain},
  };
  for (const auto& [line, words, tone] : rows) {
    EXPECT_EQ(ExplainLogLine(line).words, words) << line;
    EXPECT_EQ(ExplainLogLine(line).tone, tone) << line;
  }
}

TEST(LogFollower, HandsOutOnlyWholeLinesAppendedSinceTheLastLook) {
  testing::TempDir dir;
  const std::string path = dir.file("Ics213-261119.log");
  LogFollower follow(path);
  EXPECT_TRUE(follow.Poll().missing);

  AppendToFile(path, "one\r\ntwo\r\nthr", "test");
  EXPECT_EQ(follow.Poll().lines, (std::vector<std::string>{"one", "two"}));
  AppendToFile(path, "ee\r\nfour\r\n", "test");
  EXPECT_EQ(follow.Poll().lines, (std::vector<std::string>{"three", "four"}));

  // Replaced by a shorter file: read again from its start.
  WriteFileAtomically(path, "new\r\n", "test");
  const LogFollower::News n = follow.Poll();
  EXPECT_TRUE(n.restarted);
  EXPECT_EQ(n.lines, std::vector<std::string>{"new"});
}

}  // namespace
}  // namespace velnor
