#pragma once
// The real main window offscreen over a temporary APPDATA, with scripted dialogs and a fixed clock.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTcpServer>
#include <QTest>
#include <filesystem>

#include "app/Settings.h"
#include "core/AtomicFile.h"
#include "core/Clock.h"
#include "core/DateTime.h"
#include "core/EventLog.h"
#include "editor/qt/FrmMessage.h"
#include "platform/qt/QtEventLoop.h"
#include "platform/qt/QtSocket.h"
#include "print/qt/QtPrinterSystem.h"
#include "store/IcsMsg.h"
#include "tests/sim/SimHarness.h"
#include "tests/support/RecordingSound.h"
#include "tests/support/ScriptedDialogs.h"
#include "tests/support/TempDir.h"

namespace velnor::testing {

inline QApplication& App() {
  static int argc = 1;
  static char name[] = "test_editor";
  static char* argv[] = {name, nullptr};
  static QApplication* app = new QApplication(argc, argv);
  return *app;
}

using Names = std::vector<std::string>;

inline std::string Slurp(const std::string& path) { return ReadWholeFile(path, "test"); }

inline MsgRecord Sample(Status status, Origin origin, Kind kind, const std::string& subj) {
  MsgRecord r;
  r.setStatus(status);
  r.setOrigin(origin);
  r.setKind(kind);
  r.setSubj(subj);
  r.setTo("Logistics");
  r.setToPos("Chief");
  r.setFr("Planning");
  r.setFrPos("Lead");
  r.setMsg("Line one\r\nLine two");
  r.setIcdName("Ridge Fire");
  r.setRoute("LOCAL:0");
  return r;
}

// Another station logs on to the simulator, hands in the texts and quits.
inline void HandIn(int port, const std::string& station, const Names& texts) {
  SimClient c(port);
  ASSERT_EQ(c.ask("<!REG!>", "LOGON>"), "LOGON>");
  ASSERT_EQ(c.ask("<!LOGON!>" + station, "OK>"), "OK>");
  for (const std::string& text : texts) ASSERT_EQ(c.ask(text, "OK>"), "OK>");
  ASSERT_EQ(c.ask("QUIT", "QUITING>"), "QUITING>");
}

// A port on loopback where nothing listens.
inline int DeadPort() {
  QTcpServer s;
  s.listen(QHostAddress::LocalHost, 0);
  const int port = s.serverPort();
  s.close();
  return port;
}

class WindowTest : public ::testing::Test {
 protected:
  WindowTest() : clock(ToOleDate({2026, 11, 19, 14, 5, 9})), appData(tmp.path() + "/appdata") {
    printers.setPrinterLister([] { return QList<QtPrinterSystem::SystemPrinter>{}; });
    std::filesystem::create_directories(appData);  // it exists on any desktop; below it is ours
  }

  // Short waits, the given Pmdirect port (default: a dead one), the incident and To/From defaults.
  static Settings QuickSettings(int port = DeadPort()) {
    Settings s;
    s.Port = std::to_string(port);
    s.TimeOut = "2000";
    s.Pausev = 1;
    s.SRTime = 3600;
    s.IcdName = "Ridge Fire";
    s.DefTo = "Logistics";
    s.DefToPos = "Chief";
    s.DefFr = "Planning";
    s.DefFrPos = "Lead";
    return s;
  }

  // Writes the settings file (none: a first start) and builds the window; start() runs start-up.
  void build(const std::optional<Settings>& s, const std::string& id) {
    if (s) {
      std::filesystem::create_directories(dataPath);
      WriteSettings(dataPath + "/velnor.ini", *s);
    }
    const FileLib::Environment env{[exeDir = tmp.path() + "/bin/velnor"] { return exeDir; },
                                   [app = appData](const char* key) {
                                     return std::string(key) == "APPDATA" ? std::optional(app) : std::nullopt;
                                   }};
    win = std::make_unique<FrmMessage>(
        FrmMessageDeps{dialogs, sound, clock, eventLog, loop, socket, printers, env});
    dialogs.expectInput("Enter your Identifier (i.e.: name, callsign, etc)", id);
  }
  void start(const std::optional<Settings>& s = QuickSettings(), const std::string& id = "k1abc") {
    build(s, id);
    ASSERT_TRUE(win->Form_Load());
    win->activateWindow();
    QApplication::setActiveWindow(win.get());
    ed = win->editor();
  }

