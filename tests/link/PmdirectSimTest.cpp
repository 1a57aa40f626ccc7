// The whole link over loopback: QtEventLoop and QtSocket under a QCoreApplication,
// against a real pmdirect-sim process, with the real store, encoder and decoder.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <cstdlib>
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
#include "tests/support/TempDir.h"

namespace velnor::testing {
namespace {

class SimEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    static int argc = 1;
    static char name[] = "test_link_sim";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance()) m_app = std::make_unique<QCoreApplication>(argc, argv);
  }
  void TearDown() override { m_app.reset(); }

 private:
  std::unique_ptr<QCoreApplication> m_app;
};
const auto* const kEnv = ::testing::AddGlobalTestEnvironment(new SimEnvironment);

// One pmdirect-sim process for one test.
class Sim {
 public:
  Sim(const std::string& dir, const QStringList& faults = {}) : m_transcript(dir + "/transcript.txt") {
    const char* path = std::getenv("VELNOR_SIM");
    if (!path) throw std::runtime_error("VELNOR_SIM is not set");
    QStringList args{"--port", "0", "--spool", QString::fromStdString(dir + "/spool"), "--transcript",
                     QString::fromStdString(m_transcript)};
    args += faults;
    m_proc.setProcessChannelMode(QProcess::SeparateChannels);
    m_proc.start(QString::fromLocal8Bit(path), args);
    if (!m_proc.waitForStarted(10000)) throw std::runtime_error("pmdirect-sim did not start");
    QByteArray line;
    while (!line.contains('\n')) {
      if (!m_proc.waitForReadyRead(10000)) throw std::runtime_error("pmdirect-sim never listened");
      line += m_proc.readAllStandardOutput();
    }
    const QByteArray first = line.left(line.indexOf('\n')).trimmed();
    port = first.mid(first.lastIndexOf(':') + 1).toInt();
    if (port <= 0) throw std::runtime_error("no port in: " + first.toStdString());
  }
  ~Sim() {
    m_proc.terminate();
    if (!m_proc.waitForFinished(5000)) m_proc.kill(), m_proc.waitForFinished(5000);
  }
  // Every byte the simulator received, in order, from its transcript's "<<<" blocks.
  std::string received() const {
    const std::string t = ReadWholeFile(m_transcript, "transcript");
    std::string out;
    std::size_t pos = 0;
    while ((pos = t.find("<<< ", pos)) != std::string::npos) {
      if (pos != 0 && t[pos - 1] != '\n') { pos += 4; continue; }
      const std::size_t eol = t.find('\n', pos);
      if (eol == std::string::npos) break;
      const std::string head = t.substr(pos + 4, eol - pos - 4);
      const std::size_t len = std::stoul(head.substr(head.find(' ') + 1));
      out += t.substr(eol + 1, len);
      pos = eol + 1 + len;
    }
    return out;
  }
  int port = 0;

 private:
  std::string m_transcript;
  QProcess m_proc;
};

class CollectNotices : public NoticeSink {
 public:
  void ShowNotice(const std::string&, std::int32_t number) override { shown.push_back(number); }
  std::vector<std::int32_t> shown;
};

// A station: its own data directory, store, settings and link, as the window wires them.
class Station : public LinkHost {
 public:
  Station(const std::string& id, int port) {
    settings.LoginName = " " + id + "  ";
    settings.Port = std::to_string(port);
    settings.TimeOut = "3000";
    settings.Pausev = 0;
    link = std::make_unique<PmLink>(loop, wns, settings, *this, log, dialogs,
                                    StoreOutbox(dir.path(), events));
  }
  std::int32_t queue(const std::string& dest, const std::string& subj, const std::string& body) {
    IcsMsg m(dir.path(), events);
    m.rec().setStatus(2);
    m.rec().setOrigin(1);
    m.rec().setKind(1);
    m.rec().setTo("Ops chief");
    m.rec().setFr("Logistics");
    m.rec().setSubj(subj);
    m.rec().setMsg(body);
    m.rec().setRoute(dest);
    return m.NewMsg();
  }
  // (MsgNo, Status, Subj) of every record, in file order.
  std::vector<std::tuple<std::int32_t, short, std::string>> records() {
    std::vector<std::tuple<std::int32_t, short, std::string>> out;
    IcsMsg m(dir.path(), events);
    m.ResetList();
    while (m.GetList()) out.emplace_back(m.rec().MsgNo(), m.rec().Status(), Trim(m.rec().Subj()));
    return out;
  }

