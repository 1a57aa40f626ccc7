// The conversation, routing and the spool, against the real simulator over loopback.
#include <gtest/gtest.h>

#include <memory>

#include "SimHarness.h"
#include "tests/support/TempDir.h"

namespace velnor::testing {
namespace {

class SimDialogue : public ::testing::Test {
 protected:
  void start(std::vector<std::string> extra = {}) {
    m_sim = std::make_unique<SimProcess>(m_dir.file("spool"), m_dir.file("transcript"), extra);
  }
  // A connected, registered and logged-on station.
  std::unique_ptr<SimClient> station(const std::string& id) {
    auto c = std::make_unique<SimClient>(m_sim->port());
    EXPECT_EQ(c->ask("<!REG!>", "LOGON>"), "LOGON>");
    EXPECT_EQ(c->ask("<!LOGON!>" + id, "OK>"), "OK>");
    return c;
  }
  // Hands a message in the way the client does: the text plus one more CR LF.
  static void hand(SimClient& c, const std::string& text) {
    c.send(text + "\r\n");
    EXPECT_EQ(c.read(3), "OK>");
  }
  static std::string pop(SimClient& c, std::size_t expectedSize) { return c.ask("POP", std::string(expectedSize, '?')); }

  TempDir m_dir;
  std::unique_ptr<SimProcess> m_sim;
};

TEST_F(SimDialogue, WholeConversationHasExactBytesOnBothSides) {
  start();
  EXPECT_EQ(m_sim->listeningLine(), "pmdirect-sim listening on 127.0.0.1:" + std::to_string(m_sim->port()) + "\n");
  const std::string text = TaggedText("ALPHA", "BRAVO", "Need 2 tenders\r\nat gate 3");
  {
    auto a = station("Alpha");
    hand(*a, text);
    EXPECT_EQ(a->ask("POP", "NOMORE>"), "NOMORE>");
    EXPECT_EQ(a->ask("QUIT", "QUITING>"), "QUITING>");
    EXPECT_TRUE(a->waitClosed());
  }
  auto b = station("bravo");  // identifiers compare without regard to case
  EXPECT_EQ(pop(*b, text.size()), text);
  EXPECT_EQ(b->ask("POP", "NOMORE>"), "NOMORE>");
  EXPECT_EQ(b->ask("QUIT", "QUITING>"), "QUITING>");
  EXPECT_TRUE(b->waitClosed());
  ASSERT_EQ(m_sim->stop(), 0);

  std::string in1, out1, out2;
  for (const auto& r : ReadTranscript(m_dir.file("transcript"))) {
    if (r.conn == 1) (r.dir == '<' ? in1 : out1) += r.bytes;
    if (r.conn == 2 && r.dir == '>') out2 += r.bytes;
  }
  EXPECT_EQ(in1, "<!REG!>\r\n<!LOGON!>Alpha\r\n" + text + "\r\nPOP\r\nQUIT\r\n");
  EXPECT_EQ(out1, "LOGON>OK>OK>NOMORE>QUITING>");
  EXPECT_EQ(out2, "LOGON>OK>" + text + "NOMORE>QUITING>");
}

TEST_F(SimDialogue, LinesMayComeInPiecesAndEndInBareLf) {
  start();
  SimClient c(m_sim->port());
  c.send("<!RE");
  c.send("G!>\n");
  EXPECT_EQ(c.read(6), "LOGON>");
  c.send("  <!LOGON!> CHARLIE \r");
  c.send("\nPOP\n");
  EXPECT_EQ(c.read(10), "OK>NOMORE>");
  // A message text in pieces is answered only once its closing line is complete.
  const std::string text = TaggedText("CHARLIE", "CHARLIE", "self");
  c.send(text.substr(0, text.size() - 5));
  c.send(text.substr(text.size() - 5));
  EXPECT_EQ(c.read(3), "OK>");
  EXPECT_EQ(c.ask("POP", text), text);
}

TEST_F(SimDialogue, RoutesByDestinationAndLocalGoesToAllOthers) {
  start();
  auto a = station("ALPHA");
  auto b = station("BRAVO");
  auto c = station("CHARLIE");
  const std::string direct = TaggedText("ALPHA", "charlie", "direct");
  const std::string local = TaggedText("ALPHA", "LOCAL", "to all");
  const std::string keep = TaggedText("BRAVO", "NOBODY", "kept local", true);
  hand(*a, direct);
  hand(*a, local);
  hand(*b, keep);

  EXPECT_EQ(a->ask("POP", keep), keep);
  EXPECT_EQ(a->ask("POP", "NOMORE>"), "NOMORE>");  // its own LOCAL message is not returned
  EXPECT_EQ(b->ask("POP", local), local);
  EXPECT_EQ(b->ask("POP", "NOMORE>"), "NOMORE>");
  EXPECT_EQ(c->ask("POP", direct), direct);  // arrival order kept
  EXPECT_EQ(c->ask("POP", local), local);
  EXPECT_EQ(c->ask("POP", keep), keep);
  EXPECT_EQ(c->ask("POP", "NOMORE>"), "NOMORE>");
}

TEST_F(SimDialogue, RestartKeepsQueuesAndKnownStations) {
  start();
  const std::string later = TaggedText("ALPHA", "DELTA", "for a station not yet on");
  const std::string local = TaggedText("ECHO", "LOCAL", "after restart");
  {
    auto a = station("ALPHA");
    hand(*a, later);
  }
  ASSERT_EQ(m_sim->stop(), 0);
  start();
  {
    auto e = station("ECHO");
    hand(*e, local);  // ALPHA is remembered as having logged on
  }
  auto d = station("DELTA");
  EXPECT_EQ(d->ask("POP", later), later);
  EXPECT_EQ(d->ask("POP", "NOMORE>"), "NOMORE>");
  auto a = station("ALPHA");
  EXPECT_EQ(a->ask("POP", local), local);
}

TEST_F(SimDialogue, MessageStaysQueuedUntilFullyWritten) {
  start({"--drip", "20"});
  const std::string text = TaggedText("ALPHA", "BRAVO", "slow");
  {
    auto a = station("ALPHA");
    hand(*a, text);
  }
  {
    auto b = station("BRAVO");
    b->send("POP\r\n");
    EXPECT_EQ(b->read(1), "!");  // hang up in the middle of the message
  }
  m_sim->stop();
  start();  // same spool, no drip
  auto b = station("BRAVO");
  EXPECT_EQ(b->ask("POP", text), text);
  EXPECT_EQ(b->ask("POP", "NOMORE>"), "NOMORE>");
}

}  // namespace
}  // namespace velnor::testing
