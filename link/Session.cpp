#include <exception>
#include <optional>

#include "core/DateTime.h"
#include "core/StringLib.h"
#include "core/VError.h"
#include "link/PmLink.h"

namespace velnor {

namespace {

std::string FailureText(Socket::Failure f) {
  switch (f) {
    case Socket::Failure::Refused:
      return "Connection refused";
    case Socket::Failure::HostNotFound:
      return "Host not found";
    case Socket::Failure::PeerClosed:
      return "Pmdirect closed the connection";
    case Socket::Failure::None:
    case Socket::Failure::Other:
      break;
  }
  return "Connection failed";
}

}  // namespace

std::string LastSessionText(bool ok, const std::string& why, double when) {
  return "Disconnected. Last session " + FormatDate(when, "hh:nn") + (ok ? " OK" : " failed: " + why);
}

PmLink::PmLink(EventLoop& loop, Socket& WNS, const Settings& settings, LinkHost& host, SessionLogWriter& log,
               Dialogs& dialogs, OutboxFactory outbox, const std::string& dataPath)
    : m_WNS(WNS),
      m_settings(settings),
      m_host(host),
      m_log(log),
      m_dialogs(dialogs),
      m_outbox(std::move(outbox)),
      m_spool(dataPath),
      m_waits(loop),
      m_transport(loop, WNS, settings, log, dialogs),
      m_tmrSRTimer(loop.createTimer()) {
  m_tmrSRTimer->onTick = [this] { tmrSRTimer_Timer(); };
}

PmLink::~PmLink() = default;

std::int32_t PmLink::timeOutMs() const {
  std::int32_t ms = 0;
  if (!ParseSettingNumber(m_settings.TimeOut, ms))
    throw VError(kErrTypeMismatch, "ConnectServer", "TimeOut is not a whole number");
  return ms;
}

bool PmLink::SeqPmdirect() {
  if (m_SessionRunning) return false;
  m_SessionRunning = true;
  bool ok = false;
  do {
    m_RunAgain = false;
    ok = OneSession();
  } while (m_RunAgain);
  m_SessionRunning = false;
  return ok;
}

bool PmLink::OneSession() {
  m_connectFailure.clear();
  const std::optional<std::string> failedAt = RunSteps();
  if (failedAt)
    AbortSession(*failedAt);
  else
    QuitSession();
  m_lastFailure = !failedAt ? "" : *failedAt == "Connect" ? m_connectFailure : "error during " + *failedAt;
  m_host.SessionEnded(!failedAt, m_lastFailure);
  return !failedAt;
}

std::optional<std::string> PmLink::RunSteps() {
  if (!ConnectServer()) return "Connect";
  if (!RegisterClient()) return "Registration Request";
  Pause(pausev());
  if (!LogOn()) return "Logging on";
  Pause(pausev());
  if (!SendMessages()) return "Sending messages";
  if (!RetrieveMessages()) return "Retrieving messages";
  return std::nullopt;
}

void PmLink::RunSession() {
  const std::string kept = m_host.status();
  if (!SeqPmdirect()) {
    status("Pmdirect session with errors");
    m_log.WriteLog("Message session to Pmdirect... failed");
    Pause(2000);
  }
  status(kept);
}

void PmLink::SendSession() {
  if (!m_SessionRunning) {
    RunSession();
    return;
  }
  m_RunAgain = true;
  status("Queued: will go with the session now running");
}

bool PmLink::ConnectServer() {
  try {
    state().ReplyComplete = false;
    status("Trying to Connect...");
    m_WNS.close();
    m_WNS.setRemoteHost(m_settings.HostName);
    std::int32_t port = 0;
    if (!ParseSettingNumber(m_settings.Port, port) || port < 0 || port > 65535)
      throw VError(kErrTypeMismatch, "ConnectServer", "Port is not a number from 0 to 65535");
    const std::int32_t timeOut = timeOutMs();
    m_WNS.setRemotePort(static_cast<int>(port));
    m_WNS.connect();
    StartGpTimer(timeOut);
    // An error ends the wait at once; only silence waits for TimeOut.
    while (m_WNS.state() != Socket::Connected && m_WNS.state() != Socket::Error && m_waits.GpTimerEnabled()) {
      m_waits.loop().waitForEvents();
      m_WNS.checkHost();  // an unusable host goes to the network error box below
    }
    if (m_WNS.state() == Socket::Connected) {
      status("Trying to Connect... connected!");
      netState("Connected");
      Pause(pausev());
      return true;
    }
    m_connectFailure = m_WNS.state() == Socket::Error
                           ? FailureText(m_WNS.failure())
                           : "no connection within " + std::to_string(timeOut) + " ms";
    status("Trying to Connect... failed");
    netState("Disconnected");
    m_log.WriteLog("Connection Failed");
    return false;
  } catch (const std::exception& e) {
    const auto* ve = dynamic_cast<const VError*>(&e);
    m_connectFailure = ve ? ve->description() : e.what();
    m_dialogs.messageBox("Network error.  Confirm this is a networked PC", kProgramTitle,
                         MsgButtons::Ok);
    return false;
  }
}

bool PmLink::RegisterClient() {
  LinkState& s = state();
  s.ReplyComplete = false;
  s.LogonPromptSeen = false;
  s.AwaitedPrompt = 1;
  status("Registering...");
  Pause(pausev());
  m_transport.WinSend("<!REG!>");
  if (!s.LogonPromptSeen) {
    status("Registering... failed");
    netState("Disconnected");
    m_log.WriteLog("Registration request failed");
    return false;
  }
  status("Registering... passed");
  netState("Connected");
  Pause(pausev());
  return true;
}

bool PmLink::LogOn() {
  try {
    LinkState& s = state();
    s.AwaitedPrompt = 2;
    s.ReplyComplete = false;
    status("Logging in...");
    // Normally connected already; a dropped link must not keep us here for ever.
    if (m_WNS.state() != Socket::Connected) {
      StartGpTimer(timeOutMs());
      while (m_WNS.state() != Socket::Connected && m_waits.GpTimerEnabled())
        m_waits.loop().waitForEvents();
    }
    const std::string id = Trim(m_settings.LoginName);
    if (m_WNS.state() == Socket::Connected) {
      status("Logging in as " + id);
      Pause(pausev());
      m_transport.WinSend("<!LOGON!>" + id);
    }
    if (s.ReplyComplete) {
      status("Log in successful");
      Pause(500);
      return true;
    }
    status("Log in failed");
    m_log.WriteLog("Logon as " + id + " failed");
    return false;
  } catch (const std::exception&) {
    return false;
  }
}

bool PmLink::SendMessages() {
  try {
    std::unique_ptr<Outbox> cursor = m_outbox();
    state().AwaitedPrompt = 2;
    cursor->ResetList();
    while (cursor->GetList()) {
      // The record as the walk found it: its number may not be unique in a store that
      // another program wrote, so nothing below looks it up by number again.
      const MsgRecord& rec = cursor->Record();
      if (rec.Status() != Status::ReadyToSend) continue;
      state().ReplyComplete = false;
      const std::string num = std::to_string(rec.MsgNo());
      status("Sending message # " + num + "...");
      m_OutgoingText = m_host.EncodeMsg(rec);
      Pause(pausev());
      m_transport.WinSend(m_OutgoingText, ReplyWait::MessageTaken);
      if (!state().ReplyComplete) {
        status("SendMessages: Lost connection");
        m_log.WriteLog("SendMessages: Lost connection");
        Pause(pausev());
        return false;
      }
      status("Sending message # " + num + "... sent");
      const bool updated = cursor->UpdateStatus(Status::Sent);
      if (updated) m_host.RefreshMsgInfo(rec.MsgNo(), Status::Sent);
      m_log.WriteLog("SendMessages: Sent No. " + num + " titled: " + Trim(rec.Subj()));
      if (!updated)
        m_log.WriteLog("SendMessages: No. " + num +
                       " was changed by another program while it was sent; its status stays");
    }
    return true;
  } catch (const VError& e) {
    // A store or encoder failure: the message stays queued for the next session.
    m_log.WriteLog("SendMessages: " + e.description());
  } catch (const std::exception& e) {
    m_log.WriteLog(std::string("SendMessages: ") + e.what());
  }
  return false;
}

bool PmLink::RetrieveMessages() {
  LinkState& s = state();
  s.AwaitedPrompt = 4;
  s.NoMoreSeen = false;
  do {
    s.ReplyComplete = false;
    s.MessageEndSeen = false;
    Pause(pausev());
    m_transport.WinSend("POP");
    if (!s.ReplyComplete) {
      // Neither a message nor "NOMORE>": asking again would never end on a dead link.
      m_log.WriteLog("RetrieveMessages: Lost connection");
      return false;
    }
    if (s.MessageEndSeen) {
      m_log.WriteLog("Incoming Message...");
      if (!FileReceived(s.ReceiveBuffer)) return false;
    }
  } while (!s.NoMoreSeen);
  status("End of Message Retrieval");
  Pause(pausev());
  return true;
}

bool PmLink::FileReceived(const std::string& text) {
  std::optional<IncomingSpool::Kept> kept;
  try {
    kept.emplace(m_spool.Keep(text));
  } catch (const std::exception& e) {
    m_log.WriteLog("Incoming message could not be kept in " + m_spool.dir() + ": " + e.what());
  }
  std::int32_t number = 0;
  try {
    number = m_host.StoreMsg(text);
  } catch (const std::exception& e) {
    m_log.WriteLog(std::string("RetrieveMessages: ") + e.what());
    if (kept) {
      TellKept({kept->path()});
    } else {
      // Kept nowhere on disk: the operator's window is the last place left for the text.
      const std::string line = "Message could not be stored nor kept in " + m_spool.dir();
      m_log.WriteLog(line);
      m_host.Warn(line + "; its text:\r\n\r\n" + text);
    }
    return false;
  }
  if (kept) LetGo(*kept, number);
  return true;
}

void PmLink::LetGo(IncomingSpool::Kept& kept, std::int32_t number) {
  try {
    kept.Remove();
  } catch (const std::exception& e) {
    m_log.WriteLog("Message " + std::to_string(number) + " is filed, but its copy " + kept.path() +
                   " could not be deleted (" + e.what() + "): delete it, or start-up files it again");
  }
}

void PmLink::TellKept(const std::vector<std::string>& paths) {
  std::string text;
  for (const std::string& path : paths) {
    const std::string line = "Message could not be stored: kept in " + path;
    m_log.WriteLog(line);
    text += (text.empty() ? "" : "\r\n") + line;
  }
  m_host.Warn(text);
}

void PmLink::FileKept() {
  std::vector<std::string> notFiled;
  for (IncomingSpool::Leftover& l : m_spool.Leftovers()) {
    // After one failure the rest are not tried: they would fail alike.
    if (notFiled.empty()) {
      try {
        const std::int32_t n = m_host.StoreMsg(l.text);
        m_log.WriteLog("Kept incoming message filed as No. " + std::to_string(n) + ": " + l.kept.path());
        LetGo(l.kept, n);
        continue;
      } catch (const std::exception& e) {
        m_log.WriteLog(std::string("FileKept: ") + e.what());
      }
    }
    notFiled.push_back(l.kept.path());
  }
  if (!notFiled.empty()) TellKept(notFiled);
}

void PmLink::QuitSession() {
  LinkState& s = state();
  s.ReplyComplete = true;
  s.AwaitedPrompt = 5;
  try { status("Disconnecting... "); } catch (const std::exception&) {}
  try { m_transport.WinSend("QUIT"); } catch (const std::exception&) {}
  try { Pause(pausev()); } catch (const std::exception&) {}
  try { m_WNS.close(); } catch (const std::exception&) {}
  try { netState("Disconnected"); } catch (const std::exception&) {}
  try { status("Velnor Ready"); } catch (const std::exception&) {}
}

void PmLink::AbortSession(const std::string& step) {
  LinkState& s = state();
  s.ReplyComplete = true;
  s.AwaitedPrompt = 5;
  status("Disconnecting... ");
  try { m_WNS.close(); } catch (const std::exception&) {}
  try { netState("Disconnected"); } catch (const std::exception&) {}
  try { status("Disconnecting, error during " + step); } catch (const std::exception&) {}
}

}  // namespace velnor
