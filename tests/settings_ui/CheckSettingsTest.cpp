#include <gtest/gtest.h>

#include "core/Clock.h"
#include "core/DateTime.h"
#include "platform/Sound.h"
#include "settings_ui/CheckSettings.h"
#include "tests/support/ScriptedDialogs.h"

namespace velnor {
namespace {

using testing::ScriptedDialogs;

// 19 November 2026, 14:05:09.
const FixedClock kClock(ToOleDate({2026, 11, 19, 14, 5, 9}));

PropertiesState ValidState() { return LoadProperties(Settings{}); }

// ---- Format characters -------------------------------------------------------------

struct FormatCase {
  const char* format;
  bool isDate;
  bool passes;
};

void PrintTo(const FormatCase& c, std::ostream* os) { *os << (c.isDate ? "date \"" : "time \"") << c.format << "\""; }

class FormatCheck : public ::testing::TestWithParam<FormatCase> {};

TEST_P(FormatCheck, AcceptsOnlyTheAllowedCharacters) {
  const FormatCase c = GetParam();
  PropertiesState st = ValidState();
  st.txtFormat[c.isDate ? 0 : 1] = c.format;
  Settings s;
  ScriptedDialogs dialogs;
  if (!c.passes) dialogs.expectMessage(c.isDate ? "Invalid date format.  See hint on form" : "Invalid time format.  See Hint on form");
  EXPECT_EQ(CheckSettings(st, s, dialogs, kClock), c.passes);
  EXPECT_EQ(st.formatYellow[c.isDate ? 0 : 1], !c.passes);
  if (!c.passes) {
    EXPECT_EQ(st.currentTab, kTabFormatting);
    EXPECT_EQ(st.focus, c.isDate ? PropertiesFocus::DateFormat : PropertiesFocus::TimeFormat);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, FormatCheck,
    ::testing::Values(FormatCase{"dd-mmm-yyyy", true, true}, FormatCase{"mm/dd/yy", true, true},
                      FormatCase{"DD-MMM-YYYY", true, true}, FormatCase{"MM/DD/YY", true, true},
                      FormatCase{"d. m. yyyy", true, true}, FormatCase{"yyyy,mm:dd", true, true},
                      FormatCase{"yyyy_mm", true, false}, FormatCase{"dd-mm-yy?", true, false},
                      FormatCase{"hh:mm", true, false},  // h is a time letter
                      FormatCase{"mm\tdd", true, false}, FormatCase{"dd\xe9mm", true, false},
                      FormatCase{"HH:mm:ss", false, true}, FormatCase{"hh:mm", false, true},
                      FormatCase{"hh.mm", false, true}, FormatCase{"ttttt", false, true},
                      FormatCase{"h-m,s", false, true}, FormatCase{"hh:mm AM", false, false},
                      FormatCase{"hh/mm", false, false}, FormatCase{"dd", false, false},
                      FormatCase{"hh:mm\x01", false, false}),
    [](const ::testing::TestParamInfo<FormatCase>& info) {
      return std::string(info.param.isDate ? "date_" : "time_") + std::to_string(info.index);
    });

TEST(FormatChars, ExactlyTheNineDateAndEightTimeCharactersPass) {
  int date = 0, time = 0;
  for (int c = 1; c < 256; ++c) {
    date += IsDateFormatChar(static_cast<char>(c)) ? 1 : 0;
    time += IsTimeFormatChar(static_cast<char>(c)) ? 1 : 0;
  }
  // Each letter counts twice: in capitals and in lower case.
  EXPECT_EQ(date, 9 + 3);
  EXPECT_EQ(time, 8 + 4);
  EXPECT_FALSE(IsDateFormatChar('\0'));
}

// ---- Empty boxes, interval, several faults ---------------------------------------

TEST(CheckSettings, EmptyTimeFormatShowsQuestionMarkHintAndMessage) {
  PropertiesState st = ValidState();
  st.txtFormat[1].clear();
  st.currentTab = kTabRoutes;
  Settings s;
  ScriptedDialogs dialogs;
  dialogs.expectMessage("Invalid time format.  See Hint on form");
  EXPECT_FALSE(CheckSettings(st, s, dialogs, kClock));
  EXPECT_EQ(st.txtFormat[1], "?");
  EXPECT_TRUE(st.formatYellow[1]);
  EXPECT_FALSE(st.formatYellow[0]);
  EXPECT_EQ(st.currentTab, kTabFormatting);
  EXPECT_EQ(st.lblHint, TimeFormatHint(kClock.now()));
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_EQ(dialogs.shown[0].text, "Invalid time format.  See Hint on form");
  EXPECT_EQ(dialogs.shown[0].caption, "Velnor");
}

TEST(CheckSettings, BothFormatsEmptyAskDateFirstAndLeaveTheTimeHint) {
  PropertiesState st = ValidState();
  st.txtFormat[0].clear();
  st.txtFormat[1].clear();
  Settings s;
  ScriptedDialogs dialogs;
  dialogs.expectMessage("Invalid date format").expectMessage("Invalid time format");
  EXPECT_FALSE(CheckSettings(st, s, dialogs, kClock));
  EXPECT_EQ(st.txtFormat[0], "?");
  EXPECT_EQ(st.focus, PropertiesFocus::TimeFormat);
  EXPECT_EQ(st.lblHint, TimeFormatHint(kClock.now()));
}

TEST(CheckSettings, PassingCheckClearsTheHintAndAsksNothing) {
  PropertiesState st = ValidState();
  st.lblHint = "old hint";
  Settings s;
  ScriptedDialogs dialogs;
  EXPECT_TRUE(CheckSettings(st, s, dialogs, kClock));
  EXPECT_EQ(st.lblHint, "");
  EXPECT_TRUE(dialogs.shown.empty());
}

struct IntervalCase {
  const char* text;
  bool passes;
  short stored;
};

void PrintTo(const IntervalCase& c, std::ostream* os) { *os << "\"" << c.text << "\""; }

class IntervalCheck : public ::testing::TestWithParam<IntervalCase> {};

TEST_P(IntervalCheck, WholeNumberFrom30To32767) {
  const IntervalCase c = GetParam();
  PropertiesState st = ValidState();
  st.txtServer[3] = c.text;
  Settings s;
  ScriptedDialogs dialogs;
  EXPECT_EQ(CheckSettings(st, s, dialogs, kClock), c.passes) << c.text;
  EXPECT_EQ(st.serverYellow[3], !c.passes);
  EXPECT_EQ(st.currentTab, c.passes ? kTabFormatting : kTabRemoteAccess);
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(st.serverYellow[i]);
  if (c.passes) {
    StoreProperties(st, s);
    EXPECT_EQ(s.SRTime, c.stored);
  }
}

INSTANTIATE_TEST_SUITE_P(Table, IntervalCheck,
                         ::testing::Values(IntervalCase{"29", false, 0}, IntervalCase{"30", true, 30},
                                           IntervalCase{"31", true, 31}, IntervalCase{"32767", true, 32767},
                                           IntervalCase{"32768", false, 0}, IntervalCase{"40000", false, 0},
                                           IntervalCase{"45abc", false, 0}, IntervalCase{" 45 ", true, 45},
                                           IntervalCase{"", false, 0}, IntervalCase{"abc", false, 0},
                                           IntervalCase{"-60", false, 0}, IntervalCase{"4.5e1", false, 0}),
                         [](const ::testing::TestParamInfo<IntervalCase>& info) { return "row" + std::to_string(info.index); });

TEST(CheckSettings, EmptyHostAndBadDateLeaveBothYellowOnTheFormattingTab) {
  PropertiesState st = ValidState();
  st.txtServer[0].clear();
  st.txtFormat[0] = "yyyy_mm";
  Settings s;
  ScriptedDialogs dialogs;
  dialogs.expectMessage("Invalid date format");
  EXPECT_FALSE(CheckSettings(st, s, dialogs, kClock));
  EXPECT_TRUE(st.serverYellow[0]);
  EXPECT_TRUE(st.formatYellow[0]);
  EXPECT_EQ(st.currentTab, kTabFormatting);
  EXPECT_EQ(st.lblHint, DateFormatHint(kClock.now()));
}

TEST(CheckSettings, EveryEmptyServerBoxIsMarkedAndNoMessageAppears) {
  PropertiesState st = ValidState();
  for (auto& t : st.txtServer) t.clear();
  Settings s;
  ScriptedDialogs dialogs;
  EXPECT_FALSE(CheckSettings(st, s, dialogs, kClock));
  for (bool y : st.serverYellow) EXPECT_TRUE(y);
  EXPECT_EQ(st.currentTab, kTabRemoteAccess);
  EXPECT_EQ(st.focus, PropertiesFocus::Unchanged);
}

TEST(CheckSettings, FiveUncheckedValuesAreStoredWhateverTheVerdict) {
  for (bool valid : {true, false}) {
    PropertiesState st = ValidState();
    if (!valid) st.txtServer[3] = "29";
    st.chkPlayOnArrival = true;
    st.soundPath = "/snd/ding.wav";
    st.chkKeepLocal = true;
    st.txtDefualtToRoute = "ICP2";
    st.browseChoice = 1;
    Settings s;
    ScriptedDialogs dialogs;
    EXPECT_EQ(CheckSettings(st, s, dialogs, kClock), valid);
    EXPECT_EQ(s.POA, 1);
    EXPECT_EQ(s.POAFile, "/snd/ding.wav");
    EXPECT_EQ(s.KEEPLOCAL, 1);
    EXPECT_EQ(s.DEFDEST, "ICP2");
    EXPECT_EQ(s.STARTBROWSE, 1);
    // Nothing else moves before the check has passed.
    EXPECT_EQ(s.SRTime, 60);
  }
}

TEST(Hints, ExamplesComeFromTheClockInTheNamedPatterns) {
  EXPECT_EQ(DateFormatHint(kClock.now()),
            "Hint: Valid characters are:\r\nm=month, d=day, y=year\r\n\r\nExamples:\r\n"
            "mm/dd/yy = 11/19/26\r\ndd-mmm-yyyy = 19-Nov-2026");
  EXPECT_EQ(TimeFormatHint(kClock.now()),
            "Hint: Valid characters are:\r\nh=hour, m=minute, s=second\r\n\r\nExamples:\r\n"
            "HH:mm:ss = 14:05:09\r\nhh:mm = 14:05");
}

// ---- Load and store ------------------------------------------------------------------

TEST(LoadProperties, TrimsFormatsAndDefaultsButNotServerTexts) {
  Settings s;
  s.DateFormat = " dd-mmm-yy ";
  s.DefTo = "  Chief ";
  s.IcdName = " Flood ";
  s.HostName = " host ";
  s.SRTime = 90;
  const PropertiesState st = LoadProperties(s);
  EXPECT_EQ(st.txtFormat[0], "dd-mmm-yy");
  EXPECT_EQ(st.txtDefaults[0], "Chief");
  EXPECT_EQ(st.txtDefaults[4], "Flood");
  EXPECT_EQ(st.txtServer[0], " host ");
  EXPECT_EQ(st.txtServer[3], "90");
}

TEST(LoadProperties, OutOfRangeValuesFromAHandEditedFile) {
  struct Row {
    short startBrowse, poa, keepLocal;
    int choice;
    bool play, keep;
  };
  for (const Row r : {Row{0, 0, 0, 0, false, false}, Row{1, 1, 1, 1, true, true}, Row{5, 2, 2, 1, false, true},
                      Row{-3, -1, -1, 0, false, true}}) {
    Settings s;
    s.STARTBROWSE = r.startBrowse;
    s.POA = r.poa;
    s.KEEPLOCAL = r.keepLocal;
    const PropertiesState st = LoadProperties(s);
    EXPECT_EQ(st.browseChoice, r.choice) << r.startBrowse;
    EXPECT_EQ(st.chkPlayOnArrival, r.play) << r.poa;
    EXPECT_EQ(st.chkKeepLocal, r.keep) << r.keepLocal;
  }
}

TEST(StoreProperties, DefaultsTrimmedOthersAsTyped) {
  PropertiesState st = ValidState();
  st.txtFormat[0] = "dd mm yy ";
  st.txtDefaults[1] = " Ops ";
  st.txtDefaults[4] = " Fire ";
  st.txtServer[0] = "10.0.0.2 ";
  st.txtServer[1] = "9000";
  st.txtServer[2] = "7000";
  st.txtServer[3] = "120";
  Settings s;
  StoreProperties(st, s);
  EXPECT_EQ(s.DateFormat, "dd mm yy ");
  EXPECT_EQ(s.DefToPos, "Ops");
  EXPECT_EQ(s.IcdName, "Fire");
  EXPECT_EQ(s.HostName, "10.0.0.2 ");
  EXPECT_EQ(s.Port, "9000");
  EXPECT_EQ(s.TimeOut, "7000");
  EXPECT_EQ(s.SRTime, 120);
  EXPECT_EQ(s.LoginName, "LOCAL");
  EXPECT_EQ(s.Pausev, 500);
}

// ---- Link test, sound test, wave-file choice -------------------------------------------

TEST(LinkTest, UsesTypedHostAndPortThenRestoresThem) {
  struct Row {
    const char* keptPort;
    const char* restoredPort;
    bool result;
  };
  for (const Row r : {Row{"9334", "9334", true}, Row{" 9334", "9334", false}, Row{"abc", "abc", true}}) {
    Settings s;
    s.HostName = "127.0.0.1";
    s.Port = r.keptPort;
    std::string seenHost, seenPort, seenText;
    int cleared = 0;
    ScriptedDialogs dialogs;
    dialogs.expectMessage(r.result ? "Link Test to Pmdirect passed" : "Link Test to Pmdirect failed");
    const bool passed = RunLinkTest(
        s, "radio-pc", "9400",
        [&](const std::string& text) {
          seenHost = s.HostName;
          seenPort = s.Port;
          seenText = text;
          return r.result;
        },
        dialogs, [&] { ++cleared; });
    EXPECT_EQ(passed, r.result);
    EXPECT_EQ(seenHost, "radio-pc");
    EXPECT_EQ(seenPort, "9400");
    EXPECT_EQ(seenText, "<test>This is the ICS-213 test startup msg</test>");
    EXPECT_EQ(s.HostName, "127.0.0.1");
    EXPECT_EQ(s.Port, r.restoredPort);
    EXPECT_EQ(cleared, r.result ? 1 : 0);
  }
}

TEST(LinkTest, FailureBoxHasTheExclamationAndThreeLines) {
  Settings s;
  ScriptedDialogs dialogs;
  dialogs.expectMessage("failed");
  EXPECT_FALSE(RunLinkTest(
      s, "h", "1", [](const std::string&) -> bool { throw std::runtime_error("socket"); }, dialogs, nullptr));
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_EQ(dialogs.shown[0].text,
            "Link Test to Pmdirect failed.  Check the following:\r\n"
            "1. Confirm the Host Name and Port Number match Pmdirect\r\n"
            "2. Confirm that Pmdirect is running");
  EXPECT_EQ(dialogs.shown[0].icon, MsgIcon::Exclamation);
  EXPECT_EQ(s.HostName, "127.0.0.1");
}

class FakeSound : public Sound {
 public:
  bool playFileAsync(const std::string& path) override {
    played.push_back(path);
    return works;
  }
  void beep() override { ++beeps; }
  bool works = true;
  std::vector<std::string> played;
  int beeps = 0;
};

TEST(SoundTest, FailureBeepsAndSaysSo) {
  FakeSound sound;
  ScriptedDialogs quiet;
  EXPECT_TRUE(RunSoundTest("/s/a.wav", sound, quiet));
  EXPECT_EQ(sound.beeps, 0);
  sound.works = false;
  ScriptedDialogs dialogs;
  dialogs.expectMessage("Problems with this file or the sound card");
  EXPECT_FALSE(RunSoundTest("/s/a.wav", sound, dialogs));
  EXPECT_EQ(sound.beeps, 1);
  EXPECT_EQ(sound.played.size(), 2u);
}

TEST(WaveFile, StartsBesideTheCurrentSoundOrInTheDataDirectory) {
  ScriptedDialogs dialogs;
  dialogs.expectFile("Select .wav file name", "/home/op/new.wav");
  EXPECT_EQ(AskForWaveFile("/media/snd/old.wav", "/data", dialogs), "/home/op/new.wav");
  EXPECT_EQ(dialogs.lastFileRequest.initialDir, "/media/snd");
  EXPECT_EQ(dialogs.lastFileRequest.fileName, "old.wav");
  EXPECT_EQ(dialogs.lastFileRequest.filter, "Wave files (*.wav)|*.wav|All Files (*.*)|*.*|");
  EXPECT_EQ(dialogs.lastFileRequest.filterIndex, 1);
  EXPECT_EQ(dialogs.lastFileRequest.defaultExt, "wav");

  dialogs.expectFile("Select .wav file name", "");  // cancelled
  EXPECT_EQ(AskForWaveFile("", "/data", dialogs), "");
  EXPECT_EQ(dialogs.lastFileRequest.initialDir, "/data");
  EXPECT_EQ(dialogs.lastFileRequest.fileName, "");

  dialogs.expectFile("Select .wav file name", "");
  EXPECT_EQ(AskForWaveFile("/media/snd/old.wav", "/data", dialogs), "/media/snd/old.wav");
}

}  // namespace
}  // namespace velnor
