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

class SilentSound : public Sound {
 public:
  bool playFileAsync(const std::string& path) override {
    played.push_back(path);
    return true;
  }
  void beep() override {}
  std::vector<std::string> played;
};

bool SameSettings(const Settings& a, const Settings& b) {
  return a.LoginName == b.LoginName && a.DateFormat == b.DateFormat && a.TimeFormat == b.TimeFormat &&
         a.IcdName == b.IcdName && a.DefTo == b.DefTo && a.DefToPos == b.DefToPos && a.DefFr == b.DefFr &&
         a.DefFrPos == b.DefFrPos && a.SRTime == b.SRTime && a.STARTBROWSE == b.STARTBROWSE &&
         a.HostName == b.HostName && a.Port == b.Port && a.TimeOut == b.TimeOut && a.Pausev == b.Pausev &&
         a.POA == b.POA && a.POAFile == b.POAFile && a.KEEPLOCAL == b.KEEPLOCAL && a.DEFDEST == b.DEFDEST;
}

class PropertiesDialog : public ::testing::Test {
 protected:
  PropertiesDialog() : clock(ToOleDate({2026, 11, 19, 14, 5, 9})) {
    settings.DefTo = "Chief";
    settings.POA = 1;
    settings.POAFile = "/snd/bell.wav";
  }

  PropertiesHooks hooks() {
    PropertiesHooks h;
    h.dialogs = &dialogs;
    h.clock = &clock;
    h.sound = &sound;
    h.pmdirectTest = [this](const std::string& text) {
      testHosts.push_back(settings.HostName + ":" + settings.Port);
      testTexts.push_back(text);
      return linkWorks;
    };
    h.clearStatus = [this] { ++statusCleared; };
    h.dataPath = "/data";
    return h;
  }

  // A dialog shown non-modally, so the test can drive it between events.
  frmProperties& open() {
    dlg = std::make_unique<frmProperties>(nullptr, settings, hooks());
    dlg->show();
    dlg->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(dlg.get()));
    return *dlg;
  }

  template <class T>
  T* find(const char* name) {
    T* w = dlg->findChild<T*>(QLatin1String(name));
    EXPECT_NE(w, nullptr) << name;
    return w;
  }
  QLineEdit* box(const char* name) { return find<QLineEdit>(name); }
  void retype(const char* name, const QString& text) {
    QLineEdit* b = box(name);
    b->setFocus();
    b->selectAll();
    if (text.isEmpty()) {
      QTest::keyClick(b, Qt::Key_Delete);
    } else {
      QTest::keyClicks(b, text);
    }
  }
  void goToTab(int tab) { find<QTabWidget>("SSTab1")->setCurrentIndex(tab); }
  // Check boxes answer only over their box and caption, not over the whole stretched row.
  void click(const char* name) {
    QAbstractButton* b = find<QAbstractButton>(name);
    const bool checkable = qobject_cast<QCheckBox*>(b) != nullptr || qobject_cast<QRadioButton*>(b) != nullptr;
    QTest::mouseClick(b, Qt::LeftButton, {}, checkable ? QPoint(8, b->height() / 2) : QPoint());
  }
  bool yellow(const char* name) { return box(name)->palette().color(QPalette::Base) == frmProperties::faultColor(); }

  Settings settings;
  FixedClock clock;
  ScriptedDialogs dialogs;
  SilentSound sound;
  bool linkWorks = true;
  std::vector<std::string> testHosts;
  std::vector<std::string> testTexts;
  int statusCleared = 0;
  std::unique_ptr<frmProperties> dlg;
};

