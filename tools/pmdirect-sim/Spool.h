#pragma once
// Waiting messages, kept on disk so that a restart loses nothing.
//
// Layout of the spool directory:
//   lock                   locked by the simulator serving the spool, so that a second one
//                          cannot number its messages over the first one's
//   stations               every identifier that has ever logged on, one per line
//   queue/<HEX>/<SEQ>.msg  one waiting message; HEX spells the station's identifier in
//                          hexadecimal (identifiers are untrusted, file names are not),
//                          SEQ is a 16-digit counter that keeps arrival order
//   quarantine/<HEX>/<SEQ>.msg  a waiting message that could not be read, set aside so
//                          that the station's later messages still go out
// A message file is deleted only once it has been handed out completely.
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace velnor::sim {

// Upper-case ASCII, the form in which identifiers are compared.
std::string StationKey(std::string_view identifier);

// The destination of a tagged text: the third part of its last "ROUTE: " line, trimmed
// and upper-cased; empty when there is none.
std::string RouteDestination(std::string_view text);

// "!ICS213!!KEEPLOCAL!" as first line.
bool IsKeepLocal(std::string_view text);

class Spool {
 public:
  struct Entry {
    std::uint64_t seq;
    std::string path;
    int holder = 0;  // connection that is being handed this message; 0: none
  };

  // Creates the directory if needed, locks it and loads what is waiting. Throws VError,
  // also when another simulator holds the lock.
  explicit Spool(std::string dir);
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  const std::string& dir() const { return m_dir; }

  // Remembers a station that logged on (persisted). Throws VError.
  void addStation(const std::string& key);
  const std::set<std::string>& stations() const { return m_stations; }

  // Queues text for each recipient. Throws VError; nothing is queued for a recipient
  // whose file could not be written.
  void enqueue(const std::vector<std::string>& recipients, std::string_view text);

  // The oldest message for key that nobody is being handed, marked as held by conn; nullptr
  // when none.
  const Entry* take(const std::string& key, int conn);
  // The bytes of a message take() handed out; throws VError when it cannot be read (also
  // when it is no plain file, which could block or never end).
  static std::string read(const Entry& e);
  // The message has gone out in full: forget it.
  void delivered(const std::string& key, std::uint64_t seq);
  // A message that cannot be read leaves the queue for quarantine/. False when it could
  // not be moved: it is then only skipped until the next start. where: the new path, or
  // why it could not be moved.
  bool setAside(const std::string& key, std::uint64_t seq, std::string& where);
  // A connection ended: what it held waits again.
  void release(int conn);

  std::size_t waiting(const std::string& key) const;

  // Puts every waiting message and the station list on the disk. The writes above leave
  // that to the kernel, for speed; this runs once, when the simulator is stopped.
  // Throws VError.
  void flush() const;

 private:
  std::string queueDir(const std::string& key, const char* area = "queue") const;

  std::string m_dir;
  int m_lockFd = -1;
  std::uint64_t m_nextSeq = 1;
  std::set<std::string> m_stations;
  std::map<std::string, std::vector<Entry>> m_queues;  // in seq order
};

}  // namespace velnor::sim
