#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "app/FileLib.h"
#include "core/EventLog.h"
#include "core/VError.h"
#include "tests/support/ScriptedDialogs.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

using testing::ScriptedDialogs;
using testing::TempDir;
namespace fs = std::filesystem;

const char* const kSubdirs[] = {"archive", "reports", "logs",   "scripts", "docs", "bbs.d",
                                "tnc.d",   "msg.d",   "addr.d", "usr.d",   "spool"};

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// A program folder "<tmp>/prog/Velnor" and an application-data folder "<tmp>/appdata".
struct Fixture {
  TempDir tmp;
  std::string exeDir = tmp.file("prog/Velnor");
  std::map<std::string, std::string> vars{{"APPDATA", tmp.file("appdata")}};
  RecordingEventLog log;

  Fixture() { fs::create_directories(exeDir); }
  FileLib::Environment env() {
    return {[this] { return exeDir; },
            [this](const char* n) -> std::optional<std::string> {
              auto it = vars.find(n);
              if (it == vars.end()) return std::nullopt;
              return it->second;
            }};
  }
  std::string conf(const std::string& text) {
    WriteBytes(exeDir + "/Pellmoor.conf", text);
    return FileLib::DefineDataPath(FileLib::WhereAmI(env(), log), "Pellmoor.conf", env(), log);
  }
};

TEST(FileLibDataPath, WhereAmIIsTheProgramFolderName) {
  Fixture f;
  EXPECT_EQ(FileLib::WhereAmI(f.env(), f.log), "Velnor");
  f.exeDir = "noslash";
  EXPECT_EQ(FileLib::WhereAmI(f.env(), f.log), "noslash");
}

TEST(FileLibDataPath, RealProcessHasAnExecutableFolder) {
  NullEventLog log;
  EXPECT_FALSE(FileLib::WhereAmI(FileLib::Environment::FromProcess(), log).empty());
}

TEST(FileLibDataPath, NoConfFallsBackToAppDataAndProgramFolder) {
  Fixture f;
  EXPECT_EQ(FileLib::DefineDataPath("Velnor", "Pellmoor.conf", f.env(), f.log), f.tmp.file("appdata/Velnor"));
  EXPECT_TRUE(f.log.entries.empty());
}

TEST(FileLibDataPath, AppDataFolderOrder) {
  Fixture f;
  f.vars = {{"XDG_DATA_HOME", "/xdg"}, {"HOME", "/home/op"}};
  EXPECT_EQ(FileLib::AppDataDir(f.env()), "/xdg");
  f.vars = {{"APPDATA", ""}, {"XDG_DATA_HOME", ""}, {"HOME", "/home/op"}};
  EXPECT_EQ(FileLib::AppDataDir(f.env()), "/home/op/.local/share");
  f.vars = {{"APPDATA", "/ad"}, {"XDG_DATA_HOME", "/xdg"}};
  EXPECT_EQ(FileLib::AppDataDir(f.env()), "/ad");
}

TEST(FileLibDataPath, NoFolderAtAllIsAStep2Failure) {
  Fixture f;
  f.vars.clear();
  try {
    FileLib::DefineDataPath("Velnor", "Pellmoor.conf", f.env(), f.log);
    FAIL() << "no exception";
  } catch (const VError& e) {
    EXPECT_EQ(e.source(), "FileLib:DefineDataPath");
    EXPECT_EQ(e.number(), kErrPathNotFound + FileLib::kUserErrorBase);
    EXPECT_NE(e.description().find(", Step = 2"), std::string::npos);
  }
  ASSERT_EQ(f.log.entries.size(), 1u);
  EXPECT_NE(f.log.entries[0].find(" FileLib:DefineDataPath, Step = 2"), std::string::npos);
}

TEST(FileLibDataPath, ConfDatadirAnyCaseLastWinsValueUntrimmed) {
  Fixture f;
  EXPECT_EQ(f.conf("[GLOBAL]\r\n  datadir = /srv/pm \r\n"), " /srv/pm ");
  EXPECT_EQ(f.conf("DATADIR=/a\r\nInstance=2\r\nDataDir=/b/\r\n"), "/b/");
  EXPECT_EQ(f.conf("DATADIR=/a\r\nDATADIR=\r\n"), f.tmp.file("appdata/Velnor"));  // empty -> fallback
  EXPECT_EQ(f.conf("OTHER=/x\r\n[DATADIR=/y\r\n"), f.tmp.file("appdata/Velnor"));
}