  void setStatus(const std::string& key, const std::string& text) override {
    panels[key] = text;
    if (key == "Status") statusHistory.push_back(text);
  }
  std::string status() override { return panels["Status"]; }
  void RefreshMsgInfo() override {}
  std::string EncodeMsg(std::int32_t n) override {
    return velnor::EncodeMsg(dir.path(), events, n, Trim(settings.LoginName));
  }
  void StoreMsg(const std::string& text) override {
    StoreMsgContext ctx{dir.path(), events, log, notices, settings.DateFormat, settings.TimeFormat};
    velnor::StoreMsg(text, 2, ctx);
  }
  bool saw(const std::string& s) const {
    return std::find(statusHistory.begin(), statusHistory.end(), s) != statusHistory.end();
  }

  TempDir dir;
  RecordingEventLog events;
  RecordingLog log;
  ScriptedDialogs dialogs;
  CollectNotices notices;
  Settings settings;
  QtEventLoop loop;
  QtSocket wns;
  std::map<std::string, std::string> panels;
  std::vector<std::string> statusHistory;
  std::unique_ptr<PmLink> link;
};

TEST(PmdirectSim, TwoStationsExchangeMessagesWithExactBytesOnTheWire) {
  TempDir simDir;
  Sim sim(simDir.path());
  Station alpha("ALPHA", sim.port), bravo("BRAVO", sim.port);
  const std::int32_t n1 = alpha.queue("BRAVO", "Water", "Need 40 cases of water\r\nat staging");
  const std::int32_t n2 = alpha.queue("BRAVO", "Fuel", "Diesel for generator 2");
  const std::string text1 = alpha.EncodeMsg(n1), text2 = alpha.EncodeMsg(n2);

  alpha.panels["Status"] = "Velnor Ready";
  alpha.link->RunSession();
  EXPECT_EQ(alpha.panels["Status"], "Velnor Ready");
  EXPECT_EQ(alpha.log.lines,
            (std::vector<std::string>{"SendMessages: Sent No. " + std::to_string(n1) + " titled: Water",
                                      "SendMessages: Sent No. " + std::to_string(n2) + " titled: Fuel"}));
  for (const auto& [no, status, subj] : alpha.records()) EXPECT_EQ(status, 3) << subj;

  EXPECT_TRUE(bravo.link->SeqPmdirect());
  const auto got = bravo.records();
  ASSERT_EQ(got.size(), 2u);
  EXPECT_EQ(std::get<1>(got[0]), 4);
  EXPECT_EQ(std::get<2>(got[0]), "Water");
  EXPECT_EQ(std::get<1>(got[1]), 4);
  EXPECT_EQ(std::get<2>(got[1]), "Fuel");
  EXPECT_EQ(bravo.notices.shown.size(), 2u);
  EXPECT_EQ(bravo.log.lines,
            (std::vector<std::string>{"Incoming Message...", "StoreMsg...: Loading message titled: Water",
                                      "Incoming Message...", "StoreMsg...: Loading message titled: Fuel"}));

  const std::string expected =
            "<!REG!>\r\n<!LOGON!>ALPHA\r\n" + text1 + "\r\n" + text2 + "\r\nPOP\r\nQUIT\r\n"
            "<!REG!>\r\n<!LOGON!>BRAVO\r\nPOP\r\nPOP\r\nPOP\r\nQUIT\r\n";
  // The last "QUIT" may still be on its way into the transcript.
  for (int i = 0; i < 50 && sim.received() != expected; ++i) bravo.link->Pause(20);
  EXPECT_EQ(sim.received(), expected);
}

TEST(PmdirectSim, SplitPromptsStillCompleteTheSession) {
  TempDir simDir;
  Sim sim(simDir.path(), {"--split-prompts"});
  Station alpha("ALPHA", sim.port);
  alpha.queue("ALPHA", "To myself", "loop");
  EXPECT_TRUE(alpha.link->SeqPmdirect());
  ASSERT_EQ(alpha.records().size(), 2u);
  EXPECT_EQ(std::get<1>(alpha.records()[0]), 3);
}

