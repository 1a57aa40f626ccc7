// The whole link over loopback against a real pmdirect-sim, with the real store and codec
// (the window's send and receive against the simulator is the other end-to-end run).
#include <gtest/gtest.h>

#include <QCoreApplication>
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

using Records = std::vector<std::pair<Status, std::string>>;

// A station: its own data directory, store, settings and link, as the window wires them.
class Station : public FakeHost, public NoticeSink {
 public:
  Station(const std::string& id, int port) {
    settings.LoginName = " " + id + "  ";
    settings.Port = std::to_string(port);
    settings.TimeOut = "3000";
    settings.Pausev = 0;
    link = std::make_unique<PmLink>(loop, wns, settings, *this, log, dialogs, StoreOutbox(dir.path(), events),
                                    dir.path());
  }
  std::int32_t queue(const std::string& dest, const std::string& subj) {
    IcsMsg m(dir.path(), events);
    m.rec().setStatus(Status::ReadyToSend);
    m.rec().setSubj(subj);
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
  // Filing as the window files: the real decoder into the real store.
  std::int32_t StoreMsg(const std::string& text) override {
    const StoreMsgContext ctx{dir.path(), events, log, *this, settings.DateFormat, settings.TimeFormat};
    return velnor::StoreMsg(text, Origin::Received, ctx);
  }
  void ShowNotice(const std::string&, std::int32_t number) override { notices.push_back(number); }
  std::vector<std::int32_t> notices;

  TempDir dir;
  RecordingEventLog events;
  RecordingLog log;
  ScriptedDialogs dialogs;
  Settings settings;
  QtEventLoop loop;
  QtSocket wns;
  std::unique_ptr<PmLink> link;
};

// Another program gave one number twice: the waiting record is the one sent and marked,
// the other is left as it was, and the next session sends nothing.
TEST(PmdirectSim, ANumberGivenTwiceSendsTheWaitingRecord) {
  TempDir dir;
  SimProcess sim(dir.file("spool"), dir.file("transcript"));
  const auto received = [&] { return Joined(Transcript(dir.file("transcript"), '<')); };
  Station alpha("ALPHA", sim.port());
  const std::int32_t n = alpha.queue("BRAVO", "Waiting");
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
  for (int i = 0; i < 50 && received() != expected; ++i) alpha.link->Pause(20);
  EXPECT_EQ(received(), expected);
}

// The line's faults, played by the simulator over a real socket: prompts in pieces or a
// byte at a time still end each step; a prompt in lower case or never sent, or a connection
// dropped with the message, ends the session at that step, and a message the server never
// took stays queued.
TEST(PmdirectSim, TheSimulatorsFaultsEndEachSessionAsOverAFaultyLine) {
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      {{"--split-prompts"}, "OK"},
      {{"--drip", "1"}, "OK"},
      {{"--lower-case"}, "error during Registration Request"},
      {{"--no-prompt", "NOMORE>"}, "error during Retrieving messages"},
      {{"--drop-after", "0"}, "error during Sending messages"}};
  for (const auto& [flags, outcome] : rows) {
    SCOPED_TRACE(flags[0]);
    TempDir dir;
    SimProcess sim(dir.file("spool"), dir.file("transcript"), flags);
    Station alpha("ALPHA", sim.port());
    alpha.settings.TimeOut = "300";
    alpha.queue("BRAVO", "Water");
    alpha.link->SeqPmdirect();
    EXPECT_EQ(alpha.outcomes, Lines{outcome});
    EXPECT_EQ(alpha.records(),
              (Records{{outcome == "OK" || flags[0] == "--no-prompt" ? Status::Sent : Status::ReadyToSend,
                        "Water"}}));
  }
}

// A store at its last number cannot file what arrives: the text Pmdirect has already let go
// of is kept on disk and the operator told where, nothing is announced, and it is filed
// once the store can take it again; the session after that fetches the rest.
TEST(PmdirectSim, AMessageTheStoreCannotTakeIsKeptAndFiledLater) {
  TempDir dir;
  SimProcess sim(dir.file("spool"), dir.file("transcript"));
  Station alpha("ALPHA", sim.port()), bravo("BRAVO", sim.port());
  alpha.queue("BRAVO", "Water");
  alpha.queue("BRAVO", "Fuel");
  ASSERT_TRUE(alpha.link->SeqPmdirect());
  MsgRecord header;
  header.setMsgNo(32767);
  header.setTo("[ics213!.]");
  WriteFileAtomically(
      bravo.dir.file("velnor.odb"),
      std::string(reinterpret_cast<const char*>(header.image().data()), header.image().size()), "test");

  bravo.panels["Status"] = "kept";
  bravo.link->RunSession();
  const auto kept = std::filesystem::directory_iterator(bravo.dir.file("spool/incoming"))->path().string();
  const std::string told = "Message could not be stored: kept in " + kept;
  ExpectFailed(bravo, bravo.log, *bravo.link,
               {"Disconnecting... ",
                {"Incoming Message...", "RetrieveMessages: Overflow", told},
                "Retrieving messages"});
  EXPECT_EQ(bravo.warnings, Lines{told});
  EXPECT_TRUE(bravo.notices.empty());

  std::filesystem::remove(bravo.dir.file("velnor.odb"));
  bravo.log.lines.clear();
  bravo.link->FileKept();
  EXPECT_EQ(bravo.log.lines, (Lines{"StoreMsg...: Loading message titled: Water",
                                    "Kept incoming message filed as No. 1: " + kept}));
  EXPECT_FALSE(std::filesystem::exists(kept));
  EXPECT_TRUE(bravo.link->SeqPmdirect());
  EXPECT_EQ(bravo.records(), (Records{{Status::Unread, "Water"}, {Status::Unread, "Fuel"}}));
  EXPECT_EQ(bravo.notices, (std::vector<std::int32_t>{1, 2}));
}

}  // namespace
}  // namespace velnor::testing
