// The settings dialog: its checks and conversions on their own, then the real dialog
// driven offscreen through QTest, every message box and the file dialog answered by a script.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include "core/Clock.h"
#include "core/DateTime.h"
#include "platform/Sound.h"
#include "settings_ui/CheckSettings.h"
#include "settings_ui/qt/frmProperties.h"
#include "tests/support/ScriptedDialogs.h"

namespace velnor {
namespace {

using testing::ScriptedDialogs;

const FixedClock kClock(ToOleDate({2026, 11, 19, 14, 5, 9}));  // 19 November 2026, 14:05:09
const char* const kDateMsg = "Invalid date format.  See hint on form";
const char* const kTimeMsg = "Invalid time format.  See Hint on form";

// One run of the check on the default settings' state; any message unexpected fails it.
struct Trial {
  PropertiesState st = LoadProperties(Settings{});
  Settings s;
  ScriptedDialogs dialogs;
  bool check() { return CheckSettings(st, s, dialogs, kClock); }
};

// Each format takes only its own letters and separators, in either case: h is a time letter.
TEST(CheckSettings, FormatsAcceptOnlyTheAllowedCharacters) {
  const struct {
    const char* format;
    bool isDate, passes;
  } rows[] = {
      {"dd-mmm-yyyy", true, true}, {"MM/DD/YY", true, true},   {"d. m. yyyy,:", true, true},
      {"yyyy_mm", true, false},    {"dd-mm-yy?", true, false}, {"hh:mm", true, false},
      {"dd\xe9mm", true, false},   {"HH:mm:ss", false, true},  {"tt:h-m,s.", false, true},
      {"hh:mm AM", false, false},  {"hh/mm", false, false},    {"dd", false, false},
      {"hh:mm\x01", false, false},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string(r.isDate ? "date " : "time ") + r.format);
    const int i = r.isDate ? 0 : 1;
    Trial run;
    run.st.txtFormat[i] = r.format;
    run.st.lblHint = "old hint";
    if (!r.passes) run.dialogs.expectMessage(r.isDate ? kDateMsg : kTimeMsg);
    EXPECT_EQ(run.check(), r.passes);
    EXPECT_EQ(run.st.formatYellow[i], !r.passes);
    EXPECT_EQ(run.st.lblHint.empty(), r.passes);
    EXPECT_EQ(run.st.currentTab, kTabFormatting);
    const PropertiesFocus focus = r.isDate ? PropertiesFocus::DateFormat : PropertiesFocus::TimeFormat;
    EXPECT_EQ(run.st.focus, r.passes ? PropertiesFocus::Unchanged : focus);
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
    StoreProperties(run.st, run.s);
    EXPECT_EQ(run.s.SRTime, passes ? r.stored : 60);  // a refused one keeps the old
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

// Each value to its own box and back: defaults lose their outer blanks, formats are stored
// as typed, server texts as held.
TEST(StoreProperties, EveryBoxBackToItsOwnValue) {
  Settings s{.IcdName = "Fire",
             .DefTo = " To ",
             .DefToPos = "ToPos",
             .DefFr = "Fr",
             .DefFrPos = "FrPos",
             .SRTime = 120,
             .HostName = "10.0.0.2 ",
             .Port = "9000",
             .TimeOut = "7000"};
  PropertiesState st = LoadProperties(s);
  EXPECT_EQ(st.txtDefaults[0], "To");
  // Browsing from the end of the list is 1, and the dialog shows a hand-edited 2 as 1.
  for (const short startBrowse : {0, 1, 2})
    EXPECT_EQ(LoadProperties(Settings{.STARTBROWSE = startBrowse}).browseChoice, startBrowse > 0)
        << startBrowse;
  st.txtFormat[0] = "dd mm yy ";
  st.txtDefaults[0] = " Chief ";
  Settings back;
  StoreProperties(st, back);
  s.DateFormat = "dd mm yy ";
  s.DefTo = "Chief";
  EXPECT_EQ(SettingsFileText(back), SettingsFileText(s));
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
}

// Scripted answers; onMessage looks at the dialog as the operator sees it when a box appears.
struct WatchedDialogs : ScriptedDialogs {
  MsgAnswer messageBox(const std::string& text, const std::string& caption, MsgButtons buttons,
                       MsgIcon icon) override {
    if (onMessage) onMessage();
    return ScriptedDialogs::messageBox(text, caption, buttons, icon);
  }
  std::function<void()> onMessage;
};

class PropertiesDialog : public ::testing::Test {
 protected:
  PropertiesHooks hooks() {
    return {.dialogs = &dialogs,
            .clock = &kClock,
            .pmdirectTest =
                [this](const std::string& text) {
                  linkTests.push_back(settings.HostName + ":" + settings.Port + " " + text);
                  return true;
                },
            .clearStatus = [this] { ++statusCleared; },
            .dataPath = "/data"};
  }

  // A dialog shown non-modally, so the test can drive it between events.
  void open() {
    dlg = std::make_unique<frmProperties>(nullptr, settings, hooks());
    dlg->show();
    dlg->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(dlg.get()));
  }
  template <class T = QLineEdit>
  T* find(const char* name) {
    T* w = dlg->findChild<T*>(QLatin1String(name));
    EXPECT_NE(w, nullptr) << name;
    return w;
  }
  void retype(const char* name, const QString& text, int tab = -1) {
    if (tab >= 0) goToTab(tab);
    QLineEdit* b = find(name);
    b->setFocus();
    b->selectAll();
    QTest::keyClicks(b, text);
    if (text.isEmpty()) QTest::keyClick(b, Qt::Key_Delete);  // nothing typed: clears the selection
  }
  void goToTab(int tab) { find<QTabWidget>("SSTab1")->setCurrentIndex(tab); }
  void click(const char* name) { find<QAbstractButton>(name)->click(); }
  bool yellow(const char* name) {
    return find(name)->palette().color(QPalette::Base) == frmProperties::faultColor();
  }

  Settings settings;
  WatchedDialogs dialogs;
  std::vector<std::string> linkTests;  // "host:port text" of each call
  int statusCleared = 0;
  std::unique_ptr<frmProperties> dlg;
};

// Cancel stores nothing. OK stores what the controls show; the wave file and the link test
// act on the form's texts.
TEST_F(PropertiesDialog, CancelChangesNoSettingAndOkStoresWhatTheControlsShow) {
  const std::string before = SettingsFileText(settings);
  QTimer::singleShot(0, [] {
    QWidget* d = QApplication::activeModalWidget();
    ASSERT_NE(d, nullptr);
    d->findChild<QLineEdit*>(QStringLiteral("txtServer_0"))->setText(QStringLiteral("elsewhere"));
    d->findChild<QAbstractButton*>(QStringLiteral("cmdCancel"))->click();
  });
  EXPECT_FALSE(ShowProperties(nullptr, settings, hooks()));
  EXPECT_EQ(SettingsFileText(settings), before);

  settings.IcdName = " Caf\xe9 Fire";  // station text, Windows-1252 e acute
  settings.POAFile = "/snd/bell.wav";
  open();
  EXPECT_EQ(find("txtDefaults_4")->text(), QString::fromUtf8("Caf\xc3\xa9 Fire"));
  goToTab(kTabReceiving);
  click("chkPlayOnArrival");
  dialogs.expectFile("Select .wav file name", "/snd/horn.wav");
  click("cmdBrowse");
  const FileDialogRequest& asked = dialogs.lastFileRequest;  // beside the current file
  EXPECT_EQ(asked.initialDir + " " + asked.fileName + " " + asked.defaultExt, "/snd bell.wav wav");
  EXPECT_EQ(asked.filterIndex, 1);
  EXPECT_EQ(find("txtPlayOnArrival")->text(), QStringLiteral("horn.wav"));
  retype("txtServer_0", QStringLiteral("radio-pc"), kTabRemoteAccess);
  retype("txtServer_1", QStringLiteral("9400"));
  retype("txtServer_3", QStringLiteral("30"));
  dialogs.expectMessage("Link Test to Pmdirect passed");
  click("cmdTest");
  EXPECT_EQ(linkTests,
            std::vector<std::string>{"radio-pc:9400 <test>This is the ICS-213 test startup msg</test>"});
  EXPECT_EQ(statusCleared, 1);
  EXPECT_EQ(settings.HostName, "127.0.0.1");
  // Shown and stored in capitals; µ has no capital the station can carry.
  retype("txtDefualtToRoute", QStringLiteral("icp-2b"), kTabRoutes);
  QLineEdit* route = find("txtDefualtToRoute");
  QTest::sendKeyEvent(QTest::Click, route, Qt::Key_Eacute, QString::fromUtf8("\xc3\xa9"), {});
  QTest::sendKeyEvent(QTest::Click, route, Qt::Key_mu, QString::fromUtf8("\xc2\xb5"), {});
  EXPECT_EQ(route->text(), QString::fromUtf8("ICP-2B\xc3\x89\xc2\xb5"));
  click("chkKeepLocal");
  goToTab(kTabOther);
  click("optBrowse_1");
  click("cmdOK");
  EXPECT_EQ(dlg->result(), QDialog::Accepted);
  EXPECT_EQ(settings.POA, 1);
  EXPECT_EQ(settings.POAFile, "/snd/horn.wav");
  EXPECT_EQ(settings.HostName, "radio-pc");
  EXPECT_EQ(settings.SRTime, 30);
  EXPECT_EQ(settings.IcdName, "Caf\xe9 Fire");
  EXPECT_EQ(settings.DEFDEST, "ICP-2B\xc9\xb5");
  EXPECT_EQ(settings.KEEPLOCAL, 1);
  EXPECT_EQ(settings.STARTBROWSE, 1);
}

// Each format message comes with its fault on the form; the marks stay until the text changes.
TEST_F(PropertiesDialog, FaultsAreShownBeforeTheirMessageAndTypingClearsTheMark) {
  settings.KEEPLOCAL = 1;
  open();
  retype("txtServer_0", QString(), kTabRemoteAccess);
  retype("txtServer_3", QStringLiteral("45abc"));
  retype("txtFormat_0", QStringLiteral("yyyy_mm"), kTabFormatting);
  retype("txtFormat_1", QString());
  goToTab(kTabRoutes);
  click("chkKeepLocal");  // off: kept whatever the verdict, as it has nothing to check
  dialogs.expectMessage(kDateMsg).expectMessage(kTimeMsg);
  dialogs.onMessage = [this] {
    const bool date = dialogs.shown.empty();
    EXPECT_EQ(find<QTabWidget>("SSTab1")->currentIndex(), kTabFormatting);
    EXPECT_EQ(QApplication::focusWidget(), find(date ? "txtFormat_0" : "txtFormat_1"));
    const QString hint = find<QLabel>("lblHint")->text();
    EXPECT_TRUE(hint.contains(date ? "dd-mmm-yyyy = 19-Nov-2026" : "hh:mm = 14:05")) << hint.toStdString();
    EXPECT_EQ(find("txtFormat_1")->text(), QStringLiteral("?"));
    for (const char* b : {"txtServer_0", "txtServer_3", "txtFormat_0", "txtFormat_1"})
      EXPECT_TRUE(yellow(b)) << b;
    EXPECT_FALSE(yellow("txtServer_1"));
  };
  click("cmdOK");
  EXPECT_TRUE(dlg->isVisible());
  EXPECT_EQ(settings.SRTime, 60);
  EXPECT_EQ(settings.KEEPLOCAL, 0);
  goToTab(kTabRemoteAccess);
  for (const Qt::Key key : {Qt::Key_End, Qt::Key_Left, Qt::Key_Shift, Qt::Key_Tab})
    QTest::keyClick(find("txtServer_3"), key);
  EXPECT_TRUE(yellow("txtServer_3"));
  QTest::keyClick(find("txtServer_3"), Qt::Key_5);
  EXPECT_FALSE(yellow("txtServer_3"));
  goToTab(kTabFormatting);
  QTest::keyClick(find("txtFormat_1"), Qt::Key_Backspace);
  EXPECT_FALSE(yellow("txtFormat_1"));
}

}  // namespace
}  // namespace velnor

int main(int argc, char** argv) {
  QApplication app(argc, argv);  // the dialogs need it for the whole run
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
