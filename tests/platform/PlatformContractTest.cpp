// The doubles the link tests run on must behave like the Qt classes they stand for: each
// case runs against the virtual side (FakeSocket, VirtualEventLoop) and the real one.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <functional>

#include "platform/qt/QtEventLoop.h"
#include "platform/qt/QtSocket.h"
#include "tests/support/FakeSocket.h"
#include "tests/support/VirtualEventLoop.h"

namespace velnor::testing {
namespace {

// The peer is scripted through the fake, which knows no ports.
struct Virtual {
  VirtualEventLoop loop;
  FakeSocket sock{loop};
  std::int64_t now() const { return loop.now(); }
  int listening() { return sock.connectMode = FakeSocket::ConnectMode::Accept, 1; }
  int refusing() { return sock.connectMode = FakeSocket::ConnectMode::Refuse, 2; }
  void peerSend(const std::string& bytes) { sock.deliver(bytes); }
  void peerClose() { sock.peerClose(); }
  std::string peerRead(std::size_t) { return std::exchange(sock.wire, ""); }
};

// A listening socket of the test's own on loopback, and the connection it accepted.
struct Real {
  char name[5] = "test";
  char* argv[2] = {name, nullptr};
  int argc = 1;
  QCoreApplication app{argc, argv};
  QtEventLoop loop;
  QtSocket sock;
  QTcpServer server;
  QTcpSocket* peer = nullptr;
  QElapsedTimer clock;
  Real() { clock.start(); }
  std::int64_t now() const { return clock.elapsed(); }
  int listening() { return server.listen(QHostAddress::LocalHost, 0) ? server.serverPort() : -1; }
  int refusing() {
    const int port = listening();
    server.close();
    return port;
  }
  QTcpSocket& accepted() {
    if (!peer && (server.hasPendingConnections() || server.waitForNewConnection(2000)))
      peer = server.nextPendingConnection();
    return *peer;
  }
  void peerSend(const std::string& bytes) {
    accepted().write(bytes.data(), static_cast<qint64>(bytes.size()));
    accepted().flush();
  }
  void peerClose() { accepted().disconnectFromHost(); }
  std::string peerRead(std::size_t n) {
    while (accepted().bytesAvailable() < static_cast<qint64>(n) && accepted().waitForReadyRead(2000)) {
    }
    return accepted().readAll().toStdString();
  }
};

// Waits as the program does: events until done, or until a timer of ms ends the wait;
// true only when done came first (an error is reported at once, not as a time-out).
template <class Side>
bool WaitFor(Side& s, const std::function<bool()>& done, int ms = 2000) {
  auto deadline = s.loop.createTimer();
  bool late = false;
  deadline->onTick = [&] { late = true; };
  deadline->setInterval(ms);
  deadline->setEnabled(true);
  while (!done() && !late) s.loop.waitForEvents();
  return done();
}

template <class Side>
class SocketContract : public ::testing::Test {
 protected:
  Side s;
};
template <class Side>
class EventLoopContract : public SocketContract<Side> {};
using Sides = ::testing::Types<Virtual, Real>;
TYPED_TEST_SUITE(SocketContract, Sides);
TYPED_TEST_SUITE(EventLoopContract, Sides);

TYPED_TEST(SocketContract, SendsAsIsAndDataArrivesInOrderUntilThePeerCloses) {
  auto& sock = this->s.sock;
  std::string got;
  sock.onDataArrival = [&] { got += sock.getData(); };
  EXPECT_EQ(sock.state(), Socket::Closed);
  EXPECT_THROW(sock.send("early"), VError);
  sock.setRemoteHost("127.0.0.1");
  sock.setRemotePort(this->s.listening());
  sock.connect();
  ASSERT_TRUE(WaitFor(this->s, [&] { return sock.state() == Socket::Connected; }));
  EXPECT_EQ(sock.failure(), Socket::Failure::None);
  sock.send("POP\r\nno end");
  EXPECT_EQ(this->s.peerRead(11), "POP\r\nno end");
  this->s.peerSend("LOG");
  EXPECT_TRUE(WaitFor(this->s, [&] { return got == "LOG"; }));
  this->s.peerSend("ON>\r\n");
  this->s.peerSend("OK>");
  EXPECT_TRUE(WaitFor(this->s, [&] { return got == "LOGON>\r\nOK>"; }));
  EXPECT_EQ(sock.getData(), "");
  this->s.peerSend("QUITING>");
  this->s.peerClose();
  EXPECT_TRUE(WaitFor(this->s, [&] { return sock.state() != Socket::Connected; }));
  EXPECT_EQ(got + sock.getData(), "LOGON>\r\nOK>QUITING>");
  EXPECT_EQ(std::make_pair(sock.state(), sock.failure()),
            std::make_pair(+Socket::Closing, Socket::Failure::PeerClosed));
  EXPECT_THROW(sock.send("QUIT\r\n"), VError);
}

// A refusal is an error at once. Qt turns the unusable hosts down without asking a
// resolver: connect() never throws, checkHost() does once the host is known to be unusable.
TYPED_TEST(SocketContract, ARefusedConnectionAndAnUnusableHostAreErrorsAtOnce) {
  auto& sock = this->s.sock;
  sock.setRemoteHost("127.0.0.1");
  sock.setRemotePort(this->s.refusing());
  sock.connect();
  EXPECT_TRUE(WaitFor(this->s, [&] { return sock.state() == Socket::Error; }));
  EXPECT_EQ(sock.failure(), Socket::Failure::Refused);
  EXPECT_NO_THROW(sock.checkHost());
  sock.close();
  EXPECT_EQ(std::make_pair(sock.state(), sock.failure()),
            std::make_pair(+Socket::Closed, Socket::Failure::None));
  sock.setRemotePort(this->s.listening());
  for (const char* host : {"", "bad host!", "-x", "x..y"}) {
    SCOPED_TRACE(host);
    sock.setRemoteHost(host);
    EXPECT_NO_THROW(sock.connect());
    EXPECT_NO_THROW(sock.checkHost());
    EXPECT_TRUE(WaitFor(this->s, [&] { return sock.state() == Socket::Error; }));
    EXPECT_EQ(sock.failure(), Socket::Failure::HostNotFound);
    EXPECT_THROW(sock.checkHost(), VError);
  }
}

TYPED_TEST(EventLoopContract, ATimerTicksEveryIntervalNeverEarlyAndRestartsWhenEnabled) {
  auto timer = this->s.loop.createTimer();
  std::vector<std::int64_t> ticks;
  timer->onTick = [&] { ticks.push_back(this->s.now()); };
  timer->setInterval(60);
  EXPECT_EQ(timer->interval(), 60);
  EXPECT_FALSE(timer->enabled());
  timer->setEnabled(true);
  EXPECT_TRUE(WaitFor(this->s, [&] { return ticks.size() == 2; }));
  ASSERT_EQ(ticks.size(), 2u);
  EXPECT_GE(ticks[0], 60);
  EXPECT_GE(ticks[1], 120);
  EXPECT_LT(ticks[1], 120 + 1000);
  timer->setEnabled(true);  // again: counts from here
  const std::int64_t restarted = this->s.now();
  EXPECT_TRUE(WaitFor(this->s, [&] { return ticks.size() == 3; }));
  EXPECT_GE(ticks[2] - restarted, 60);
  timer->setEnabled(false);
  EXPECT_FALSE(timer->enabled());
  EXPECT_FALSE(WaitFor(
      this->s, [&] { return ticks.size() > 3; }, 200));
}

// A wait inside a tick handler: other timers tick, its own timer waits for the handler.
TYPED_TEST(EventLoopContract, ANestedWaitEndsOnItsEventAndDoesNotReenterItsTimer) {
  auto outer = this->s.loop.createTimer(), inner = this->s.loop.createTimer();
  int outerTicks = 0, innerTicks = 0, outerDuringWait = -1;
  inner->onTick = [&] { ++innerTicks; };
  inner->setInterval(100);
  outer->onTick = [&] {
    if (++outerTicks > 1) return;
    inner->setEnabled(true);
    EXPECT_TRUE(WaitFor(this->s, [&] { return innerTicks == 2; }));
    outerDuringWait = outerTicks;
  };
  outer->setInterval(10);
  outer->setEnabled(true);
  EXPECT_TRUE(WaitFor(this->s, [&] { return outerTicks >= 3; }));
  EXPECT_EQ(outerDuringWait, 1);
  EXPECT_GE(this->s.now(), 210);
}

}  // namespace
}  // namespace velnor::testing
