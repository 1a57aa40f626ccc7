#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
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
    // The other-version test below pins the bytes of a whole file.
    const std::string want =
        Joined(kVersion, {.PrinterName = hasPrinter ? "Laser 1" : "No Printers Defined"});
    {
      PmGlobal glo = g.open(std::nullopt, hasPrinter ? Laser : NoPrinter);
      EXPECT_EQ(glo.FileName(), g.file);
      EXPECT_FALSE(glo.Changed());
      EXPECT_EQ(glo.PrinterAvailable(), hasPrinter);
      EXPECT_EQ(Read(g.file), want);
    }
    EXPECT_EQ(Read(g.file), want);
    EXPECT_FALSE(fs::exists(g.file + ".new"));
    EXPECT_TRUE(g.log.entries.empty());  // a missing printer is not a failure
  }
}

TEST(PmGlobalFile, OtherVersionIsRewrittenAtReleaseWithValuesAsRead) {
  Glo g;
  {
    PmGlobal glo = g.open(
        "[LOCAL PRINTER]\r\nPrinterName=Old Laser\r\nPtrCopies=3\r\nExtra=dropped\r\n"
        "[GENERAL VARIABLES]\r\nVersion=0.9.1\r\nUseGlobalMsgNum=0\r\nParentVer=2.1\r\n"
        "RunPrgmName=  pm.exe  \r\nRunPrgmOnStart=-1\r\nLstFontSize=x12\r\n");
    EXPECT_TRUE(glo.Changed());
    EXPECT_EQ(glo.PrinterName(), "Old Laser");
  }
  EXPECT_EQ(Read(g.file),
            "[GENERAL VARIABLES]\r\nVersion=1.0.0\r\nUseGlobalMsgNum=0\r\nProfSave=1\r\nParentVer=2.1\r\n\r\n"
            "[LOCAL PRINTER]\r\nPrinterName=Old Laser\r\nPtrOrient=1\r\nPtrCopies=3\r\nPtrDuplex=1\r\n"
            "FolderLabels=Folder 1|Folder 2|Folder 3|Folder 4|Folder 5\r\nLstFontSize=x12\r\n\r\n"
            "[START PREFERENCES]\r\nRunPrgmOnStart=-1\r\nRunPrgmName=  pm.exe  \r\n");
  EXPECT_TRUE(g.log.entries.empty());
}

// A file is rewritten at release only when its version is another (or missing): a rewrite
// would drop unknown lines and add the missing ones. Keys are trimmed, values kept as they
// stand, LF is no line end, and a file without "=" is not parsed at all.
TEST(PmGlobalFile, ReadValuesAndWhetherTheFileIsRewritten) {
  const struct {
    const char* bytes;
    bool rewritten;
    void (*want)(PmGlobal::Values&);
  } rows[] = {
      {"PtrOrient=2\r\n", true, [](PmGlobal::Values& v) { v.PtrOrient = 2; }},
      {"Version=1.0.0\r\nPrinterName=Mine\r\nUnknown=kept\r\n", false,
       [](PmGlobal::Values& v) { v.PrinterName = "Mine"; }},
      {"Version=1.0.0\r\n PrinterName = x\r\nFolderLabels=a=b|c\nRunPrgmName=r", false,
       [](PmGlobal::Values& v) {
         v.PrinterName = " x";
         v.FolderLabels = "a=b|cRunPrgmName=r";
       }},
      {"[GENERAL VARIABLES]\r\nPrinterName\r\nsomething else\r\n", false, [](PmGlobal::Values&) {}},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.bytes);
    Glo g;
    PmGlobal::Values want;
    want.PrinterName = "Laser 1";
    r.want(want);
    {
      PmGlobal glo = g.open(r.bytes);
      EXPECT_EQ(glo.Changed(), r.rewritten);
      EXPECT_EQ(Joined(kVersion, glo.values()), Joined(kVersion, want));
    }
    EXPECT_EQ(Read(g.file), r.rewritten ? Joined(kVersion, want) : r.bytes);
    EXPECT_TRUE(g.log.entries.empty());
  }
}

