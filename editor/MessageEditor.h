#pragma once
// The main window's form logic: the editor commands and the enabled-command table, field
// editability and colours, saving the form into the current record and showing a record,
// browsing, the field behaviours, the defaults, the identifier, the clipboard commands
// and inserting a text file. It works on an EditorView, so it runs without a window.
//
// Editor state: EditorMode is the last command; EditState is 0 for an empty form, 1 for a
// stored message shown read-only, 2 while editing; MessageSaved is false while the form
// holds typing that is not in the store.
//
// The *_Click handlers and the field events trap every failure: it goes to the session
// log and the "Status" panel, and the handler returns. The procedures they use throw.
//
// No typing is thrown away without the operator's say, and no text is cut:
// - a text box takes at most its record field's width (Width); typing past it is refused
//   with a beep, and a paste or a file insert that would not fit is refused whole, with a
//   message saying how much fits. Save refuses a form that holds more than the record can.
// - Delete asks first. Delete and Close on an edited message that has a stored version
//   offer to discard the changes and show that version again.
// - Send's session lets events run. If the operator starts another command meanwhile,
//   the form stays as that command left it. Only one case asks: an Edit of the message
//   being sent, with typing, when the session sent the text as it was before: keep the
//   typing as a new draft, or discard it.
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

// The last command the editor ran: start-up, its end, or one of the form's commands.
enum class EditorMode { Startup, Main, New, Edit, Reply, Save, Send, Delete, Close, Browse };
// The mode's name where it is shown: "STARTUP", "MAIN", "NEW", "EDIT", "REPLY", "SAVE",
// "SEND", "DELETE", "CLOSE", "BROWSE".
const char* ModeName(EditorMode mode);

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

  // Field events. KeyPress comes before the key reaches the box; `typed` is how many
  // characters it would put there (a line break in a body counts two). False: refused,
  // the box is full.
  bool txtField_KeyPress(Field field, std::size_t typed = 0);
  // A body's text changed: its length counter follows.
  void txtField_Change(Field field);
  void txtField_GotFocus(Field field);
  void txtField_LostFocus(Field field);
  // The route box takes capitals only: the character to insert instead of `key`.
  static char txtDefaultToRoute_KeyPress(char key);

  // Pastes text over the selection of box, whole or, when it does not fit, not at all.
  void PasteInto(TextBox box, const std::string& text);
  // Text about to be put into box by a way of the box's own (pasted from its menu, dropped
  // on it): false, with the reason shown, when it does not fit; otherwise it counts as typing.
  bool AcceptInsert(TextBox box, const std::string& text, bool pasted);

  // The most characters box takes: its record field's width, the route box less the ":0"
  // that follows the route.
  static std::size_t Width(TextBox box);
  // The length of text once in box: in a body every line break becomes CR LF.
  static std::size_t LengthIn(TextBox box, const std::string& text);

  // A received message opened from its notice, shown locked.
  void OpenFromNotice(std::int32_t number);
  // A session changed the status of message n in the store; the information line follows
  // when n is the message shown.
  void StatusChangedInStore(std::int32_t n, Status now);
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
  // Whether Delete and Close may offer to drop the typing: a message being edited that
  // has a version in the store to go back to.
  bool CanDiscard() const;
  void DiscardChanges();

  // The caption "Velnor (<LoginName>)".
  std::string MainCaption() const;

  velnor::EditorMode EditorMode() const { return m_editorMode; }
  void setEditorMode(velnor::EditorMode mode) { m_editorMode = mode; }
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
  // Records the command; the Send of a session sees by it whether the operator went on.
  void BeginCommand(velnor::EditorMode mode);
  void EnableCommands(std::initializer_list<Command> commands);
  // Exactly these commands available, the rest off.
  void OnlyCommands(std::initializer_list<Command> commands);
  // Message, reply and routing fields all read-only.
  void LockForm();
  // The cleared, locked form with only New and Browse.
  void ShowEmptyForm();
  void FocusRule();
  // Message n, locked, with the commands of a stored message shown.
  void ShowStored(std::int32_t n);
  // After a Send's session during which the operator ran another command.
  void AfterSessionMovedOn(std::int32_t sent);
  void KeepAsNewDraft();
  // Room left in box, for an insert that replaces its selection or not.
  std::size_t Room(TextBox box, bool overSelection) const;
  // True when `length` more characters fit; otherwise says so after `refused`
  // ("Nothing was pasted: the clipboard holds ") and returns false.
  bool Fits(TextBox box, std::size_t length, bool overSelection, const std::string& refused);
  // False, after saying which box and focusing it, when a box holds more than its field.
  bool FormFitsRecord();
  void SetBrowsePtrLabel();
  std::string DateTimePattern() const;
  void Log(const std::string& line);

  EditorContext m_ctx;
  EditorView& m_view;
  IcsMsg m_rec;
  velnor::EditorMode m_editorMode = EditorMode::Startup;
  short m_editState = 0;
  bool m_messageSaved = true;
  std::int32_t m_currentMsgNo = 0;
  std::vector<std::int32_t> m_browseList;
  short m_browsePtr = 0;
  std::uint64_t m_commands = 0;  // commands run so far
  bool m_hasStoredText = false;  // the record holds the form as last shown or saved
};

// What the form's fields show for a stored record: the dates in the operator's date and
// time formats, the reply fields empty unless the record has a reply or a reply signature.
// The printed page of a stored message is made from the same texts.
FormTexts ShownTexts(const MsgRecord& r, const Settings& settings);

}  // namespace velnor
