#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "app/Settings.h"
#include "core/AtomicFile.h"
#include "core/VError.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

using testing::TempDir;

std::string ReadBytes(const std::string& path) { return ReadWholeFile(path, "test"); }
void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string DefaultFileText() {
  return "[Velnor]\r\n"
         "Version=" + ProgramVersion() + "\r\n"
         "\r\n"
         "[GENERAL OPTIONS]\r\n"
         "LoginName=LOCAL\r\n"
         "DateFormat=mm/dd/yyyy\r\n"
         "TimeFormat=hh:mm\r\n"
         "IcdName=\r\n"
         "DefTo=\r\n"
         "DefToPos=\r\n"
         "DefFr=\r\n"
         "DefFrPos=\r\n"
         "SRTime=60\r\n"
         "STARTBROWSE=0\r\n"
         "\r\n"
         "[NETWORK OPTIONS]\r\n"
         "HostName=127.0.0.1\r\n"
         "Port=9334\r\n"
         "TimeOut=5000\r\n"
         "Pausev=500\r\n"
         "\r\n"
         "[SENDRECEIVE SETTINGS]\r\n"
         "POA=0\r\n"
         "POAFile=\r\n"
         "\r\n"
         "[ROUTES]\r\n"
         "KEEPLOCAL=0\r\n"
         "DEFDEST=LOCAL\r\n";
}

Settings Parsed(const std::string& text) {
  Settings s;
  ParseSettingsText(text, s);
  return s;
}

TEST(SettingsFile, VersionIsThreeDecimalNumbers) {
  EXPECT_TRUE(std::regex_match(ProgramVersion(), std::regex("[0-9]+\\.[0-9]+\\.[0-9]+")));
}

TEST(SettingsFile, MissingFileIsCreatedWithTheDefaultsByteForByte) {
  TempDir dir;
  const std::string file = dir.file("velnor.ini");
  const Settings s = ReadSettings(file);
  EXPECT_EQ(s.LoginName, "LOCAL");
  EXPECT_EQ(s.Pausev, 500);
  const std::string bytes = ReadBytes(file);
  EXPECT_EQ(bytes, DefaultFileText());
  std::size_t crlf = 0;
  for (std::size_t i = 0; (i = bytes.find("\r\n", i)) != std::string::npos; i += 2) ++crlf;
  EXPECT_EQ(crlf, 28u);
  EXPECT_FALSE(std::filesystem::exists(file + ".new"));
}

TEST(SettingsFile, WrittenValuesReadBackUnchanged) {
  Settings s;
  s.LoginName = "KD7XYZ";
  s.IcdName = " Fire = big ";  // blanks and "=" survive
  s.HostName = "host ";
  s.SRTime = -32768;
  s.STARTBROWSE = 32767;
  s.Pausev = -1;
  s.POA = 1;
  s.POAFile = "/x/y z.wav";
  s.KEEPLOCAL = 1;
  s.DEFDEST = "\xC9QUIPE";  // station text byte above 127
  const std::string text = SettingsFileText(s);
  EXPECT_NE(text.find("\r\nSRTime=-32768\r\n"), std::string::npos);
  const Settings back = Parsed(text);
  EXPECT_EQ(SettingsFileText(back), text);
  EXPECT_EQ(back.IcdName, " Fire = big ");
  EXPECT_EQ(back.HostName, "host ");
}

TEST(SettingsFile, ExistingFileIsReadNotRewritten) {
  TempDir dir;
  const std::string file = dir.file("velnor.ini");
  WriteBytes(file, "LoginName=ABC\r\n");
  EXPECT_EQ(ReadSettings(file).LoginName, "ABC");
  EXPECT_EQ(ReadBytes(file), "LoginName=ABC\r\n");
}

TEST(SettingsFile, EmptyFileGivesDefaultsAndStaysEmpty) {
  TempDir dir;
  const std::string file = dir.file("velnor.ini");
  WriteBytes(file, "");
  EXPECT_EQ(SettingsFileText(ReadSettings(file)), DefaultFileText());
  EXPECT_EQ(ReadBytes(file), "");
}

TEST(SettingsFile, UnreadableFileKeepsDefaultsAndIsLeftAlone) {
  TempDir dir;
  const std::string file = dir.file("velnor.ini");
  ::mkdir(file.c_str(), 0755);  // a directory under the name: exists, cannot be read
  EXPECT_EQ(SettingsFileText(ReadSettings(file)), DefaultFileText());
}

TEST(SettingsFile, UnwritableFileThrowsAndKeepsTheOldOne) {
  TempDir dir;
  EXPECT_THROW(WriteSettings(dir.file("no/such/velnor.ini"), Settings{}), VError);
  EXPECT_THROW(ReadSettings(dir.file("no/such/velnor.ini")), VError);
}

