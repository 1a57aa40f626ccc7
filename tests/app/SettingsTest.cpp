#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <tuple>

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

// The defaults file, with '|' for each CR LF.
std::string DefaultFileText() {
  const std::string bars =
      "[Velnor]|Version=" + ProgramVersion() +
      "||[GENERAL OPTIONS]|LoginName=LOCAL|DateFormat=mm/dd/yyyy|TimeFormat=hh:mm|IcdName=|"
      "DefTo=|DefToPos=|DefFr=|DefFrPos=|SRTime=60|STARTBROWSE=0||[NETWORK OPTIONS]|"
      "HostName=127.0.0.1|Port=9334|TimeOut=5000|Pausev=500||[SENDRECEIVE SETTINGS]|POA=0|"
      "POAFile=||[ROUTES]|KEEPLOCAL=0|DEFDEST=LOCAL|";
  std::string text;
  for (const char c : bars) text += c == '|' ? std::string("\r\n") : std::string(1, c);
  return text;
}

Settings Parsed(const std::string& text) {
  Settings s;
  ParseSettingsText(text, s);
  return s;
}

// A "velnor.ini" path in a fresh folder.
class SettingsFile : public ::testing::Test {
 protected:
  TempDir dir;
  const std::string file = dir.file("velnor.ini");
};

// Missing: created with the defaults. Existing, empty or unreadable: read, never rewritten.
TEST_F(SettingsFile, MissingFileIsCreatedAndAnyOtherIsReadNotRewritten) {
  EXPECT_EQ(SettingsFileText(ReadSettings(file)), DefaultFileText());
  EXPECT_EQ(ReadBytes(file), DefaultFileText());
  EXPECT_FALSE(std::filesystem::exists(file + ".new"));
  WriteBytes(file, "LoginName=ABC\r\n");
  EXPECT_EQ(ReadSettings(file).LoginName, "ABC");
  EXPECT_EQ(ReadBytes(file), "LoginName=ABC\r\n");
  WriteBytes(file, "");
  EXPECT_EQ(SettingsFileText(ReadSettings(file)), DefaultFileText());
  EXPECT_EQ(ReadBytes(file), "");
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);  // exists, cannot be read
  EXPECT_EQ(SettingsFileText(ReadSettings(file)), DefaultFileText());
}

// Every value read back as written: blanks, "=", the ends of the integer range, bytes above 127.
TEST_F(SettingsFile, WriteReplacesTheWholeFileOrThrows) {
  EXPECT_THROW(WriteSettings(dir.file("no/such/velnor.ini"), Settings{}), VError);
  EXPECT_THROW(ReadSettings(dir.file("no/such/velnor.ini")), VError);
  WriteBytes(file, std::string(5000, 'x'));
  Settings s;
  s.LoginName = "KD7XYZ";
  s.IcdName = " Fire = big ";
  s.SRTime = -32768;
  s.STARTBROWSE = 32767;
  s.DEFDEST = "\xC9QUIPE";
  WriteSettings(file, s);
  EXPECT_EQ(ReadBytes(file), SettingsFileText(s));
  EXPECT_EQ(SettingsFileText(ReadSettings(file)), SettingsFileText(s));
}

// Each text read alone: the member named and the value it must hold.
TEST(SettingsReader, TextCases) {
  const std::tuple<const char*, std::string Settings::*, const char*> cases[] = {
      {"  LoginName  = ABC\r\n", &Settings::LoginName, " ABC"},              // key trimmed, value not
      {"loginname=ABC\r\n", &Settings::LoginName, "LOCAL"},                  // keys are case-sensitive
      {"LoginName=ABC\nDEFDEST=X\n", &Settings::LoginName, "ABCDEFDEST=X"},  // LF only: one line
      {"LoginName=A\rTimeOut=7\r", &Settings::TimeOut, "7"},                 // a lone CR ends a line
      {"[LoginName=X\r\n", &Settings::LoginName, "LOCAL"},                   // a bracket line is skipped
  };
  for (const auto& [text, member, expected] : cases) EXPECT_EQ(Parsed(text).*member, expected) << text;
}

// A bad integer keeps the value it had, and the line after it is still read.
TEST(SettingsReader, IntegerCases) {
  const std::pair<const char*, short> cases[] = {
      {"  45 ", 45},   {"-7", -7},       {"32767", 32767}, {"32768", 60}, {"-32768", -32768},
      {"120.0", 120},  {"-32769", 60},   {"abc", 60},      {"12x", 60},   {"", 60},
      {"1e2", 100},    {" +1.5E1 ", 15}, {"2.5", 2},       {"3.5", 4},    {"-.5", 0},
      {"32767.5", 60}, {"1e", 60},       {"inf", 60},      {"0x10", 60}};
  for (const auto& [value, expected] : cases) {
    const Settings s = Parsed("SRTime=" + std::string(value) + "\r\nDEFDEST=NEXT\r\n");
    EXPECT_EQ(s.SRTime, expected) << value;
    EXPECT_EQ(s.DEFDEST, "NEXT") << value;
  }
  EXPECT_EQ(Parsed("Pausev=100\r\nPausev=oops\r\n").Pausev, 100);
}

}  // namespace
}  // namespace velnor