struct SimFault {
  const char* name;
  QStringList flags;
  std::string failedStatus;
  std::vector<std::string> logLines;
  std::string step;
};

class PmdirectSimFaults : public ::testing::TestWithParam<SimFault> {};

TEST_P(PmdirectSimFaults, FailTheRightStepAndLoseNothing) {
  const SimFault& f = GetParam();
  TempDir simDir;
  Sim sim(simDir.path(), f.flags);
  Station alpha("ALPHA", sim.port);
  alpha.settings.TimeOut = "1500";
  alpha.queue("BRAVO", "one", "first");
  alpha.queue("BRAVO", "two", "second");
  alpha.panels["Status"] = "kept";
  alpha.link->RunSession();
  EXPECT_TRUE(alpha.saw(f.failedStatus)) << f.name;
  EXPECT_TRUE(alpha.saw("Disconnecting, error during " + f.step)) << f.name;
  std::vector<std::string> expected = f.logLines;
  expected.push_back("Message session to Pmdirect... failed");
  EXPECT_EQ(alpha.log.lines, expected) << f.name;
  EXPECT_EQ(alpha.panels["Status"], "kept");
  EXPECT_EQ(alpha.panels["NetState"], "Disconnected");
  EXPECT_FALSE(alpha.link->SessionRunning());
  const auto recs = alpha.records();
  ASSERT_EQ(recs.size(), 2u);
  const short firstExpected = f.step == "Sending messages" && f.flags.contains("--drop-after") ? 3 : 2;
  EXPECT_EQ(std::get<1>(recs[0]), firstExpected) << f.name;
  EXPECT_EQ(std::get<1>(recs[1]), 2) << f.name;
}

INSTANTIATE_TEST_SUITE_P(
    Link, PmdirectSimFaults,
    ::testing::Values(
        SimFault{"noLogonPrompt", {"--no-prompt", "LOGON>"}, "Registering... failed",
                 {"WinSend: No reply within 1500 ms", "Registration request failed"},
                 "Registration Request"},
        SimFault{"lowerCase", {"--lower-case"}, "Registering... failed",
                 {"WinSend: No reply within 1500 ms", "Registration request failed"},
                 "Registration Request"},
        SimFault{"noOkAfterLogon", {"--no-prompt", "OK>"}, "Log in failed",
                 {"WinSend: No reply within 1500 ms", "Logon as ALPHA failed"}, "Logging on"},
        SimFault{"dropWhileSendingSecond", {"--drop-after", "1"}, "SendMessages: Lost connection",
                 {"SendMessages: Sent No. 1 titled: one", "WinSend: Lost Telnet connection",
                  "SendMessages: Lost connection"},
                 "Sending messages"}),
    [](const ::testing::TestParamInfo<SimFault>& i) { return std::string(i.param.name); });

TEST(PmdirectSim, NothingListeningFailsTheConnectStep) {
  int port = 0;
  {
    QTcpServer probe;
    ASSERT_TRUE(probe.listen(QHostAddress::LocalHost, 0));
    port = probe.serverPort();
  }
  Station alpha("ALPHA", port);
  alpha.settings.TimeOut = "300";
  EXPECT_FALSE(alpha.link->SeqPmdirect());
  EXPECT_TRUE(alpha.saw("Trying to Connect... failed"));
  EXPECT_EQ(alpha.panels["Status"], "Disconnecting, error during Connect");
  EXPECT_EQ(alpha.log.lines, (std::vector<std::string>{"Connection Failed"}));

  EXPECT_FALSE(alpha.link->PmdirectTest("<test>This is the ICS-213 test startup msg</test>"));
  EXPECT_EQ(alpha.panels["Status"], "Passing message... failed");
}

TEST(PmdirectSim, LinkTestHandsTheTextOverInPieces) {
  TempDir simDir;
  Sim sim(simDir.path());
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
  EXPECT_EQ(alpha.log.lines[0].rfind("ScanReply: Reply too long", 0), 0u);
  EXPECT_LE(alpha.link->state().ReceiveBuffer.size(), Transport::kMaxReceiveBuffer);
}

}  // namespace
}  // namespace velnor::testing
