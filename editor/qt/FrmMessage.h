#pragma once
// The main window, frmMessage: the ICS 213 form, its command buttons, menus and status
// bar. It is the program: Form_Load runs start-up, closing it runs shutdown. The form
// logic lives in MessageEditor; this class binds it to widgets (EditorView), gives the
// link its status bar and codec (LinkHost) and opens a notice per received message
// (NoticeSink).
#include <QMainWindow>
#include <QMessageBox>
#include <QPointer>
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/FileLib.h"
#include "app/Settings.h"
#include "editor/EditorView.h"
#include "editor/MessageEditor.h"
#include "format/Notice.h"
#include "link/LinkHost.h"

class QAction;
class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QScrollArea;
class QTimer;

namespace velnor {

class Clock;
class Dialogs;
class EventLog;
class EventLoop;
class FrmSessionLog;
class FrmMsgList;
class IcsPrint;
class PmGlobal;
class PmLink;
class PrinterSystem;
class SessionLog;
class Socket;
class Sound;

// The platform pieces main.cpp builds; tests hand in scripted and fixed ones.
struct FrmMessageDeps {
  Dialogs& dialogs;
  Sound& sound;
  Clock& clock;
  EventLog& eventLog;
  EventLoop& loop;
  Socket& socket;
  PrinterSystem& printers;
  FileLib::Environment env;
};

// Red text on a label that reports a failure or a limit reached; normal again with false.
void SetAlarm(QLabel* label, bool alarm);

class FrmMessage : public QMainWindow, public EditorView, public LinkHost, public NoticeSink {
  Q_OBJECT
 public:
  explicit FrmMessage(FrmMessageDeps deps, QWidget* parent = nullptr);
  ~FrmMessage() override;

  // Start-up. False when the program is to end: the data directory cannot be found or
  // made, or the window was closed before start-up was through (Unloaded()).
  bool Form_Load();
  // The window has been closed, and with it the program.
  bool Unloaded() const { return m_unloaded; }

  MessageEditor* editor() { return m_editor.get(); }
  PmLink* link() { return m_link.get(); }
  Settings& settings() { return m_settings; }
  const std::string& DataPath() const { return m_dataPath; }
  const std::string& LogFile() const { return m_logFile; }

  // EditorView
  std::string text(TextBox box) const override;
  void setText(TextBox box, const std::string& text) override;
  bool readOnly(TextBox box) const override;
  void setReadOnly(TextBox box, bool on) override;
  void setTabStop(TextBox box, bool on) override;
  void setEnabled(TextBox box, bool on) override;
  std::uint32_t backColour(TextBox box) const override;
  void setBackColour(TextBox box, std::uint32_t colour) override;
  void setForeColour(TextBox box, std::uint32_t colour) override;
  int selStart(TextBox box) const override;
  std::string selectedText(TextBox box) const override;
  void replaceSelection(TextBox box, const std::string& text) override;
  void selectAll(TextBox box) override;
  bool keepLocal() const override;
  void setKeepLocal(bool on) override;
  void setKeepLocalEnabled(bool on) override;
  void setReplyLabelsEnabled(bool on) override;
  void setCommandEnabled(Command c, bool on) override;
  bool commandEnabled(Command c) const override;
  void focusBox(TextBox box) override;
  void focusCommand(Command c) override;
  std::optional<TextBox> focusedBox() const override;
  void setMsgInfo(const std::string& text) override;
  void setLengthCounter(Field body, const std::string& text, bool full) override;
  void setBrowsePtr(const std::string& text) override;
  void setStatus(const std::string& text) override;
  std::string status() const override;
  void setCaption(const std::string& text) override;
  void clearClipboard() override;
  void setClipboardText(const std::string& text) override;
  std::string clipboardText() const override;

  // LinkHost
  void setStatus(const std::string& panelKey, const std::string& text) override;
  std::string status() override;
  void RefreshMsgInfo(std::int32_t msgNo, Status now) override;
  std::string EncodeMsg(const MsgRecord& rec) override;
  std::int32_t StoreMsg(const std::string& text) override;
  // One box that does not wait; further warnings are added to it while it is open.
  void Warn(const std::string& text) override;
  // The connection panel keeps the outcome until the next session; a failure in red.
  void SessionEnded(bool ok, const std::string& why) override;

