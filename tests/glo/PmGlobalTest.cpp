#include <gtest/gtest.h>
#include <sys/stat.h>

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
void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}
std::string Laser() { return "Laser 1"; }
std::string NoPrinter() { throw VError(kErrInvalidCall, "printer", "no printer"); }

std::string DefaultGlo(const std::string& printer) {
  return "[GENERAL VARIABLES]\r\n"
         "Version=1.0.0\r\n"
         "UseGlobalMsgNum=1\r\n"
         "ProfSave=1\r\n"
         "ParentVer=\r\n"
         "\r\n"
         "[LOCAL PRINTER]\r\n"
         "PrinterName=" + printer + "\r\n"
         "PtrOrient=1\r\n"
         "PtrCopies=1\r\n"
         "PtrDuplex=1\r\n"
         "FolderLabels=Folder 1|Folder 2|Folder 3|Folder 4|Folder 5\r\n"
         "LstFontSize=9\r\n"
         "\r\n"
         "[START PREFERENCES]\r\n"
         "RunPrgmOnStart=0\r\n"
         "RunPrgmName=\r\n";
}

struct Glo {
  TempDir dir;
  RecordingEventLog log;
  std::string file = dir.file("Pellmoor.glo");
  std::string entry(const char* proc, const std::string& error, int step) const {
    return error + "; PmGlobal:" + proc + ", FileName = " + file + ", Step = " + std::to_string(step);
  }
  // Opens the data folder's file, first writing it when bytes are given.
  PmGlobal open(const std::optional<std::string>& bytes = std::nullopt) {
    if (bytes) WriteBytes(file, *bytes);
    return PmGlobal(dir.path(), kVersion, log, Laser);
  }
};

TEST(PmGlobalFile, MissingFileIsCreatedWithTheDefaults) {
  Glo g;
  {
    PmGlobal glo = g.open();
    EXPECT_EQ(glo.FileName(), g.file);
    EXPECT_FALSE(glo.Changed());
    EXPECT_TRUE(glo.PrinterAvailable());
    EXPECT_EQ(Read(g.file), DefaultGlo("Laser 1"));
  }
  EXPECT_EQ(Read(g.file), DefaultGlo("Laser 1"));
  EXPECT_FALSE(fs::exists(g.file + ".new"));
  EXPECT_TRUE(g.log.entries.empty());
}

TEST(PmGlobalFile, NoPrinterIsWrittenAsNoPrintersDefined) {
  Glo g;
  PmGlobal glo(g.dir.path(), kVersion, g.log, NoPrinter);
  EXPECT_FALSE(glo.PrinterAvailable());
  EXPECT_EQ(glo.PrinterName(), "No Printers Defined");
  EXPECT_EQ(Read(g.file), DefaultGlo("No Printers Defined"));
  EXPECT_TRUE(g.log.entries.empty());  // a missing printer is not a failure
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
    EXPECT_EQ(glo.PtrCopies(), 3);
  }
  EXPECT_EQ(Read(g.file),
            "[GENERAL VARIABLES]\r\nVersion=1.0.0\r\nUseGlobalMsgNum=0\r\nProfSave=1\r\nParentVer=2.1\r\n\r\n"
            "[LOCAL PRINTER]\r\nPrinterName=Old Laser\r\nPtrOrient=1\r\nPtrCopies=3\r\nPtrDuplex=1\r\n"
            "FolderLabels=Folder 1|Folder 2|Folder 3|Folder 4|Folder 5\r\nLstFontSize=x12\r\n\r\n"
            "[START PREFERENCES]\r\nRunPrgmOnStart=-1\r\nRunPrgmName=  pm.exe  \r\n");
  EXPECT_TRUE(g.log.entries.empty());
}

TEST(PmGlobalFile, MissingVersionLineCountsAsOtherVersion) {
  Glo g;
  { PmGlobal glo = g.open("PtrOrient=2\r\n"); }
  EXPECT_NE(Read(g.file).find("\r\nVersion=1.0.0\r\n"), std::string::npos);
  EXPECT_NE(Read(g.file).find("\r\nPtrOrient=2\r\n"), std::string::npos);
}