TEST(FileLibDataPath, ConfTextLfDroppedInsideOneLine) {
  EXPECT_EQ(FileLib::DataDirFromConfText("DATADIR=/a\nDATADIR=/b\n"), "/aDATADIR=/b");
  EXPECT_EQ(FileLib::DataDirFromConfText("DATADIR=/a=b\r"), "/a=b");
  EXPECT_EQ(FileLib::DataDirFromConfText(""), "");
}

TEST(FileLibDataPath, UnreadableConfIsLoggedOnceAndPassedOn) {
  Fixture f;
  fs::create_directories(f.exeDir + "/Pellmoor.conf/x");  // exists but is no file
  // A directory named like the conf is not a file: fallback, no failure.
  EXPECT_EQ(FileLib::DefineDataPath("Velnor", "Pellmoor.conf", f.env(), f.log), f.tmp.file("appdata/Velnor"));
  try {
    FileLib::GetPathFromConf(f.exeDir + "/Pellmoor.conf", f.log);
    FAIL() << "no exception";
  } catch (const VError& e) {
    EXPECT_EQ(e.source(), "FileLib:GetPathFromConf");
    EXPECT_LT(e.number(), 0);
    EXPECT_NE(e.description().find(", Step = 2"), std::string::npos);
  }
  ASSERT_EQ(f.log.entries.size(), 1u);
  EXPECT_NE(f.log.entries[0].find(" FileLib:GetPathFromConf, Step = 2"), std::string::npos);
}

TEST(FileLibDataPath, FailingExecutableLookupIsReportedByWhereAmI) {
  Fixture f;
  auto env = f.env();
  env.exeDir = []() -> std::string { throw VError(kErrDeviceIO, "readlink", "I/O error"); };
  try {
    FileLib::WhereAmI(env, f.log);
    FAIL() << "no exception";
  } catch (const VError& e) {
    EXPECT_EQ(e.number(), 57 - 2147221504L);
    EXPECT_EQ(e.source(), "FileLib:WhereAmI");
    EXPECT_EQ(e.description(), "I/O error, Step = 1");
  }
  EXPECT_EQ(f.log.entries, std::vector<std::string>{"I/O error FileLib:WhereAmI, Step = 1"});
}

TEST(FileLibDirectories, CleanRunCreatesTheWholeTree) {
  TempDir tmp;
  ScriptedDialogs dialogs;
  RecordingEventLog log;
  std::string logsPath;
  const std::string data = tmp.file("data");
  EXPECT_TRUE(FileLib::CheckDirectories(data, logsPath, dialogs, log));
  EXPECT_EQ(logsPath, data + "/logs");
  for (const char* sub : kSubdirs) EXPECT_TRUE(fs::is_directory(data + "/" + sub)) << sub;
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& e : fs::directory_iterator(data)) ++count;
  EXPECT_EQ(count, 11u);
  // A second run finds everything and says nothing.
  logsPath.clear();
  EXPECT_TRUE(FileLib::CheckDirectories(data, logsPath, dialogs, log));
  EXPECT_EQ(logsPath, data + "/logs");
  EXPECT_TRUE(dialogs.shown.empty());
  EXPECT_TRUE(log.entries.empty());
}

TEST(FileLibDirectories, TwoLevelsBelowNothingStopsAtTheMainDirectory) {
  TempDir tmp;
  ScriptedDialogs dialogs;
  dialogs.expectMessage("Cannot create program main data directory");
  RecordingEventLog log;
  std::string logsPath;
  EXPECT_FALSE(FileLib::CheckDirectories(tmp.file("a/b"), logsPath, dialogs, log));
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_EQ(dialogs.shown[0].text, "Cannot create program main data directory");
  EXPECT_EQ(dialogs.shown[0].caption, "Velnor");
  EXPECT_EQ(dialogs.shown[0].buttons, MsgButtons::Ok);
  EXPECT_TRUE(logsPath.empty());
  EXPECT_FALSE(fs::exists(tmp.file("a")));
}

TEST(FileLibDirectories, PlainFileBearingADirectoryNameCountsAsExisting) {
  TempDir tmp;
  ScriptedDialogs dialogs;
  RecordingEventLog log;
  std::string logsPath;
  const std::string data = tmp.file("data");
  fs::create_directory(data);
  WriteBytes(data + "/logs", "not a directory");
  EXPECT_TRUE(FileLib::CheckDirectories(data, logsPath, dialogs, log));
  EXPECT_TRUE(fs::is_regular_file(data + "/logs"));
  EXPECT_EQ(logsPath, data + "/logs");
  EXPECT_TRUE(fs::is_directory(data + "/spool"));
}

