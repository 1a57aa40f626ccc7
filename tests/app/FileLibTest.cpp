#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "app/FileLib.h"
#include "core/EventLog.h"
#include "core/VError.h"
#include "tests/support/ScriptedDialogs.h"
#include "tests/support/TempDir.h"
#include "tests/support/Thrown.h"

namespace velnor {
namespace {

using testing::ScriptedDialogs;
using testing::TempDir;
using testing::Thrown;
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
              const auto it = vars.find(n);
              return it == vars.end() ? std::nullopt : std::optional(it->second);
            }};
  }
  std::string conf(const std::string& text) {
    WriteBytes(exeDir + "/Pellmoor.conf", text);
    return FileLib::DefineDataPath(FileLib::WhereAmI(env(), log), "Pellmoor.conf", env(), log);
  }
};

TEST(FileLibDataPath, WhereAmIIsTheProgramFolderNameOrAStep1Failure) {
  Fixture f;
  EXPECT_EQ(FileLib::WhereAmI(f.env(), f.log), "Velnor");
  f.exeDir = "noslash";
  EXPECT_EQ(FileLib::WhereAmI(f.env(), f.log), "noslash");
  EXPECT_EQ(FileLib::WhereAmI(FileLib::Environment::FromProcess(), f.log),
            fs::read_symlink("/proc/self/exe").parent_path().filename());
  auto env = f.env();
  env.exeDir = []() -> std::string { throw VError(kErrDeviceIO, "readlink", "I/O error"); };
  const VError e = Thrown([&] { FileLib::WhereAmI(env, f.log); });
  EXPECT_EQ(e.number(), 57 - 2147221504L);
  EXPECT_EQ(e.source(), "FileLib:WhereAmI");
  EXPECT_EQ(e.description(), "I/O error, Step = 1");
  EXPECT_EQ(f.log.entries, std::vector<std::string>{"I/O error FileLib:WhereAmI, Step = 1"});
}

TEST(FileLibDataPath, NoConfFallsBackToAppDataThenXdgThenHome) {
  Fixture f;
  EXPECT_EQ(FileLib::DefineDataPath("Velnor", "Pellmoor.conf", f.env(), f.log), f.tmp.file("appdata/Velnor"));
  EXPECT_TRUE(f.log.entries.empty());
  using Vars = std::map<std::string, std::string>;
  const std::pair<Vars, std::string> rows[] = {
      {{{"XDG_DATA_HOME", "/xdg"}, {"HOME", "/home/op"}}, "/xdg"},
      {{{"APPDATA", ""}, {"XDG_DATA_HOME", ""}, {"HOME", "/home/op"}}, "/home/op/.local/share"},
      {{{"APPDATA", "/ad"}, {"XDG_DATA_HOME", "/xdg"}}, "/ad"}};
  for (const auto& [vars, dir] : rows) {
    f.vars = vars;
    EXPECT_EQ(FileLib::AppDataDir(f.env()), dir);
  }
  f.vars.clear();  // no folder at all: a step 2 failure
  const VError e = Thrown([&] { FileLib::DefineDataPath("Velnor", "Pellmoor.conf", f.env(), f.log); });
  EXPECT_EQ(std::tuple(e.source(), e.number()),
            std::tuple("FileLib:DefineDataPath", kErrPathNotFound + FileLib::kUserErrorBase));
  EXPECT_NE(e.description().find(", Step = 2"), std::string::npos);
  ASSERT_EQ(f.log.entries.size(), 1u);
  EXPECT_NE(f.log.entries[0].find(" FileLib:DefineDataPath, Step = 2"), std::string::npos);
}

TEST(FileLibDataPath, ConfDatadirAnyCaseLastWinsValueUntrimmed) {
  Fixture f;
  EXPECT_EQ(f.conf("[GLOBAL]\r\n  datadir = /srv/pm \r\n"), " /srv/pm ");
  EXPECT_EQ(f.conf("DATADIR=/a\r\nInstance=2\r\nDataDir=/b/\r\n"), "/b/");
  auto named = f.env();  // a directory named on the command line wins over DATADIR
  named.dataDir = "/training";
  EXPECT_EQ(FileLib::DefineDataPath("Velnor", "Pellmoor.conf", named, f.log), "/training");
  EXPECT_EQ(f.conf("DATADIR=/a\r\nDATADIR=\r\n"), f.tmp.file("appdata/Velnor"));  // empty -> fallback
  EXPECT_EQ(f.conf("OTHER=/x\r\n[DATADIR=/y\r\n"), f.tmp.file("appdata/Velnor"));
  EXPECT_EQ(FileLib::DataDirFromConfText("DATADIR=/a\nDATADIR=/b\n"), "/aDATADIR=/b");
  EXPECT_EQ(FileLib::DataDirFromConfText("DATADIR=/a=b\r"), "/a=b");
  EXPECT_EQ(FileLib::DataDirFromConfText(""), "");
}

// Each procedure the failure passes through logs it and raises it with its own source.
TEST(FileLibDataPath, UnreadableConfIsLoggedByEachProcedureAndPassedOn) {
  Fixture f;
  const std::string conf = f.exeDir + "/Pellmoor.conf";
  fs::create_directories(conf + "/x");  // not a file: fallback, no failure
  EXPECT_EQ(FileLib::DefineDataPath("Velnor", "Pellmoor.conf", f.env(), f.log), f.tmp.file("appdata/Velnor"));
  fs::remove_all(conf);
  fs::create_symlink("/proc/self/mem", conf);  // a file whose first read fails
  const VError e = Thrown([&] { FileLib::DefineDataPath("Velnor", "Pellmoor.conf", f.env(), f.log); });
  EXPECT_EQ(std::tuple(e.number(), e.source(), e.description()),
            std::tuple(kErrDeviceIO + FileLib::kUserErrorBase, "FileLib:DefineDataPath",
                       "Input/output error, Step = 2, Step = 1"));
  EXPECT_EQ(f.log.entries,
            (std::vector<std::string>{"Input/output error FileLib:GetPathFromConf, Step = 2",
                                      "Input/output error, Step = 2 FileLib:DefineDataPath, Step = 1"}));
}

// A plain file bearing a directory's name counts as that directory; everything else is
// made, and a second run finds everything and says nothing.
TEST(FileLibDirectories, CleanRunCreatesTheWholeTree) {
  TempDir tmp;
  const std::string data = tmp.file("data");
  ScriptedDialogs dialogs;
  RecordingEventLog log;
  fs::create_directory(data);
  WriteBytes(data + "/logs", "not a directory");
  for (int run = 0; run < 2; ++run) {
    std::string logsPath;
    EXPECT_TRUE(FileLib::CheckDirectories(data, logsPath, dialogs, log));
    EXPECT_EQ(logsPath, data + "/logs");
    for (const std::string sub : kSubdirs)
      EXPECT_EQ(fs::is_directory(data + "/" + sub), sub != "logs") << sub;
    EXPECT_EQ(std::distance(fs::directory_iterator(data), fs::directory_iterator()), 11);
  }
  EXPECT_TRUE(dialogs.shown.empty());
  EXPECT_TRUE(log.entries.empty());
}

TEST(FileLibPaths, HelpersAndReadTextFileContents) {
  TempDir tmp;
  EXPECT_TRUE(FileLib::MakeDir(tmp.file("d")));
  EXPECT_FALSE(FileLib::MakeDir(tmp.file("d")));
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
