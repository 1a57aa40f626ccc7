#include <gtest/gtest.h>

#include "tests/link/LinkFixture.h"

namespace velnor::testing {
namespace {

const std::string kMsgA = "!ICS213!\r\nSUBJ:first\r\n!/ICS213!";
const std::string kMsgB = "!ICS213!\r\nSUBJ:second\r\n!/ICS213!";

using SessionTest = LinkTest;

TEST_F(SessionTest, FullSessionPutsExactBytesOnTheWireAndUpdatesTheStore) {
  outbox = {
      {1, Status::ReadyToSend, "  Water  "}, {2, Status::Read, "read one"}, {3, Status::ReadyToSend, "Fuel"}};
  pm.waiting = {kMsgA, kMsgB};
  // A busy Pmdirect takes each message late: past 120 s and 9 x TimeOut, within 10 x.
  settings.TimeOut = "15000";
  pm.msgDelayMs = 140000;
  host.setStatus("Status", "Velnor Ready");
  host.statusHistory.clear();
  link().RunSession();

  EXPECT_EQ(sock.wire,
            "<!REG!>\r\n<!LOGON!>KD0ABC\r\n"
            "!ICS213!\r\nMSGNO:1\r\n!/ICS213!\r\n"
            "!ICS213!\r\nMSGNO:3\r\n!/ICS213!\r\n"
            "POP\r\nPOP\r\nPOP\r\nQUIT\r\n");
  EXPECT_EQ(std::vector({outbox[0].status, outbox[1].status, outbox[2].status}),
            std::vector({Status::Sent, Status::Read, Status::Sent}));
  EXPECT_EQ(host.filed, (Lines{kMsgA + "\r\n", kMsgB + "\r\n"}));
  EXPECT_EQ(host.refreshes, 2);
  EXPECT_EQ(host.outcomes, Lines{"OK"});
  EXPECT_EQ(log.lines,
            (Lines{"SendMessages: Sent No. 1 titled: Water", "SendMessages: Sent No. 3 titled: Fuel",
                   "Incoming Message...", "Incoming Message..."}));
  EXPECT_EQ(host.statusHistory,
            (Lines{"Trying to Connect...", "Trying to Connect... connected!", "Registering...",
                   "Registering... passed", "Logging in...", "Logging in as KD0ABC", "Log in successful",
                   "Sending message # 1...", "Sending message # 1... sent", "Sending message # 3...",
                   "Sending message # 3... sent", "End of Message Retrieval", "Disconnecting... ",
                   "Velnor Ready", "Velnor Ready"}));
  EXPECT_EQ(host.panels["NetState"], "Disconnected");
  EXPECT_EQ(sock.state(), Socket::Closed);
  EXPECT_FALSE(link().SessionRunning());
}

// With an empty queue the first session goes from logon straight to "POP". A second
// session is turned away; a send asked for meanwhile runs once the first has ended.
TEST_F(SessionTest, SecondSessionIsTurnedAwayAndASendWaitsForTheFirst) {
  host.setStatus("Status", "idle");
  loop.post(
      [&] {
        EXPECT_FALSE(link().SeqPmdirect());
        link().RunSession();
        link().SendSession();
        EXPECT_TRUE(link().SessionRunning());
      },
      10);
  EXPECT_TRUE(link().SeqPmdirect());
  EXPECT_TRUE(host.saw("Pmdirect session with errors"));
  EXPECT_TRUE(host.saw("Queued: will go with the session now running"));
  EXPECT_EQ(log.lines, (Lines{"Message session to Pmdirect... failed"}));
  EXPECT_EQ(sock.wire,
            "<!REG!>\r\n<!LOGON!>KD0ABC\r\nPOP\r\nQUIT\r\n<!REG!>\r\n<!LOGON!>KD0ABC\r\nPOP\r\nQUIT\r\n");
  EXPECT_EQ(host.outcomes, (Lines{"OK", "OK"}));
}

// Only silence waits for TimeOut; every failure says why. An unusable host, port or
// TimeOut shows the network box instead of logging.
TEST_F(SessionTest, ConnectFailuresEndAtOnceAndSayWhy) {
  using Mode = FakeSocket::ConnectMode;
  struct Row {
    Mode mode;
    std::string host, port, timeOut, why;
    std::int64_t tookMs;
    int connects;
  };
  const std::string badPort = "Port is not a number from 0 to 65535";
  const Row rows[] = {{Mode::Refuse, "127.0.0.1", "0", "3000", "Connection refused", 5, 1},
                      {Mode::Never, "127.0.0.1", "9334", "3000", "no connection within 3000 ms", 3000, 1},
                      {Mode::Accept, "pmdirect.invalid", "9334", "60000", "Host not found", 5, 1},
                      {Mode::Accept, "127.0.0.1", "70000", "3000", badPort, 0, 0},
                      {Mode::Accept, "127.0.0.1", "9334", "five", "TimeOut is not a whole number", 0, 0}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.host + ":" + r.port + "/" + r.timeOut);
    LinkWorld w;
    w.sock.connectMode = r.mode;
    w.settings.HostName = r.host;
    w.settings.Port = r.port;
    w.settings.TimeOut = r.timeOut;
    const bool box = r.mode == Mode::Accept;
    if (box) w.dialogs.expectMessage("Network error.  Confirm this is a networked PC");
    EXPECT_FALSE(w.link().SeqPmdirect());
    w.dialogs.verify();
    EXPECT_EQ(w.loop.now(), r.tookMs);
    EXPECT_EQ(w.host.outcomes, Lines{r.why});
    EXPECT_EQ(w.log.lines, box ? Lines{} : Lines{"Connection Failed"});
    EXPECT_EQ(w.host.panels["Status"], "Disconnecting, error during Connect");
    EXPECT_EQ(w.sock.connects, r.connects);
    if (box) EXPECT_EQ(w.dialogs.shown.back().caption, "Velnor");
  }
}

// After the connect, each step that fails ends the session in its own texts, without a
// "QUIT", within TimeOut (a message's "OK>" is waited for longer).
TEST_F(SessionTest, FaultsEndInTheRightTextsWithinTheBound) {
  const std::string lostSend = "SendMessages: Lost connection";
  const struct {
    std::function<void(LinkWorld&)> arrange;
    Failure failure;
    std::int64_t boundMs = 3000;
  } rows[] = {
      // A lower-case "logon>" is the no-prompt case: the reader's case rows show it does not count.
      {[](LinkWorld& w) { w.pm.regReply = "Pmdirect\r\n"; },
       {"Registering... failed",
        {"WinSend: No reply within 3000 ms", "Registration request failed"},
        "Registration Request"}},
      {[](LinkWorld& w) { w.pm.logonReply = "DENIED\r\n"; },
       {"Log in failed", {"WinSend: No reply within 3000 ms", "Logon as KD0ABC failed"}, "Logging on"}},
      {[](LinkWorld& w) { w.pm.msgReply = "hmm\r\n"; },
       {lostSend, {"WinSend: No reply within 120000 ms", lostSend}, "Sending messages"},
       120000},
      {[](LinkWorld& w) {
         w.sock.dropAfterBytes = std::string("<!REG!>\r\n<!LOGON!>KD0ABC\r\n!ICS213!").size();
       },
       {lostSend, {"WinSend: Lost Telnet connection", lostSend}, "Sending messages"}},
      // An encoder failure keeps the message queued.
      {[](LinkWorld& w) { w.host.encodeFails = true; },
       {"Sending message # 1...", {"SendMessages: File not found"}, "Sending messages"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.failure.step + " " + row.failure.logLines[0]);
    LinkWorld w;
    w.outbox = {{1, Status::ReadyToSend, "one"}};
    row.arrange(w);
    w.host.setStatus("Status", "kept");
    w.link().RunSession();
    ExpectFailed(w.host, w.log, w.link(), row.failure);
    EXPECT_EQ(w.sock.state(), Socket::Closed);
    EXPECT_EQ(w.sock.wire.find("QUIT"), std::string::npos);
    EXPECT_EQ(w.outbox[0].status, Status::ReadyToSend);
    // Pauses and the 2 s error hold add a little to the bound.
    EXPECT_LT(w.loop.now(), row.boundMs + 2000 + 1000);
  }
}

// The link test sends pieces of 75 without line ends, never while a session runs (they
// would close each other's connection); a run that falls due during the test starts at the
// first check after it. An unusable port fails at once, without a box.
TEST_F(SessionTest, LinkTestSendsPiecesOf75AloneAndFailsWithoutABox) {
  link().setSessionRunning(true);
  EXPECT_FALSE(link().PmdirectTest("abc"));
  EXPECT_EQ(sock.connects, 0);
  link().setSessionRunning(false);

  settings.SRTime = 1;
  link().StartSRTimer();
  link().ClockTick();
  std::string text;
  for (int i = 0; i < 160; ++i) text += static_cast<char>('a' + i % 26);
  sock.onSend = [&](std::string_view sent) {
    if (link().TestRunning()) link().tmrSRTimer_Timer();
    pm.answer(std::string(sent));
  };
  EXPECT_TRUE(link().PmdirectTest(text));
  EXPECT_EQ(sock.sends, (Lines{text.substr(0, 75), text.substr(75, 75), text.substr(150)}));
  EXPECT_EQ(host.panels["Status"], "Passing message... sent");
  link().tmrSRTimer_Timer();
  EXPECT_EQ(sock.connects, 2);
  EXPECT_EQ(host.outcomes, Lines{"OK"});

  settings.Port = "port";
  EXPECT_FALSE(link().PmdirectTest("x"));
  EXPECT_EQ(sock.connects, 2);
  EXPECT_TRUE(dialogs.shown.empty());
}

}  // namespace
}  // namespace velnor::testing
