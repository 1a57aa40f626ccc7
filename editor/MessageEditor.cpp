#include "editor/MessageEditor.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <span>

#include "core/Clock.h"
#include "core/DateTime.h"
#include "core/StringLib.h"
#include "core/VError.h"
#include "editor/Trap.h"
#include "format/MsgInfo.h"
#include "platform/Dialogs.h"

namespace velnor {

namespace {

std::string RouteId(const std::string& route) { return route.substr(0, route.find(':')); }

std::string DateTimePatternOf(const Settings& s) { return s.DateFormat + " " + s.TimeFormat; }

// The commands while a message is being written (New, Edit).
constexpr std::initializer_list<Command> kWritingCommands{
    Command::mnuPrint, Command::mnuSave,   Command::mnuOpen,  Command::cmdSend,
    Command::cmdSave,  Command::cmdDelete, Command::cmdClose, Command::cmdSetFieldsAsDefault};

}  // namespace

const char* ModeName(EditorMode mode) {
  switch (mode) {
    case EditorMode::Startup:
      return "STARTUP";
    case EditorMode::Main:
      return "MAIN";
    case EditorMode::New:
      return "NEW";
    case EditorMode::Edit:
      return "EDIT";
    case EditorMode::Reply:
      return "REPLY";
    case EditorMode::Save:
      return "SAVE";
    case EditorMode::Send:
      return "SEND";
    case EditorMode::Delete:
      return "DELETE";
    case EditorMode::Close:
      return "CLOSE";
    case EditorMode::Browse:
      return "BROWSE";
  }
  return "";
}

FormTexts ShownTexts(const MsgRecord& r, const Settings& settings) {
  const std::string pattern = DateTimePatternOf(settings);
  FormTexts t;
  t[Field::To] = r.To();
  t[Field::ToPos] = r.ToPos();
  t[Field::From] = r.Fr();
  t[Field::FromPos] = r.FrPos();
  t[Field::Subject] = r.Subj();
  t[Field::Date] = FormatDate(r.MsgDate(), pattern);
  t[Field::Message] = r.Msg();
  t[Field::Signature] = r.Sign();
  t[Field::SignaturePos] = r.SignPos();
  t[Field::IncidentName] = r.IcdName();
  if (!r.Reply().empty() || !r.RepSign().empty()) {
    t[Field::Reply] = r.Reply();
    t[Field::ReplySignature] = r.RepSign();
    t[Field::ReplyPos] = r.RepPos();
    t[Field::ReplyDate] = FormatDate(r.RepDate(), pattern);
  }
  return t;
}

MessageEditor::MessageEditor(EditorContext ctx)
    : m_ctx(std::move(ctx)), m_view(m_ctx.view), m_rec(m_ctx.dataPath, m_ctx.eventLog) {}

void MessageEditor::Log(const std::string& line) {
  if (m_ctx.writeLog) m_ctx.writeLog(line);
}

void MessageEditor::Trap(const char* routine, const std::function<void()>& f) {
  // The window must go on whatever a command meets; the operator sees why it stopped.
  TrapFailure(routine, f, [this](const std::string& text) {
    Log(text);
    m_view.setStatus(text);
  });
}

std::string MessageEditor::DateTimePattern() const { return DateTimePatternOf(m_ctx.settings); }

std::string MessageEditor::MainCaption() const {
  return std::string(kProgramTitle) + " (" + m_ctx.settings.LoginName + ")";
}

// ---- availability and editability ----

void MessageEditor::DisableAllCommands() {
  for (int c = 0; c < kCommandCount; ++c) m_view.setCommandEnabled(static_cast<Command>(c), false);
  m_view.setBrowsePtr("");
}

void MessageEditor::BeginCommand(velnor::EditorMode mode) {
  m_editorMode = mode;
  ++m_commands;
}

void MessageEditor::EnableCommands(std::initializer_list<Command> commands) {
  for (Command c : commands) m_view.setCommandEnabled(c, true);
}

void MessageEditor::OnlyCommands(std::initializer_list<Command> commands) {
  DisableAllCommands();
  EnableCommands(commands);
}

void MessageEditor::LockForm() {
  SetMessageFieldsEditable(false);
  SetReplyFieldsEditable(false);
  SetRoutingEnabled(false);
}

void MessageEditor::ShowEmptyForm() {
  OnlyCommands({Command::cmdNew, Command::cmdBrowse});
  ClearForm();
  LockForm();
  m_view.setMsgInfo("");
}

void MessageEditor::SetMessageFieldsEditable(bool on) {
  for (Field f : kMessageFields) {
    m_view.setReadOnly(f, !on);
    m_view.setTabStop(f, on);
    m_view.setBackColour(f, kWindowColour);
    m_view.setForeColour(f, on ? kBlack : kBlue);
  }
  m_view.setEnabled(Field::Date, false);
}

void MessageEditor::SetReplyFieldsEditable(bool on) {
  for (Field f : kReplyFields) {
    m_view.setReadOnly(f, !on);
    m_view.setTabStop(f, on);
    m_view.setForeColour(f, on ? kBlack : kBlue);
  }
  m_view.setEnabled(Field::ReplyDate, false);
  m_view.setReplyLabelsEnabled(on);
}

void MessageEditor::SetRoutingEnabled(bool on) {
  m_view.setKeepLocalEnabled(on);
  m_view.setEnabled(TextBox::Route, on);
}

void MessageEditor::ShowStored(std::int32_t n) {
  OnlyCommands(
      {Command::mnuPrint, Command::cmdNew, Command::cmdDelete, Command::cmdClose, Command::cmdBrowse});
  LockForm();
  m_editState = 1;
  ShowMessage(n);
}

void MessageEditor::FocusRule() {
  m_view.focusBox(Field::To);
  for (Field f : kMessageFields) {
    if (m_view.text(f).empty()) {
      m_view.focusBox(f);
      return;
    }
  }
}

void MessageEditor::StartupBegin() {
  m_editorMode = EditorMode::Startup;
  m_editState = 0;
  DisableAllCommands();
  LockForm();
  m_messageSaved = true;
  txtField_Change(Field::Message);
  txtField_Change(Field::Reply);
}

void MessageEditor::StartupEnd() {
  m_editorMode = EditorMode::Main;
  OnlyCommands({Command::cmdNew, Command::cmdBrowse});
  m_view.setMsgInfo("");
}

// ---- form and record ----

void MessageEditor::RefreshMsgInfo() { m_view.setMsgInfo(MsgInfoLine(m_rec.rec())); }

void MessageEditor::StampDateTime(Kind kind) {
  m_view.setText(kind == Kind::Message ? Field::Date : Field::ReplyDate,
                 FormatDate(m_ctx.clock.now(), DateTimePattern()));
}

void MessageEditor::ClearForm() {
  if (!m_messageSaved) {
    const MsgAnswer a = m_ctx.dialogs.messageBox(
        "Message was not saved.\r\nDo you really want to continue?", "New Message", MsgButtons::YesNo);
    if (a != MsgAnswer::Yes) return;
  }
  for (Field f : kAllFields) {
    m_view.setText(f, "");
    m_view.setBackColour(f, kWindowColour);
  }
  m_messageSaved = true;
  m_view.setMsgInfo("");
  m_view.setStatus("Velnor Ready");
}

void MessageEditor::PrepareNewMessage() {
  m_currentMsgNo = m_rec.NewMsg();
  m_hasStoredText = false;
  MsgRecord& r = m_rec.rec();
  r.setStatus(Status::Draft);
  r.setOrigin(Origin::Local);
  r.setKind(Kind::Message);
  r.setRoute(m_ctx.settings.DEFDEST + ":0");
  r.setKeepLocal(m_ctx.settings.KEEPLOCAL);
  m_rec.Update(m_currentMsgNo);
  StampDateTime(Kind::Message);

  const Settings& s = m_ctx.settings;
  auto fill = [&](Field f, const std::string& value) {
    if (!m_view.text(f).empty()) return false;
    m_view.setText(f, Trim(value));
    m_messageSaved = false;
    return true;
  };
  fill(Field::IncidentName, s.IcdName);
  fill(Field::To, s.DefTo);
  fill(Field::ToPos, s.DefToPos);
  if (fill(Field::From, s.DefFr)) m_view.setText(Field::Signature, m_view.text(Field::From));
  if (fill(Field::FromPos, s.DefFrPos)) m_view.setText(Field::SignaturePos, m_view.text(Field::FromPos));

  m_view.setKeepLocal(r.KeepLocal() != 0);
  m_view.setText(TextBox::Route, RouteId(r.Route()));
  RefreshMsgInfo();
  m_view.setStatus("");
}

void MessageEditor::PrepareReply() {
  MsgRecord& r = m_rec.rec();
  r.setStatus(Status::Draft);
  r.setOrigin(Origin::Local);
  r.setKind(Kind::Reply);
  StampDateTime(Kind::Reply);
  m_messageSaved = true;
  // The addressee answers.
  m_view.setText(Field::ReplySignature, Trim(m_view.text(Field::To)));
  m_view.setText(Field::ReplyPos, Trim(m_view.text(Field::ToPos)));
  RefreshMsgInfo();
  m_view.setStatus("");
}

void MessageEditor::SaveForm() {
  MsgRecord& r = m_rec.rec();
  const Kind k = r.Kind();
  StampDateTime(k);
  const std::string& df = m_ctx.settings.DateFormat;
  const std::string& tf = m_ctx.settings.TimeFormat;

  r.setTo(m_view.text(Field::To));
  r.setToPos(m_view.text(Field::ToPos));
  r.setFr(m_view.text(Field::From));
  r.setFrPos(m_view.text(Field::FromPos));
  r.setSubj(m_view.text(Field::Subject));
  // A date text the operator's formats cannot give back keeps the date the record had.
  if (auto d = ParseDateText(m_view.text(Field::Date), df, tf)) r.setMsgDate(*d);
  const std::string body = m_view.text(Field::Message);
  r.setMsg(body);
  r.setMsgLen(static_cast<std::int32_t>(
      std::min<std::size_t>(TrimSpaces(body).size(), std::numeric_limits<std::int32_t>::max())));
  r.setSign(m_view.text(Field::Signature));
  r.setSignPos(m_view.text(Field::SignaturePos));
  r.setIcdName(m_view.text(Field::IncidentName));
  if (k == Kind::Reply) {
    r.setReply(m_view.text(Field::Reply));
    r.setRepSign(m_view.text(Field::ReplySignature));
    r.setRepPos(m_view.text(Field::ReplyPos));
    if (auto d = ParseDateText(m_view.text(Field::ReplyDate), df, tf)) r.setRepDate(*d);
  } else {
    r.setReply("");
    r.setRepSign("");
    r.setRepPos("");
    r.setRepDate(0);
  }
  r.setKeepLocal(m_view.keepLocal() ? 1 : 0);
  r.setRoute(Trim(m_view.text(TextBox::Route)) + ":0");
  r.setStatus(Status::Draft);
  m_rec.Update(m_currentMsgNo);
  m_messageSaved = true;
  m_hasStoredText = true;
  RefreshMsgInfo();
  m_view.setStatus("Message saved");
}

bool MessageEditor::CheckRequiredFields() {
  bool ok = true;
  // A message of our own needs its message fields; anything else its reply as well.
  const std::span<const Field> required =
      m_rec.rec().Origin() == Origin::Local ? std::span<const Field>(kMessageFields) : kAllFields;
  for (Field f : required) {
    if (m_view.text(f).empty()) {
      m_view.setBackColour(f, kLightYellow);
      ok = false;
    }
  }
  if (!ok) {
    for (Field f : required) {
      if (m_view.backColour(f) == kLightYellow) {
        m_view.focusBox(f);
        break;
      }
    }
    return false;
  }
  m_rec.rec().setStatus(Status::ReadyToSend);
  m_rec.Update(m_currentMsgNo);
  RefreshMsgInfo();
  return true;
}

void MessageEditor::DeleteCurrentMessage() {
  try {
    if (m_rec.rec().Locked() != 0) {
      m_ctx.dialogs.messageBox(
          "Message is locked to another process.  Try\r\nagain later, or restart program to clear.",
          kProgramTitle, MsgButtons::Ok);
      return;
    }
    m_rec.DeleteOne(m_rec.rec().MsgNo());
    m_messageSaved = true;
  } catch (const std::exception& e) {
    // A record that will not go is left for the next try; the form is cleared anyway.
    Log(std::string("DeleteCurrentMessage: ") + e.what());
  }
}

void MessageEditor::ShowMessage(std::int32_t n) {
  m_rec.Load(n);
  const MsgRecord& r = m_rec.rec();
  const FormTexts texts = ShownTexts(r, m_ctx.settings);
  for (Field f : kAllFields) m_view.setText(f, texts[f]);
  m_currentMsgNo = n;

  if (r.Origin() == Origin::Received && r.Kind() == Kind::Message) {
    m_view.setCommandEnabled(Command::cmdReply, true);
    m_view.setCommandEnabled(Command::cmdEdit, false);
  } else if (r.Origin() == Origin::Received && r.Kind() == Kind::Reply) {
    m_view.setCommandEnabled(Command::cmdReply, false);
    m_view.setCommandEnabled(Command::cmdEdit, false);
  } else {
    m_view.setCommandEnabled(Command::cmdReply, false);
    m_view.setCommandEnabled(Command::cmdEdit, true);
  }
  if (r.Kind() == Kind::Reply && r.Status() == Status::New) m_view.setCommandEnabled(Command::cmdEdit, false);

  m_view.setKeepLocal(r.KeepLocal() != 0);
  m_view.setText(TextBox::Route, RouteId(r.Route()));
  // Shown is read: the line says so at once.
  if (r.Status() == Status::Unread && r.Origin() == Origin::Received) {
    m_rec.rec().setStatus(Status::Read);
    m_rec.Update(n);
  }
  RefreshMsgInfo();
  m_messageSaved = true;
  m_hasStoredText = true;
}

// ---- commands ----

void MessageEditor::cmdNew_Click() {
  Trap("cmdNew_Click", [&] {
    BeginCommand(EditorMode::New);
    m_editState = 2;
    OnlyCommands(kWritingCommands);
    ClearForm();
    PrepareNewMessage();
    SetMessageFieldsEditable(true);
    SetReplyFieldsEditable(false);
    SetRoutingEnabled(true);
    FocusRule();
  });
}

void MessageEditor::cmdEdit_Click() {
  Trap("cmdEdit_Click", [&] {
    BeginCommand(EditorMode::Edit);
    m_editState = 2;
    OnlyCommands(kWritingCommands);
    const Kind kind = m_rec.rec().Kind();
    if (kind == Kind::Message) {
      SetMessageFieldsEditable(true);
      SetReplyFieldsEditable(false);
      FocusRule();
    } else if (kind == Kind::Reply) {
      SetMessageFieldsEditable(false);
      SetReplyFieldsEditable(true);
      m_view.focusBox(Field::Reply);
    }
    SetRoutingEnabled(true);
  });
}

void MessageEditor::cmdReply_Click() {
  Trap("cmdReply_Click", [&] {
    BeginCommand(EditorMode::Reply);
    m_editState = 2;
    OnlyCommands({Command::mnuPrint, Command::mnuSave, Command::mnuOpen, Command::cmdSend, Command::cmdSave,
                  Command::cmdDelete, Command::cmdClose});
    SetMessageFieldsEditable(false);
    SetReplyFieldsEditable(true);
    SetRoutingEnabled(true);
    PrepareReply();
    m_view.focusBox(Field::Reply);
  });
}

void MessageEditor::cmdSave_Click() {
  Trap("cmdSave_Click", [&] {
    if (!FormFitsRecord()) return;
    BeginCommand(EditorMode::Save);
    m_editState = 1;
    SaveForm();
    OnlyCommands({Command::mnuPrint, Command::cmdNew, Command::cmdDelete, Command::cmdClose, Command::cmdBrowse,
                  Command::cmdEdit});
    LockForm();
  });
}

void MessageEditor::cmdSend_Click() {
  Trap("cmdSend_Click", [&] {
    if (!FormFitsRecord()) return;
    BeginCommand(EditorMode::Send);
    SaveForm();
    if (!CheckRequiredFields()) return;
    m_editState = 1;
    DisableAllCommands();
    m_view.setCommandEnabled(Command::cmdEdit, true);
    m_view.focusCommand(Command::cmdEdit);
    LockForm();
    m_rec.rec().setStatus(Status::ReadyToSend);
    m_rec.Update(m_currentMsgNo);
    RefreshMsgInfo();
    const std::int32_t sending = m_currentMsgNo;
    const std::uint64_t commands = m_commands;
    if (m_ctx.runSession) {
      m_ctx.runSession();
    } else {
      m_view.setStatus("No connection to Pmdirect in this build; the message waits as ready");
    }
    if (m_commands != commands) {
      AfterSessionMovedOn(sending);
      return;
    }
    ShowMessage(m_currentMsgNo);
    RefreshMsgInfo();
    EnableCommands({Command::mnuPrint, Command::cmdNew, Command::cmdDelete, Command::cmdClose, Command::cmdBrowse,
                    Command::cmdEdit});
    m_view.focusCommand(Command::cmdNew);
  });
}

void MessageEditor::AfterSessionMovedOn(std::int32_t sent) {
  // The form is the operator's now; it only needs a word when the session sent, as it
  // was, the message they have since changed.
  if (m_editState != 2 || m_messageSaved || m_currentMsgNo != sent || m_rec.rec().Status() != Status::Sent)
    return;
  const int answer = m_ctx.dialogs.choose(
      "Message No. " + std::to_string(sent) +
          " was sent while you were editing it;\r\nyour changes did not go with it.",
      kProgramTitle, {"&Keep editing as a new draft", "&Discard my changes"}, 0, 0, MsgIcon::Information);
  if (answer == 0) {
    KeepAsNewDraft();
  } else {
    BeginCommand(EditorMode::Send);
    DiscardChanges();
  }
}

void MessageEditor::KeepAsNewDraft() {
  const std::int32_t sent = m_currentMsgNo;
  MsgRecord& r = m_rec.rec();
  const short keepLocal = r.KeepLocal();
  r.setStatus(Status::Draft);
  r.setOrigin(Origin::Local);
  m_currentMsgNo = m_rec.NewMsg();
  r.setKeepLocal(keepLocal);
  m_rec.Update(m_currentMsgNo);
  m_hasStoredText = false;
  // Like New: leaving the program without saving gives the copy up.
  BeginCommand(EditorMode::New);
  OnlyCommands(kWritingCommands);
  RefreshMsgInfo();
  m_view.setStatus("No. " + std::to_string(sent) + " went out as it was; your changes are now draft No. " +
                   std::to_string(m_currentMsgNo));
}

void MessageEditor::StatusChangedInStore(std::int32_t n, Status now) {
  Trap("RefreshMsgInfo", [&] {
    if (m_editState == 0 || n != m_currentMsgNo) return;
    m_rec.rec().setStatus(now);
    RefreshMsgInfo();
  });
}

bool MessageEditor::CanDiscard() const { return m_editState == 2 && !m_messageSaved && m_hasStoredText; }

void MessageEditor::DiscardChanges() {
  m_messageSaved = true;
  for (Field f : kAllFields) m_view.setBackColour(f, kWindowColour);
  ShowStored(m_currentMsgNo);
  m_view.setStatus("Changes discarded");
}

void MessageEditor::cmdDelete_Click() {
  Trap("cmdDelete_Click", [&] {
    const bool discard = CanDiscard();
    const std::vector<std::string> buttons =
        discard ? std::vector<std::string>{"&Yes", "&Discard my changes", "&No"}
                : std::vector<std::string>{"&Yes", "&No"};
    const int no = static_cast<int>(buttons.size()) - 1;
    const int answer = m_ctx.dialogs.choose("Delete message No. " + std::to_string(m_rec.rec().MsgNo()) +
                                                ", '" + Trim(m_view.text(Field::Subject)) + "'?",
                                            kProgramTitle, buttons, no, no, MsgIcon::Exclamation);
    if (answer == no) return;
    BeginCommand(EditorMode::Delete);
    if (discard && answer == 1) {
      DiscardChanges();
      return;
    }
    m_editState = 0;
    DeleteCurrentMessage();
    ShowEmptyForm();
    m_view.setStatus("Velnor Ready");
  });
}

void MessageEditor::cmdClose_Click() {
  Trap("cmdClose_Click", [&] {
    BeginCommand(EditorMode::Close);
    if (!m_messageSaved) {
      const std::string text = "Message was not saved.  Press Save or\r\nDelete on the form to continue.";
      if (!CanDiscard()) {
        m_ctx.dialogs.messageBox(text, kProgramTitle, MsgButtons::Ok);
      } else if (m_ctx.dialogs.choose(text, kProgramTitle, {"&Discard my changes", "OK"}, 1, 1) == 0) {
        DiscardChanges();
      }
      return;
    }
    m_editState = 0;
    ShowEmptyForm();
  });
}

void MessageEditor::OpenFromNotice(std::int32_t number) {
  Trap("OpenFromNotice", [&] {
    ++m_commands;
    ShowStored(number);
  });
}

// ---- browsing ----

void MessageEditor::cmdBrowse_Click() {
  Trap("cmdBrowse_Click", [&] {
    BeginCommand(EditorMode::Browse);
    ClearForm();
    LockForm();
    StartBrowse();
  });
}

void MessageEditor::BuildBrowseList() {
  m_browseList.clear();
  m_rec.ResetList();
  while (m_rec.GetList()) {
    // The counter is a 16-bit number; a store cannot give more message numbers anyway.
    if (m_rec.rec().Status() != Status::Abandoned && m_browseList.size() < 32767) m_browseList.push_back(m_rec.rec().MsgNo());
  }
  m_browsePtr = 1;
}

std::int32_t MessageEditor::BrowseMsgNo() const {
  if (BrowseCount() < m_browsePtr || m_browsePtr < 1) return -1;
  return m_browseList[static_cast<std::size_t>(m_browsePtr - 1)];
}

void MessageEditor::SetBrowsePtrLabel() {
  m_view.setBrowsePtr("( " + std::to_string(m_browsePtr) + "/" + std::to_string(BrowseCount()) + " )");
}

void MessageEditor::StartBrowse() {
  BuildBrowseList();
  if (BrowseCount() < 1) {
    ShowEmptyForm();
    m_editState = 0;
    m_view.setStatus("No messages found");
    return;
  }
  m_editState = 1;
  OnlyCommands({Command::mnuPrint, Command::cmdNew, Command::cmdDelete, Command::cmdClose, Command::cmdBrowse,
                Command::cmdBRight, Command::cmdEdit});
  m_view.setCommandEnabled(Command::cmdBLeft, false);
  if (m_ctx.settings.STARTBROWSE == 0) {
    ShowMessage(BrowseMsgNo());
    m_view.setCommandEnabled(Command::cmdBLeft, false);
    m_view.setCommandEnabled(Command::cmdBRight, true);
  } else {
    m_browsePtr = BrowseCount();
    ShowMessage(m_browseList.back());
    m_view.setCommandEnabled(Command::cmdBLeft, true);
    m_view.setCommandEnabled(Command::cmdBRight, false);
  }
  SetBrowsePtrLabel();
}

void MessageEditor::cmdBLeft_Click() {
  Trap("cmdBLeft_Click", [&] {
    ++m_commands;
    const int p = m_browsePtr - 1;
    if (p > 0) {
      m_browsePtr = static_cast<short>(p);
      SetBrowsePtrLabel();
      ShowMessage(BrowseMsgNo());
      m_view.setCommandEnabled(Command::cmdBRight, true);
    }
    if (m_browsePtr == 1) m_view.setCommandEnabled(Command::cmdBLeft, false);
  });
}

void MessageEditor::cmdBRight_Click() {
  Trap("cmdBRight_Click", [&] {
    ++m_commands;
    const int p = m_browsePtr + 1;
    if (p <= BrowseCount()) {
      m_browsePtr = static_cast<short>(p);
      SetBrowsePtrLabel();
      ShowMessage(BrowseMsgNo());
      m_view.setCommandEnabled(Command::cmdBLeft, true);
    }
    if (m_browsePtr == BrowseCount()) m_view.setCommandEnabled(Command::cmdBRight, false);
  });
}

// ---- opening from the message list ----

bool MessageEditor::OpenFromList(std::int32_t number, std::vector<std::int32_t> browseList) {
  bool shown = false;
  Trap("OpenFromList", [&] {
    if (!m_messageSaved &&
        m_ctx.dialogs.messageBox("Message was not saved.\r\nDo you really want to continue?", "Message List",
                                 MsgButtons::YesNo) != MsgAnswer::Yes)
      return;
    // Shown from another store object: a number gone from the store must not leave the
    // editor's record holding whatever Load stopped at.
    IcsMsg probe(m_ctx.dataPath, m_ctx.eventLog);
    if (!probe.Load(number)) {
      m_view.setStatus("Message " + std::to_string(number) + " is no longer in the store");
      return;
    }
    ++m_commands;
    m_messageSaved = true;
    m_editorMode = EditorMode::Browse;
    ClearForm();
    LockForm();
    m_browseList = std::move(browseList);
    const auto at = std::find(m_browseList.begin(), m_browseList.end(), number);
    m_browsePtr = at == m_browseList.end() ? 0 : static_cast<short>(at - m_browseList.begin() + 1);
    m_editState = 1;
    OnlyCommands({Command::mnuPrint, Command::cmdNew, Command::cmdDelete, Command::cmdClose,
                  Command::cmdBrowse, Command::cmdEdit});
    ShowMessage(number);
    // An abandoned message is not among those Browse steps through: no arrows then.
    if (m_browsePtr > 0) {
      m_view.setCommandEnabled(Command::cmdBLeft, m_browsePtr > 1);
      m_view.setCommandEnabled(Command::cmdBRight, m_browsePtr < BrowseCount());
      SetBrowsePtrLabel();
    }
    shown = true;
  });
  return shown;
}

}  // namespace velnor
