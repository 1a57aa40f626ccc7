#pragma once
// pmdirect-sim as a child process, raw loopback clients and its transcript. Every wait is
// bounded (5 s), so a broken simulator fails a test instead of hanging it.
#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/TempDir.h"

namespace velnor::testing {

class SimProcess {
 public:
  // $VELNOR_SIM --port 0 --spool spool --transcript transcript extra..., once listening;
  // its error output goes to transcript + ".stderr", shown when the test has failed.
  SimProcess(const std::string& spool, const std::string& transcript, std::vector<std::string> extra = {});
  ~SimProcess();
  SimProcess(const SimProcess&) = delete;
  SimProcess& operator=(const SimProcess&) = delete;
  int port() const { return m_port; }
  int stop();                  // SIGTERM and wait: the status as waitpid reports it, -1 on time-out
  std::string errors() const;  // its error output so far

 private:
  std::string m_errFile;
  pid_t m_pid = -1;
  int m_port = 0;
};

// Runs the simulator with args to its end: its exit code, and its stderr in errText.
int RunSimToEnd(const std::vector<std::string>& args, std::string& errText);

class SimClient {
 public:
  explicit SimClient(int port);
  ~SimClient() { ::close(m_fd); }
  SimClient(const SimClient&) = delete;
  SimClient& operator=(const SimClient&) = delete;
  void send(const std::string& bytes);
  std::string read(std::size_t n);  // exactly n bytes, fewer on close or silence
  // Sends line + CR LF and reads as many bytes as expected has.
  std::string ask(const std::string& line, const std::string& expected) {
    send(line + "\r\n");
    return read(expected.size());
  }

 private:
  int m_fd = -1;
};

// The transcript's blocks ('<' read, '>' written), one per read or write.
std::vector<std::string> Transcript(const std::string& path, char dir);
std::string Joined(const std::vector<std::string>& parts);

// A complete tagged text as a station sends it, ending with the "!/ICS213!" line.
std::string TaggedText(const std::string& sender, const std::string& dest, const std::string& body,
                       bool keepLocal = false);

// One simulator per test, its spool and transcript in a fresh directory.
class SimTest : public ::testing::Test {
 protected:
  void start(std::vector<std::string> extra = {}) {
    m_sim = std::make_unique<SimProcess>(m_dir.file("spool"), m_dir.file("transcript"), std::move(extra));
  }
  // A connected, registered and logged-on station.
  std::unique_ptr<SimClient> station(const std::string& id) {
    auto c = std::make_unique<SimClient>(m_sim->port());
    EXPECT_EQ(c->ask("<!REG!>", "LOGON>"), "LOGON>");
    EXPECT_EQ(c->ask("<!LOGON!>" + id, "OK>"), "OK>");
    return c;
  }
  // Each "POP" in turn gets the next of texts, and then "NOMORE>".
  static void expectPops(SimClient& c, const std::vector<std::string>& texts) {
    for (const auto& t : texts) EXPECT_EQ(c.ask("POP", t), t);
    EXPECT_EQ(c.ask("POP", "NOMORE>"), "NOMORE>");
  }
  TempDir m_dir;
  std::unique_ptr<SimProcess> m_sim;
};

}  // namespace velnor::testing
