#include "SimServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "core/VError.h"

namespace velnor::sim {
namespace {

constexpr std::size_t kMaxConnections = 100;
// A client that asks faster than it reads is not read further until it catches up.
constexpr std::size_t kMaxPendingOutput = 4u << 20;
constexpr int kSplitGapMs = 50;

void logLine(const std::string& text) {
  std::fprintf(stderr, "pmdirect-sim: %s\n", text.c_str());
  std::fflush(stderr);
}

std::string peerName(const sockaddr_storage& sa) {
  char host[INET6_ADDRSTRLEN] = "?";
  int port = 0;
  if (sa.ss_family == AF_INET) {
    const auto* in = reinterpret_cast<const sockaddr_in*>(&sa);
    inet_ntop(AF_INET, &in->sin_addr, host, sizeof host);
    port = ntohs(in->sin_port);
  } else if (sa.ss_family == AF_INET6) {
    const auto* in6 = reinterpret_cast<const sockaddr_in6*>(&sa);
    inet_ntop(AF_INET6, &in6->sin6_addr, host, sizeof host);
    port = ntohs(in6->sin6_port);
  }
  return std::string(host) + ":" + std::to_string(port);
}

std::string lower(std::string s) {
  for (char& c : s)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return s;
}

}  // namespace

SimServer::SimServer(const SimOptions& opts) : m_opts(opts) {}

SimServer::~SimServer() {
  for (auto& [id, c] : m_conns)
    if (!c->dead) ::close(c->fd);
  if (m_listenFd >= 0) ::close(m_listenFd);
  if (m_transcript) std::fclose(m_transcript);
}

bool SimServer::listen(std::string& error) {
  if (!m_opts.transcript.empty()) {
    m_transcript = std::fopen(m_opts.transcript.c_str(), "ab");
    if (!m_transcript) {
      error = "cannot open transcript " + m_opts.transcript + ": " + std::strerror(errno);
      return false;
    }
  }
  sockaddr_storage sa{};
  socklen_t len = 0;
  auto* in = reinterpret_cast<sockaddr_in*>(&sa);
  auto* in6 = reinterpret_cast<sockaddr_in6*>(&sa);
  if (inet_pton(AF_INET, m_opts.bind.c_str(), &in->sin_addr) == 1) {
    in->sin_family = AF_INET;
    in->sin_port = htons(static_cast<std::uint16_t>(m_opts.port));
    len = sizeof(sockaddr_in);
  } else if (inet_pton(AF_INET6, m_opts.bind.c_str(), &in6->sin6_addr) == 1) {
    in6->sin6_family = AF_INET6;
    in6->sin6_port = htons(static_cast<std::uint16_t>(m_opts.port));
    len = sizeof(sockaddr_in6);
  } else {
    error = "not a numeric address: " + m_opts.bind;
    return false;
  }
  m_listenFd = ::socket(sa.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (m_listenFd < 0) {
    error = std::string("socket: ") + std::strerror(errno);
    return false;
  }
  // Lets a restarted simulator take its port back at once; a live listener still blocks it.
  const int one = 1;
  ::setsockopt(m_listenFd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
  const std::string where = m_opts.bind + ":" + std::to_string(m_opts.port);
  if (::bind(m_listenFd, reinterpret_cast<sockaddr*>(&sa), len) != 0 || ::listen(m_listenFd, 16) != 0) {
    error = "cannot listen on " + where + ": " + std::strerror(errno);
    return false;
  }
  sockaddr_storage bound{};
  socklen_t blen = sizeof bound;
  ::getsockname(m_listenFd, reinterpret_cast<sockaddr*>(&bound), &blen);
  const std::string name = peerName(bound);
  const std::size_t colon = name.rfind(':');
  m_address = name.substr(0, colon);
  m_port = std::stoi(name.substr(colon + 1));
  return true;
}

void SimServer::run(Spool& spool, int stopFd) {
  m_spool = &spool;
  std::vector<pollfd> fds;
  std::vector<Conn*> polled;
  for (;;) {
    fds.clear();
    polled.clear();
    fds.push_back({stopFd, POLLIN, 0});
    fds.push_back({m_listenFd, POLLIN, 0});
    const auto now = Clock::now();
    int timeout = -1;
    for (auto& [id, c] : m_conns) {
      short events = 0;
      if (!c->finished && c->outBytes <= kMaxPendingOutput) events |= POLLIN;
      if (!c->out.empty()) {
        if (c->headDue <= now) {
          events |= POLLOUT;
        } else {
          const auto wait = std::chrono::ceil<std::chrono::milliseconds>(c->headDue - now).count();
          const int ms = static_cast<int>(std::min<long long>(wait, 60000));
          timeout = timeout < 0 ? ms : std::min(timeout, ms);
        }
      }
      fds.push_back({c->fd, events, 0});
      polled.push_back(c.get());
    }
    const int n = ::poll(fds.data(), fds.size(), timeout);
    if (n < 0) {
      if (errno == EINTR) continue;
      logLine(std::string("poll: ") + std::strerror(errno));
      return;
    }
    if (fds[0].revents) return;
    if (fds[1].revents & POLLIN) acceptOne();
    for (std::size_t i = 0; i < polled.size(); ++i) {
      Conn& c = *polled[i];
      const short re = fds[i + 2].revents;
      if (!c.dead && (re & POLLIN)) readFrom(c);
      // Both directions gone: nothing we still owe can arrive, and polling on would spin.
      if (!c.dead && (re & (POLLHUP | POLLERR))) closeConn(c);
      if (!c.dead && !c.out.empty() && c.headDue <= Clock::now()) writeTo(c);
    }
    for (auto it = m_conns.begin(); it != m_conns.end();) {
      if (it->second->dead) it = m_conns.erase(it);
      else ++it;
    }
  }
}

void SimServer::acceptOne() {
  sockaddr_storage sa{};
  socklen_t len = sizeof sa;
  const int fd = ::accept4(m_listenFd, reinterpret_cast<sockaddr*>(&sa), &len, SOCK_NONBLOCK | SOCK_CLOEXEC);
  if (fd < 0) return;
  if (m_conns.size() >= kMaxConnections) {
    logLine("too many connections, refusing " + peerName(sa));
    ::close(fd);
    return;
  }
  // Prompts are small and must not wait for more output to be batched with them.
  const int one = 1;
  ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
  auto c = std::make_unique<Conn>(Conn{m_nextId++, fd, Dialogue(), {}, 0, {}, 0, {}, false, false});
  if (m_transcript) {
    std::fprintf(m_transcript, "=== connection %d from %s\n", c->id, peerName(sa).c_str());
    std::fflush(m_transcript);
  }
  m_conns.emplace(c->id, std::move(c));
}

void SimServer::record(const char* mark, int id, const char* data, std::size_t len) {
  if (!m_transcript) return;
  std::fprintf(m_transcript, "%s %d %zu\n", mark, id, len);
  std::fwrite(data, 1, len, m_transcript);
  std::fputc('\n', m_transcript);
  std::fflush(m_transcript);
}

void SimServer::readFrom(Conn& c) {
  char buf[16384];
  const ssize_t n = ::recv(c.fd, buf, sizeof buf, 0);
  if (n < 0) {
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) return;
    closeConn(c);
    return;
  }
  if (n == 0) {
    // The peer is done sending; whatever we still owe it goes out first.
    c.finished = true;
    if (c.out.empty()) closeConn(c);
    return;
  }
  record("<<<", c.id, buf, static_cast<std::size_t>(n));
  if (c.finished) return;
  std::vector<Request> requests;
  c.dialogue.feed(std::string_view(buf, static_cast<std::size_t>(n)), requests);
  for (auto& r : requests) {
    if (c.dead || c.finished) break;
    handle(c, r);
  }
}

void SimServer::handle(Conn& c, Request& r) {
  switch (r.kind) {
    case Request::Register:
      prompt(c, "LOGON>");
      break;
    case Request::Logon:
      c.station = StationKey(r.text);
      try {
        m_spool->addStation(c.station);
      } catch (const VError& e) {
        logLine("cannot record station " + c.station + ": " + e.description());
      }
      prompt(c, "OK>");
      break;
    case Request::Message:
      ++c.messages;
      if (m_opts.dropAfter >= 0 && c.messages > m_opts.dropAfter) {
        logLine("connection " + std::to_string(c.id) + ": dropped at message " +
                std::to_string(c.messages) + " (--drop-after)");
        closeConn(c);
        return;
      }
      accept(c, r.text);
      break;
    case Request::Pop:
      pop(c);
      break;
    case Request::Quit:
      prompt(c, "QUITING>");
      c.finished = true;
      queueChunk(c, Chunk{{}, 0, 0, {}, 0, true});
      break;
    case Request::TooLong:
      logLine("connection " + std::to_string(c.id) + ": line or message over 1 MiB, dropped");
      closeConn(c);
      break;
    case Request::Ignored:
      break;
  }
}

void SimServer::accept(Conn& c, const std::string& text) {
  const std::string dest = RouteDestination(text);
  std::vector<std::string> to;
  if (IsKeepLocal(text) || dest == "LOCAL") {
    for (const auto& s : m_spool->stations())
      if (s != c.station) to.push_back(s);
  } else if (!dest.empty()) {
    to.push_back(dest);
  }
  if (to.empty())
    logLine("connection " + std::to_string(c.id) + ": message from " + c.station +
            " has nobody to go to (destination \"" + dest + "\")");
  try {
    m_spool->enqueue(to, text);
  } catch (const VError& e) {
    // Not acknowledged, so the sender keeps it for its next session.
    logLine("cannot queue message: " + e.description());
    return;
  }
  prompt(c, "OK>");
}

void SimServer::pop(Conn& c) {
  // A message that cannot be read is set aside, so the station still gets the ones after it.
  while (const Spool::Entry* e = c.station.empty() ? nullptr : m_spool->take(c.station, c.id)) {
    const std::uint64_t seq = e->seq;
    const std::string path = e->path;
    try {
      queueBytes(c, Spool::read(*e), 0, c.station, seq);
      return;
    } catch (const VError& err) {
      std::string where;
      const std::string fate = m_spool->setAside(c.station, seq, where)
                                   ? "set aside as " + where
                                   : "skipped until restart, could not set it aside: " + where;
      logLine("cannot read " + path + ": " + err.description() + "; " + fate);
    }
  }
  prompt(c, "NOMORE>");
}

void SimServer::prompt(Conn& c, const std::string& text) {
  if (m_opts.noPrompt.count(text)) return;
  queueBytes(c, m_opts.lowerCase ? lower(text) : text, m_opts.splitPrompts ? kSplitGapMs : 0, {}, 0);
}

void SimServer::queueBytes(Conn& c, const std::string& bytes, int splitDelayMs, const std::string& key,
                           std::uint64_t seq) {
  if (m_opts.dripMs > 0) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      const bool last = i + 1 == bytes.size();
      queueChunk(c, Chunk{bytes.substr(i, 1), 0, m_opts.dripMs, last ? key : std::string(), last ? seq : 0, false});
    }
  } else if (splitDelayMs > 0 && bytes.size() > 1) {
    queueChunk(c, Chunk{bytes.substr(0, bytes.size() - 1), 0, 0, {}, 0, false});
    queueChunk(c, Chunk{bytes.substr(bytes.size() - 1), 0, splitDelayMs, key, seq, false});
  } else {
    queueChunk(c, Chunk{bytes, 0, 0, key, seq, false});
  }
}