struct BlockedRow {
  const char* sub;
  std::string message;  // "" means "Cannot create data directory: " + path
  friend void PrintTo(const BlockedRow& r, std::ostream* os) { *os << r.sub; }
};

class FileLibBlockedRow : public ::testing::TestWithParam<BlockedRow> {};

// A dangling symlink under the row's name is "absent" to stat but makes mkdir fail:
// the row's own message appears, later rows are not attempted.
TEST_P(FileLibBlockedRow, ShowsItsMessageAndStops) {
  const BlockedRow& row = GetParam();
  TempDir tmp;
  const std::string data = tmp.file("data");
  fs::create_directory(data);
  const std::string path = data + "/" + row.sub;
  fs::create_symlink(tmp.file("nowhere/at/all"), path);
  const std::string message = row.message.empty() ? "Cannot create data directory: " + path : row.message;
  ScriptedDialogs dialogs;
  dialogs.expectMessage(message);
  RecordingEventLog log;
  std::string logsPath;
  EXPECT_FALSE(FileLib::CheckDirectories(data, logsPath, dialogs, log));
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_EQ(dialogs.shown[0].text, message);
  EXPECT_FALSE(fs::exists(data + "/spool"));
}

INSTANTIATE_TEST_SUITE_P(Rows, FileLibBlockedRow,
                         ::testing::Values(BlockedRow{"archive", "Cannot create 'archive' data directory"},
                                           BlockedRow{"logs", "Cannot create 'logs' data directory"},
                                           BlockedRow{"docs", "Cannot create 'docs' data directory"},
                                           BlockedRow{"bbs.d", ""}, BlockedRow{"usr.d", ""}),
                         [](const auto& info) {
                           std::string n = info.param.sub;
                           return n.substr(0, n.find('.'));
                         });

TEST(FileLibDirectories, SpoolMessage) {
  TempDir tmp;
  const std::string data = tmp.file("data");
  fs::create_directory(data);
  fs::create_symlink(tmp.file("nowhere/x"), data + "/spool");
  ScriptedDialogs dialogs;
  dialogs.expectMessage("Cannot create 'spool' data directory");
  RecordingEventLog log;
  std::string logsPath;
  EXPECT_FALSE(FileLib::CheckDirectories(data, logsPath, dialogs, log));
  EXPECT_EQ(logsPath, data + "/logs");
  EXPECT_TRUE(fs::is_directory(data + "/usr.d"));
}

TEST(FileLibPaths, Helpers) {
  TempDir tmp;
  const std::string file = tmp.file("ding.wav");
  WriteBytes(file, "RIFF");
  EXPECT_TRUE(FileLib::DirExists(file));
  EXPECT_TRUE(FileLib::IsFile(file));
  EXPECT_TRUE(FileLib::DirExists(tmp.path()));
  EXPECT_FALSE(FileLib::IsFile(tmp.path()));
  EXPECT_FALSE(FileLib::DirExists(tmp.file("none")));
  EXPECT_FALSE(FileLib::DirExists(""));
  EXPECT_TRUE(FileLib::MakeDir(tmp.file("d")));
  EXPECT_FALSE(FileLib::MakeDir(tmp.file("d")));
  EXPECT_FALSE(FileLib::MakeDir(tmp.file("x/y")));
  EXPECT_EQ(FileLib::GetDirName("/snd/ding.wav"), "/snd");
  EXPECT_EQ(FileLib::GetFileName("/snd/ding.wav"), "ding.wav");
  EXPECT_EQ(FileLib::GetDirName("ding.wav"), "");
  EXPECT_EQ(FileLib::GetFileName("ding.wav"), "ding.wav");
  EXPECT_EQ(FileLib::GetFileName("/snd/"), "");
}

TEST(FileLibPaths, ReadTextFileContents) {
  TempDir tmp;
  RecordingEventLog log;
  const std::string bytes("a\r\nb\n\xE9\0z", 8);
  WriteBytes(tmp.file("t.txt"), bytes);
  EXPECT_EQ(FileLib::ReadTextFileContents(tmp.file("t.txt"), log), bytes);
  EXPECT_EQ(FileLib::ReadTextFileContents(tmp.file("none.txt"), log), "");
  // Exists as a file, but every read of it fails.
  EXPECT_THROW(FileLib::ReadTextFileContents("/proc/self/mem", log), VError);
  ASSERT_EQ(log.entries.size(), 1u);
  EXPECT_NE(log.entries[0].find(" FileLib:ReadTextFileContents, Step = 2"), std::string::npos);
}

}  // namespace
}  // namespace velnor
