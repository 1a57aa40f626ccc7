// The conversation, routing and the spool, against the real simulator over loopback.
#include "SimHarness.h"

namespace velnor::testing {
namespace {

class SimDialogue : public SimTest {
 protected:
  // Hands a message in the way the client does: the text plus one more CR LF.
  static void hand(SimClient& c, const std::string& text) { EXPECT_EQ(c.ask(text, "OK>"), "OK>"); }
};

TEST_F(SimDialogue, WholeConversationHasExactBytesOnBothSides) {
  start();
  EXPECT_EQ(m_sim->listeningLine(), "pmdirect-sim listening on 127.0.0.1:" + std::to_string(m_sim->port()) + "\n");
  const std::string text = TaggedText("ALPHA", "BRAVO", "Need 2 tenders\r\nat gate 3");
  auto a = station("Alpha");
  hand(*a, text);
  expectPops(*a, {});
  quit(*a);
  auto b = station("bravo");  // identifiers compare without regard to case
  expectPops(*b, {text});
  quit(*b);
  ASSERT_EQ(m_sim->stop(), 0);
  EXPECT_EQ(Joined(transcript('<', 1)), "<!REG!>\r\n<!LOGON!>Alpha\r\n" + text + "\r\nPOP\r\nQUIT\r\n");
  EXPECT_EQ(Joined(transcript('>', 1)), "LOGON>OK>OK>NOMORE>QUITING>");
  EXPECT_EQ(Joined(transcript('>', 2)), "LOGON>OK>" + text + "NOMORE>QUITING>");
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
  auto a = station("ALPHA"), b = station("BRAVO"), c = station("CHARLIE");
  const std::string direct = TaggedText("ALPHA", "charlie", "direct");
  const std::string local = TaggedText("ALPHA", "LOCAL", "to all");
  const std::string keep = TaggedText("BRAVO", "NOBODY", "kept local", true);
  hand(*a, direct);
  hand(*a, local);
  hand(*b, keep);
  expectPops(*a, {keep});  // its own LOCAL message is not returned
  expectPops(*b, {local});
  expectPops(*c, {direct, local, keep});  // arrival order kept
}

TEST_F(SimDialogue, RestartKeepsQueuesAndKnownStations) {
  start();
  const std::string later = TaggedText("ALPHA", "DELTA", "for a station not yet on");
  const std::string local = TaggedText("ECHO", "LOCAL", "after restart");
  hand(*station("ALPHA"), later);
  ASSERT_EQ(m_sim->stop(), 0);
  start();
  hand(*station("ECHO"), local);  // ALPHA is remembered as having logged on
  expectPops(*station("DELTA"), {later});
  auto a = station("ALPHA");
  EXPECT_EQ(a->ask("POP", local), local);
}

TEST_F(SimDialogue, MessageStaysQueuedUntilFullyWritten) {
  start({"--drip", "20"});
  const std::string text = TaggedText("ALPHA", "BRAVO", "slow");
  hand(*station("ALPHA"), text);
  {
    auto b = station("BRAVO");
    b->send("POP\r\n");
    EXPECT_EQ(b->read(1), "!");  // hang up in the middle of the message
  }
  m_sim->stop();
  start();  // same spool, no drip
  expectPops(*station("BRAVO"), {text});
}

}  // namespace
}  // namespace velnor::testing