TEST(PmGlobalFile, SameVersionWithoutChangesIsNotTouched) {
  Glo g;
  const std::string bytes = "Version=1.0.0\r\nPrinterName=Mine\r\nUnknown=kept\r\n";
  WriteBytes(g.file, bytes);
  struct stat before {};
  ::stat(g.file.c_str(), &before);
  const auto mtime = fs::last_write_time(g.file);
  {
    PmGlobal glo = g.open();
    EXPECT_FALSE(glo.Changed());
    glo.SetPrinterAvailable(false);  // the one setter that changes nothing on disk
    EXPECT_FALSE(glo.Changed());
  }
  struct stat after {};
  ::stat(g.file.c_str(), &after);
  EXPECT_EQ(Read(g.file), bytes);
  EXPECT_EQ(before.st_ino, after.st_ino);
  EXPECT_EQ(fs::last_write_time(g.file), mtime);
}

TEST(PmGlobalFile, KeyTrimmedValueKeptAsItStands) {
  Glo g;
  PmGlobal glo = g.open("Version=1.0.0\r\n PrinterName = x\r\nFolderLabels=a=b|c\nRunPrgmName=r");
  EXPECT_EQ(glo.PrinterName(), " x");
  EXPECT_EQ(glo.FolderLabels(), "a=b|cRunPrgmName=r");  // LF is no line end
  EXPECT_FALSE(glo.Changed());
}

TEST(PmGlobalFile, FileWithoutEqualsIsNeitherParsedNorRewritten) {
  Glo g;
  const std::string bytes = "[GENERAL VARIABLES]\r\nPrinterName\r\nsomething else\r\n";
  {
    PmGlobal glo = g.open(bytes);
    EXPECT_FALSE(glo.Changed());
    EXPECT_EQ(glo.PrinterName(), "Laser 1");
  }
  EXPECT_EQ(Read(g.file), bytes);
  EXPECT_TRUE(g.log.entries.empty());
}

TEST(PmGlobalFile, NonNumericValueLogsStep3AndKeepsTheDefault) {
  Glo g;
  PmGlobal glo = g.open("Version=1.0.0\r\nPtrCopies=two\r\nPtrDuplex=2\r\n");
  EXPECT_EQ(glo.PtrCopies(), 1);
  EXPECT_EQ(glo.PtrDuplex(), 2);  // reading went on
  EXPECT_EQ(g.log.entries, std::vector<std::string>{g.entry("GloRead", "13, Type mismatch", 3)});
  EXPECT_EQ(glo.ErrorText(), "13, Type mismatch");
  EXPECT_EQ(glo.Step(), 3);
}

TEST(PmGlobalFile, IntegerBoundaries) {
  Glo g;
  PmGlobal glo = g.open("Version=1.0.0\r\nPtrOrient=32767\r\nPtrCopies=32768\r\nPtrDuplex=-32768\r\nProfSave=-32769\r\n");
  EXPECT_EQ(glo.PtrOrient(), 32767);
  EXPECT_EQ(glo.PtrCopies(), 1);
  EXPECT_EQ(glo.PtrDuplex(), -32768);
  EXPECT_EQ(glo.ProfSave(), 1);
  EXPECT_EQ(g.log.entries, std::vector<std::string>(2, g.entry("GloRead", "6, Overflow", 3)));
}

TEST(PmGlobalFile, KnownKeyWithoutEqualsLogsStep3) {
  Glo g;
  PmGlobal glo = g.open("Version=1.0.0\r\nPtrOrient=2\r\n PtrOrient \r\nNotAKey\r\n");
  EXPECT_EQ(glo.PtrOrient(), 2);
  EXPECT_EQ(g.log.entries, std::vector<std::string>{g.entry("GloRead", "5, Invalid procedure call or argument", 3)});
}

