// Fault switches, hostile input and the command line.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "SimHarness.h"
#include "tests/support/TempDir.h"

namespace velnor::testing {
namespace {

class SimFault : public ::testing::Test {
 protected:
  void start(std::vector<std::string> extra) {
    m_sim = std::make_unique<SimProcess>(m_dir.file("spool"), m_dir.file("transcript"), extra);
  }
  // The writes the simulator made on one connection, one string per write.
  std::vector<std::string> writes(int conn) {
    std::vector<std::string> out;
    for (const auto& r : ReadTranscript(m_dir.file("transcript")))
      if (r.dir == '>' && r.conn == conn) out.push_back(r.bytes);
    return out;
  }
  TempDir m_dir;
  std::unique_ptr<SimProcess> m_sim;
};

using Writes = std::vector<std::string>;

TEST_F(SimFault, SplitPromptsBreakBeforeTheLastCharacter) {
  start({"--split-prompts"});
  const std::string text = TaggedText("ALPHA", "ALPHA", "whole");
  SimClient c(m_sim->port());
  EXPECT_EQ(c.ask("<!REG!>", "LOGON>"), "LOGON>");
  EXPECT_EQ(c.ask("<!LOGON!>ALPHA", "OK>"), "OK>");
  c.send(text + "\r\n");
  EXPECT_EQ(c.read(3), "OK>");
  EXPECT_EQ(c.ask("POP", text), text);
  EXPECT_EQ(c.ask("QUIT", "QUITING>"), "QUITING>");
  EXPECT_TRUE(c.waitClosed());
  m_sim->stop();
  // Message texts go out whole; only prompts are split.
  EXPECT_EQ(writes(1), (Writes{"LOGON", ">", "OK", ">", "OK", ">", text, "QUITING", ">"}));
}

TEST_F(SimFault, LowerCasePrompts) {
  start({"--lower-case"});
  SimClient c(m_sim->port());
  EXPECT_EQ(c.ask("<!REG!>", "logon>"), "logon>");
  EXPECT_EQ(c.ask("<!LOGON!>ALPHA", "ok>"), "ok>");
  EXPECT_EQ(c.ask("POP", "nomore>"), "nomore>");
  EXPECT_EQ(c.ask("QUIT", "quiting>"), "quiting>");
  EXPECT_TRUE(c.waitClosed());
}

TEST_F(SimFault, DripSendsOneByteAtATime) {
  start({"--drip", "2"});
  SimClient c(m_sim->port());
  EXPECT_EQ(c.ask("<!REG!>", "LOGON>"), "LOGON>");
  EXPECT_EQ(c.ask("<!LOGON!>ALPHA", "OK>"), "OK>");
  m_sim->stop();
  EXPECT_EQ(writes(1), (Writes{"L", "O", "G", "O", "N", ">", "O", "K", ">"}));
}

TEST_F(SimFault, NoPromptStaysSilentForThatPromptOnly) {
  start({"--no-prompt", "OK>", "--no-prompt", "NOMORE>"});
  SimClient c(m_sim->port());
  EXPECT_EQ(c.ask("<!REG!>", "LOGON>"), "LOGON>");
  c.send("<!LOGON!>ALPHA\r\n");
  c.send(TaggedText("ALPHA", "ALPHA", "queued all the same") + "\r\n");
  c.send("POP\r\nPOP\r\n");  // the first gets the message, the second silence
  // Had any OK> or NOMORE> been sent, it would come before this prompt.
  const std::string text = TaggedText("ALPHA", "ALPHA", "queued all the same");
  EXPECT_EQ(c.ask("<!REG!>", text + "LOGON>"), text + "LOGON>");
  EXPECT_EQ(c.ask("QUIT", "QUITING>"), "QUITING>");
  EXPECT_TRUE(c.waitClosed());
}

TEST_F(SimFault, NoQuitingPromptStillCloses) {
  start({"--no-prompt", "QUITING>", "--no-prompt", "LOGON>"});
  SimClient c(m_sim->port());
  c.send("<!REG!>\r\n");
  EXPECT_EQ(c.ask("<!LOGON!>ALPHA", "OK>"), "OK>");
  c.send("QUIT\r\n");
  EXPECT_TRUE(c.waitClosed());
  m_sim->stop();
  EXPECT_EQ(writes(1), (Writes{"OK>"}));
}

TEST_F(SimFault, DropAfterClosesOnTheNextMessageWithoutQueuingIt) {
  start({"--drop-after", "1"});
  const std::string first = TaggedText("ALPHA", "BRAVO", "first");
  {
    SimClient a(m_sim->port());
    EXPECT_EQ(a.ask("<!LOGON!>ALPHA", "OK>"), "OK>");
    a.send(first + "\r\n");
    EXPECT_EQ(a.read(3), "OK>");
    a.send(TaggedText("ALPHA", "BRAVO", "second") + "\r\n");
    EXPECT_TRUE(a.waitClosed());
  }
  SimClient b(m_sim->port());  // the count is per connection
  EXPECT_EQ(b.ask("<!LOGON!>BRAVO", "OK>"), "OK>");
  EXPECT_EQ(b.ask("POP", first), first);
  EXPECT_EQ(b.ask("POP", "NOMORE>"), "NOMORE>");
}

TEST_F(SimFault, GarbageAndOversizedInputNeverStopTheServer) {
  start({});
  SimClient steady(m_sim->port());
  EXPECT_EQ(steady.ask("<!REG!>", "LOGON>"), "LOGON>");
  {
    // Random bytes with line ends sprinkled in: ignored, connection kept.
    std::mt19937 rng(1234);
    std::string noise(256 * 1024, '\0');
    for (char& ch : noise) ch = static_cast<char>(rng() % 256);
    SimClient g(m_sim->port());
    g.send(noise);
    EXPECT_EQ(g.ask("\r\n<!REG!>", "LOGON>"), "LOGON>");
  }
  {
    SimClient huge(m_sim->port());
    huge.send(std::string(2u << 20, 'x'));  // one line over the cap
    EXPECT_TRUE(huge.waitClosed());
  }
  {
    SimClient bigMessage(m_sim->port());
    bigMessage.send("!ICS213!\r\n");
    const std::string line(1000, 'y');
    for (int i = 0; i < 1100; ++i) bigMessage.send(line + "\r\n");
    EXPECT_TRUE(bigMessage.waitClosed());
  }
  {
    // The link test: a raw text without line end, then hang up. Nothing comes back.
    SimClient test(m_sim->port());
    test.send("<test>This is the ICS-213 test startup msg</test>");
  }
  EXPECT_EQ(steady.ask("<!LOGON!>ALPHA", "OK>"), "OK>");
  EXPECT_EQ(steady.ask("POP", "NOMORE>"), "NOMORE>");
  EXPECT_EQ(m_sim->stop(), 0);
  bool sawTest = false;
  for (const auto& r : ReadTranscript(m_dir.file("transcript")))
    if (r.dir == '<' && r.bytes == "<test>This is the ICS-213 test startup msg</test>") sawTest = true;
  EXPECT_TRUE(sawTest);
}

TEST(SimCommandLine, TakenPortAndBadOptionsExitWithOne) {
  TempDir dir;
  SimProcess first(dir.file("spool"), dir.file("transcript"));
  std::string err;
  EXPECT_EQ(RunSimToEnd({"--port", std::to_string(first.port()), "--spool", dir.file("spool")}, err), 1);
  EXPECT_NE(err.find("cannot listen on 127.0.0.1:" + std::to_string(first.port())), std::string::npos) << err;
  EXPECT_EQ(RunSimToEnd({"--no-prompt", "HELLO>"}, err), 1);
  EXPECT_EQ(RunSimToEnd({"--port", "70000"}, err), 1);
  EXPECT_EQ(RunSimToEnd({"--drip"}, err), 1);
  EXPECT_EQ(RunSimToEnd({"--frobnicate"}, err), 1);
  EXPECT_EQ(RunSimToEnd({"--help"}, err), 0);
}

}  // namespace
}  // namespace velnor::testing