TEST_F(PropertiesDialog, LoadShowsTheSettingsOnTheFormattingTab) {
  settings.DateFormat = "  dd-mmm-yyyy ";
  settings.HostName = "pm-host ";
  settings.SRTime = 45;
  open();
  EXPECT_EQ(dlg->windowTitle(), QStringLiteral("ICS 213 Properties"));
  auto* tabs = find<QTabWidget>("SSTab1");
  ASSERT_EQ(tabs->count(), 5);
  const char* captions[5] = {"Formatting", "Remote Access", "Receiving", "Routes", "Other"};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(tabs->tabText(i), QLatin1String(captions[i]));
  EXPECT_EQ(find<QGroupBox>("nframe_1")->title(), QStringLiteral("Message Server (Pmdirect)"));
  EXPECT_EQ(tabs->currentIndex(), 0);
  EXPECT_EQ(box("txtFormat_0")->text(), QStringLiteral("dd-mmm-yyyy"));
  EXPECT_EQ(box("txtDefaults_0")->text(), QStringLiteral("Chief"));
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
  // Focus entering a box selects its whole text.
  QApplication::processEvents();
  EXPECT_EQ(box("txtServer_0")->selectedText(), QStringLiteral("127.0.0.1"));
  goToTab(kTabRoutes);
  EXPECT_EQ(QApplication::focusWidget(), box("txtDefualtToRoute"));
  goToTab(kTabOther);
  // Only the inner "Browsing" frame sits directly in this tab's frame: the focus stays.
  EXPECT_TRUE(find<QGroupBox>("nframe_4")->isEnabled());
  EXPECT_FALSE(find<QGroupBox>("nframe_3")->isEnabled());
}

TEST_F(PropertiesDialog, CancelChangesNoSetting) {
  const Settings before = settings;
  bool ok = true;
  QTimer::singleShot(0, [&] {
    auto* d = qobject_cast<frmProperties*>(QApplication::activeModalWidget());
    ASSERT_NE(d, nullptr);
    auto* host = d->findChild<QLineEdit*>(QStringLiteral("txtServer_0"));
    host->setText(QStringLiteral("elsewhere"));
    QTest::mouseClick(d->findChild<QPushButton*>(QStringLiteral("cmdCancel")), Qt::LeftButton);
  });
  ok = ShowProperties(nullptr, settings, hooks());
  EXPECT_FALSE(ok);
  EXPECT_TRUE(SameSettings(settings, before));
}

TEST_F(PropertiesDialog, OkThroughTheModalEntryPointStoresTheTypedValues) {
  QTimer::singleShot(0, [&] {
    auto* d = QApplication::activeModalWidget();
    ASSERT_NE(d, nullptr);
    auto* interval = d->findChild<QLineEdit*>(QStringLiteral("txtServer_3"));
    interval->setText(QStringLiteral("120"));
    auto* incident = d->findChild<QLineEdit*>(QStringLiteral("txtDefaults_4"));
    incident->setText(QStringLiteral("  Ridge Fire  "));
    QTest::mouseClick(d->findChild<QPushButton*>(QStringLiteral("cmdOK")), Qt::LeftButton);
  });
  EXPECT_TRUE(ShowProperties(nullptr, settings, hooks()));
  EXPECT_EQ(settings.SRTime, 120);
  EXPECT_EQ(settings.IcdName, "Ridge Fire");
}

struct TypedFormat {
  const char* box;
  const char* text;
  bool passes;
};

void PrintTo(const TypedFormat& c, std::ostream* os) { *os << c.box << " \"" << c.text << "\""; }

std::string RowName(const ::testing::TestParamInfo<TypedFormat>& info) {
  std::string name = std::string(info.param.box) + "_" + std::to_string(info.index);
  return name;
}

class FormatTyped : public PropertiesDialog, public ::testing::WithParamInterface<TypedFormat> {};

