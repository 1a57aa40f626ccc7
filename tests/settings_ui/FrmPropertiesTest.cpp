// Drives the real dialog offscreen: keys and clicks through QTest, every message box and
// the file dialog answered by a script.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include "core/Clock.h"
#include "core/DateTime.h"
#include "platform/Sound.h"
#include "settings_ui/qt/frmProperties.h"
#include "tests/support/ScriptedDialogs.h"

namespace velnor {
namespace {

using testing::ScriptedDialogs;

struct SilentSound : Sound {
  bool playFileAsync(const std::string& path) override {
    played.push_back(path);
    return true;
  }
  void beep() override {}
  std::vector<std::string> played;
};

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
  PropertiesDialog() {
    settings.POA = 1;
    settings.POAFile = "/snd/bell.wav";
  }

  PropertiesHooks hooks() {
    return {.dialogs = &dialogs,
            .clock = &clock,
            .sound = &sound,
            .pmdirectTest =
                [this](const std::string& text) {
                  linkTests.push_back(settings.HostName + ":" + settings.Port + " " + text);
                  if (!linkWorks) throw std::runtime_error("socket");
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
  // The modal entry point, with `drive` acting on the dialog once it is up.
  bool showModal(std::function<void(QWidget&)> drive) {
    QTimer::singleShot(0, [&] {
      QWidget* d = QApplication::activeModalWidget();
      ASSERT_NE(d, nullptr);
      drive(*d);
    });
    return ShowProperties(nullptr, settings, hooks());
  }

  template <class T>
  T* find(const char* name) {
    T* w = dlg->findChild<T*>(QLatin1String(name));
    EXPECT_NE(w, nullptr) << name;
    return w;
  }
  QLineEdit* box(const char* name) { return find<QLineEdit>(name); }
  void retype(const char* name, const QString& text, int tab = -1) {
    if (tab >= 0) goToTab(tab);
    QLineEdit* b = box(name);
    b->setFocus();
    b->selectAll();
    if (text.isEmpty()) QTest::keyClick(b, Qt::Key_Delete);
    else QTest::keyClicks(b, text);
  }
  QTabWidget* tabs() { return find<QTabWidget>("SSTab1"); }
  void goToTab(int tab) { tabs()->setCurrentIndex(tab); }
  // Check boxes answer only over their box and caption, not over the whole stretched row.
  void click(const char* name) {
    QAbstractButton* b = find<QAbstractButton>(name);
    const bool checkable = qobject_cast<QCheckBox*>(b) != nullptr || qobject_cast<QRadioButton*>(b) != nullptr;
    QTest::mouseClick(b, Qt::LeftButton, {}, checkable ? QPoint(8, b->height() / 2) : QPoint());
  }
  bool yellow(const char* name) { return box(name)->palette().color(QPalette::Base) == frmProperties::faultColor(); }
  bool accepted() { return dlg->result() == QDialog::Accepted; }
  QString hint() { return find<QLabel>("lblHint")->text(); }

  Settings settings;
  FixedClock clock{ToOleDate({2026, 11, 19, 14, 5, 9})};
  WatchedDialogs dialogs;
  SilentSound sound;
  bool linkWorks = true;  // otherwise the link test throws
  std::vector<std::string> linkTests;  // "host:port text" of each call
  int statusCleared = 0;
  std::unique_ptr<frmProperties> dlg;
};

TEST_F(PropertiesDialog, LoadShowsTheSettingsOnTheFormattingTab) {
  settings.DateFormat = "  dd-mmm-yyyy ";
  settings.DefTo = "  Chief ";
  settings.IcdName = " Flood ";
  settings.HostName = "pm-host ";
  settings.SRTime = 45;
  open();
  EXPECT_EQ(dlg->windowTitle(), QStringLiteral("ICS 213 Properties"));
  ASSERT_EQ(tabs()->count(), 5);
  const char* captions[5] = {"Formatting", "Remote Access", "Receiving", "Routes", "Other"};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(tabs()->tabText(i), QLatin1String(captions[i]));
  EXPECT_EQ(find<QGroupBox>("nframe_1")->title(), QStringLiteral("Message Server (Pmdirect)"));
  EXPECT_EQ(tabs()->currentIndex(), 0);
  // Formats and defaults lose their outer blanks, server texts are shown as held.
  EXPECT_EQ(box("txtFormat_0")->text(), QStringLiteral("dd-mmm-yyyy"));
  EXPECT_EQ(box("txtDefaults_0")->text(), QStringLiteral("Chief"));
  EXPECT_EQ(box("txtDefaults_4")->text(), QStringLiteral("Flood"));
  EXPECT_EQ(box("txtServer_0")->text(), QStringLiteral("pm-host "));
  EXPECT_EQ(box("txtServer_3")->text(), QStringLiteral("45"));
  EXPECT_EQ(box("txtPlayOnArrival")->text(), QStringLiteral("bell.wav"));
  EXPECT_TRUE(find<QCheckBox>("chkPlayOnArrival")->isChecked());
  EXPECT_TRUE(find<QGroupBox>("nframe_0")->isEnabled());
  for (const char* f : {"nframe_1", "nframe_2", "nframe_3", "nframe_4"}) EXPECT_FALSE(find<QGroupBox>(f)->isEnabled());
  EXPECT_EQ(QApplication::focusWidget(), box("txtFormat_0"));
}

TEST_F(PropertiesDialog, TabChangeEnablesOnlyItsFrameAndFocusesItsFirstControl) {
  open();
  goToTab(kTabRemoteAccess);
  EXPECT_TRUE(find<QGroupBox>("nframe_1")->isEnabled());
  EXPECT_FALSE(find<QGroupBox>("nframe_0")->isEnabled());
  EXPECT_EQ(QApplication::focusWidget(), box("txtServer_0"));
  QApplication::processEvents();  // focus entering a box selects its whole text
  EXPECT_EQ(box("txtServer_0")->selectedText(), QStringLiteral("127.0.0.1"));
  goToTab(kTabRoutes);
  EXPECT_EQ(QApplication::focusWidget(), box("txtDefualtToRoute"));
  goToTab(kTabOther);
  // Only the inner "Browsing" frame sits directly in this tab's frame: the focus stays.
  EXPECT_TRUE(find<QGroupBox>("nframe_4")->isEnabled());
  EXPECT_FALSE(find<QGroupBox>("nframe_3")->isEnabled());
}

TEST_F(PropertiesDialog, CancelChangesNoSettingAndOkStoresTheTypedValues) {
  const std::string before = SettingsFileText(settings);
  EXPECT_FALSE(showModal([](QWidget& d) {
    d.findChild<QLineEdit*>(QStringLiteral("txtServer_0"))->setText(QStringLiteral("elsewhere"));
    QTest::mouseClick(d.findChild<QPushButton*>(QStringLiteral("cmdCancel")), Qt::LeftButton);
  }));
  EXPECT_EQ(SettingsFileText(settings), before);

  EXPECT_TRUE(showModal([](QWidget& d) {
    d.findChild<QLineEdit*>(QStringLiteral("txtServer_3"))->setText(QStringLiteral("120"));
    QTest::mouseClick(d.findChild<QPushButton*>(QStringLiteral("cmdOK")), Qt::LeftButton);
  }));
  EXPECT_EQ(settings.SRTime, 120);
}

TEST_F(PropertiesDialog, EmptyFormatShowsQuestionMarkAndTypingRestoresTheColour) {
  open();
  retype("txtFormat_1", QString());
  goToTab(kTabRoutes);
  dialogs.expectMessage("Invalid time format.  See Hint on form");
  // The form shows the fault before the message asks the operator to look at it.
  dialogs.onMessage = [this] {
    EXPECT_EQ(tabs()->currentIndex(), kTabFormatting);
    EXPECT_TRUE(hint().contains(QStringLiteral("hh:mm = 14:05"))) << hint().toStdString();
    EXPECT_EQ(box("txtFormat_1")->text(), QStringLiteral("?"));
    EXPECT_EQ(QApplication::focusWidget(), box("txtFormat_1"));
    EXPECT_TRUE(yellow("txtFormat_1"));
    EXPECT_FALSE(yellow("txtFormat_0"));
  };
  click("cmdOK");
  EXPECT_TRUE(dlg->isVisible());
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_EQ(dialogs.shown[0].caption, "Velnor");
  EXPECT_EQ(settings.TimeFormat, "hh:mm");
  EXPECT_TRUE(yellow("txtFormat_1"));
  QTest::keyClick(box("txtFormat_1"), Qt::Key_Backspace);
  EXPECT_FALSE(yellow("txtFormat_1"));
}

TEST_F(PropertiesDialog, IntervalBoundaryAndUnstorableTexts) {
  for (const char* text : {"29", "30", "45abc", "40000"}) {
    SCOPED_TRACE(text);
    const bool passes = std::string(text) == "30";
    settings.SRTime = 60;
    open();
    retype("txtServer_3", QLatin1String(text), kTabRemoteAccess);
    goToTab(kTabFormatting);
    click("cmdOK");
    EXPECT_EQ(accepted(), passes);
    EXPECT_EQ(settings.SRTime, passes ? 30 : 60);
    if (!passes) {
      EXPECT_TRUE(yellow("txtServer_3"));
      EXPECT_EQ(tabs()->currentIndex(), kTabRemoteAccess);
      // Moving through the box keeps the mark; the first change to its text clears it.
      for (const Qt::Key key : {Qt::Key_End, Qt::Key_Left, Qt::Key_Shift, Qt::Key_Tab})
        QTest::keyClick(box("txtServer_3"), key);
      EXPECT_TRUE(yellow("txtServer_3"));
      QTest::keyClick(box("txtServer_3"), Qt::Key_5);
      EXPECT_FALSE(yellow("txtServer_3"));
    }
  }
}

TEST_F(PropertiesDialog, EmptyHostAndBadDateTogetherShowTheFormattingTab) {
  open();
  retype("txtServer_0", QString(), kTabRemoteAccess);
  retype("txtFormat_0", QStringLiteral("yyyy_mm"), kTabFormatting);
  goToTab(kTabRoutes);
  dialogs.expectMessage("Invalid date format.  See hint on form");
  dialogs.onMessage = [this] {
    EXPECT_TRUE(yellow("txtServer_0"));
    EXPECT_TRUE(yellow("txtFormat_0"));
    EXPECT_EQ(tabs()->currentIndex(), kTabFormatting);
    EXPECT_EQ(QApplication::focusWidget(), box("txtFormat_0"));
    EXPECT_TRUE(hint().contains(QStringLiteral("dd-mmm-yyyy = 19-Nov-2026"))) << hint().toStdString();
  };
  click("cmdOK");
  EXPECT_TRUE(dlg->isVisible());
  EXPECT_TRUE(yellow("txtFormat_0"));
  EXPECT_EQ(settings.HostName, "127.0.0.1");
  EXPECT_EQ(settings.DateFormat, "mm/dd/yyyy");
}

TEST_F(PropertiesDialog, ValuesStoredByAFailedCheckSurviveCancel) {
  settings.POA = 0;
  settings.POAFile.clear();
  open();
  goToTab(kTabReceiving);
  click("chkPlayOnArrival");
  dialogs.expectFile("Select .wav file name", "/home/op/siren.wav");
  click("cmdBrowse");
  EXPECT_EQ(dialogs.lastFileRequest.initialDir, "/data");  // no sound yet: the data directory, no name
  EXPECT_EQ(dialogs.lastFileRequest.fileName, "");
  EXPECT_EQ(box("txtPlayOnArrival")->text(), QStringLiteral("siren.wav"));
  goToTab(kTabRoutes);
  QTest::keyClicks(box("txtDefualtToRoute"), QStringLiteral("x"));
  click("chkKeepLocal");
  goToTab(kTabOther);
  click("optBrowse_1");
  retype("txtServer_3", QStringLiteral("10"), kTabRemoteAccess);
  click("cmdOK");
  EXPECT_TRUE(dlg->isVisible());
  click("cmdCancel");
  EXPECT_FALSE(dlg->isVisible());
  EXPECT_EQ(settings.POA, 1);
  EXPECT_EQ(settings.POAFile, "/home/op/siren.wav");
  EXPECT_EQ(settings.KEEPLOCAL, 1);
  EXPECT_EQ(settings.DEFDEST, "LOCALX");
  EXPECT_EQ(settings.STARTBROWSE, 1);
  EXPECT_EQ(settings.SRTime, 60);
}

TEST_F(PropertiesDialog, OkStoresWhatTheControlsShow) {
  settings.STARTBROWSE = 5;           // above 1: opens at the end, stored as 1
  settings.IcdName = "Caf\xe9 Fire";  // station text, Windows-1252 e acute
  open();
  EXPECT_TRUE(find<QRadioButton>("optBrowse_1")->isChecked());
  EXPECT_EQ(box("txtDefaults_4")->text(), QString::fromUtf8("Caf\xc3\xa9 Fire"));
  retype("txtFormat_0", QStringLiteral("DD.MM.YYYY"));
  retype("txtFormat_1", QStringLiteral("HH:mm:ss"));
  // Shown and stored in capitals; µ has no capital the station can carry.
  retype("txtDefualtToRoute", QStringLiteral("icp-2b"), kTabRoutes);
  QLineEdit* route = box("txtDefualtToRoute");
  QTest::sendKeyEvent(QTest::Click, route, Qt::Key_Eacute, QString::fromUtf8("\xc3\xa9"), {});
  QTest::sendKeyEvent(QTest::Click, route, Qt::Key_mu, QString::fromUtf8("\xc2\xb5"), {});
  EXPECT_EQ(box("txtDefualtToRoute")->text(), QString::fromUtf8("ICP-2B\xc3\x89\xc2\xb5"));
  click("chkKeepLocal");
  click("cmdOK");
  EXPECT_TRUE(accepted());
  EXPECT_EQ(settings.STARTBROWSE, 1);
  EXPECT_EQ(settings.IcdName, "Caf\xe9 Fire");
  EXPECT_EQ(settings.DateFormat, "DD.MM.YYYY");
  EXPECT_EQ(settings.TimeFormat, "HH:mm:ss");
  EXPECT_EQ(settings.DEFDEST, "ICP-2B\xc9\xb5");
  EXPECT_EQ(settings.KEEPLOCAL, 1);
}

TEST_F(PropertiesDialog, SoundControlsBrowseBesideTheFileAndUncheckingKeepsTheChoice) {
  open();
  goToTab(kTabReceiving);
  for (const char* n : {"txtPlayOnArrival", "cmdBrowse", "cmdTestWav"}) EXPECT_TRUE(find<QWidget>(n)->isEnabled());
  click("cmdTestWav");
  EXPECT_EQ(sound.played, std::vector<std::string>{"/snd/bell.wav"});
  dialogs.expectFile("Select .wav file name", "");  // cancelled
  click("cmdBrowse");
  const FileDialogRequest& asked = dialogs.lastFileRequest;
  EXPECT_EQ(asked.initialDir, "/snd");
  EXPECT_EQ(asked.fileName, "bell.wav");
  EXPECT_EQ(asked.filter, "Wave files (*.wav)|*.wav|All Files (*.*)|*.*|");
  EXPECT_EQ(asked.filterIndex, 1);
  EXPECT_EQ(asked.defaultExt, "wav");
  EXPECT_EQ(box("txtPlayOnArrival")->text(), QStringLiteral("bell.wav"));
  dialogs.expectFile("Select .wav file name", "/snd/horn.wav");
  click("cmdBrowse");
  EXPECT_EQ(box("txtPlayOnArrival")->text(), QStringLiteral("horn.wav"));
  click("chkPlayOnArrival");
  for (const char* n : {"txtPlayOnArrival", "cmdBrowse", "cmdTestWav"}) EXPECT_FALSE(find<QWidget>(n)->isEnabled());
  click("cmdOK");
  EXPECT_EQ(settings.POA, 0);
  EXPECT_EQ(settings.POAFile, "/snd/horn.wav");
}

TEST_F(PropertiesDialog, LinkTestUsesTheTypedHostThenRestoresTheOldOne) {
  open();
  retype("txtServer_0", QStringLiteral("radio-pc"), kTabRemoteAccess);
  retype("txtServer_1", QStringLiteral("9400"));
  dialogs.expectMessage("Link Test to Pmdirect passed");
  click("cmdTest");
  EXPECT_EQ(linkTests, std::vector<std::string>{"radio-pc:9400 <test>This is the ICS-213 test startup msg</test>"});
  EXPECT_EQ(statusCleared, 1);
  EXPECT_EQ(settings.HostName, "127.0.0.1");
  EXPECT_EQ(settings.Port, "9334");

  linkWorks = false;
  dialogs.expectMessage("Link Test to Pmdirect failed.");
  click("cmdTest");
  EXPECT_EQ(dialogs.shown.back().text,
            "Link Test to Pmdirect failed.  Check the following:\r\n"
            "1. Confirm the Host Name and Port Number match Pmdirect\r\n"
            "2. Confirm that Pmdirect is running");
  EXPECT_EQ(dialogs.shown.back().icon, MsgIcon::Exclamation);
  EXPECT_EQ(statusCleared, 1);
  click("cmdCancel");
  EXPECT_EQ(settings.HostName, "127.0.0.1");
  EXPECT_EQ(settings.Port, "9334");
}

}  // namespace
}  // namespace velnor

int main(int argc, char** argv) {
  QApplication app(argc, argv);  // the dialogs need it for the whole run
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
