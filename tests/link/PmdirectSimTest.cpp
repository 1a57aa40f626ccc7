// The whole link over loopback against a real pmdirect-sim, with the real store and codec.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <filesystem>
#include <memory>

#include "core/AtomicFile.h"
#include "core/EventLog.h"
#include "core/StringLib.h"
#include "format/Decoder.h"
#include "format/Encoder.h"
#include "format/Notice.h"
#include "link/PmLink.h"
#include "platform/qt/QtEventLoop.h"
#include "platform/qt/QtSocket.h"
#include "store/IcsMsg.h"
#include "tests/link/LinkFixture.h"
#include "tests/sim/SimHarness.h"
#include "tests/support/TempDir.h"

namespace velnor::testing {
namespace {

// QtSocket and QtEventLoop need an application object, one for the whole run.
class QtApp : public ::testing::Environment {
  void SetUp() override { m_app = std::make_unique<QCoreApplication>(m_argc, m_argv); }
  void TearDown() override { m_app.reset(); }
  int m_argc = 1;
  char m_name[14] = "test_link_sim";
  char* m_argv[2] = {m_name, nullptr};
  std::unique_ptr<QCoreApplication> m_app;
};
const auto* const kEnv = ::testing::AddGlobalTestEnvironment(new QtApp);

// One pmdirect-sim for one test; received() is every byte it read, in order.
struct Sim {
  explicit Sim(const std::vector<std::string>& faults = {})
      : proc(dir.file("spool"), dir.file("transcript"), faults), port(proc.port()) {}
  std::string received() const { return Joined(Transcript(dir.file("transcript"), '<')); }
  TempDir dir;
  SimProcess proc;
  int port;
};

class CollectNotices : public NoticeSink {
 public:
  void ShowNotice(const std::string&, std::int32_t number) override { shown.push_back(number); }
  std::vector<std::int32_t> shown;
};

using Records = std::vector<std::pair<Status, std::string>>;

// A station: its own data directory, store, settings and link, as the window wires them.
class Station : public FakeHost {
 public:
  Station(const std::string& id, int port) {
    settings.LoginName = " " + id + "  ";
    settings.Port = std::to_string(port);
    settings.TimeOut = "3000";
    settings.Pausev = 0;
    link = std::make_unique<PmLink>(loop, wns, settings, *this, log, dialogs, StoreOutbox(dir.path(), events),
                                    dir.path());
  }
  std::int32_t queue(const std::string& dest, const std::string& subj, const std::string& body) {
    IcsMsg m(dir.path(), events);
    m.rec().setStatus(Status::ReadyToSend);
    m.rec().setOrigin(Origin::Local);
    m.rec().setKind(Kind::Message);
    m.rec().setTo("Ops chief");
    m.rec().setFr("Logistics");
    m.rec().setSubj(subj);
    m.rec().setMsg(body);
    m.rec().setRoute(dest);
    return m.NewMsg();
  }
  // (Status, Subj) of every record, in file order.
  Records records() {
    Records out;
    IcsMsg m(dir.path(), events);
    m.ResetList();
    while (m.GetList()) out.emplace_back(m.rec().Status(), Trim(m.rec().Subj()));
    return out;
  }
  std::string EncodeMsg(const MsgRecord& rec) override { return EncodeRecord(rec, Trim(settings.LoginName)); }
  std::string EncodeMsg(std::int32_t n) {
    return velnor::EncodeMsg(dir.path(), events, n, Trim(settings.LoginName));
  }
  std::int32_t StoreMsg(const std::string& text) override {
    StoreMsgContext ctx{dir.path(), events, log, notices, settings.DateFormat, settings.TimeFormat};
    return velnor::StoreMsg(text, Origin::Received, ctx);
  }

