#include <gtest/gtest.h>

#include "core/Clock.h"
#include "core/DateTime.h"
#include "platform/Sound.h"
#include "settings_ui/CheckSettings.h"
#include "tests/support/ScriptedDialogs.h"

namespace velnor {
namespace {

using testing::ScriptedDialogs;

const FixedClock kClock(ToOleDate({2026, 11, 19, 14, 5, 9}));  // 19 November 2026, 14:05:09
const char* const kDateMsg = "Invalid date format.  See hint on form";
const char* const kTimeMsg = "Invalid time format.  See Hint on form";

// One run of the check on the default settings' state, with the messages it must show.
struct Trial {
  PropertiesState st = LoadProperties(Settings{});
  Settings s;
  ScriptedDialogs dialogs;
  bool check(std::initializer_list<const char*> messages = {}) {
    for (const char* m : messages) dialogs.expectMessage(m);
    return CheckSettings(st, s, dialogs, kClock);
  }
};

// Each format takes only its own letters and separators, in either case: h is a time letter.
TEST(CheckSettings, FormatsAcceptOnlyTheAllowedCharacters) {
  const struct {
    const char* format;
    bool isDate, passes;
  } rows[] = {
      {"dd-mmm-yyyy", true, true}, {"MM/DD/YY", true, true},  {"d. m. yyyy", true, true},
      {"yyyy,mm:dd", true, true},  {"yyyy_mm", true, false},  {"dd-mm-yy?", true, false},
      {"hh:mm", true, false},      {"dd\xe9mm", true, false}, {"HH:mm:ss", false, true},
      {"hh.mm", false, true},      {"ttttt", false, true},    {"h-m,s", false, true},
      {"hh:mm AM", false, false},  {"hh/mm", false, false},   {"dd", false, false},
      {"hh:mm\x01", false, false},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string(r.isDate ? "date " : "time ") + r.format);
    const int i = r.isDate ? 0 : 1;
    Trial run;
    run.st.txtFormat[i] = r.format;
    run.st.lblHint = "old hint";
    if (!r.passes) run.dialogs.expectMessage(r.isDate ? kDateMsg : kTimeMsg);
    EXPECT_EQ(run.check(), r.passes);  // a passing check asks nothing: the script fails on any message
    EXPECT_EQ(run.st.formatYellow[i], !r.passes);
    if (r.passes) EXPECT_EQ(run.st.lblHint, "");
    if (!r.passes) {
      EXPECT_EQ(run.st.currentTab, kTabFormatting);
      EXPECT_EQ(run.st.focus, r.isDate ? PropertiesFocus::DateFormat : PropertiesFocus::TimeFormat);
    }
  }
}

TEST(CheckSettings, IntervalIsAWholeNumberFrom30To32767) {
  const struct {
    const char* text;
    short stored;  // 0: refused
  } rows[] = {{"29", 0},    {"30", 30},   {"32767", 32767}, {"32768", 0},
              {"45abc", 0}, {" 45 ", 45}, {"", 0},          {"-60", 0}};
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string("\"") + r.text + "\"");
    const bool passes = r.stored != 0;
    Trial run;
    run.st.txtServer[3] = r.text;
    EXPECT_EQ(run.check(), passes);
    EXPECT_EQ(run.st.serverYellow[3], !passes);
    EXPECT_EQ(run.st.currentTab, passes ? kTabFormatting : kTabRemoteAccess);
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(run.st.serverYellow[i]);
    if (passes) {
      StoreProperties(run.st, run.s);
      EXPECT_EQ(run.s.SRTime, r.stored);
    }
  }
}

// The values with nothing to check are stored whatever the verdict.
TEST(CheckSettings, EveryEmptyServerBoxIsMarkedAndNoMessageAppears) {
  Trial run;
  for (auto& t : run.st.txtServer) t.clear();
  run.st.chkPlayOnArrival = true;
  run.st.soundPath = "/s/a.wav";
  run.st.txtDefualtToRoute = "OPS";
  run.st.browseChoice = 1;
  run.s.KEEPLOCAL = 1;
  EXPECT_FALSE(run.check());
  for (bool y : run.st.serverYellow) EXPECT_TRUE(y);
  EXPECT_EQ(run.st.currentTab, kTabRemoteAccess);
  EXPECT_EQ(run.st.focus, PropertiesFocus::Unchanged);
  EXPECT_EQ(SettingsFileText(run.s),
            SettingsFileText({.STARTBROWSE = 1, .POA = 1, .POAFile = "/s/a.wav", .DEFDEST = "OPS"}));
}

TEST(Hints, ExamplesComeFromTheClockInTheNamedPatterns) {
  EXPECT_EQ(DateFormatHint(kClock.now()),
            "Hint: Valid characters are:\r\nm=month, d=day, y=year\r\n\r\nExamples:\r\n"
            "mm/dd/yy = 11/19/26\r\ndd-mmm-yyyy = 19-Nov-2026");
  EXPECT_EQ(TimeFormatHint(kClock.now()),
            "Hint: Valid characters are:\r\nh=hour, m=minute, s=second\r\n\r\nExamples:\r\n"
            "HH:mm:ss = 14:05:09\r\nhh:mm = 14:05");
}

