// The simulator over loopback: routing and the spool across a restart, and the command line.
// Lines in pieces are the fuzz target's; the whole conversation with exact bytes is the
// link's end-to-end tests'.
#include <filesystem>

#include "SimHarness.h"

namespace velnor::testing {
namespace {

class SimDialogue : public SimTest {
 protected:
  // Hands a message in the way the client does: the text plus one more CR LF.
  static void hand(SimClient& c, const std::string& text) { EXPECT_EQ(c.ask(text, "OK>"), "OK>"); }
};

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
  EXPECT_EQ(RunSimToEnd({"--port", "70000"}, err), 1);
}

}  // namespace
}  // namespace velnor::testing
