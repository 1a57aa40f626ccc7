#pragma once
// The simulator's server: one thread, one poll loop, any number of station connections.
//
// Replies: "LOGON>" to "<!REG!>", "OK>" to a logon and to each message text taken,
// the next waiting message (its tagged text exactly as it was handed in) or "NOMORE>"
// to "POP", "QUITING>" to "QUIT" followed by closing. Prompts carry no line end.
//
// Routing: a message goes to the station named by the destination of its ROUTE line; a
// destination "LOCAL", or the opening tag "!ICS213!!KEEPLOCAL!", sends it to every other
// station that has ever logged on here.
//
// Transcript file (appended; records of raw bytes, so wire bytes can be compared exactly):
//   "=== connection <n> from <addr>:<port>\n"
//   "<<< <n> <len>\n" <len bytes received> "\n"
//   ">>> <n> <len>\n" <len bytes sent in one write> "\n"
//   "=== connection <n> closed\n"
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <map>
#include <memory>
#include <string>

#include "Dialogue.h"
#include "SimOptions.h"
#include "Spool.h"

namespace velnor::sim {

class SimServer {
 public:
  explicit SimServer(const SimOptions& opts);
  ~SimServer();
  SimServer(const SimServer&) = delete;
  SimServer& operator=(const SimServer&) = delete;

  // Binds and listens; on failure returns false with a reason.
  bool listen(std::string& error);
  std::string address() const { return m_address; }
  int port() const { return m_port; }

  // Serves the spool until a byte arrives on stopFd (the signal pipe).
  void run(Spool& spool, int stopFd);

 private:
  using Clock = std::chrono::steady_clock;

  struct Chunk {
    std::string bytes;
    std::size_t off = 0;
    int delayMs = 0;  // after the previous chunk has gone
    std::string deliverKey;  // non-empty: a spooled message, forgotten once fully sent
    std::uint64_t seq = 0;
    bool closeAfter = false;
  };

  struct Conn {
    int id;
    int fd;
    Dialogue dialogue;
    std::string station;
    long messages = 0;
    std::deque<Chunk> out;
    std::size_t outBytes = 0;
    Clock::time_point headDue;
    bool finished = false;  // QUIT or peer closed: read nothing more
    bool dead = false;
  };

  void acceptOne();
  void readFrom(Conn& c);
  void writeTo(Conn& c);
  void handle(Conn& c, Request& r);
  void prompt(Conn& c, const std::string& text);
  void queueChunk(Conn& c, Chunk chunk);
  void queueBytes(Conn& c, const std::string& bytes, int splitDelayMs, const std::string& key,
                  std::uint64_t seq);
  void accept(Conn& c, const std::string& text);
  void pop(Conn& c);
  void closeConn(Conn& c);
  void record(const char* mark, int id, const char* data, std::size_t len);

  const SimOptions& m_opts;
  Spool* m_spool = nullptr;
  int m_listenFd = -1;
  std::string m_address;
  int m_port = 0;
  int m_nextId = 1;
  std::FILE* m_transcript = nullptr;
  std::map<int, std::unique_ptr<Conn>> m_conns;
};

}  // namespace velnor::sim
