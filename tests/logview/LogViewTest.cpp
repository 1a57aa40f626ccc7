#include <gtest/gtest.h>

#include "core/AtomicFile.h"
#include "logview/LogExplain.h"
#include "logview/LogFollower.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

TEST(ExplainLogLine, PlainWordsForTheLinesOperatorsMeetMost) {
  struct Row {
    const char* line;
    const char* words;
    LogTone tone;
  };
  const Row rows[] = {
      {"19-Nov 14:05:09: WinSend: No reply within 5000 ms", "Pmdirect did not answer (waited 5000 ms).",
       LogTone::Problem},
      // The subject may hold the words that part the values.
      {"19-Nov 14:05:09: SendMessages: Sent No. 12 titled: Fuel titled: diesel",
       "Message 12 \"Fuel titled: diesel\" went to Pmdirect: sent.", LogTone::Good},
      {"19-Nov-26 14:05:01: velnor v1.0.0", "Velnor 1.0.0 started.", LogTone::Plain},
      // Close to a known line is not that line.
      {"19-Nov 14:05:09: Connection Failed twice", "", LogTone::Plain},
      {"19-Nov 14:05:09:", "", LogTone::Plain},
  };
  for (const Row& r : rows) {
    const LogExplanation e = ExplainLogLine(r.line);
    EXPECT_EQ(e.words, r.words) << r.line;
    EXPECT_EQ(e.tone, r.tone) << r.line;
  }
}

TEST(LogFollower, HandsOutOnlyWholeLinesAppendedSinceTheLastLook) {
  testing::TempDir dir;
  const std::string path = dir.file("Ics213-261119.log");
  LogFollower follow(path);
  EXPECT_TRUE(follow.Poll().missing);

  AppendToFile(path, "one\r\ntwo\r\nthr", "test");
  LogFollower::News n = follow.Poll();
  EXPECT_FALSE(n.missing);
  EXPECT_EQ(n.lines, (std::vector<std::string>{"one", "two"}));
  EXPECT_TRUE(follow.Poll().lines.empty());
  AppendToFile(path, "ee\r\nfour\r\n", "test");
  EXPECT_EQ(follow.Poll().lines, (std::vector<std::string>{"three", "four"}));

  // Replaced by a shorter file: read again from its start.
  WriteFileAtomically(path, "new\r\n", "test");
  n = follow.Poll();
  EXPECT_TRUE(n.restarted);
  EXPECT_EQ(n.lines, std::vector<std::string>{"new"});
}

}  // namespace
}  // namespace velnor
