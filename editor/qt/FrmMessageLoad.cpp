// The main window as the program: start-up, shutdown, the clock, the link host, the
// notices, and the menu commands served by other subsystems.
#include <QApplication>
#include <QCloseEvent>
#include <QGroupBox>
#include <QLabel>
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
#include "format/Decoder.h"
#include "format/Encoder.h"
#include "link/PmLink.h"
#include "msglist/TouchingOutbox.h"
#include "platform/Dialogs.h"
#include "print/IcsPrint.h"
#include "print/PmGlobal.h"
#include "print/PrintCommand.h"
#include "print/PrinterSystem.h"
#include "settings_ui/qt/frmProperties.h"

namespace velnor {

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
    m_link->RunSession();
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

  // 7-10: visible from here on, so the progress can be followed.
  setCaption(kProgramTitle);
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

  // 21-22
  m_editor->StartupEnd();
  setStatus("Velnor Ready");
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
      if (m_editor->EditorMode() == "NEW") {
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
  if (panelKey == "Status") setStatus(t);
  else if (panelKey == "NetState") m_panelNetState->setText(QString::fromStdString(t));
  else if (panelKey == "CurrentTime") m_panelCurrentTime->setText(QString::fromStdString(t));
}

std::string FrmMessage::status() { return static_cast<const FrmMessage*>(this)->status(); }

void FrmMessage::RefreshMsgInfo() {
  if (m_editor) m_editor->RefreshMsgInfo();
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
  auto* notice = new FrmNewMsgPopup(NoticeDeps{m_deps.dialogs, m_deps.sound, m_settings,
                                               [this] { return m_editor ? m_editor->EditState() : short{0}; },
                                               [this](std::int32_t n) {
                                                 if (!m_editor) return;
                                                 m_editor->OpenFromNotice(n);
                                                 StoreTouched({n});
                                               }},
                                    this);
  notice->ShowNotice(t, number);
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
                              for (int i = 0; i < kFieldCount; ++i) texts[static_cast<std::size_t>(i)] = text(i);
                              return texts;
                            }};
    PrintMessage(m_editor->CurrentRecord().rec().MsgNo(), ctx);
  });
}

void FrmMessage::mnuPrintSetup_Click() {
  Guard("mnuPrintSetup_Click", [&] { PrintSetup(m_deps.printers); });
}

void FrmMessage::mnuProperties_Click() {
  Guard("mnuProperties_Click", [&] {
    if (!m_editor) return;
    PropertiesHooks hooks;
    hooks.dialogs = &m_deps.dialogs;
    hooks.clock = &m_deps.clock;
    hooks.sound = &m_deps.sound;
    hooks.pmdirectTest = [this](const std::string& t) { return m_link && m_link->PmdirectTest(t); };
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

}  // namespace velnor