void SimServer::queueChunk(Conn& c, Chunk chunk) {
  c.outBytes += chunk.bytes.size();
  if (c.out.empty()) c.headDue = Clock::now() + std::chrono::milliseconds(chunk.delayMs);
  c.out.push_back(std::move(chunk));
}

void SimServer::writeTo(Conn& c) {
  while (!c.out.empty() && c.headDue <= Clock::now()) {
    Chunk& h = c.out.front();
    if (h.off < h.bytes.size()) {
      const ssize_t n = ::send(c.fd, h.bytes.data() + h.off, h.bytes.size() - h.off, MSG_NOSIGNAL);
      if (n < 0) {
        if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) return;
        closeConn(c);
        return;
      }
      record(">>>", c.id, h.bytes.data() + h.off, static_cast<std::size_t>(n));
      h.off += static_cast<std::size_t>(n);
      c.outBytes -= static_cast<std::size_t>(n);
      if (h.off < h.bytes.size()) return;
    }
    if (h.seq != 0) m_spool->delivered(h.deliverKey, h.seq);
    const bool close = h.closeAfter;
    c.out.pop_front();
    if (close) {
      closeConn(c);
      return;
    }
    if (!c.out.empty()) c.headDue = Clock::now() + std::chrono::milliseconds(c.out.front().delayMs);
  }
  if (c.out.empty() && c.finished) closeConn(c);
}

void SimServer::closeConn(Conn& c) {
  if (c.dead) return;
  ::close(c.fd);
  c.dead = true;
  m_spool->release(c.id);
  if (m_transcript) {
    std::fprintf(m_transcript, "=== connection %d closed\n", c.id);
    std::fflush(m_transcript);
  }
}

}  // namespace velnor::sim