TEST(PmGlobalFile, UncreatableFileLogs103ThenEach104AndGivesUp) {
  Glo g;
  const std::string missing = g.dir.file("gone");
  std::vector<std::string> expected;
  {
    PmGlobal glo(missing, kVersion, g.log, Laser);
    EXPECT_FALSE(glo.Changed());
    g.file = missing + "/Pellmoor.glo";
    expected.push_back(g.entry("GLOWrite", "53, No such file or directory", 103));
    for (int i = 0; i < 17; ++i) expected.push_back(g.entry("GLOWrite", "52, Bad file name or number", 104));
    EXPECT_EQ(g.log.entries, expected);
  }
  EXPECT_EQ(g.log.entries.size(), 18u);  // release made no second attempt
  EXPECT_FALSE(fs::exists(missing));
}

TEST(PmGlobalFile, UnreadableFileIsLoggedAtStep2AndLeftAlone) {
  Glo g;
  fs::create_directory(g.file);  // exists, cannot be read as a file
  PmGlobal glo = g.open();
  ASSERT_EQ(g.log.entries.size(), 1u);
  EXPECT_NE(g.log.entries[0].find("; PmGlobal:GloRead, FileName = " + g.file + ", Step = 2"), std::string::npos);
  EXPECT_FALSE(glo.Changed());
  EXPECT_TRUE(fs::is_directory(g.file));
}

TEST(PmGlobalAccessors, SettersMarkChangedAndReleaseWrites) {
  Glo g;
  {
    PmGlobal glo = g.open();
    glo.SetRunPrgmName("  pm run  ");
    EXPECT_TRUE(glo.Changed());
    EXPECT_EQ(glo.RunPrgmName(), "pm run");
    glo.SetLstFontSize(-12);
    EXPECT_EQ(glo.LstFontSize(), -12);
    glo.SetUseGlobalMsgNum(32767);
    EXPECT_THROW(glo.SetUseGlobalMsgNum(32768), VError);
    EXPECT_EQ(glo.UseGlobalMsgNum(), 32767);
    glo.SetPtrCopies(4);
  }
  const std::string text = Read(g.file);
  EXPECT_NE(text.find("\r\nRunPrgmName=pm run\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\nLstFontSize=-12\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\nUseGlobalMsgNum=32767\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\nPtrCopies=4\r\n"), std::string::npos);
}

TEST(PmGlobalAccessors, FontSizeTextThatIsNoNumber) {
  Glo g;
  PmGlobal glo = g.open("Version=1.0.0\r\nLstFontSize=big\r\n");
  EXPECT_THROW(glo.LstFontSize(), VError);
  EXPECT_TRUE(g.log.entries.empty());  // kept as text, so reading it was fine
}

TEST(PmGlobalText, WrittenLinesReadBackUnchanged) {
  PmGlobal::Values v;
  v.UseGlobalMsgNum = -32768;
  v.PrinterName = " HP = 2 ";
  v.PtrOrient = 2;
  v.PtrCopies = 32767;
  v.PtrDuplex = 0;
  v.ProfSave = -1;
  v.FolderLabels = "\xC9t\xE9|b";
  v.LstFontSize = "";
  v.ParentVer = "9";
  v.RunPrgmOnStart = 1;
  v.RunPrgmName = "[x]";
  auto joined = [](const PmGlobal::Values& values) {
    std::string text;
    for (const std::string& line : PmGlobal::GloFileLines("7.7.7", values)) text += line;
    return text;
  };
  const std::string text = joined(v);
  PmGlobal::Values back;
  std::string version;
  PmGlobal::ReadErrors errors;
  PmGlobal::ParseGloText(text, back, version, errors);
  EXPECT_TRUE(errors.empty());
  EXPECT_EQ(version, "7.7.7");
  EXPECT_EQ(joined(back), text);
  EXPECT_EQ(back.PrinterName, " HP = 2 ");
}

}  // namespace
}  // namespace velnor
