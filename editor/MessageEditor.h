#pragma once
// The main window's form logic: the editor commands and the enabled-command table, field
// editability and colours, saving the form into the current record and showing a record,
// browsing, the field behaviours, the defaults, the identifier, the clipboard commands
// and inserting a text file. It works on an EditorView, so it runs without a window.
//
// Editor state: EditorMode is the name of the last command ("STARTUP", "MAIN", "NEW",
// "EDIT", "REPLY", "SAVE", "SEND", "DELETE", "CLOSE", "BROWSE"); EditState is 0 for an
// empty form, 1 for a stored message shown read-only, 2 while editing; MessageSaved is
// false while the form holds typing that is not in the store.
//
// The *_Click handlers and the field events trap every failure: it goes to the session
// log and the "Status" panel, and the handler returns. The procedures they use throw.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "app/Settings.h"
#include "editor/EditorView.h"
#include "print/PrintCommand.h"
#include "store/IcsMsg.h"

namespace velnor {

class Clock;
class Dialogs;
class EventLog;

struct EditorContext {
  EditorView& view;
  Dialogs& dialogs;
  const Clock& clock;
  EventLog& eventLog;
  Settings& settings;
  std::string settingsFile;  // rewritten after the defaults or the identifier change
  std::string dataPath;      // the store's directory and the open dialog's start
  // One whole session with Pmdirect (send what waits, fetch what is new). Empty: no link.
  std::function<void()> runSession;
  // One line to the day's session log; never fails.
  std::function<void(const std::string&)> writeLog;
};

class MessageEditor {
 public:
  static constexpr int kMsgFirst = 0, kMsgLast = 9, kRepFirst = 10, kRepLast = 13;

  explicit MessageEditor(EditorContext ctx);

  // Command buttons and menu items.
  void cmdNew_Click();
  void cmdEdit_Click();
  void cmdReply_Click();
  void cmdSave_Click();  // also File > Save
  void cmdSend_Click();
  void cmdDelete_Click();
  void cmdClose_Click();
  void cmdBrowse_Click();
  void cmdBLeft_Click();
  void cmdBRight_Click();
  void cmdSetFieldsAsDefault_Click();
  void mnuIdentifier_Click();
  void mnuCopy_Click();
  void MnuCut_Click();
  void mnuPaste_Click();
  void mnuOpen_Click();

  // Field events. KeyPress comes before the key reaches the box.
  void txtField_KeyPress(int index);
  void txtField_GotFocus(int index);
  void txtField_LostFocus(int index);
  // The route box takes capitals only: the character to insert instead of `key`.
  static char txtDefaultToRoute_KeyPress(char key);

  // A received message opened from its notice, shown locked.
  void OpenFromNotice(std::int32_t number);
  // A message opened from the message list, shown as Browse shows it, the arrows going on
  // from it through browseList (the numbers Browse would list). Unsaved typing is asked
  // about first; false when the operator keeps it, or the message is no longer stored.
  bool OpenFromList(std::int32_t number, std::vector<std::int32_t> browseList);

  // Start-up: the locked, empty form before anything else runs, and the form once
  // start-up is done (New and Browse available).
  void StartupBegin();
  void StartupEnd();

  // The procedures of the commands; they throw on store or file failures.
  void DisableAllCommands();
  void SetMessageFieldsEditable(bool on);
  void SetReplyFieldsEditable(bool on);
  void SetRoutingEnabled(bool on);
  void ClearForm();
  void PrepareNewMessage();
  void PrepareReply();
  void SaveForm();
  bool CheckRequiredFields();
  void DeleteCurrentMessage();
  void ShowMessage(std::int32_t n);
  void StampDateTime(Kind kind);
  void RefreshMsgInfo();
  void BuildBrowseList();
  std::int32_t BrowseMsgNo() const;
  void StartBrowse();

  // The caption "Velnor (<LoginName>)".
  std::string MainCaption() const;

  const std::string& EditorMode() const { return m_editorMode; }
  void setEditorMode(std::string mode) { m_editorMode = std::move(mode); }
  short EditState() const { return m_editState; }
  bool MessageSaved() const { return m_messageSaved; }
  std::int32_t CurrentMsgNo() const { return m_currentMsgNo; }
  IcsMsg& CurrentRecord() { return m_rec; }
  const std::vector<std::int32_t>& BrowseList() const { return m_browseList; }
  short BrowsePtr() const { return m_browsePtr; }
  short BrowseCount() const { return static_cast<short>(m_browseList.size()); }

  // Runs f; a failure is reported in the session log and the "Status" panel.
  void Trap(const char* routine, const std::function<void()>& f);

 private:
  void EnableCommands(std::initializer_list<Command> commands);
  // Exactly these commands available, the rest off.
  void OnlyCommands(std::initializer_list<Command> commands);
  // Message, reply and routing fields all read-only.
  void LockForm();
  // The cleared, locked form with only New and Browse.
  void ShowEmptyForm();
  void FocusRule();
  void SetBrowsePtrLabel();
  std::string DateTimePattern() const;
  void Log(const std::string& line);

  EditorContext m_ctx;
  EditorView& m_view;
  IcsMsg m_rec;
  std::string m_editorMode = "STARTUP";
  short m_editState = 0;
  bool m_messageSaved = true;
  std::int32_t m_currentMsgNo = 0;
  std::vector<std::int32_t> m_browseList;
  short m_browsePtr = 0;
};

// What the form shows for a stored record, txtField(0) to txtField(13): the dates in the
// operator's date and time formats, the reply boxes empty unless the record has a reply or
// a reply signature. The printed page of a stored message is made from the same texts.
FormTexts ShownTexts(const MsgRecord& r, const Settings& settings);

}  // namespace velnor
