// The simulator over loopback: routing and the spool across a restart, and the command line.
// Lines in pieces are the fuzz target's; the whole conversation with exact bytes is the
// link's end-to-end tests'.
#include <filesystem>

#include "SimHarness.h"

namespace velnor::testing {
namespace {

// Queues, the stations known to have logged on, and a message whose writing was cut off;
// an entry that cannot be read (here a folder) is set aside instead of blocking its queue.
TEST(SimDialogue, RestartLosesNothingAndSetsAnUnreadableEntryAside) {
  TempDir dir;
  auto sim = std::make_unique<SimProcess>(dir.file("spool"), dir.file("transcript"),
                                          std::vector<std::string>{"--drip", "20"});
  const auto station = [&](const std::string& id) {
    auto c = std::make_unique<SimClient>(sim->port());
    EXPECT_EQ(c->ask("<!REG!>", "LOGON>") + c->ask("<!LOGON!>" + id, "OK>"), "LOGON>OK>");
    return c;
  };
  // Each "POP" in turn gets the next of texts, and then "NOMORE>".
  const auto pops = [&](const std::string& id, const std::vector<std::string>& texts) {
    const auto c = station(id);
    for (const auto& t : texts) EXPECT_EQ(c->ask("POP", t), t);
    EXPECT_EQ(c->ask("POP", "NOMORE>"), "NOMORE>");
  };
  const auto text = [](const std::string& from, const std::string& to) {
    return "!ICS213!\r\nMESSAGE: hi\r\n---------\r\nROUTE: " + from + ":7:" + to + ":0\r\n!/ICS213!\r\n";
  };
  const std::string later = text("ALPHA", "DELTA"), slow = text("ALPHA", "BRAVO"),
                    local = text("ECHO", "LOCAL");
  EXPECT_EQ(station("ALPHA")->ask(later, "OK>"), "OK>");
  EXPECT_EQ(station("ALPHA")->ask(slow, "OK>"), "OK>");
  {
    auto b = station("BRAVO");
    b->send("POP\r\n");
    EXPECT_EQ(b->read(1), "!");  // hang up in the middle of the message
  }
  sim->stop();
  const std::string bad = "/425241564F/0000000000000001.msg";  // BRAVO's, before "slow"
  std::filesystem::create_directories(dir.file("spool/queue") + bad);
  sim = std::make_unique<SimProcess>(dir.file("spool"), dir.file("transcript"));  // no drip
  EXPECT_EQ(station("ECHO")->ask(local, "OK>"), "OK>");
  pops("DELTA", {later});
  pops("BRAVO", {slow, local});
  pops("ALPHA", {local});
  EXPECT_TRUE(std::filesystem::is_directory(dir.file("spool/quarantine") + bad));
  EXPECT_NE(sim->errors().find("set aside as " + dir.file("spool/quarantine") + bad), std::string::npos);
}

TEST(SimCommandLine, ASecondSimulatorOnTheSameSpoolExitsWithOne) {
  TempDir dir;
  SimProcess first(dir.file("spool"), dir.file("transcript"));
  std::string err;
  // Two simulators would number their messages over each other's.
  EXPECT_EQ(RunSimToEnd({"--port", "0", "--spool", dir.file("spool")}, err), 1);
  EXPECT_NE(err.find("in use by another pmdirect-sim"), std::string::npos) << err;
}

}  // namespace
}  // namespace velnor::testing
