// The simulator over loopback (the whole conversation with exact bytes, and --drop-after,
// are the link's end-to-end tests): line ends, routing, the spool, the fault switches,
// hostile input and the command line.
#include <algorithm>
#include <filesystem>

#include "SimHarness.h"

namespace velnor::testing {
namespace {

using Strings = std::vector<std::string>;

class SimDialogue : public SimTest {
 protected:
  // Hands a message in the way the client does: the text plus one more CR LF.
  static void hand(SimClient& c, const std::string& text) { EXPECT_EQ(c.ask(text, "OK>"), "OK>"); }
};

// Lines may come in pieces and end in a bare LF. Messages go by destination, LOCAL ones to
// every other station, each queue in arrival order.
TEST_F(SimDialogue, LinesInPiecesAndRoutingByDestination) {
  start();
  SimClient c(m_sim->port());
  c.send("<!RE");
  c.send("G!>\n");
  EXPECT_EQ(c.read(6), "LOGON>");
  c.send("  <!LOGON!> CHARLIE \r");
  c.send("\nPOP\n");
  EXPECT_EQ(c.read(10), "OK>NOMORE>");
  const std::string self = TaggedText("CHARLIE", "CHARLIE", "self");
  c.send(self.substr(0, self.size() - 5));
  c.send(self.substr(self.size() - 5));
  EXPECT_EQ(c.read(3), "OK>");
  auto a = station("ALPHA"), b = station("BRAVO");
  const std::string direct = TaggedText("ALPHA", "charlie", "direct");
  const std::string local = TaggedText("ALPHA", "LOCAL", "to all");
  const std::string keep = TaggedText("BRAVO", "NOBODY", "kept local", true);
  hand(*a, direct);
  hand(*a, local);
  hand(*b, keep);
  expectPops(*a, {keep});  // its own LOCAL message is not returned
  expectPops(*b, {local});
  expectPops(c, {self, direct, local, keep});
}

// Queues, the stations known to have logged on, and a message whose writing was cut off;
// an entry that cannot be read (here a folder) is set aside instead of blocking its queue.
TEST_F(SimDialogue, RestartLosesNothingAndSetsAnUnreadableEntryAside) {
  start({"--drip", "20"});
  const std::string later = TaggedText("ALPHA", "DELTA", "for a station not yet on");
  const std::string slow = TaggedText("ALPHA", "BRAVO", "slow");
  const std::string local = TaggedText("ECHO", "LOCAL", "after restart");
  hand(*station("ALPHA"), later);
  hand(*station("ALPHA"), slow);
  {
    auto b = station("BRAVO");
    b->send("POP\r\n");
    EXPECT_EQ(b->read(1), "!");  // hang up in the middle of the message
  }
  m_sim->stop();
  const std::string bad = "/425241564F/0000000000000001.msg";  // BRAVO's, before "slow"
  std::filesystem::create_directories(m_dir.file("spool/queue") + bad);
  start();  // same spool, no drip
  hand(*station("ECHO"), local);
  expectPops(*station("DELTA"), {later});
  expectPops(*station("BRAVO"), {slow, local});
  expectPops(*station("ALPHA"), {local});
  EXPECT_TRUE(std::filesystem::is_directory(m_dir.file("spool/quarantine") + bad));
  EXPECT_NE(m_sim->errors().find("set aside as " + m_dir.file("spool/quarantine") + bad), std::string::npos);
}

// Each switch that changes how prompts are written, over one whole conversation: what the
// client reads, and the simulator's writes one by one. Message texts are never split.
TEST(SimSwitches, SplitLowerCaseAndDripChangeOnlyHowRepliesAreWritten) {
  const std::string text = TaggedText("ALPHA", "ALPHA", "whole");
  const std::vector<std::pair<std::string, std::string>> steps = {
      {"<!REG!>", "LOGON>"}, {"<!LOGON!>ALPHA", "OK>"}, {text, "OK>"},
      {"POP", text},         {"POP", "NOMORE>"},        {"QUIT", "QUITING>"}};
  Strings drip;
  for (char ch : "LOGON>OK>OK>" + text + "NOMORE>QUITING>") drip.emplace_back(1, ch);
  const std::vector<std::pair<Strings, Strings>> rows = {
      {{"--split-prompts"}, {"LOGON", ">", "OK", ">", "OK", ">", text, "NOMORE", ">", "QUITING", ">"}},
      {{"--lower-case"}, {"logon>", "ok>", "ok>", text, "nomore>", "quiting>"}},
      {{"--drip", "2"}, drip}};
  for (const auto& [flags, writes] : rows) {
    SCOPED_TRACE(flags[0]);
    TempDir dir;
    SimProcess sim(dir.file("spool"), dir.file("transcript"), flags);
    SimClient c(sim.port());
    std::string got;
    for (const auto& [line, reply] : steps) got += c.ask(line, reply);
    EXPECT_EQ(got, Joined(writes));
    EXPECT_TRUE(c.waitClosed());
    sim.stop();
    EXPECT_EQ(Transcript(dir.file("transcript"), '>', 1), writes);
  }
}

using SimFault = SimDialogue;

// Silent for those prompts only; the message is still queued and QUIT still closes.
// (A silent "LOGON>" fails the link's registration against the simulator.)
TEST_F(SimFault, NoPromptStaysSilentForThatPromptOnly) {
  start({"--no-prompt", "OK>", "--no-prompt", "NOMORE>", "--no-prompt", "QUITING>"});
  SimClient c(m_sim->port());
  const std::string text = TaggedText("ALPHA", "ALPHA", "queued all the same");
  EXPECT_EQ(c.ask("<!REG!>", "LOGON>"), "LOGON>");
  c.send("<!LOGON!>ALPHA\r\n" + text +
         "\r\nPOP\r\nPOP\r\n");  // the first POP gets the message, the second silence
  // Had any OK> or NOMORE> been sent, it would come before this prompt.
  EXPECT_EQ(c.ask("<!REG!>", text + "LOGON>"), text + "LOGON>");
  c.send("QUIT\r\n");
  EXPECT_TRUE(c.waitClosed());
  m_sim->stop();
  EXPECT_EQ(Transcript(m_dir.file("transcript"), '>', 1), (Strings{"LOGON>", text, "LOGON>"}));
}

TEST_F(SimFault, GarbageAndOversizedInputNeverStopTheServer) {
  start();
  SimClient steady(m_sim->port());
  EXPECT_EQ(steady.ask("<!REG!>", "LOGON>"), "LOGON>");
  // Arbitrary bytes into the request reader are the fuzz target's; here the caps.
  SimClient huge(m_sim->port());
  huge.send(std::string(2u << 20, 'x'));  // one line over the cap
  EXPECT_TRUE(huge.waitClosed());
  SimClient bigMessage(m_sim->port());
  bigMessage.send("!ICS213!\r\n");
  for (int i = 0; i < 1100; ++i) bigMessage.send(std::string(1000, 'y') + "\r\n");
  EXPECT_TRUE(bigMessage.waitClosed());
  // The link test: a raw text without line end, then hang up. Nothing comes back.
  const std::string test = "<test>This is the ICS-213 test startup msg</test>";
  SimClient(m_sim->port()).send(test);
  EXPECT_EQ(steady.ask("<!LOGON!>ALPHA", "OK>"), "OK>");
  EXPECT_EQ(steady.ask("POP", "NOMORE>"), "NOMORE>");
  EXPECT_EQ(m_sim->stop(), 0);
  const Strings in = Transcript(m_dir.file("transcript"), '<');
  EXPECT_NE(std::find(in.begin(), in.end(), test), in.end());
}

TEST(SimCommandLine, TakenPortListenWarningAndBadOptionsExitWithOne) {
  TempDir dir;
  SimProcess first(dir.file("spool"), dir.file("transcript"));
  const std::string port = std::to_string(first.port());
  std::string err;
  EXPECT_EQ(RunSimToEnd({"--listen", "127.0.0.1", "--port", port, "--spool", dir.file("spool")}, err), 1);
  EXPECT_NE(err.find("cannot listen on 127.0.0.1:" + port), std::string::npos) << err;
  // Two simulators would number their messages over each other's.
  EXPECT_EQ(RunSimToEnd({"--port", "0", "--spool", dir.file("spool")}, err), 1);
  EXPECT_NE(err.find("in use by another pmdirect-sim"), std::string::npos) << err;
  EXPECT_EQ(err.find("warning"), std::string::npos) << err;
  // Beyond loopback it warns first (this documentation address is no machine's, so it fails).
  EXPECT_EQ(RunSimToEnd({"--listen", "192.0.2.1", "--port", "0", "--spool", dir.file("spool")}, err), 1);
  EXPECT_NE(err.find("warning: --listen 192.0.2.1 reaches beyond this machine"), std::string::npos) << err;
  EXPECT_NE(err.find("the Pmdirect dialogue has no authentication"), std::string::npos) << err;
  for (const Strings& bad : {Strings{"--no-prompt", "HELLO>"}, Strings{"--port", "70000"}, Strings{"--drip"},
                             Strings{"--frobnicate"}})
    EXPECT_EQ(RunSimToEnd(bad, err), 1) << bad[0];
  EXPECT_EQ(RunSimToEnd({"--help"}, err), 0);
}

}  // namespace
}  // namespace velnor::testing
