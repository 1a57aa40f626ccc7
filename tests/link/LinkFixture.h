#pragma once
// Link test pieces: a recording log, a window stand-in, an in-memory outbox and a
// well-behaved Pmdirect on a FakeSocket.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "core/VError.h"
#include "link/PmLink.h"
#include "tests/support/FakeSocket.h"
#include "tests/support/ScriptedDialogs.h"
#include "tests/support/TempDir.h"
#include "tests/support/VirtualEventLoop.h"

namespace velnor::testing {

using Lines = std::vector<std::string>;

class RecordingLog : public SessionLogWriter {
 public:
  void WriteLog(const std::string& routine) override { lines.push_back(routine); }
  Lines lines;
};

// Records the panels and every "Status" text; the codec is a stand-in.
class FakeHost : public LinkHost {
 public:
  void setStatus(const std::string& key, const std::string& text) override {
    panels[key] = text;
    if (key == "Status") statusHistory.push_back(text);
  }
  std::string status() override { return panels["Status"]; }
  void RefreshMsgInfo(std::int32_t, Status) override { ++refreshes; }
  std::string EncodeMsg(const MsgRecord& rec) override {
    if (encodeFails) throw VError(kErrFileNotFound, "PmMsg:Load", "File not found");
    return "!ICS213!\r\nMSGNO:" + std::to_string(rec.MsgNo()) + "\r\n!/ICS213!";
  }
  std::int32_t StoreMsg(const std::string& text) override {
    filed.push_back(text);
    return static_cast<std::int32_t>(filed.size());
  }
  void Warn(const std::string& text) override { warnings.push_back(text); }
  void SessionEnded(bool ok, const std::string& why) override { outcomes.push_back(ok ? "OK" : why); }
  bool saw(const std::string& status) const {
    return std::ranges::find(statusHistory, status) != statusHistory.end();
  }

  std::map<std::string, std::string> panels;
  Lines statusHistory;
  Lines filed;
  Lines warnings;
  Lines outcomes;  // per session: "OK" or why it failed
  int refreshes = 0;
  bool encodeFails = false;
};

// How a failed session must end: the step's failed text, the step's log lines (the
// session's own line follows), and the step named in "Disconnecting, error during".
struct Failure {
  std::string status;
  Lines logLines;
  std::string step;
};

// The "Status" panel was "kept" before the session.
inline void ExpectFailed(FakeHost& host, const RecordingLog& log, const PmLink& link, const Failure& f) {
  EXPECT_TRUE(host.saw(f.status));
  EXPECT_TRUE(host.saw("Disconnecting, error during " + f.step));
  Lines expected = f.logLines;
  expected.push_back("Message session to Pmdirect... failed");
  EXPECT_EQ(log.lines, expected);
  EXPECT_EQ(host.panels["Status"], "kept");
  EXPECT_EQ(host.panels["NetState"], "Disconnected");
  EXPECT_EQ(host.outcomes, Lines{"error during " + f.step});
  EXPECT_FALSE(link.SessionRunning());
}

struct OutboxRecord {
  std::int32_t msgNo;
  Status status;
  std::string subj;
};

class MemoryOutbox : public Outbox {
 public:
  explicit MemoryOutbox(std::vector<OutboxRecord>& recs) : m_recs(recs) {}
  void ResetList() override { m_pos = 0; }
  bool GetList() override {
    if (++m_pos > m_recs.size()) return false;
    const OutboxRecord& r = m_recs[m_pos - 1];
    m_cur.setMsgNo(r.msgNo);
    m_cur.setStatus(r.status);
    m_cur.setSubj(r.subj);
    return true;
  }
  const MsgRecord& Record() const override { return m_cur; }
  bool UpdateStatus(Status s) override {
    m_recs.at(m_pos - 1).status = s;
    return true;
  }

 private:
  std::vector<OutboxRecord>& m_recs;
  std::size_t m_pos = 0;
  MsgRecord m_cur;
};

// Answers the dialogue like Pmdirect; `waiting` are handed out one per "POP".
struct FakePmdirect {
  FakeSocket& sock;
  std::deque<std::string> waiting;
  std::string regReply = "Pmdirect\r\nLOGON>\r\n";
  std::string logonReply = "OK>\r\n";
  std::string msgReply = "OK>\r\n";
  std::int64_t msgDelayMs = 3;  // before the "OK>" that takes a message

  explicit FakePmdirect(FakeSocket& s) : sock(s) {
    sock.onSend = [this](std::string_view sent) { answer(std::string(sent)); };
  }
  void answer(const std::string& sent) {
    if (sent == "<!REG!>\r\n") {
      sock.deliver(regReply, 3);
    } else if (sent.starts_with("<!LOGON!>")) {
      sock.deliver(logonReply, 3);
    } else if (sent == "POP\r\n") {
      sock.deliver(waiting.empty() ? "NOMORE>\r\n" : waiting.front() + "\r\n", 3);
      if (!waiting.empty()) waiting.pop_front();
    } else if (sent == "QUIT\r\n") {
      sock.deliver("QUITING>\r\n", 3);
      sock.peerClose(4);
    } else {
      sock.deliver(msgReply, msgDelayMs);
    }
  }
};

// A link on the virtual loop and a well-behaved Pmdirect, everything it reports recorded.
struct LinkWorld {
  LinkWorld() {
    settings.Pausev = 20;
    settings.TimeOut = "3000";
    settings.LoginName = "  KD0ABC ";
  }
  PmLink& link() {
    if (!m_link)
      m_link = std::make_unique<PmLink>(
          loop, sock, settings, host, log, dialogs, [this] { return std::make_unique<MemoryOutbox>(outbox); },
          dataDir.path());
    return *m_link;
  }

  TempDir dataDir;
  VirtualEventLoop loop;
  FakeSocket sock{loop};
  FakePmdirect pm{sock};
  Settings settings;
  FakeHost host;
  RecordingLog log;
  ScriptedDialogs dialogs;
  std::vector<OutboxRecord> outbox;
  std::unique_ptr<PmLink> m_link;
};

class LinkTest : public ::testing::Test, public LinkWorld {};

}  // namespace velnor::testing
