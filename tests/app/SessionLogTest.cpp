#include <gtest/gtest.h>

#include <filesystem>
#include <utility>

#include "app/SessionLog.h"
#include "app/Settings.h"
#include "core/AtomicFile.h"
#include "core/Clock.h"
#include "core/DateTime.h"
#include "tests/support/ScriptedDialogs.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;

double At(int y, int mo, int d, int h, int mi, int s) { return ToOleDate(DateParts{y, mo, d, h, mi, s}); }

std::string Read(const std::string& path) { return ReadWholeFile(path, "test"); }

// A session log in a fresh folder, its clock at 19 Nov 2026 14:05:01.
class SessionLogTest : public ::testing::Test {
 protected:
  testing::TempDir tmp;
  testing::ScriptedDialogs dialogs;
  FixedClock clock{At(2026, 11, 19, 14, 5, 1)};
  SessionLog log{clock, dialogs};
};

// The file is named by the first start of the day; a start later that day appends to it.
TEST_F(SessionLogTest, TwoStartupsOnOneDayShareOneFile) {
  EXPECT_EQ(SessionLog::ChooseLogDirectory(tmp.file("x/logs"), tmp.path()), tmp.path());
  EXPECT_EQ(SessionLog::ChooseLogDirectory(tmp.file("logs"), tmp.path()), tmp.file("logs"));
  log.SetLogDirectory(tmp.file("logs"));
  log.SetupLog();
  EXPECT_TRUE(log.loggingOn());
  clock.value = At(2026, 11, 19, 14, 5, 9);
  log.WriteLog("Link Test to Pmdirect... passed");
  clock.value = At(2026, 11, 19, 20, 0, 0);
  SessionLog second(clock, dialogs);
  second.SetLogDirectory(tmp.file("logs"));
  second.SetupLog();
  clock.value = At(2026, 11, 20, 0, 0, 30);  // past midnight: same file
  second.WriteLog("Incoming Message...");
  EXPECT_EQ(second.logFile(), tmp.file("logs/Ics213-261119.log"));
  const std::string rule(51, '-');
  const std::string v = ProgramVersion();
  EXPECT_EQ(Read(log.logFile()), rule + "\r\n19-Nov-26 14:05:01: velnor v" + v + "\r\n" + rule + "\r\n" +
                                     "19-Nov 14:05:09: Link Test to Pmdirect... passed\r\n" + rule +
                                     "\r\n19-Nov-26 20:00:00: velnor v" + v + "\r\n" + rule + "\r\n" +
                                     "20-Nov 00:00:30: Incoming Message...\r\n");
  EXPECT_TRUE(dialogs.shown.empty());
}

// Trimmed, CR LF pairs removed, a lone CR or LF kept.
TEST_F(SessionLogTest, LineWritten) {
  const std::pair<std::string, std::string> cases[] = {
      {"   ", ""}, {"one\r\ntwo\r\n", " onetwo"}, {"a\rb\nc\n\r", " a\rb\nc\n\r"}, {"x \r\n", " x"}};
  clock.value = At(2026, 3, 5, 7, 8, 9);
  log.SetLoggingOn(true);
  log.SetLogFile(tmp.file("t.log"));
  for (const auto& [text, line] : cases) {
    fs::remove(log.logFile());
    log.WriteLog(text);
    EXPECT_EQ(Read(log.logFile()), "05-Mar 07:08:09:" + line + "\r\n") << text;
  }
}

// A log that cannot start stays off; one whose writes fail says so once, then is silent for
// good, even once the file could be written again.
TEST_F(SessionLogTest, SetupOrWriteFailureTurnsLoggingOff) {
  dialogs.expectMessage("Could not start Session logging");
  log.SetLogDirectory(tmp.file("missing"));
  log.SetLoggingOn(true);  // start-up sets it before the banner
  log.SetupLog();
  EXPECT_FALSE(log.loggingOn());
  // Number and description, then the message with nothing between them.
  EXPECT_EQ(dialogs.shown.at(0).text,
            "SetupLog Error 53, No such file or directoryCould not start Session logging");

  dialogs.expectMessage("; Could not write to the session log file; disabled session logging");
  log.SetLogDirectory(tmp.path());
  log.SetupLog();
  fs::remove(log.logFile());
  fs::create_directory(log.logFile());  // the log's name now belongs to a directory
  log.WriteLog("first");
  EXPECT_FALSE(log.loggingOn());
  log.WriteLog("second");
  fs::remove(log.logFile());
  log.WriteLog("third");
  EXPECT_EQ(dialogs.shown.size(), 2u);
  EXPECT_FALSE(fs::exists(log.logFile()));
}

}  // namespace
}  // namespace velnor