TEST_P(FormatTyped, OkAcceptsOrRefusesTheTypedFormat) {
  const TypedFormat c = GetParam();
  const bool isDate = std::string(c.box) == "txtFormat_0";
  open();
  retype(c.box, QLatin1String(c.text));
  if (!c.passes) dialogs.expectMessage(isDate ? "Invalid date format.  See hint on form" : "Invalid time format.  See Hint on form");
  click("cmdOK");
  EXPECT_EQ(dlg->result() == QDialog::Accepted, c.passes);
  EXPECT_EQ(dlg->isVisible(), !c.passes);
  if (c.passes) {
    EXPECT_EQ(isDate ? settings.DateFormat : settings.TimeFormat, c.text);
  } else {
    EXPECT_TRUE(yellow(c.box));
    EXPECT_EQ(QApplication::focusWidget(), box(c.box));
    const QString hint = find<QLabel>("lblHint")->text();
    EXPECT_TRUE(hint.contains(isDate ? QStringLiteral("dd-mmm-yyyy = 19-Nov-2026") : QStringLiteral("hh:mm = 14:05")))
        << hint.toStdString();
    EXPECT_EQ(isDate ? settings.DateFormat : settings.TimeFormat, isDate ? "mm/dd/yyyy" : "hh:mm");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, FormatTyped,
    ::testing::Values(TypedFormat{"txtFormat_0", "dd-mmm-yyyy", true}, TypedFormat{"txtFormat_0", "mm/dd/yy", true},
                      TypedFormat{"txtFormat_0", "DD.MM.YYYY", true}, TypedFormat{"txtFormat_0", "yyyy_mm", false},
                      TypedFormat{"txtFormat_1", "HH:mm:ss", true}, TypedFormat{"txtFormat_1", "hh:mm", true},
                      TypedFormat{"txtFormat_1", "hh.mm", true}, TypedFormat{"txtFormat_1", "ttttt", true},
                      TypedFormat{"txtFormat_1", "hh:mm AM", false}, TypedFormat{"txtFormat_1", "hh/mm", false}),
    RowName);

TEST_F(PropertiesDialog, EmptyFormatShowsQuestionMarkAndTypingRestoresTheColour) {
  open();
  retype("txtFormat_1", QString());
  dialogs.expectMessage("Invalid time format.  See Hint on form");
  click("cmdOK");
  EXPECT_TRUE(dlg->isVisible());
  EXPECT_EQ(box("txtFormat_1")->text(), QStringLiteral("?"));
  EXPECT_TRUE(yellow("txtFormat_1"));
  EXPECT_FALSE(yellow("txtFormat_0"));
  QTest::keyClick(box("txtFormat_1"), Qt::Key_Backspace);
  EXPECT_FALSE(yellow("txtFormat_1"));
}

TEST_F(PropertiesDialog, IntervalBoundaryAndUnstorableTexts) {
  struct Row {
    const char* text;
    bool passes;
  };
  for (const Row r : {Row{"29", false}, Row{"30", true}, Row{"45abc", false}, Row{"40000", false}}) {
    settings.SRTime = 60;
    open();
    goToTab(kTabRemoteAccess);
    retype("txtServer_3", QLatin1String(r.text));
    goToTab(kTabFormatting);
    click("cmdOK");
    EXPECT_EQ(dlg->result() == QDialog::Accepted, r.passes) << r.text;
    if (r.passes) {
      EXPECT_EQ(settings.SRTime, 30);
    } else {
      EXPECT_EQ(settings.SRTime, 60) << r.text;
      EXPECT_TRUE(yellow("txtServer_3")) << r.text;
      EXPECT_EQ(find<QTabWidget>("SSTab1")->currentIndex(), kTabRemoteAccess);
      // The first key press clears the mark; the check alone puts it back.
      QTest::keyClick(box("txtServer_3"), Qt::Key_End);
      EXPECT_FALSE(yellow("txtServer_3"));
    }
  }
}

TEST_F(PropertiesDialog, EmptyHostAndBadDateTogetherShowTheFormattingTab) {
  open();
  goToTab(kTabRemoteAccess);
  retype("txtServer_0", QString());
  goToTab(kTabFormatting);
  retype("txtFormat_0", QStringLiteral("yyyy_mm"));
  goToTab(kTabRoutes);
  dialogs.expectMessage("Invalid date format.  See hint on form");
  click("cmdOK");
  EXPECT_TRUE(dlg->isVisible());
  EXPECT_TRUE(yellow("txtServer_0"));
  EXPECT_TRUE(yellow("txtFormat_0"));
  EXPECT_EQ(find<QTabWidget>("SSTab1")->currentIndex(), kTabFormatting);
  EXPECT_EQ(settings.HostName, "127.0.0.1");
}

TEST_F(PropertiesDialog, ValuesStoredByAFailedCheckSurviveCancel) {
  settings.POA = 0;
  settings.POAFile.clear();
  open();
  goToTab(kTabReceiving);
  click("chkPlayOnArrival");
  dialogs.expectFile("Select .wav file name", "/home/op/siren.wav");
  click("cmdBrowse");
  EXPECT_EQ(dialogs.lastFileRequest.initialDir, "/data");
  EXPECT_EQ(box("txtPlayOnArrival")->text(), QStringLiteral("siren.wav"));
  goToTab(kTabRoutes);
  QTest::keyClicks(box("txtDefualtToRoute"), QStringLiteral("x"));
  click("chkKeepLocal");
  goToTab(kTabOther);
  click("optBrowse_1");
  goToTab(kTabRemoteAccess);
  retype("txtServer_3", QStringLiteral("10"));
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

TEST_F(PropertiesDialog, StartBrowseAboveOneOpensAtTheEndAndOkStoresOne) {
  settings.STARTBROWSE = 5;
  open();
  EXPECT_TRUE(find<QRadioButton>("optBrowse_1")->isChecked());
  EXPECT_FALSE(find<QRadioButton>("optBrowse_0")->isChecked());
  click("cmdOK");
  EXPECT_EQ(dlg->result(), QDialog::Accepted);
  EXPECT_EQ(settings.STARTBROWSE, 1);
}

TEST_F(PropertiesDialog, RouteTypedInLowerCaseIsShownAndStoredInCapitals) {
  open();
  goToTab(kTabRoutes);
  retype("txtDefualtToRoute", QStringLiteral("icp-2b"));
  EXPECT_EQ(box("txtDefualtToRoute")->text(), QStringLiteral("ICP-2B"));
  click("cmdOK");
  EXPECT_EQ(settings.DEFDEST, "ICP-2B");
}

TEST_F(PropertiesDialog, UncheckingPlayDisablesTheSoundControlsAndKeepsTheFile) {
  open();
  goToTab(kTabReceiving);
  for (const char* n : {"txtPlayOnArrival", "cmdBrowse", "cmdTestWav"}) EXPECT_TRUE(find<QWidget>(n)->isEnabled());
  click("cmdTestWav");
  EXPECT_EQ(sound.played, std::vector<std::string>{"/snd/bell.wav"});
  click("chkPlayOnArrival");
  for (const char* n : {"txtPlayOnArrival", "cmdBrowse", "cmdTestWav"}) EXPECT_FALSE(find<QWidget>(n)->isEnabled());
  click("cmdOK");
  EXPECT_EQ(settings.POA, 0);
  EXPECT_EQ(settings.POAFile, "/snd/bell.wav");
}

TEST_F(PropertiesDialog, BrowseStartsBesideTheCurrentSoundAndCancelKeepsIt) {
  open();
  goToTab(kTabReceiving);
  dialogs.expectFile("Select .wav file name", "");
  click("cmdBrowse");
  EXPECT_EQ(dialogs.lastFileRequest.initialDir, "/snd");
  EXPECT_EQ(dialogs.lastFileRequest.fileName, "bell.wav");
  EXPECT_EQ(box("txtPlayOnArrival")->text(), QStringLiteral("bell.wav"));
}

TEST_F(PropertiesDialog, LinkTestUsesTheTypedHostThenRestoresTheOldOne) {
  open();
  goToTab(kTabRemoteAccess);
  retype("txtServer_0", QStringLiteral("radio-pc"));
  retype("txtServer_1", QStringLiteral("9400"));
  dialogs.expectMessage("Link Test to Pmdirect passed");
  click("cmdTest");
  ASSERT_EQ(testHosts.size(), 1u);
  EXPECT_EQ(testHosts[0], "radio-pc:9400");
  EXPECT_EQ(testTexts[0], "<test>This is the ICS-213 test startup msg</test>");
  EXPECT_EQ(statusCleared, 1);
  EXPECT_EQ(settings.HostName, "127.0.0.1");
  EXPECT_EQ(settings.Port, "9334");

  linkWorks = false;
  dialogs.expectMessage("Link Test to Pmdirect failed.  Check the following:");
  click("cmdTest");
  EXPECT_EQ(dialogs.shown.back().icon, MsgIcon::Exclamation);
  EXPECT_EQ(statusCleared, 1);
  click("cmdCancel");
  EXPECT_EQ(settings.HostName, "127.0.0.1");
  EXPECT_EQ(settings.Port, "9334");
}

TEST_F(PropertiesDialog, StationTextSurvivesTheWidgets) {
  settings.IcdName = "Caf\xe9 Fire";  // Windows-1252 e acute
  open();
  EXPECT_EQ(box("txtDefaults_4")->text(), QString::fromUtf8("Caf\xc3\xa9 Fire"));
  click("cmdOK");
  EXPECT_EQ(settings.IcdName, "Caf\xe9 Fire");
}

}  // namespace
}  // namespace velnor