  template <class W = QWidget>
  W* find(const char* name) const {
    return win->findChild<W*>(name);
  }
  QPushButton* button(const char* name) const { return find<QPushButton>(name); }
  void click(const char* name) const {
    QPushButton* b = button(name);
    ASSERT_NE(b, nullptr) << name;
    ASSERT_TRUE(b->isEnabled()) << name << " is disabled";
    b->click();
  }
  QWidget* field(Field f) const { return find(("txtField_" + std::to_string(FieldIndex(f))).c_str()); }
  void type(Field f, const char* text) const { QTest::keyClicks(field(f), text); }
  void trigger(const char* action) const {
    auto* a = win->findChild<QAction*>(action);
    ASSERT_NE(a, nullptr) << action;
    a->trigger();
  }

  // The commands enabled now, as their names, in the order of the Command enum.
  Names Enabled() const {
    static const char* names[] = {
        "mnuPrint", "mnuSave",   "mnuOpen",  "cmdNew",    "cmdSend", "cmdSave",  "cmdDelete",
        "cmdClose", "cmdBrowse", "cmdBLeft", "cmdBRight", "cmdEdit", "cmdReply", "cmdSetFieldsAsDefault"};
    Names out;
    for (int c = 0; c < kCommandCount; ++c) {
      if (win->commandEnabled(static_cast<Command>(c))) out.push_back(names[c]);
    }
    return out;
  }
  // Mode, edit state, 'E'ditable or 'L'ocked per field in the form's order (typing needs
  // enabled and not read-only), and " route" when the routing frame is enabled.
  std::string State() const {
    std::string out = std::string(ModeName(ed->EditorMode())) + " " + std::to_string(ed->EditState()) + " ";
    for (Field f : kAllFields) out += win->readOnly(f) || !field(f)->isEnabled() ? 'L' : 'E';
    const bool route = find("txtDefaultToRoute")->isEnabled() && find("chkKeepLocal")->isEnabled();
    return route ? out + " route" : out;
  }
  std::string FocusName() const {
    return win->focusWidget() ? win->focusWidget()->objectName().toStdString() : "";
  }
  std::string MsgInfo() const { return find<QLabel>("lblMsgInfo")->text().toStdString(); }
  std::string BrowsePtr() const { return find<QLabel>("lblBrowsePtr")->text().toStdString(); }

  // Straight into the store, as another program or the decoder would.
  std::int32_t StoreRecord(Status status, Origin origin, Kind kind, const std::string& subj) {
    std::filesystem::create_directories(dataPath);
    IcsMsg s(dataPath, eventLog);
    s.rec() = Sample(status, origin, kind, subj);
    return s.NewMsg();
  }
  MsgRecord Stored(std::int32_t n) {
    IcsMsg s(dataPath, eventLog);
    EXPECT_TRUE(s.Load(n)) << n;
    return s.rec();
  }
  Status StoredStatus(std::int32_t n) { return Stored(n).Status(); }

  QApplication& app = App();  // before anything that needs Qt
  TempDir tmp;
  ScriptedDialogs dialogs;
  RecordingSound sound;
  FixedClock clock;
  RecordingEventLog eventLog;
  QtEventLoop loop;
  QtSocket socket;
  QtPrinterSystem printers;
  std::string appData;
  std::string dataPath = appData + "/velnor";
  std::unique_ptr<FrmMessage> win;
  MessageEditor* ed = nullptr;
};

}  // namespace velnor::testing
