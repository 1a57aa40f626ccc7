#pragma once
// The lowest layer of the link to Pmdirect: send one line, then wait (events keep
// running) until the reply reader has seen the prompt it was told to expect.
//
// Everything received since the last WinSend is kept in ReceiveBuffer. On every arrival
// the reader looks for the awaited prompt anywhere in it, case-sensitively:
//   AwaitedPrompt 1  "LOGON>"                         -> LogonPromptSeen, ReplyComplete
//   AwaitedPrompt 2  "OK>"                            -> ReplyComplete
//   AwaitedPrompt 4  "!/ICS213!" -> MessageEndSeen, and independently
//                    "NOMORE>"   -> NoMoreSeen; either sets ReplyComplete
//   AwaitedPrompt 5  "QUITING>"                       -> ReplyComplete
//   anything else: text only accumulates.
// The reader only ever sets flags; the session steps clear them before each exchange.
// The result is the same as searching the whole buffer on every arrival, but only the new
// text (plus a prompt's length - 1 of overlap) is searched, so a flood costs linear time.
//
// WinSend's wait ends when the reply is complete, when the socket leaves the connected
// state, when its bound passes, or when the peer sends more than kMaxReceiveBuffer bytes
// without the prompt. Every end but the first leaves ReplyComplete false, so the caller
// fails its step as on a lost connection. The bound is TimeOut milliseconds for a prompt;
// for the "OK>" that takes a message it is 120 s or 10 x TimeOut, whichever is longer: a
// Pmdirect busy on the radio may be slow to take it, and giving up early would leave the
// message queued, to be sent again at the next session.
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "app/SessionLog.h"
#include "app/Settings.h"
#include "platform/Dialogs.h"
#include "platform/EventLoop.h"
#include "platform/Socket.h"

namespace velnor {

struct LinkState {
  std::string ReceiveBuffer;
  short AwaitedPrompt = 0;
  bool ReplyComplete = false;
  bool LogonPromptSeen = false;
  bool MessageEndSeen = false;
  bool NoMoreSeen = false;
  short TestStep = 0;
};

// TimeOut and Port are kept as text; both must be whole decimal numbers.
bool ParseSettingNumber(const std::string& text, std::int32_t& out);

// What WinSend waits for, which decides how long it waits.
enum class ReplyWait { Prompt, MessageTaken };

class Transport {
 public:
  static constexpr std::size_t kMaxReceiveBuffer = 4u << 20;

  Transport(EventLoop& loop, Socket& wns, const Settings& settings, SessionLogWriter& log,
            Dialogs& dialogs);
  ~Transport();
  Transport(const Transport&) = delete;
  Transport& operator=(const Transport&) = delete;

  LinkState& state() { return m_state; }
  const LinkState& state() const { return m_state; }
  Socket& WNS() { return m_wns; }

  void WNS_DataArrival();
  void ScanReply(std::string_view text);
  void WinSend(const std::string& TxString, ReplyWait wait = ReplyWait::Prompt);
  // Cuts the first Size characters off inString and returns them.
  std::string GetBuffer(std::int32_t Size, std::string& inString);

  // True once the current reply has outgrown kMaxReceiveBuffer (reset by WinSend).
  bool overflowed() const { return m_overflow; }

 private:
  enum Prompt { kLogon, kOk, kEndTag, kNoMore, kQuiting, kPromptCount };
  bool found(Prompt p);
  void clearReceived();
  // How long WinSend waits, in ms, with the current TimeOut.
  std::int64_t ReplyBoundMs(ReplyWait wait) const;
  // Arms the reply deadline; bounds past the longest timer interval run in several steps.
  void armDeadline(std::int64_t ms);

  EventLoop& m_loop;
  Socket& m_wns;
  const Settings& m_settings;
  SessionLogWriter& m_log;
  Dialogs& m_dialogs;
  LinkState m_state;
  std::unique_ptr<Timer> m_replyDeadline;
  std::int64_t m_deadlineLeft = 0;  // ms still to run after the current interval
  // Per prompt: found in ReceiveBuffer, and how far the buffer has been searched for it.
  std::array<bool, kPromptCount> m_found{};
  std::array<std::size_t, kPromptCount> m_searched{};
  bool m_overflow = false;
};

}  // namespace velnor
