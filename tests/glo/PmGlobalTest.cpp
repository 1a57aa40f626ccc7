#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <vector>

#include "core/AtomicFile.h"
#include "core/EventLog.h"
#include "core/VError.h"
#include "print/PmGlobal.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

using testing::TempDir;
namespace fs = std::filesystem;

const std::string kVersion = "1.0.0";

std::string Read(const std::string& path) { return ReadWholeFile(path, "test"); }
std::string Laser() { return "Laser 1"; }
std::string NoPrinter() { throw VError(kErrInvalidCall, "printer", "no printer"); }

// The seventeen lines for these values, joined.
std::string Joined(const std::string& version, const PmGlobal::Values& values) {
  std::string text;
  for (const std::string& line : PmGlobal::GloFileLines(version, values)) text += line;
  return text;
}

struct Glo {
  TempDir dir;
  RecordingEventLog log;
  std::string file = dir.file("Pellmoor.glo");
  std::string entry(const char* proc, const std::string& error, int step) const {
    return error + "; PmGlobal:" + proc + ", FileName = " + file + ", Step = " + std::to_string(step);
  }
  // Opens the data folder's file, first writing it when bytes are given.
  PmGlobal open(const std::optional<std::string>& bytes = std::nullopt, std::string (*printer)() = Laser) {
    if (bytes) std::ofstream(file, std::ios::binary) << *bytes;
    return PmGlobal(dir.path(), kVersion, log, printer);
  }
};

TEST(PmGlobalFile, MissingFileIsCreatedWithTheDefaults) {
  for (const bool hasPrinter : {true, false}) {
    SCOPED_TRACE(hasPrinter);
    Glo g;
    const std::string want =
        Joined(kVersion, {.PrinterName = hasPrinter ? "Laser 1" : "No Printers Defined"});
    {
      PmGlobal glo = g.open(std::nullopt, hasPrinter ? Laser : NoPrinter);
      EXPECT_FALSE(glo.Changed());
      EXPECT_EQ(glo.PrinterAvailable(), hasPrinter);
      EXPECT_EQ(Read(g.file), want);
    }
    // Of this version it is not rewritten, which would drop the lines it does not know.
    std::ofstream(g.file, std::ios::app | std::ios::binary) << "Unknown=kept\r\n";
    EXPECT_FALSE(g.open(std::nullopt, NoPrinter).Changed());
    EXPECT_EQ(Read(g.file), want + "Unknown=kept\r\n");
    EXPECT_TRUE(g.log.entries.empty());  // a missing printer is not a failure
  }
}

// Keys are trimmed and values kept as they stand; a lone LF is dropped, no line end. Each
// bad value logs one step-3 entry and keeps the value it had, and reading goes on.
TEST(PmGlobalFile, OtherVersionIsRewrittenAtReleaseWithValuesAsRead) {
  Glo g;
  {
    PmGlobal glo = g.open(
        "[LOCAL PRINTER]\r\nPrinterName=Old Laser\r\n PtrCopies =3\r\nExtra=dropped\r\nPtrOrient=32768\r\n"
        "[GENERAL VARIABLES]\r\nVersion=0.9.1\r\nUseGlobalMsgNum=0\r\nParentVer=2.1\nProfSave=4\r\n"
        " PtrDuplex \r\nRunPrgmName=  pm.exe  \r\nRunPrgmOnStart=-1\r\nLstFontSize=x12\r\nProfSave=two\r\n");
    EXPECT_TRUE(glo.Changed());
    EXPECT_EQ(glo.PrinterName(), "Old Laser");
    EXPECT_EQ(g.log.entries,
              (std::vector<std::string>{g.entry("GloRead", "6, Overflow", 3),
                                        g.entry("GloRead", "5, Invalid procedure call or argument", 3),
                                        g.entry("GloRead", "13, Type mismatch", 3)}));
    EXPECT_EQ(glo.Step(), 3);
  }
  EXPECT_EQ(Read(g.file),
            "[GENERAL VARIABLES]\r\nVersion=1.0.0\r\nUseGlobalMsgNum=0\r\nProfSave=1\r\n"
            "ParentVer=2.1ProfSave=4\r\n\r\n"
            "[LOCAL PRINTER]\r\nPrinterName=Old Laser\r\nPtrOrient=1\r\nPtrCopies=3\r\nPtrDuplex=1\r\n"
            "FolderLabels=Folder 1|Folder 2|Folder 3|Folder 4|Folder 5\r\nLstFontSize=x12\r\n\r\n"
            "[START PREFERENCES]\r\nRunPrgmOnStart=-1\r\nRunPrgmName=  pm.exe  \r\n");
}

// A file the operator has made read-only is kept as it is, even where the rename could
// replace it, as under a superuser.
TEST(PmGlobalFile, UnwritableFileLogs103ThenEach104AndGivesUp) {
  Glo g;
  const std::string old = "Version=0.9\r\nPrinterName=Mine\r\n";
  std::ofstream(g.file, std::ios::binary) << old;
  fs::permissions(g.file, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
  std::vector<std::string> expected{g.entry("GLOWrite", "70, Permission denied", 103)};
  expected.resize(18, g.entry("GLOWrite", "52, Bad file name or number", 104));
  {
    PmGlobal glo = g.open();
    EXPECT_TRUE(glo.Changed());  // another version: written at release
    glo.Save();
    EXPECT_FALSE(glo.Changed());
    EXPECT_EQ(g.log.entries, expected);
  }
  EXPECT_EQ(g.log.entries.size(), 18u);  // release made no second attempt
  EXPECT_EQ(Read(g.file), old);
  EXPECT_FALSE(fs::exists(g.file + ".new"));
}

// Exists, cannot be read as a file, and a rename cannot put the written file in its place.
TEST(PmGlobalFile, UnreadableFileIsLoggedAtStep2AndNotReplacedAtStep105) {
  Glo g;
  fs::create_directory(g.file);
  PmGlobal glo = g.open();
  EXPECT_FALSE(glo.Changed());
  glo.SetProfSave(2);
  glo.Save();
  ASSERT_EQ(g.log.entries.size(), 2u);
  EXPECT_NE(g.log.entries[0].find("; PmGlobal:GloRead, FileName = " + g.file + ", Step = 2"),
            std::string::npos);
  EXPECT_NE(g.log.entries[1].find("; PmGlobal:GLOWrite, FileName = " + g.file + ", Step = 105"),
            std::string::npos);
}

TEST(PmGlobalAccessors, SettersMarkTheFileChangedAndReleaseWritesIt) {
  Glo g;
  {
    PmGlobal glo = g.open("Version=1.0.0\r\n");
    glo.SetRunPrgmName("  pm run  ");
    EXPECT_TRUE(glo.Changed());
    EXPECT_EQ(glo.RunPrgmName(), "pm run");
    glo.SetLstFontSize(-12);
    EXPECT_EQ(glo.LstFontSize(), -12);
    glo.SetUseGlobalMsgNum(32767);
    EXPECT_THROW(glo.SetUseGlobalMsgNum(32768), VError);
    EXPECT_THROW(glo.SetUseGlobalMsgNum(-32769), VError);
  }
  const PmGlobal::Values want{
      .UseGlobalMsgNum = 32767, .PrinterName = "Laser 1", .LstFontSize = "-12", .RunPrgmName = "pm run"};
  EXPECT_EQ(Read(g.file), Joined(kVersion, want));
  EXPECT_TRUE(g.log.entries.empty());
}

}  // namespace
}  // namespace velnor
