#include "editor/MessageEditor.h"

#include <algorithm>
#include <exception>
#include <limits>

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

}  // namespace

FormTexts ShownTexts(const MsgRecord& r, const Settings& settings) {
  const std::string pattern = DateTimePatternOf(settings);
  FormTexts t{r.To(),  r.ToPos(), r.Fr(),      r.FrPos(),  r.Subj(), FormatDate(r.MsgDate(), pattern),
              r.Msg(), r.Sign(),  r.SignPos(), r.IcdName()};
  if (!r.Reply().empty() || !r.RepSign().empty()) {
    t[10] = r.Reply();
    t[11] = r.RepSign();
    t[12] = r.RepPos();
    t[13] = FormatDate(r.RepDate(), pattern);
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
  for (int i = kMsgFirst; i <= kMsgLast; ++i) {
    m_view.setReadOnly(i, !on);
    m_view.setTabStop(i, on);
    m_view.setBackColour(i, kWindowColour);
    m_view.setForeColour(i, on ? kBlack : kBlue);
  }
  m_view.setEnabled(5, false);
}

void MessageEditor::SetReplyFieldsEditable(bool on) {
  for (int i = kRepFirst; i <= kRepLast; ++i) {
    m_view.setReadOnly(i, !on);
    m_view.setTabStop(i, on);
    m_view.setForeColour(i, on ? kBlack : kBlue);
  }
  m_view.setEnabled(13, false);
  m_view.setReplyLabelsEnabled(on);
}

void MessageEditor::SetRoutingEnabled(bool on) {
  m_view.setKeepLocalEnabled(on);
  m_view.setEnabled(kRouteBox, on);
}

void MessageEditor::FocusRule() {
  m_view.focusBox(0);
  for (int i = kMsgFirst; i <= kMsgLast; ++i) {
    if (m_view.text(i).empty()) {
      m_view.focusBox(i);
      return;
    }
  }
}

void MessageEditor::StartupBegin() {
  m_editorMode = "STARTUP";
  m_editState = 0;
  DisableAllCommands();
  LockForm();
  m_messageSaved = true;
}

void MessageEditor::StartupEnd() {
  m_editorMode = "MAIN";
  OnlyCommands({Command::cmdNew, Command::cmdBrowse});
  m_view.setMsgInfo("");
}

// ---- form and record ----

void MessageEditor::RefreshMsgInfo() { m_view.setMsgInfo(MsgInfoLine(m_rec.rec())); }

void MessageEditor::StampDateTime(Kind kind) {
  m_view.setText(kind == Kind::Message ? 5 : 13, FormatDate(m_ctx.clock.now(), DateTimePattern()));
}

void MessageEditor::ClearForm() {
  if (!m_messageSaved) {
    const MsgAnswer a = m_ctx.dialogs.messageBox(
        "Message was not saved.\r\nDo you really want to continue?", "New Message", MsgButtons::YesNo);
    if (a != MsgAnswer::Yes) return;
  }
  for (int i = 0; i < kFieldCount; ++i) {
    m_view.setText(i, "");
    m_view.setBackColour(i, kWindowColour);
  }
  m_messageSaved = true;
  m_view.setMsgInfo("");
  m_view.setStatus("Velnor Ready");
}

void MessageEditor::PrepareNewMessage() {
  m_currentMsgNo = m_rec.NewMsg();
  MsgRecord& r = m_rec.rec();
  r.setStatus(Status::Draft);
  r.setOrigin(Origin::Local);
  r.setKind(Kind::Message);
  r.setRoute(m_ctx.settings.DEFDEST + ":0");
  r.setKeepLocal(m_ctx.settings.KEEPLOCAL);
  m_rec.Update(m_currentMsgNo);
  StampDateTime(Kind::Message);

  const Settings& s = m_ctx.settings;
  auto fill = [&](int i, const std::string& value) {
    if (!m_view.text(i).empty()) return false;
    m_view.setText(i, Trim(value));
    m_messageSaved = false;
    return true;
  };
  fill(9, s.IcdName);
  fill(0, s.DefTo);
  fill(1, s.DefToPos);
  if (fill(2, s.DefFr)) m_view.setText(7, m_view.text(2));
  if (fill(3, s.DefFrPos)) m_view.setText(8, m_view.text(3));

  m_view.setKeepLocal(r.KeepLocal() != 0);
  m_view.setText(kRouteBox, RouteId(r.Route()));
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
  m_view.setText(11, Trim(m_view.text(0)));
  m_view.setText(12, Trim(m_view.text(1)));
  RefreshMsgInfo();
  m_view.setStatus("");
}

void MessageEditor::SaveForm() {
  MsgRecord& r = m_rec.rec();
  const Kind k = r.Kind();
  StampDateTime(k);
  const std::string& df = m_ctx.settings.DateFormat;
  const std::string& tf = m_ctx.settings.TimeFormat;

  r.setTo(m_view.text(0));
  r.setToPos(m_view.text(1));
  r.setFr(m_view.text(2));
  r.setFrPos(m_view.text(3));
  r.setSubj(m_view.text(4));
  // A date text the operator's formats cannot give back keeps the date the record had.
  if (auto d = ParseDateText(m_view.text(5), df, tf)) r.setMsgDate(*d);
  const std::string body = m_view.text(6);
  r.setMsg(body);
  r.setMsgLen(static_cast<std::int32_t>(
      std::min<std::size_t>(TrimSpaces(body).size(), std::numeric_limits<std::int32_t>::max())));
  r.setSign(m_view.text(7));
  r.setSignPos(m_view.text(8));
  r.setIcdName(m_view.text(9));
  if (k == Kind::Reply) {
    r.setReply(m_view.text(10));
    r.setRepSign(m_view.text(11));
    r.setRepPos(m_view.text(12));
    if (auto d = ParseDateText(m_view.text(13), df, tf)) r.setRepDate(*d);
  } else {
    r.setReply("");
    r.setRepSign("");
    r.setRepPos("");
    r.setRepDate(0);
  }
  r.setKeepLocal(m_view.keepLocal() ? 1 : 0);
  r.setRoute(Trim(m_view.text(kRouteBox)) + ":0");
  r.setStatus(Status::Draft);
  m_rec.Update(m_currentMsgNo);
  m_messageSaved = true;
  RefreshMsgInfo();
  m_view.setStatus("Message saved");
}

bool MessageEditor::CheckRequiredFields() {
  bool ok = true;
  const int last = m_rec.rec().Origin() == Origin::Local ? kMsgLast : kRepLast;
  for (int i = 0; i <= last; ++i) {
    if (m_view.text(i).empty()) {
      m_view.setBackColour(i, kLightYellow);
      ok = false;
    }
  }
  if (!ok) {
    for (int i = 0; i <= last; ++i) {
      if (m_view.backColour(i) == kLightYellow) {
        m_view.focusBox(i);
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
  for (int i = 0; i < kFieldCount; ++i) m_view.setText(i, texts[static_cast<std::size_t>(i)]);
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
  m_view.setText(kRouteBox, RouteId(r.Route()));
  // The line shows the status as loaded; the store learns that it has been read.
  RefreshMsgInfo();
  if (r.Status() == Status::Unread && r.Origin() == Origin::Received) {
    m_rec.rec().setStatus(Status::Read);
    m_rec.Update(n);
  }
  m_messageSaved = true;
}

// ---- commands ----

void MessageEditor::cmdNew_Click() {
  Trap("cmdNew_Click", [&] {
    m_editorMode = "NEW";
    m_editState = 2;
    OnlyCommands({Command::mnuPrint, Command::mnuSave, Command::mnuOpen, Command::cmdSend, Command::cmdSave,
                  Command::cmdDelete, Command::cmdClose, Command::cmdSetFieldsAsDefault});
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
    m_editorMode = "EDIT";
    m_editState = 2;
    OnlyCommands({Command::mnuPrint, Command::mnuSave, Command::mnuOpen, Command::cmdSend, Command::cmdSave,
                  Command::cmdDelete, Command::cmdClose, Command::cmdSetFieldsAsDefault});
    const Kind kind = m_rec.rec().Kind();
    if (kind == Kind::Message) {
      SetMessageFieldsEditable(true);
      SetReplyFieldsEditable(false);
      FocusRule();
    } else if (kind == Kind::Reply) {
      SetMessageFieldsEditable(false);
      SetReplyFieldsEditable(true);
      m_view.focusBox(10);
    }
    SetRoutingEnabled(true);
  });
}

void MessageEditor::cmdReply_Click() {
  Trap("cmdReply_Click", [&] {
    m_editorMode = "REPLY";
    m_editState = 2;
    OnlyCommands({Command::mnuPrint, Command::mnuSave, Command::mnuOpen, Command::cmdSend, Command::cmdSave,
                  Command::cmdDelete, Command::cmdClose});
    SetMessageFieldsEditable(false);
    SetReplyFieldsEditable(true);
    SetRoutingEnabled(true);
    PrepareReply();
    m_view.focusBox(10);
  });
}

void MessageEditor::cmdSave_Click() {
  Trap("cmdSave_Click", [&] {
    m_editorMode = "SAVE";
    m_editState = 1;
    SaveForm();
    OnlyCommands({Command::mnuPrint, Command::cmdNew, Command::cmdDelete, Command::cmdClose, Command::cmdBrowse,
                  Command::cmdEdit});
    LockForm();
  });
}

void MessageEditor::cmdSend_Click() {
  Trap("cmdSend_Click", [&] {
    m_editorMode = "SEND";
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
    if (m_ctx.runSession) {
      m_ctx.runSession();
    } else {
      m_view.setStatus("No connection to Pmdirect in this build; the message waits as ready");
    }
    ShowMessage(m_currentMsgNo);
    RefreshMsgInfo();
    EnableCommands({Command::mnuPrint, Command::cmdNew, Command::cmdDelete, Command::cmdClose, Command::cmdBrowse,
                    Command::cmdEdit});
    m_view.focusCommand(Command::cmdNew);
  });
}

void MessageEditor::cmdDelete_Click() {
  Trap("cmdDelete_Click", [&] {
    m_editorMode = "DELETE";
    m_editState = 0;
    DeleteCurrentMessage();
    ShowEmptyForm();
    m_view.setStatus("Velnor Ready");
  });
}

void MessageEditor::cmdClose_Click() {
  Trap("cmdClose_Click", [&] {
    m_editorMode = "CLOSE";
    if (!m_messageSaved) {
      m_ctx.dialogs.messageBox("Message was not saved.  Press Save or\r\nDelete on the form to continue.",
                               kProgramTitle, MsgButtons::Ok);
      return;
    }
    m_editState = 0;
    ShowEmptyForm();
  });
}

void MessageEditor::OpenFromNotice(std::int32_t number) {
  Trap("OpenFromNotice", [&] {
    OnlyCommands({Command::mnuPrint, Command::cmdNew, Command::cmdDelete, Command::cmdClose, Command::cmdBrowse});
    LockForm();
    m_editState = 1;
    ShowMessage(number);
  });
}

// ---- browsing ----

void MessageEditor::cmdBrowse_Click() {
  Trap("cmdBrowse_Click", [&] {
    m_editorMode = "BROWSE";
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
    m_messageSaved = true;
    m_editorMode = "BROWSE";
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
