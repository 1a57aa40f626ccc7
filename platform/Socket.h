#pragma once
// The one TCP client connection to Pmdirect. Connecting does not block; success is seen
// by polling state(). A host that cannot be used (empty, malformed, or no address found
// for it) is found out in the event loop while connecting, and checkHost() then raises
// it, so the caller's wait ends at once instead of at its time-out. Any other error
// (a refused connection: nothing listens there) turns state() to Error as soon as it is
// known, and failure() says what it was. send() queues bytes as they are, with no
// terminator, and throws VError when the connection cannot take them. Bytes arrive in
// order; getData() hands over everything that has arrived and not been fetched, as
// station text.
#include <functional>
#include <string>
#include <string_view>

namespace velnor {

class Socket {
 public:
  enum State { Closed = 0, Open = 1, Listening = 2, ConnectionPending = 3, ResolvingHost = 4,
               HostResolved = 5, Connecting = 6, Connected = 7, Closing = 8, Error = 9 };
  virtual ~Socket() = default;
  virtual void close() = 0;
  virtual void setRemoteHost(const std::string& host) = 0;
  virtual void setRemotePort(int port) = 0;
  virtual void connect() = 0;
  virtual void checkHost() const = 0;  // throws VError once the host of connect() is known unusable
  virtual void send(std::string_view bytes) = 0;
  virtual std::string getData() = 0;
  virtual int state() const = 0;
  // Why the last connection ended: set with state() Error, or Closing when the peer closed.
  enum class Failure { None, Refused, HostNotFound, PeerClosed, Other };
  virtual Failure failure() const = 0;
  std::function<void()> onDataArrival;
};

}  // namespace velnor
