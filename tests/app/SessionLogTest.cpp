#include <gtest/gtest.h>

#include <filesystem>

#include "app/SessionLog.h"
#include "app/Settings.h"
#include "core/AtomicFile.h"
#include "core/Clock.h"
#include "core/DateTime.h"
#include "tests/support/ScriptedDialogs.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

double At(int d, int h, int mi, int s) { return ToOleDate(DateParts{2026, 11, d, h, mi, s}); }

// The file is named by the first start of the day; a start later that day appends to it, past
// midnight too. Each line is trimmed once its CR LF pairs are gone; a lone LF stays.
TEST(SessionLogTest, TwoStartupsOnOneDayShareOneFile) {
  testing::TempDir tmp;
  testing::ScriptedDialogs dialogs;
  FixedClock clock{At(19, 14, 5, 1)};
  const std::pair<double, const char*> starts[] = {{At(19, 14, 5, 9), "  Link Test\r\n passed \r\n"},
                                                   {At(20, 0, 0, 30), "Incoming\nMessage..."}};
  const std::string rule(51, '-');
  for (const auto& [writeAt, text] : starts) {
    SessionLog log(clock, dialogs);
    log.SetLogDirectory(tmp.path());
    log.SetupLog();
    clock.value = writeAt;
    log.WriteLog(text);
    EXPECT_EQ(log.logFile(), tmp.file("Ics213-261119.log"));
    clock.value = At(19, 20, 0, 0);
  }
  const std::string v = ProgramVersion();
  EXPECT_EQ(ReadWholeFile(tmp.file("Ics213-261119.log"), "test"),
            rule + "\r\n19-Nov-26 14:05:01: velnor v" + v + "\r\n" + rule + "\r\n" +
                "19-Nov 14:05:09: Link Test passed\r\n" + rule + "\r\n19-Nov-26 20:00:00: velnor v" + v +
                "\r\n" + rule + "\r\n" + "20-Nov 00:00:30: Incoming\nMessage...\r\n");
}

// A log that cannot start or be written says so once and turns itself off; nothing is
// written after that, not even once the file could be made again.
TEST(SessionLogTest, SetupOrWriteFailureTurnsLoggingOff) {
  testing::TempDir tmp;
  testing::ScriptedDialogs dialogs;
  FixedClock clock{At(19, 14, 5, 1)};
  SessionLog log(clock, dialogs);
  dialogs.expectMessage("SetupLog Error 53, No such file or directoryCould not start Session logging");
  log.SetLogDirectory(tmp.file("missing"));
  log.SetLoggingOn(true);  // start-up sets it before the banner
  log.SetupLog();
  EXPECT_FALSE(log.loggingOn());
  dialogs.expectMessage("; Could not write to the session log file; disabled session logging");
  log.SetLogDirectory(tmp.path());
  log.SetupLog();
  std::filesystem::remove(log.logFile());
  std::filesystem::create_directory(log.logFile());  // its name now belongs to a folder
  log.WriteLog("first");
  std::filesystem::remove(log.logFile());
  log.WriteLog("second");
  EXPECT_FALSE(log.loggingOn() || std::filesystem::exists(log.logFile()));
}

}  // namespace
}  // namespace velnor
