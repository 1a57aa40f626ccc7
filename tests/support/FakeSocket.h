#pragma once
// A scripted Pmdirect on the virtual loop. Every send() is recorded on `wire` and handed
// to `onSend`, which answers with deliver(). Faults: a host that is not found, refuse or
// never answer the connect, drop the connection once N bytes have been sent, split or
// delay deliveries, fail sends. Like the Qt socket, a refused connect or an unusable host
// turns to Error (failure() Refused, HostNotFound) in the loop, never by a throw.
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/VError.h"
#include "platform/Socket.h"
#include "tests/support/VirtualEventLoop.h"

namespace velnor::testing {

class FakeSocket : public Socket {
 public:
  explicit FakeSocket(VirtualEventLoop& loop) : m_loop(loop) {}

  // --- script ---
  enum class ConnectMode { Accept, Refuse, Never };
  ConnectMode connectMode = ConnectMode::Accept;
  std::int64_t connectDelayMs = 5;
  std::int64_t dropAfterBytes = -1;  // < 0: never drop
  std::function<void(std::string_view sent)> onSend;

  // Arrives delayMs from now, as one data-arrival event.
  void deliver(std::string text, std::int64_t delayMs = 0) {
    const std::uint64_t gen = m_generation;
    m_loop.post(
        [this, gen, text = std::move(text)] {
          if (gen != m_generation || m_state != Connected) return;
          m_inbox += text;
          if (onDataArrival) onDataArrival();
        },
        delayMs);
  }
  // The peer closes the connection delayMs from now.
  void peerClose(std::int64_t delayMs = 0) {
    const std::uint64_t gen = m_generation;
    m_loop.post(
        [this, gen] {
          if (gen == m_generation && m_state == Connected) {
            m_state = Closing;
            m_failure = Failure::PeerClosed;
          }
        },
        delayMs);
  }

  // --- Socket ---
  void close() override {
    ++m_generation;
    m_state = Closed;
    m_failure = Failure::None;
    m_inbox.clear();
  }
  void setRemoteHost(const std::string& host) override { remoteHost = host; }
  void setRemotePort(int port) override { remotePort = port; }
  void connect() override {
    ++connects;
    // Like Qt's, a connect drops the connection before it, and what that one received.
    ++m_generation;
    m_inbox.clear();
    m_state = Connecting;
    m_failure = Failure::None;
    const std::uint64_t gen = m_generation;
    const bool lookupFails = !Usable(remoteHost) || remoteHost.ends_with(".invalid");
    if (connectMode == ConnectMode::Never && !lookupFails) return;
    m_loop.post(
        [this, gen, lookupFails] {
          if (gen != m_generation) return;
          if (lookupFails) {
            m_failure = Failure::HostNotFound;
          } else if (connectMode == ConnectMode::Refuse) {
            m_failure = Failure::Refused;
          }
          m_state = m_failure == Failure::None ? Connected : Error;
          m_sentCount = 0;
        },
        connectDelayMs);
  }
  void checkHost() const override {
    if (m_failure == Failure::HostNotFound) throw VError(11001, "WNS", "Host not found");
  }
  void send(std::string_view bytes) override {
    if (m_state != Connected) throw VError(40006, "WNS", "Wrong protocol or connection state");
    std::string_view taken = bytes;
    if (dropAfterBytes >= 0 && m_sentCount + static_cast<std::int64_t>(bytes.size()) > dropAfterBytes) {
      // Part of the text leaves before the peer goes away; the send itself succeeds.
      taken = bytes.substr(0, static_cast<std::size_t>(dropAfterBytes - m_sentCount));
      wire += taken;
      m_sentCount = dropAfterBytes;
      peerClose(1);
      return;
    }
    wire += taken;
    m_sentCount += static_cast<std::int64_t>(bytes.size());
    sends.emplace_back(bytes);
    if (onSend) onSend(bytes);
  }
  std::string getData() override { return std::exchange(m_inbox, std::string()); }
  int state() const override { return m_state; }
  Failure failure() const override { return m_failure; }

  // --- what happened ---
  std::string wire;                // every byte sent, all connections
  std::vector<std::string> sends;  // each complete send() call
  std::string remoteHost;
  int remotePort = 0;
  int connects = 0;

 private:
  // Qt turns down, without asking any resolver, a name that is not a host name: empty,
  // a blank or punctuation, an empty label, a label that starts or ends with '-'. A name
  // under the reserved "invalid" stands here for one that no resolver knows.
  static bool Usable(std::string_view host) {
    if (host.ends_with('.')) host.remove_suffix(1);
    if (host.empty()) return false;
    for (std::size_t start = 0; start <= host.size();) {
      const std::size_t end = std::min(host.find('.', start), host.size());
      const std::string_view label = host.substr(start, end - start);
      if (label.empty() || label.front() == '-' || label.back() == '-') return false;
      for (const unsigned char c : label)
        if (c < 0x80 && !std::isalnum(c) && c != '-' && c != '_') return false;
      start = end + 1;
    }
    return true;
  }

  VirtualEventLoop& m_loop;
  int m_state = Closed;
  std::string m_inbox;
  std::uint64_t m_generation = 0;
  std::int64_t m_sentCount = 0;
  Failure m_failure = Failure::None;
};

}  // namespace velnor::testing
