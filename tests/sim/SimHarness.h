#pragma once
// Runs pmdirect-sim as a child process and talks to it over loopback, with every wait
// bounded so a broken simulator fails a test instead of hanging it.
#include <sys/types.h>

#include <string>
#include <vector>

namespace velnor::testing {

class SimProcess {
 public:
  // Starts $VELNOR_SIM --port 0 --spool <spool> --transcript <transcript> plus extra
  // arguments, and waits for its "listening on" line.
  SimProcess(const std::string& spool, const std::string& transcript, std::vector<std::string> extra = {});
  ~SimProcess();
  SimProcess(const SimProcess&) = delete;
  SimProcess& operator=(const SimProcess&) = delete;

  int port() const { return m_port; }
  const std::string& listeningLine() const { return m_line; }
  // SIGTERM and wait; returns the exit status as waitpid reports it (-1 on time-out).
  int stop();

 private:
  pid_t m_pid = -1;
  int m_port = 0;
  std::string m_line;
};

// Runs the simulator with args to its end (at most a few seconds); returns its exit code
// and its stderr.
int RunSimToEnd(const std::vector<std::string>& args, std::string& errText);

class SimClient {
 public:
  explicit SimClient(int port);
  ~SimClient();
  SimClient(const SimClient&) = delete;
  SimClient& operator=(const SimClient&) = delete;

  void send(const std::string& bytes);
  // Exactly n bytes, or fewer if the peer closed or 5 s passed without data.
  std::string read(std::size_t n);
  // Whatever one read delivers (waits up to 5 s); empty on close or time-out.
  std::string readSome();
  // Sends line + CR LF and reads exactly expected.size() bytes.
  std::string ask(const std::string& line, const std::string& expected);
  // True when the peer closes (reading and discarding data) within 5 s.
  bool waitClosed();
  void close();

 private:
  int m_fd = -1;
};

// One record of the transcript: direction ('<' received, '>' sent), connection, bytes.
struct TranscriptRecord {
  char dir;
  int conn;
  std::string bytes;
};
std::vector<TranscriptRecord> ReadTranscript(const std::string& path);

// A complete tagged text as a station sends it, ending with the "!/ICS213!" line.
std::string TaggedText(const std::string& sender, const std::string& dest, const std::string& body,
                       bool keepLocal = false);

}  // namespace velnor::testing