// Each bad line logs one step-3 entry, keeps the value it had, and reading goes on.
TEST(PmGlobalFile, BadValuesLogStep3AndKeepTheirValue) {
  Glo g;
  PmGlobal glo = g.open(
      "Version=1.0.0\r\nPtrOrient=32767\r\n PtrOrient \r\nNotAKey\r\nPtrDuplex=-32768\r\nProfSave=-32769\r\n"
      "PtrCopies=32768\r\nUseGlobalMsgNum=two\r\nRunPrgmOnStart=2\r\n");
  PmGlobal::Values want;
  want.PrinterName = "Laser 1";
  want.PtrOrient = 32767;
  want.PtrDuplex = -32768;
  want.RunPrgmOnStart = 2;
  EXPECT_EQ(Joined(kVersion, glo.values()), Joined(kVersion, want));
  EXPECT_EQ(g.log.entries, (std::vector<std::string>{
                               g.entry("GloRead", "5, Invalid procedure call or argument", 3),
                               g.entry("GloRead", "6, Overflow", 3), g.entry("GloRead", "6, Overflow", 3),
                               g.entry("GloRead", "13, Type mismatch", 3)}));
  EXPECT_EQ(glo.ErrorText(), "13, Type mismatch");
  EXPECT_EQ(glo.Step(), 3);
}

// A file that cannot be made (its folder is gone), or that the operator has made read-only
// (kept as it is, even where the rename could replace it, as under a superuser).
TEST(PmGlobalFile, UnwritableFileLogs103ThenEach104AndGivesUp) {
  for (const bool readOnly : {false, true}) {
    SCOPED_TRACE(readOnly);
    Glo g;
    const std::string data = readOnly ? g.dir.path() : g.dir.file("gone");
    const std::string old = "Version=0.9\r\nPrinterName=Mine\r\n";
    if (readOnly) {
      std::ofstream(g.file, std::ios::binary) << old;
      fs::permissions(g.file, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    }
    std::vector<std::string> expected;
    {
      PmGlobal glo(data, kVersion, g.log, Laser);
      EXPECT_EQ(glo.Changed(), readOnly);  // another version: written at release
      glo.Save();
      EXPECT_FALSE(glo.Changed());
      g.file = data + "/Pellmoor.glo";
      const char* error = readOnly ? "70, Permission denied" : "53, No such file or directory";
      expected.push_back(g.entry("GLOWrite", error, 103));
      for (int i = 0; i < 17; ++i)
        expected.push_back(g.entry("GLOWrite", "52, Bad file name or number", 104));
      EXPECT_EQ(g.log.entries, expected);
    }
    EXPECT_EQ(g.log.entries.size(), 18u);  // release made no second attempt
    if (readOnly) {
      EXPECT_EQ(Read(g.file), old);
      EXPECT_FALSE(fs::exists(g.file + ".new"));
    } else {
      EXPECT_FALSE(fs::exists(data));
    }
  }
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
  EXPECT_TRUE(fs::is_directory(g.file));
  EXPECT_FALSE(fs::exists(g.file + ".new"));
}

TEST(PmGlobalAccessors, EverySetterMarksChangedAndReleaseWrites) {
  const std::function<void(PmGlobal&)> setters[] = {[](PmGlobal& p) { p.SetUseGlobalMsgNum(-32768); },
                                                    [](PmGlobal& p) { p.SetPrinterName("P"); },
                                                    [](PmGlobal& p) { p.SetPtrOrient(2); },
                                                    [](PmGlobal& p) { p.SetPtrCopies(2); },
                                                    [](PmGlobal& p) { p.SetPtrDuplex(2); },
                                                    [](PmGlobal& p) { p.SetProfSave(2); },
                                                    [](PmGlobal& p) { p.SetFolderLabels("F"); },
                                                    [](PmGlobal& p) { p.SetLstFontSize(2); },
                                                    [](PmGlobal& p) { p.SetParentVer("2"); },
                                                    [](PmGlobal& p) { p.SetRunPrgmOnStart(2); },
                                                    [](PmGlobal& p) { p.SetRunPrgmName("R"); }};
  for (const auto& set : setters) {
    Glo g;
    PmGlobal glo = g.open("Version=1.0.0\r\n");
    set(glo);
    EXPECT_TRUE(glo.Changed());
  }
  Glo g;
  {
    PmGlobal glo = g.open("Version=1.0.0\r\nLstFontSize=big\r\n");
    EXPECT_THROW(glo.LstFontSize(), VError);  // kept as text, so reading it was fine
    glo.SetRunPrgmName("  pm run  ");
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
