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

TEST_F(SessionLogTest, FileNameFromStartDateInLogsOrDataFolder) {
  EXPECT_EQ(SessionLog::LogFileName("/d/logs", At(2027, 1, 2, 0, 0, 0)), "/d/logs/Ics213-270102.log");
  EXPECT_EQ(SessionLog::ChooseLogDirectory(tmp.file("logs"), tmp.path()), tmp.file("logs"));
  EXPECT_TRUE(fs::is_directory(tmp.file("logs")));
  EXPECT_EQ(SessionLog::ChooseLogDirectory(tmp.file("x/logs"), tmp.path()), tmp.path());
}

TEST_F(SessionLogTest, TwoStartupsOnOneDayShareOneFile) {
  log.SetLogDirectory(tmp.path());
  log.SetupLog();
  EXPECT_TRUE(log.loggingOn());
  clock.value = At(2026, 11, 19, 14, 5, 9);
  log.WriteLog("Link Test to Pmdirect... passed");
  clock.value = At(2026, 11, 19, 20, 0, 0);
  SessionLog second(clock, dialogs);
  second.SetLogDirectory(tmp.path());
  second.SetupLog();
  clock.value = At(2026, 11, 20, 0, 0, 30);  // past midnight: same file
  second.WriteLog("Incoming Message...");
  EXPECT_EQ(second.logFile(), tmp.file("Ics213-261119.log"));
  const std::string rule(51, '-');
  const std::string v = ProgramVersion();
  EXPECT_EQ(Read(log.logFile()), rule + "\r\n19-Nov-26 14:05:01: velnor v" + v + "\r\n" + rule + "\r\n" +
                                     "19-Nov 14:05:09: Link Test to Pmdirect... passed\r\n" +
                                     rule + "\r\n19-Nov-26 20:00:00: velnor v" + v + "\r\n" + rule + "\r\n" +
                                     "20-Nov 00:00:30: Incoming Message...\r\n");
  EXPECT_TRUE(dialogs.shown.empty());
}

// Trimmed, CR LF pairs removed, a lone CR or LF kept.
TEST_F(SessionLogTest, LineWritten) {
  const std::pair<std::string, std::string> cases[] = {
      {"Connection Failed", " Connection Failed"}, {"", ""}, {"   ", ""}, {"  a b  ", " a b"},
      {"one\r\ntwo\r\n", " onetwo"}, {"a\rb\nc\n\r", " a\rb\nc\n\r"},
      {"x \r\n", " x"}};  // the removed pair leaves a blank to trim
  clock.value = At(2026, 3, 5, 7, 8, 9);
  log.SetLoggingOn(true);
  log.SetLogFile(tmp.file("t.log"));
  for (const auto& [text, line] : cases) {
    fs::remove(log.logFile());
    log.WriteLog(text);
    EXPECT_EQ(Read(log.logFile()), "05-Mar 07:08:09:" + line + "\r\n") << text;
  }
}

TEST_F(SessionLogTest, WriteFailureShownOnceThenSilence) {
  dialogs.expectMessage("; Could not write to the session log file; disabled session logging");
  log.SetLogDirectory(tmp.path());
  log.SetupLog();
  // The log's name now belongs to a directory: every append fails.
  fs::remove(log.logFile());
  fs::create_directory(log.logFile());
  log.WriteLog("first");
  EXPECT_FALSE(log.loggingOn());
  log.WriteLog("second");
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_EQ(dialogs.shown[0].caption, "Velnor");
  EXPECT_EQ(dialogs.shown[0].buttons, MsgButtons::Ok);
  EXPECT_EQ(dialogs.shown[0].text.rfind("SetupLog Error ", 0), 0u);
  // Once the file is writable again nothing comes back to life.
  fs::remove(log.logFile());
  log.WriteLog("fourth");
  EXPECT_FALSE(fs::exists(log.logFile()));
}

TEST_F(SessionLogTest, SetupFailureLeavesLoggingOff) {
  dialogs.expectMessage("Could not start Session logging");
  log.SetLogDirectory(tmp.file("missing"));
  log.SetLoggingOn(true);  // start-up sets it before the banner
  log.SetupLog();
  EXPECT_FALSE(log.loggingOn());
  log.WriteLog("ignored");
  ASSERT_EQ(dialogs.shown.size(), 1u);
  // Number and description, then the message with nothing between them.
  EXPECT_EQ(dialogs.shown[0].text, "SetupLog Error 53, No such file or directoryCould not start Session logging");
}

}  // namespace
}  // namespace velnor
