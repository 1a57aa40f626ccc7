// Drives the real dialog offscreen: keys through QTest, every message box and the file
// dialog answered by a script.
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
#include "settings_ui/qt/frmProperties.h"
#include "tests/support/ScriptedDialogs.h"

namespace velnor {
namespace {

// Scripted answers; onMessage looks at the dialog as the operator sees it when a box appears.
struct WatchedDialogs : testing::ScriptedDialogs {
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
            .clock = &clock,
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
  FixedClock clock{ToOleDate({2026, 11, 19, 14, 5, 9})};
  WatchedDialogs dialogs;
  std::vector<std::string> linkTests;  // "host:port text" of each call
  int statusCleared = 0;
  std::unique_ptr<frmProperties> dlg;
};

// Cancel stores nothing. OK stores what the controls show; the wave file and the link test
// act on the form's texts (their messages and the file dialog's request: CheckSettingsTest).
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
  open();
  EXPECT_EQ(find("txtDefaults_4")->text(), QString::fromUtf8("Caf\xc3\xa9 Fire"));
  goToTab(kTabReceiving);
  click("chkPlayOnArrival");
  dialogs.expectFile("Select .wav file name", "/snd/horn.wav");
  click("cmdBrowse");
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
  open();
  retype("txtServer_0", QString(), kTabRemoteAccess);
  retype("txtServer_3", QStringLiteral("45abc"));
  retype("txtFormat_0", QStringLiteral("yyyy_mm"), kTabFormatting);
  retype("txtFormat_1", QString());
  goToTab(kTabRoutes);
  dialogs.expectMessage("Invalid date format.  See hint on form");
  dialogs.expectMessage("Invalid time format.  See Hint on form");
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
  EXPECT_EQ(settings.SRTime, 60);  // nothing is stored
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