  TempDir dir;
  RecordingEventLog events;
  RecordingLog log;
  ScriptedDialogs dialogs;
  CollectNotices notices;
  Settings settings;
  QtEventLoop loop;
  QtSocket wns;
  std::unique_ptr<PmLink> link;
};

TEST(PmdirectSim, TwoStationsExchangeMessagesWithExactBytesOnTheWire) {
  Sim sim;
  Station alpha("ALPHA", sim.port), bravo("BRAVO", sim.port);
  const std::int32_t n1 = alpha.queue("BRAVO", "Water", "Need 40 cases of water\r\nat staging");
  const std::int32_t n2 = alpha.queue("BRAVO", "Fuel", "Diesel for generator 2");
  const std::string text1 = alpha.EncodeMsg(n1), text2 = alpha.EncodeMsg(n2);

  alpha.panels["Status"] = "Velnor Ready";
  alpha.link->RunSession();
  EXPECT_EQ(alpha.panels["Status"], "Velnor Ready");
  EXPECT_EQ(alpha.log.lines, (Lines{"SendMessages: Sent No. " + std::to_string(n1) + " titled: Water",
                                    "SendMessages: Sent No. " + std::to_string(n2) + " titled: Fuel"}));
  EXPECT_EQ(alpha.records(), (Records{{Status::Sent, "Water"}, {Status::Sent, "Fuel"}}));

  EXPECT_TRUE(bravo.link->SeqPmdirect());
  EXPECT_EQ(bravo.records(), (Records{{Status::Unread, "Water"}, {Status::Unread, "Fuel"}}));
  EXPECT_EQ(bravo.notices.shown.size(), 2u);
  EXPECT_EQ(bravo.log.lines, (Lines{"Incoming Message...", "StoreMsg...: Loading message titled: Water",
                                    "Incoming Message...", "StoreMsg...: Loading message titled: Fuel"}));

  const std::string expected =
      "<!REG!>\r\n<!LOGON!>ALPHA\r\n" + text1 + "\r\n" + text2 + "\r\nPOP\r\nQUIT\r\n"
      "<!REG!>\r\n<!LOGON!>BRAVO\r\nPOP\r\nPOP\r\nPOP\r\nQUIT\r\n";
  // The last "QUIT" may still be on its way into the transcript.
  for (int i = 0; i < 50 && sim.received() != expected; ++i) bravo.link->Pause(20);
  EXPECT_EQ(sim.received(), expected);
}

// Another program gave one number twice: the waiting record is the one sent and marked,
// the other is left as it was, and the next session sends nothing.
TEST(PmdirectSim, ANumberGivenTwiceSendsAndMarksTheWaitingRecord) {
  Sim sim;
  Station alpha("ALPHA", sim.port);
  const std::int32_t n = alpha.queue("BRAVO", "Waiting", "send me");
  IcsMsg m(alpha.dir.path(), alpha.events);
  ASSERT_TRUE(m.Load(n));
  const MsgRecord waiting = m.rec();
  m.rec().setStatus(Status::Sent);
  m.rec().setSubj("Sent before");
  m.Update(n);
  m.rec() = waiting;
  m.Add();
  EXPECT_TRUE(alpha.link->SeqPmdirect());
  EXPECT_TRUE(alpha.link->SeqPmdirect());
  EXPECT_EQ(alpha.records(), (Records{{Status::Sent, "Sent before"}, {Status::Sent, "Waiting"}}));
  const std::string session = "<!REG!>\r\n<!LOGON!>ALPHA\r\n";
  const std::string expected =
      session + alpha.EncodeMsg(waiting) + "\r\nPOP\r\nQUIT\r\n" + session + "POP\r\nQUIT\r\n";
  for (int i = 0; i < 50 && sim.received() != expected; ++i) alpha.link->Pause(20);
  EXPECT_EQ(sim.received(), expected);
}

// Pmdirect forgets what it has handed out. A text the store cannot take (its numbers are
// used up) stays on disk, the operator is told where, retrieval stops so the rest wait at
// Pmdirect, and start-up files it once the store can take it.
TEST(PmdirectSim, AMessageTheStoreCannotTakeIsKeptAndFiledAtStartUp) {
  Sim sim;
  Station alpha("ALPHA", sim.port), bravo("BRAVO", sim.port);
  const std::string water = alpha.EncodeMsg(alpha.queue("BRAVO", "Water", "one"));
  alpha.queue("BRAVO", "Fuel", "two");
  ASSERT_TRUE(alpha.link->SeqPmdirect());
  MsgRecord header;
  header.setMsgNo(32767);
  header.setTo("[ics213!.]");
  WriteFileAtomically(
      bravo.dir.file("velnor.odb"),
      std::string(reinterpret_cast<const char*>(header.image().data()), header.image().size()), "test");

  bravo.panels["Status"] = "kept";
  bravo.link->RunSession();
  std::vector<std::string> kept;
  for (const auto& e : std::filesystem::directory_iterator(bravo.dir.file("spool/incoming")))
    kept.push_back(e.path().string());
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(ReadWholeFile(kept[0], "test").find(water), 0u);
  const std::string told = "Message could not be stored: kept in " + kept[0];
  ExpectFailed(bravo, bravo.log, *bravo.link,
               {"Disconnecting... ",
                {"Incoming Message...", "RetrieveMessages: Overflow", told},
                "Retrieving messages"});
  EXPECT_FALSE(bravo.saw("End of Message Retrieval"));
  EXPECT_EQ(bravo.warnings, Lines{told});
  EXPECT_TRUE(bravo.notices.shown.empty());

  std::filesystem::remove(bravo.dir.file("velnor.odb"));
  bravo.log.lines.clear();
  bravo.link->FileKept();
  EXPECT_EQ(bravo.log.lines, (Lines{"StoreMsg...: Loading message titled: Water",
                                    "Kept incoming message filed as No. 1: " + kept[0]}));
  EXPECT_FALSE(std::filesystem::exists(kept[0]));
  EXPECT_TRUE(bravo.link->SeqPmdirect());
  EXPECT_EQ(bravo.records(), (Records{{Status::Unread, "Water"}, {Status::Unread, "Fuel"}}));
  EXPECT_EQ(bravo.notices.shown.size(), 2u);
}

TEST(PmdirectSim, SplitPromptsStillCompleteTheSession) {
  Sim sim({"--split-prompts"});
  Station alpha("ALPHA", sim.port);
  alpha.queue("ALPHA", "To myself", "loop");
  EXPECT_TRUE(alpha.link->SeqPmdirect());
  EXPECT_EQ(alpha.records(), (Records{{Status::Sent, "To myself"}, {Status::Unread, "To myself"}}));
}

struct SimFault {
  const char* name;
  Lines flags;
  Failure failure;
  Status firstStatus = Status::ReadyToSend;
};
// Keeps the test names CTest lists short.
void PrintTo(const SimFault& f, std::ostream* os) { *os << f.name; }

class PmdirectSimFaults : public ::testing::TestWithParam<SimFault> {};

TEST_P(PmdirectSimFaults, FailTheRightStepAndLoseNothing) {
  Sim sim(GetParam().flags);
  Station alpha("ALPHA", sim.port);
  alpha.settings.TimeOut = "1500";
  alpha.queue("BRAVO", "one", "first");
  alpha.queue("BRAVO", "two", "second");
  alpha.panels["Status"] = "kept";
  alpha.link->RunSession();
  ExpectFailed(alpha, alpha.log, *alpha.link, GetParam().failure);
  EXPECT_EQ(alpha.records(), (Records{{GetParam().firstStatus, "one"}, {Status::ReadyToSend, "two"}}));
}

INSTANTIATE_TEST_SUITE_P(
    Link, PmdirectSimFaults,
    ::testing::Values(
        SimFault{"noLogonPrompt", {"--no-prompt", "LOGON>"},
                 {"Registering... failed", {"WinSend: No reply within 1500 ms", "Registration request failed"},
                  "Registration Request"}},
        SimFault{"lowerCase", {"--lower-case"},
                 {"Registering... failed", {"WinSend: No reply within 1500 ms", "Registration request failed"},
                  "Registration Request"}},
        SimFault{"noOkAfterLogon", {"--no-prompt", "OK>"},
                 {"Log in failed", {"WinSend: No reply within 1500 ms", "Logon as ALPHA failed"}, "Logging on"}},
        SimFault{"dropWhileSendingSecond", {"--drop-after", "1"},
                 {"SendMessages: Lost connection",
                  {"SendMessages: Sent No. 1 titled: one", "WinSend: Lost Telnet connection",
                   "SendMessages: Lost connection"},
                  "Sending messages"},
                 Status::Sent}),
    [](const ::testing::TestParamInfo<SimFault>& i) { return std::string(i.param.name); });

TEST(PmdirectSim, NothingListeningFailsTheConnectStepAtOnce) {
  Sim gone;
  gone.proc.stop();
  Station alpha("ALPHA", gone.port);
  alpha.settings.TimeOut = "3000";
  QElapsedTimer took;
  took.start();
  EXPECT_FALSE(alpha.link->SeqPmdirect());
  EXPECT_TRUE(alpha.saw("Trying to Connect... failed"));
  EXPECT_EQ(alpha.panels["Status"], "Disconnecting, error during Connect");
  EXPECT_EQ(alpha.log.lines, (Lines{"Connection Failed"}));
  EXPECT_EQ(alpha.outcomes, Lines{"Connection refused"});

  EXPECT_FALSE(alpha.link->PmdirectTest("<test>This is the ICS-213 test startup msg</test>"));
  EXPECT_EQ(alpha.panels["Status"], "Passing message... failed");
  EXPECT_LT(took.elapsed(), 1500);  // refused, both at once: not a TimeOut between them
}

// Qt refuses these names without asking a resolver, so nothing leaves the machine.
TEST(PmdirectSim, UnusableHostFailsTheConnectStepAtOnce) {
  QTcpServer own;  // the only port the link could reach, were a name ever resolved
  ASSERT_TRUE(own.listen(QHostAddress::LocalHost, 0));
  Station alpha("ALPHA", own.serverPort());
  alpha.settings.TimeOut = "3000";
  QElapsedTimer took;
  took.start();
  for (const char* name : {"", "bad host!"}) {
    SCOPED_TRACE(name);
    alpha.settings.HostName = name;
    alpha.dialogs.expectMessage("Network error.  Confirm this is a networked PC");
    EXPECT_FALSE(alpha.link->SeqPmdirect());
    alpha.dialogs.verify();
    EXPECT_EQ(alpha.panels["Status"], "Disconnecting, error during Connect");
    EXPECT_FALSE(alpha.link->PmdirectTest("x"));  // ends without a box of its own
  }
  EXPECT_EQ(alpha.log.lines, Lines{});
  EXPECT_LT(took.elapsed(), 3000);  // not one wait ran into TimeOut
}

TEST(PmdirectSim, LinkTestHandsTheTextOverInPieces) {
  Sim sim;
  Station alpha("ALPHA", sim.port);
  const std::string text = "<test>This is the ICS-213 test startup msg</test>" + std::string(111, 'x');
  EXPECT_TRUE(alpha.link->PmdirectTest(text));
  EXPECT_EQ(alpha.panels["Status"], "Passing message... sent");
  EXPECT_EQ(alpha.wns.state(), Socket::Closed);
  // The simulator may still be reading; ask it again after a short event-loop wait.
  for (int i = 0; i < 50 && sim.received() != text; ++i) alpha.link->Pause(20);
  EXPECT_EQ(sim.received(), text);
}

TEST(PmdirectSim, AFloodWithoutPromptFailsWithoutGrowingForever) {
  QTcpServer flooder;
  ASSERT_TRUE(flooder.listen(QHostAddress::LocalHost, 0));
  const QByteArray chunk(256 * 1024, 'x');
  QObject::connect(&flooder, &QTcpServer::newConnection, [&] {
    QTcpSocket* peer = flooder.nextPendingConnection();
    auto* pump = new QTimer(peer);
    QObject::connect(pump, &QTimer::timeout, peer, [peer, &chunk] {
      if (peer->bytesToWrite() < chunk.size()) peer->write(chunk);
    });
    pump->start(1);
  });
  Station alpha("ALPHA", flooder.serverPort());
  alpha.settings.TimeOut = "60000";
  EXPECT_FALSE(alpha.link->SeqPmdirect());
  EXPECT_EQ(alpha.panels["Status"], "Disconnecting, error during Registration Request");
  ASSERT_GE(alpha.log.lines.size(), 1u);
  EXPECT_TRUE(alpha.log.lines[0].starts_with("ScanReply: Reply too long"));
  EXPECT_LE(alpha.link->state().ReceiveBuffer.size(), Transport::kMaxReceiveBuffer);
}

}  // namespace
}  // namespace velnor::testing
