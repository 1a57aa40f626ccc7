// The main window as the program: start-up, shutdown, the clock, the link host, the
// notices, and the menu commands served by other subsystems.
#include <QApplication>
#include <QCloseEvent>
#include <QGroupBox>
#include <QLabel>
#include <QScreen>
#include <QSettings>
#include <QTimer>

#include "app/SessionLog.h"
#include "core/Clock.h"
#include "core/Cp1252.h"
#include "core/DateTime.h"
#include "core/VError.h"
#include "editor/Trap.h"
#include "editor/qt/AboutBox.h"
#include "editor/qt/FrmMessage.h"
#include "editor/qt/FrmNewMsgPopup.h"
#include "editor/qt/HelpWindows.h"
#include "format/Decoder.h"
#include "format/Encoder.h"
#include "link/PmLink.h"
#include "log309/qt/CommLogDialog.h"
#include "logview/qt/FrmSessionLog.h"
#include "msglist/TouchingOutbox.h"
#include "platform/Dialogs.h"
#include "platform/qt/WindowState.h"
#include "print/IcsPrint.h"
#include "print/PmGlobal.h"
#include "print/PrintCommand.h"
#include "print/PrinterSystem.h"
#include "settings_ui/qt/frmProperties.h"

namespace velnor {

namespace {
constexpr const char* kGeometryKey = "MainWindow/geometry";
}

FrmMessage::~FrmMessage() = default;

void FrmMessage::WriteLog(const std::string& line) {
  if (m_sessionLog) m_sessionLog->WriteLog(line);
}

void FrmMessage::Guard(const char* routine, const std::function<void()>& f) {
  TrapFailure(routine, f, [this](const std::string& text) {
    WriteLog(text);
    setStatus(text);
  });
}

bool FrmMessage::StartupAbandoned() {
  QApplication::restoreOverrideCursor();
  return false;
}

bool FrmMessage::Form_Load() {
  Dialogs& dialogs = m_deps.dialogs;
  // 1-2: the data directory tree. Without it nothing can be kept, so the program ends.
  try {
    m_dataPath = FileLib::DefineDataPath(FileLib::WhereAmI(m_deps.env, m_deps.eventLog), "Pellmoor.conf", m_deps.env,
                                         m_deps.eventLog);
    if (!FileLib::CheckDirectories(m_dataPath, m_logsPath, dialogs, m_deps.eventLog)) return false;
  } catch (const VError& e) {
    dialogs.messageBox("The data directory could not be set up:\r\n" + e.description() + "\r\n(" + e.source() + ")",
                       kProgramTitle, MsgButtons::Ok, MsgIcon::Critical);
    return false;
  } catch (const std::exception& e) {
    dialogs.messageBox(std::string("The data directory could not be set up:\r\n") + e.what(), kProgramTitle,
                       MsgButtons::Ok, MsgIcon::Critical);
    return false;
  }

  // 3-4: the store object, the form printer, the locked empty form.
  m_settingsFile = m_dataPath + "/velnor.ini";
  m_sessionLog = std::make_unique<SessionLog>(m_deps.clock, dialogs);
  EditorContext ctx{*this,          dialogs,        m_deps.clock, m_deps.eventLog, m_settings,
                    m_settingsFile, m_dataPath,     {},           {}};
  ctx.runSession = [this] {
    if (!m_link) return;
    // Send has saved and queued the message: the list learns it before the session starts.
    StoreTouched({m_editor->CurrentMsgNo()});
    m_sendSession = true;
    m_link->SendSession();
    m_sendSession = false;
  };
  ctx.writeLog = [this](const std::string& line) { WriteLog(line); };
  m_editor = std::make_unique<MessageEditor>(std::move(ctx));
  m_printer = std::make_unique<IcsPrint>(m_deps.printers, ProgramVersion());
  m_editor->StartupBegin();

  // 5-6: Pellmoor's global file needs the data directory and our version for its defaults.
  // Pellmoor can print only on a system printer, never on our own PDF output.
  m_pmGlobal = std::make_unique<PmGlobal>(m_dataPath, ProgramVersion(), m_deps.eventLog,
                                          [this] { return m_deps.printers.CurrentSystemPrinterName(); });

  m_link = std::make_unique<PmLink>(
      m_deps.loop, m_deps.socket, m_settings, *this, *m_sessionLog, dialogs,
      TouchingOutbox(StoreOutbox(m_dataPath, m_deps.eventLog), [this](std::int32_t n) { StoreTouched({n}); }),
      m_dataPath);

  // 7-10: visible from here on, so the progress can be followed; where the operator left it.
  setCaption(kProgramTitle);
  restoreGeometry(QSettings(kStateOrganisation, kStateApplication).value(kGeometryKey).toByteArray());
  show();
  m_frame2->setToolTip(
      "Changes the Destination Routing for this message only.\r\n"
      "To change the Destination Routing for all messages, go to \r\n"
      "Setup > Properties, abd select the Routing Tab.");
  setStatus("Starting up... ");
  m_panelNetState->clear();
  m_panelCurrentTime->clear();
  QApplication::setOverrideCursor(Qt::WaitCursor);

  // 11: settings; a file that cannot be made leaves the defaults and is reported.
  try {
    m_settings = ReadSettings(m_settingsFile);
  } catch (const VError& e) {
    m_settings = Settings{};
    setStatus("Settings file could not be written: " + e.description());
  }

  // 12-15: the day's log. From here on every wait lets the operator close the window,
  // which ends the program there and then.
  m_sessionLog->SetLogDirectory(SessionLog::ChooseLogDirectory(m_logsPath, m_dataPath));
  m_logFile = m_sessionLog->logFile();
  m_sessionLog->SetLoggingOn(true);
  m_link->Pause(50);
  if (m_unloaded) return StartupAbandoned();
  m_sessionLog->SetupLog();
  if (!m_sessionLog->loggingOn()) {
    setStatus("Starting up logging... failed; continuing anyway");
    m_link->Pause(2000);
    if (m_unloaded) return StartupAbandoned();
  }

  // 16-17: who is operating.
  m_editor->mnuIdentifier_Click();
  if (m_unloaded) return StartupAbandoned();
  setCaption(m_editor->MainCaption());

  // Texts an earlier run received but could not file.
  m_link->FileKept();

  // 18-20: one whole session as the link test, then the schedule.
  setStatus("Link Test... ");
  m_link->setSessionRunning(false);
  bool passed = false;
  try {
    passed = m_link->SeqPmdirect();
  } catch (const std::exception& e) {
    WriteLog(std::string("Link Test: ") + e.what());
  }
  if (m_unloaded) return StartupAbandoned();
  if (passed) {
    setStatus("Link Test... Passed");
    WriteLog("Link Test to Pmdirect... passed");
    m_link->Pause(1000);
  } else {
    setStatus("Link Test... Failed");
    WriteLog("Link Test to Pmdirect... failed");
    dialogs.beep();
    m_link->Pause(500);
  }
  if (m_unloaded) return StartupAbandoned();
  m_link->StartSRTimer();

  // 21-22. A failed link test stays in view until the operator acts, not only in the log.
  m_editor->StartupEnd();
  const std::string& why = m_link->LastFailure();
  setStatus(passed ? "Velnor Ready" : "Velnor Ready. Link Test failed" + (why.empty() ? "" : ": " + why));
  QApplication::restoreOverrideCursor();
  return true;
}

void FrmMessage::closeEvent(QCloseEvent* event) {
  if (!m_editor) {
    event->accept();
    return;
  }
  bool refuse = false;
  Guard("Form_Unload", [&] {
    if (!m_editor->MessageSaved()) {
      const MsgAnswer a = m_deps.dialogs.messageBox("Message changed and was not saved.\r\nDo you really want to quit?",
                                                    "Message Close", MsgButtons::YesNo);
      if (a != MsgAnswer::Yes) {
        refuse = true;
        return;
      }
      if (m_editor->EditorMode() == EditorMode::New) {
        // The draft made by New stays in the store, marked as given up.
        IcsMsg& rec = m_editor->CurrentRecord();
        rec.rec().setStatus(Status::Abandoned);
        rec.Update(m_editor->CurrentMsgNo());
      }
    }
  });
  if (!refuse && m_link && m_link->SessionRunning()) {
    m_deps.dialogs.messageBox("Connection in progress; please wait\r\nfor the program to disconnect from Pmdirect.",
                              kProgramTitle, MsgButtons::Ok);
    refuse = true;
  }
  if (refuse) {
    event->ignore();
    return;
  }
  m_tmrClock->stop();
  if (m_link) m_link->tmrSRTimer().setEnabled(false);
  QSettings(kStateOrganisation, kStateApplication).setValue(kGeometryKey, saveGeometry());
  // Writes "Pellmoor.glo" back if anything marked it changed.
  m_pmGlobal.reset();
  m_unloaded = true;
  event->accept();
}

void FrmMessage::tmrClock_Timer() {
  Guard("tmrClock_Timer", [&] {
    m_panelCurrentTime->setText(QString::fromStdString(FormatDate(m_deps.clock.now(), "hh:nn:ss") + " "));
    if (m_link) m_link->ClockTick();
  });
}

// ---- LinkHost ----

void FrmMessage::setStatus(const std::string& panelKey, const std::string& t) {
  if (panelKey == "Status") {
    setStatus(t);
  } else if (panelKey == "NetState") {
    m_panelNetState->setText(QString::fromStdString(t));
    SetAlarm(m_panelNetState, false);
  } else if (panelKey == "CurrentTime") {
    m_panelCurrentTime->setText(QString::fromStdString(t));
  }
}

void FrmMessage::SessionEnded(bool ok, const std::string& why) {
  m_panelNetState->setText(
      QString::fromStdString(Cp1252ToUtf8(LastSessionText(ok, why, m_deps.clock.now()))));
  SetAlarm(m_panelNetState, !ok);
}

std::string FrmMessage::status() { return static_cast<const FrmMessage*>(this)->status(); }

void FrmMessage::RefreshMsgInfo(std::int32_t msgNo, Status now) {
  if (m_editor) m_editor->StatusChangedInStore(msgNo, now);
}

std::string FrmMessage::EncodeMsg(const MsgRecord& rec) { return EncodeRecord(rec, m_settings.LoginName); }

std::int32_t FrmMessage::StoreMsg(const std::string& t) {
  StoreMsgContext ctx{m_dataPath, m_deps.eventLog, *m_sessionLog, *this, m_settings.DateFormat, m_settings.TimeFormat};
  const std::int32_t n = velnor::StoreMsg(t, Origin::Received, ctx);
  StoreTouched({n});
  return n;
}

void FrmMessage::Warn(const std::string& t) {
  const QString text = QString::fromStdString(Cp1252ToUtf8(t)).replace("\r\n", "\n");
  if (m_warning) {
    m_warning->setText(m_warning->text() + "\n" + text);
  } else {
    m_warning = new QMessageBox(QMessageBox::Warning, kProgramTitle, text, QMessageBox::Ok, this);
    m_warning->setObjectName("msgWarning");
    m_warning->setAttribute(Qt::WA_DeleteOnClose);
    m_warning->setWindowModality(Qt::NonModal);
    m_warning->setTextInteractionFlags(Qt::TextSelectableByMouse);
  }
  m_warning->show();
}

// ---- notices ----

void FrmMessage::ShowNotice(const std::string& t, std::int32_t number) {
  auto* notice = new FrmNewMsgPopup(
      NoticeDeps{m_deps.dialogs, m_deps.sound, m_settings,
                 [this] { return m_editor ? m_editor->EditState() : short{0}; },
                 [this](std::int32_t n) {
                   if (!m_editor) return;
                   m_editor->OpenFromNotice(n);
                   StoreTouched({n});
                 }},
      this);
  PlaceNotice(notice);
  notice->ShowNotice(t, number);
}

// Notices fill the screen from its top right corner downwards, then column by column to
// the left, each in the first place no open notice covers. Only when the screen is full do
// they cascade over the others.
void FrmMessage::PlaceNotice(QWidget* notice) const {
  QScreen* where = screen() ? screen() : QGuiApplication::primaryScreen();
  if (!where) return;
  const QRect area = where->availableGeometry();
  // A notice has the same frame as this window; before it is shown its own is not known.
  const QSize frame = frameGeometry().size() - size();
  const QSize outer = notice->size() + frame;
  constexpr int kGap = 6;
  QList<QRect> taken;
  for (auto* other : findChildren<FrmNewMsgPopup*>()) {
    if (other != notice && other->isVisible()) taken.push_back(other->frameGeometry());
  }
  const int rows = std::max(1, (area.height() + kGap) / (outer.height() + kGap));
  const int columns = std::max(1, (area.width() + kGap) / (outer.width() + kGap));
  for (int slot = 0; slot < rows * columns; ++slot) {
    const QRect place(area.right() + 1 - (slot / rows + 1) * (outer.width() + kGap) + kGap,
                      area.top() + (slot % rows) * (outer.height() + kGap), outer.width(), outer.height());
    if (std::none_of(taken.begin(), taken.end(), [&](const QRect& r) { return r.intersects(place); })) {
      notice->move(place.topLeft());
      return;
    }
  }
  const int step = static_cast<int>(taken.size() % 10) * 28;
  notice->move(area.right() + 1 - outer.width() - step, area.top() + step);
}

int FrmMessage::OpenNotices() const {
  int n = 0;
  for (auto* w : findChildren<FrmNewMsgPopup*>()) {
    if (w->isVisible()) ++n;
  }
  return n;
}

// ---- menu commands of other subsystems ----

void FrmMessage::mnuPrint_Click() {
  Guard("mnuPrint_Click", [&] {
    if (!m_editor || !m_printer) return;
    PrintCommandContext ctx{*m_printer, m_deps.printers, [this](const std::string& t) { setStatus(t); },
                            [this] {
                              FormTexts texts;
                              for (Field f : kAllFields) texts[f] = text(f);
                              return texts;
                            }};
    PrintMessage(m_editor->CurrentRecord().rec().MsgNo(), ctx);
  });
}

void FrmMessage::mnuPrintSetup_Click() {
  Guard("mnuPrintSetup_Click", [&] { PrintSetup(m_deps.printers); });
}

void FrmMessage::mnuCommLog_Click() {
  Guard("mnuCommLog_Click", [&] {
    if (m_dataPath.empty()) return;
    // Window state and preferences of our own live beside velnor.ini's fixed lines, never in them.
    QSettings memory("velnor", "velnor");
    CommLogDialog dialog(this, {m_dataPath, m_deps.eventLog, m_settings, m_deps.clock, m_deps.printers,
                                m_deps.dialogs, memory, ProgramVersion(), {}});
    dialog.exec();
  });
}

void FrmMessage::mnuProperties_Click() {
  Guard("mnuProperties_Click", [&] {
    if (!m_editor) return;
    PropertiesHooks hooks;
    hooks.dialogs = &m_deps.dialogs;
    hooks.clock = &m_deps.clock;
    hooks.sound = &m_deps.sound;
    hooks.pmdirectTest = [this](const std::string& t) { return m_link && m_link->PmdirectTest(t); };
    hooks.sessionRunning = [this] { return m_link && m_link->SessionRunning(); };
    hooks.clearStatus = [this] { setStatus(""); };
    hooks.dataPath = m_dataPath;
    ShowProperties(this, m_settings, hooks);
    WriteSettings(m_settingsFile, m_settings);
    // Against the interval the schedule runs on, not the one the dialog opened with.
    if (m_link && m_settings.SRTime != m_link->SRTimeStarted()) m_link->StartSRTimer();
  });
}

void FrmMessage::mnuAbout_Click() {
  AboutBox about(this);
  about.exec();
}

// One window of each at a time: asked again, the open one comes to the front.
namespace {
template <class Make>
void ShowOnce(QPointer<QWidget>& window, Make make) {
  if (!window) {
    window = make();
    window->setAttribute(Qt::WA_DeleteOnClose);
  }
  window->show();
  window->raise();
  window->activateWindow();
}
}  // namespace

void FrmMessage::mnuSessionLog_Click() {
  QPointer<QWidget> window = m_frmSessionLog.data();
  ShowOnce(window, [this] { return new FrmSessionLog(m_logFile, this); });
  m_frmSessionLog = qobject_cast<FrmSessionLog*>(window.data());
}

void FrmMessage::mnuGuide_Click() {
  ShowOnce(m_frmGuide, [this] { return NewGuideWindow(this); });
}

void FrmMessage::mnuShortcuts_Click() {
  ShowOnce(m_frmShortcuts, [this] { return NewShortcutsWindow(this); });
}

}  // namespace velnor