  // NoticeSink: one notice window per received message.
  void ShowNotice(const std::string& text, std::int32_t number) override;
  // Number of notice windows open now.
  int OpenNotices() const;

  // View > Message List: the list window, made on first use.
  void mnuMsgList_Click();
  FrmMsgList* msgList() const;

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void BuildForm();
  void BuildMenus();
  void ConnectCommands();
  QWidget* box(TextBox b) const;
  QLineEdit* lineBox(TextBox b) const;
  QPlainTextEdit* bodyBox(TextBox b) const;
  // The text box that is this widget, if one is.
  std::optional<TextBox> boxOf(const QObject* widget) const;
  QWidget* commandWidget(Command c) const;
  bool isCommandButton(const QObject* widget) const;
  // Space on a command button the operator did not choose is swallowed (true).
  bool CommandButtonEvent(QObject* button, QEvent* event);
  void SetTabOrder();
  void PlaceNotice(QWidget* notice) const;
  void ApplyColours(TextBox b);
  void tmrClock_Timer();
  void mnuPrint_Click();
  void mnuPrintSetup_Click();
  void mnuCommLog_Click();
  void mnuProperties_Click();
  void mnuAbout_Click();
  void mnuSessionLog_Click();
  void mnuGuide_Click();
  void mnuShortcuts_Click();
  void WriteLog(const std::string& line);
  // Start-up cut short by the window's closing; the program ends.
  bool StartupAbandoned();
  // Runs a window handler; a failure goes to the log and the "Status" panel.
  void Guard(const char* routine, const std::function<void()>& f);
  // The message list's Open: the message in the form, as Browse shows it.
  void OpenFromList(std::int32_t number);
  // This process has just written these messages: the message list reads them again.
  void StoreTouched(const std::vector<std::int32_t>& numbers);

  FrmMessageDeps m_deps;
  Settings m_settings;
  std::string m_dataPath;
  std::string m_logsPath;
  std::string m_settingsFile;
  std::string m_logFile;
  std::unique_ptr<MessageEditor> m_editor;
  std::unique_ptr<IcsPrint> m_printer;
  std::unique_ptr<SessionLog> m_sessionLog;
  std::unique_ptr<PmLink> m_link;
  std::unique_ptr<PmGlobal> m_pmGlobal;  // program-wide, start-up to shutdown

  // Indexed by TextBox::index(): the fields, then the route box.
  std::array<QWidget*, kTextBoxCount> m_boxes{};
  std::array<std::uint32_t, kTextBoxCount> m_back{};
  std::array<std::uint32_t, kTextBoxCount> m_fore{};
  std::array<QLabel*, 3> m_lblRep{};
  std::array<QWidget*, kCommandCount> m_commands{};  // buttons; null for the menu items
  std::array<QAction*, 3> m_commandActions{};         // mnuPrint, mnuSave, mnuOpen
  QCheckBox* m_chkKeepLocal = nullptr;
  QGroupBox* m_frame2 = nullptr;
  QLabel* m_lblMsgInfo = nullptr;
  QLabel* m_lblBrowsePtr = nullptr;
  std::array<QLabel*, 2> m_lengthCounters{};  // under the message and the reply body
  QLabel* m_panelStatus = nullptr;
  QLabel* m_panelNetState = nullptr;
  QLabel* m_panelCurrentTime = nullptr;
  QAction* m_mnuSaveAs = nullptr;
  QTimer* m_tmrClock = nullptr;
  QScrollArea* m_scrForm = nullptr;
  QPointer<QMessageBox> m_warning;
  QPointer<FrmSessionLog> m_frmSessionLog;
  QPointer<QWidget> m_frmGuide;
  QPointer<QWidget> m_frmShortcuts;
  // The command button that may take a Space: one the operator clicked or moved to by a
  // Tab pressed on another button (m_tabOnButton while that Tab is handled).
  QPointer<QObject> m_armedButton;
  bool m_tabOnButton = false;
  QPointer<FrmMsgList> m_msgList;
  bool m_sendSession = false;  // the session that Send runs, while the form waits for it
  bool m_unloaded = false;
};

}  // namespace velnor
