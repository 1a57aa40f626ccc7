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

}  // namespace velnor::testing
