#include "link/Transport.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "core/StringLib.h"
#include "core/VError.h"

namespace velnor {

namespace {

constexpr std::array<std::string_view, 5> kPromptText = {"LOGON>", "OK>", "!/ICS213!", "NOMORE>",
                                                         "QUITING>"};
// The reply wait when TimeOut is unusable; the connect step has already refused such a
// value, so this only guards the link test and direct callers.
constexpr std::int32_t kDefaultReplyMs = 5000;
constexpr std::int64_t kMessageTakenMinMs = 120000;
constexpr std::int64_t kMessageTakenTimeOuts = 10;
constexpr std::int64_t kMaxTimerMs = 65535;

}  // namespace

bool ParseSettingNumber(const std::string& text, std::int32_t& out) {
  long v = 0;
  if (!ParseInt32(text, v)) return false;
  out = static_cast<std::int32_t>(v);
  return true;
}

Transport::Transport(EventLoop& loop, Socket& wns, const Settings& settings, SessionLogWriter& log,
                     Dialogs& dialogs)
    : m_loop(loop), m_wns(wns), m_settings(settings), m_log(log), m_dialogs(dialogs),
      m_replyDeadline(loop.createTimer()) {
  m_replyDeadline->onTick = [this] { armDeadline(m_deadlineLeft); };
  m_wns.onDataArrival = [this] { WNS_DataArrival(); };
}

Transport::~Transport() { m_wns.onDataArrival = nullptr; }

void Transport::armDeadline(std::int64_t ms) {
  m_replyDeadline->setEnabled(false);
  if (ms <= 0) return;
  const std::int64_t step = std::min(ms, kMaxTimerMs);
  m_deadlineLeft = ms - step;
  m_replyDeadline->setInterval(static_cast<int>(step));
  m_replyDeadline->setEnabled(true);
}

std::int64_t Transport::ReplyBoundMs(ReplyWait wait) const {
  std::int32_t timeOut = kDefaultReplyMs;
  if (!ParseSettingNumber(m_settings.TimeOut, timeOut)) timeOut = kDefaultReplyMs;
  if (wait == ReplyWait::Prompt) return timeOut;
  return std::max(kMessageTakenMinMs, kMessageTakenTimeOuts * std::int64_t{timeOut});
}

void Transport::clearReceived() {
  m_state.ReceiveBuffer.clear();
  m_found.fill(false);
  m_searched.fill(0);
  m_overflow = false;
}

bool Transport::found(Prompt p) {
  if (m_found[p]) return true;
  const std::string_view prompt = kPromptText[p];
  const std::string& buf = m_state.ReceiveBuffer;
  // Resume where the last search stopped, less the overlap a split prompt can straddle.
  std::size_t from = m_searched[p];
  from = from >= prompt.size() - 1 ? from - (prompt.size() - 1) : 0;
  m_found[p] = buf.find(prompt, from) != std::string::npos;
  m_searched[p] = buf.size();
  return m_found[p];
}

void Transport::ScanReply(std::string_view text) {
  try {
    if (m_state.ReceiveBuffer.size() + text.size() > kMaxReceiveBuffer) {
      // Keep what fits so a prompt that straddles the limit is still found, then stop
      // growing; the waiting send gives up.
      text = text.substr(0, kMaxReceiveBuffer - m_state.ReceiveBuffer.size());
      if (!m_overflow) {
        m_overflow = true;
        m_log.WriteLog("ScanReply: Reply too long, over " + std::to_string(kMaxReceiveBuffer) +
                       " bytes without the awaited prompt");
      }
    }
    m_state.ReceiveBuffer.append(text);
    switch (m_state.AwaitedPrompt) {
      case 1:
        if (found(kLogon)) m_state.LogonPromptSeen = m_state.ReplyComplete = true;
        break;
      case 2:
        if (found(kOk)) m_state.ReplyComplete = true;
        break;
      case 4:
        if (found(kEndTag)) m_state.MessageEndSeen = m_state.ReplyComplete = true;
        if (found(kNoMore)) m_state.NoMoreSeen = m_state.ReplyComplete = true;
        break;
      case 5:
        if (found(kQuiting)) m_state.ReplyComplete = true;
        break;
      default:
        break;
    }
  } catch (const std::exception&) {
    m_state.ReplyComplete = false;
  }
}

void Transport::WNS_DataArrival() {
  try {
    const std::string data = m_wns.getData();
    if (!data.empty()) ScanReply(data);
  } catch (const VError& e) {
    m_log.WriteLog("WNS_DataArrival App Error " + std::to_string(e.number()) + ", " +
                   e.description() + ", step=" + std::to_string(m_state.TestStep));
    m_state.ReplyComplete = false;
  } catch (const std::exception& e) {
    m_log.WriteLog("WNS_DataArrival App Error " + std::to_string(kErrInvalidCall) + ", " +
                   e.what() + ", step=" + std::to_string(m_state.TestStep));
    m_state.ReplyComplete = false;
  }
}

void Transport::WinSend(const std::string& TxString, ReplyWait wait) {
  clearReceived();
  try {
    m_wns.send(TxString + "\r\n");
  } catch (const std::exception& e) {
    if (m_wns.state() != Socket::Connected) {
      m_log.WriteLog("WinSend: Lost Telnet connection");
    } else {
      const auto* ve = dynamic_cast<const VError*>(&e);
      m_log.WriteLog("WinSend App Error " + std::to_string(ve ? ve->number() : kErrInvalidCall) +
                     ", " + (ve ? ve->description() : std::string(e.what())) +
                     ", step=" + std::to_string(m_state.TestStep));
    }
    m_state.ReplyComplete = false;
    return;
  }

  const std::int64_t bound = ReplyBoundMs(wait);
  armDeadline(bound);
  while (!m_state.ReplyComplete) {
    if (m_overflow) break;
    if (m_wns.state() != Socket::Connected) {
      // The peer may have sent its prompt and closed; take what is still waiting first.
      WNS_DataArrival();
      if (m_state.ReplyComplete) break;
      m_log.WriteLog("WinSend: Lost Telnet connection");
      break;
    }
    if (!m_replyDeadline->enabled()) {
      m_log.WriteLog("WinSend: No reply within " + std::to_string(bound) + " ms");
      break;
    }
    m_loop.waitForEvents();
  }
  m_replyDeadline->setEnabled(false);
}

std::string Transport::GetBuffer(std::int32_t Size, std::string& inString) {
  try {
    if (Size < 0) throw VError(kErrInvalidCall, "GetBuffer", "Invalid procedure call or argument");
    const std::size_t n = static_cast<std::size_t>(Size);
    if (n >= inString.size()) return std::exchange(inString, std::string());
    std::string head = inString.substr(0, n);
    inString.erase(0, n);
    return head;
  } catch (const VError& e) {
    m_dialogs.messageBox("GetBuffer: String Error " + std::to_string(e.number()) + ", " +
                             e.description() + "\r\n",
                         "GetBuffer Error", MsgButtons::Ok);
    return {};
  }
}

}  // namespace velnor