TEST(SettingsFile, RewriteReplacesTheWholeFile) {
  TempDir dir;
  const std::string file = dir.file("velnor.ini");
  WriteBytes(file, std::string(5000, 'x'));
  Settings s;
  s.LoginName = "N0CALL";
  WriteSettings(file, s);
  EXPECT_EQ(ReadBytes(file), SettingsFileText(s));
}

struct ReaderCase {
  const char* name;
  std::string text;
  std::string Settings::*member;
  std::string expected;
  friend void PrintTo(const ReaderCase& c, std::ostream* os) { *os << c.name; }
};

class SettingsReaderText : public ::testing::TestWithParam<ReaderCase> {};

TEST_P(SettingsReaderText, Reads) {
  const ReaderCase& c = GetParam();
  EXPECT_EQ(Parsed(c.text).*c.member, c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SettingsReaderText,
    ::testing::Values(
        ReaderCase{"KeyTrimmedValueNot", "  LoginName  = ABC\r\n", &Settings::LoginName, " ABC"},
        ReaderCase{"ValueKeepsFurtherEquals", "HostName=a=b= \r\n", &Settings::HostName, "a=b= "},
        ReaderCase{"LowerCaseKeyIgnored", "loginname=ABC\r\n", &Settings::LoginName, "LOCAL"},
        ReaderCase{"VersionLineIgnored", "Version=9.9.9\r\nLoginName=V\r\n", &Settings::LoginName, "V"},
        ReaderCase{"WrongSectionStillRead", "[ROUTES]\r\nHostName=h\r\n", &Settings::HostName, "h"},
        ReaderCase{"LastLineWithoutEnd", "LoginName=A\r\nDEFDEST=NODE", &Settings::DEFDEST, "NODE"},
        ReaderCase{"LfOnlyIsOneLine", "[Velnor]\nLoginName=ABC\nDEFDEST=X\n", &Settings::LoginName, "LOCAL"},
        ReaderCase{"LfOnlyWithoutHeadIsOneValue", "LoginName=ABC\nDEFDEST=X\n", &Settings::LoginName,
                   "ABCDEFDEST=X"},
        ReaderCase{"LoneCrEndsALine", "LoginName=A\rTimeOut=7\r", &Settings::TimeOut, "7"},
        ReaderCase{"LastOccurrenceWins", "DefTo=A\r\nDefTo=B\r\n", &Settings::DefTo, "B"},
        ReaderCase{"EmptyValueClearsDefault", "DEFDEST=\r\n", &Settings::DEFDEST, ""},
        ReaderCase{"KnownKeyWithoutEqualsIgnored", "LoginName\r\n", &Settings::LoginName, "LOCAL"},
        ReaderCase{"BracketLineSkippedEvenWithKey", "[LoginName=X\r\n", &Settings::LoginName, "LOCAL"}),
    [](const auto& info) { return std::string(info.param.name); });

struct IntCase {
  const char* name;
  std::string value;
  short expected;
  friend void PrintTo(const IntCase& c, std::ostream* os) { *os << c.name; }
};

class SettingsReaderInteger : public ::testing::TestWithParam<IntCase> {};

TEST_P(SettingsReaderInteger, SRTime) {
  const IntCase& c = GetParam();
  // The line after the bad one must still be read.
  const Settings s = Parsed("SRTime=" + c.value + "\r\nDEFDEST=NEXT\r\n");
  EXPECT_EQ(s.SRTime, c.expected);
  EXPECT_EQ(s.DEFDEST, "NEXT");
}

INSTANTIATE_TEST_SUITE_P(Cases, SettingsReaderInteger,
                         ::testing::Values(IntCase{"Plain", "90", 90}, IntCase{"Blanks", "  45 ", 45},
                                           IntCase{"Negative", "-7", -7}, IntCase{"Max", "32767", 32767},
                                           IntCase{"OverMax", "32768", 60}, IntCase{"Min", "-32768", -32768},
                                           IntCase{"UnderMin", "-32769", 60}, IntCase{"Huge", "99999999999999999999", 60},
                                           IntCase{"NotANumber", "abc", 60}, IntCase{"Trailing", "12x", 60},
                                           IntCase{"Empty", "", 60}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(SettingsReader, BadIntegerKeepsTheEarlierValueNotJustTheDefault) {
  EXPECT_EQ(Parsed("Pausev=100\r\nPausev=oops\r\n").Pausev, 100);
}

}  // namespace
}  // namespace velnor