// Values from a hand-edited file: browsing starts at the end from 1 up, the sound plays at
// 1 only, and anything but 0 keeps messages local.
TEST(LoadProperties, OutOfRangeValuesFromAHandEditedFile) {
  for (const short v : {0, 1, 5, -3}) {
    SCOPED_TRACE(v);
    Settings s;
    s.STARTBROWSE = s.POA = s.KEEPLOCAL = v;
    const PropertiesState st = LoadProperties(s);
    EXPECT_EQ(st.browseChoice, v >= 1 ? 1 : 0);
    EXPECT_EQ(st.chkPlayOnArrival, v == 1);
    EXPECT_EQ(st.chkKeepLocal, v != 0);
  }
}

// Each value to its own box and back: defaults lose their outer blanks, formats are stored
// as typed, server texts as held.
TEST(StoreProperties, EveryBoxBackToItsOwnValue) {
  Settings s;
  s.DefTo = " To ";
  s.DefToPos = "ToPos";
  s.DefFr = "Fr";
  s.DefFrPos = "FrPos";
  s.IcdName = "Fire";
  s.HostName = "10.0.0.2 ";
  s.Port = "9000";
  s.TimeOut = "7000";
  s.SRTime = 120;
  PropertiesState st = LoadProperties(s);
  EXPECT_EQ(st.txtDefaults[0], "To");
  st.txtFormat[0] = "dd mm yy ";
  st.txtDefaults[0] = " Chief ";
  Settings back;
  StoreProperties(st, back);
  s.DateFormat = "dd mm yy ";
  s.DefTo = "Chief";
  EXPECT_EQ(SettingsFileText(back), SettingsFileText(s));
}

// The test runs on the typed host and port; the kept ones come back before the message,
// the port as a number. The passing run is the dialog test's.
TEST(LinkTest, UsesTypedHostAndPortThenRestoresThem) {
  Settings s;
  s.HostName = "127.0.0.1";
  s.Port = " 9334";
  std::string seen;
  ScriptedDialogs dialogs;
  dialogs.expectMessage(
      "Link Test to Pmdirect failed.  Check the following:\r\n"
      "1. Confirm the Host Name and Port Number match Pmdirect\r\n2. Confirm that Pmdirect is running");
  const auto test = [&](const std::string& text) {
    seen = s.HostName + ":" + s.Port + " " + text;
    return false;
  };
  EXPECT_FALSE(RunLinkTest(s, "radio-pc", "9400", test, dialogs, [] { ADD_FAILURE() << "status cleared"; }));
  EXPECT_EQ(seen, "radio-pc:9400 <test>This is the ICS-213 test startup msg</test>");
  EXPECT_EQ(s.HostName, "127.0.0.1");
  EXPECT_EQ(s.Port, "9334");
  EXPECT_EQ(dialogs.shown.at(0).icon, MsgIcon::Exclamation);
}

TEST(SoundTest, FailureBeepsAndSaysSo) {
  struct FakeSound : Sound {
    bool playFileAsync(const std::string&) override { return ++played == 1; }  // only the first works
    void beep() override { ++beeps; }
    int played = 0, beeps = 0;
  } sound;
  ScriptedDialogs quiet;
  EXPECT_TRUE(RunSoundTest("/s/a.wav", sound, quiet));
  EXPECT_EQ(sound.beeps, 0);
  ScriptedDialogs dialogs;
  dialogs.expectMessage("Problems with this file or the sound card");
  EXPECT_FALSE(RunSoundTest("/s/a.wav", sound, dialogs));
  EXPECT_EQ(sound.beeps, 1);
  EXPECT_EQ(sound.played, 2);
}

// Beside the current file, or in the data directory with no name; a cancel keeps the file.
TEST(SoundTest, AskForWaveFile) {
  ScriptedDialogs dialogs;
  dialogs.expectFile("Select .wav file name", "").expectFile("Select .wav file name", "/home/op/siren.wav");
  EXPECT_EQ(AskForWaveFile("/snd/bell.wav", "/data", dialogs), "/snd/bell.wav");
  const FileDialogRequest& asked = dialogs.lastFileRequest;
  EXPECT_EQ(asked.initialDir, "/snd");
  EXPECT_EQ(asked.fileName, "bell.wav");
  EXPECT_EQ(asked.filter, "Wave files (*.wav)|*.wav|All Files (*.*)|*.*|");
  EXPECT_EQ(asked.filterIndex, 1);
  EXPECT_EQ(asked.defaultExt, "wav");
  EXPECT_EQ(AskForWaveFile("", "/data", dialogs), "/home/op/siren.wav");
  EXPECT_EQ(asked.initialDir, "/data");
  EXPECT_EQ(asked.fileName, "");
}

}  // namespace
}  // namespace velnor
