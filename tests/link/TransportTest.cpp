#include <gtest/gtest.h>

#include "tests/link/LinkFixture.h"

namespace velnor::testing {
namespace {

class TransportTest : public LinkTest {
 protected:
  Transport& t() { return link().transport(); }
  LinkState& s() { return link().state(); }
  // Connected, awaiting `awaited`; `reply` answers every send after `delayMs`.
  void connect(short awaited, std::function<void(std::string_view)> reply = {}) {
    sock.setRemoteHost("127.0.0.1");
    sock.connect();
    loop.runUntil([&] { return sock.state() == Socket::Connected; });
    s().AwaitedPrompt = awaited;
    sock.onSend = std::move(reply);
  }
  // A fresh state awaiting prompt `awaited`, with an empty buffer.
  void await(short awaited) {
    s() = LinkState{};
    t().WinSend("");  // empties the buffer; not connected, so no wait
    s().ReplyComplete = false;
    s().AwaitedPrompt = awaited;
  }
};

// Arrivals in three pieces at every pair of cut points: complete exactly once the whole
// prompt has arrived, never before.
TEST_F(TransportTest, EveryPromptFoundAtEverySplitPointAndNoOtherText) {
  const std::pair<short, std::string> prompts[] = {
      {1, "LOGON>"}, {2, "OK>"}, {4, "!/ICS213!"}, {4, "NOMORE>"}, {5, "QUITING>"}};
  for (const auto& [awaited, prompt] : prompts) {
    const std::string reply = "xx" + prompt + "yy";
    for (std::size_t a = 0; a <= reply.size(); ++a) {
      for (std::size_t b = a; b <= reply.size(); ++b) {
        SCOPED_TRACE(prompt + " split " + std::to_string(a) + "/" + std::to_string(b));
        await(awaited);
        t().ScanReply(reply.substr(0, a));
        t().ScanReply(reply.substr(a, b - a));
        EXPECT_EQ(s().ReplyComplete, b >= 2 + prompt.size());
        t().ScanReply(reply.substr(b));
        EXPECT_TRUE(s().ReplyComplete);
      }
    }
  }
  // Only the awaited prompt counts, exactly and in upper case; the text is kept either way.
  const std::string all = "LOGON> OK> NOMORE> QUITING> !/ICS213!";
  const std::pair<short, std::string> rows[] = {{2, "ok>"}, {1, "logon>"}, {0, all}, {3, all}, {2, "LOGON>"}};
  for (const auto& [awaited, text] : rows) {
    await(awaited);
    t().ScanReply(text);
    EXPECT_FALSE(s().ReplyComplete) << awaited << " " << text;
    EXPECT_EQ(s().ReceiveBuffer, text);
  }
}

// WinSend discards earlier text. Without the prompt it gives up after TimeOut (an unusable
// one waits 5 s); a lost or closed connection ends it at once.
TEST_F(TransportTest, WinSendWaitsForThePromptUntilTimeOutOrTheConnectionEnds) {
  connect(4, [&](std::string_view) { sock.deliver("NOMORE>\r\n", 2); });
  sock.deliver("OK> stale\r\n");
  loop.advance(1);
  t().WinSend("POP");
  EXPECT_TRUE(s().ReplyComplete);
  EXPECT_EQ(s().ReceiveBuffer, "NOMORE>\r\n");

  s().AwaitedPrompt = 2;
  sock.onSend = [&](std::string_view) { sock.deliver("ok>\r\n", 5); };
  const std::pair<std::string, std::int64_t> rows[] = {{"3000", 3000}, {"65536", 65536}, {"x", 5000}};
  for (const auto& [timeOut, ms] : rows) {
    settings.TimeOut = timeOut;
    log.lines.clear();
    s().ReplyComplete = false;
    const std::int64_t start = loop.now();
    t().WinSend("<!LOGON!>X");
    EXPECT_FALSE(s().ReplyComplete);
    EXPECT_EQ(loop.now() - start, ms);
    EXPECT_EQ(log.lines, (Lines{"WinSend: No reply within " + std::to_string(ms) + " ms"}));
  }

  sock.onSend = [&](std::string_view) { sock.peerClose(40); };
  log.lines.clear();
  const std::int64_t start = loop.now();
  t().WinSend("<!REG!>");
  EXPECT_FALSE(s().ReplyComplete);
  EXPECT_LT(loop.now() - start, 100);
  EXPECT_EQ(log.lines, (Lines{"WinSend: Lost Telnet connection"}));
  sock.close();
  s().ReplyComplete = true;
  t().WinSend("QUIT");
  EXPECT_FALSE(s().ReplyComplete);
  EXPECT_EQ(log.lines, (Lines(2, "WinSend: Lost Telnet connection")));
}

TEST_F(TransportTest, AFloodWithoutThePromptFailsWithBoundedMemory) {
  const std::string chunk(64 * 1024, 'x');
  std::function<void()> flood = [&] {
    sock.deliver(chunk);
    loop.post(flood, 1);
  };
  connect(2, [&](std::string_view) { flood(); });
  t().WinSend("<!LOGON!>X");
  EXPECT_FALSE(s().ReplyComplete);
  EXPECT_EQ(s().ReceiveBuffer.size(), Transport::kMaxReceiveBuffer);
  ASSERT_EQ(log.lines.size(), 1u);
  EXPECT_TRUE(log.lines[0].starts_with("ScanReply: Reply too long"));
  sock.close();  // stops the flood
  // What fits is kept: a prompt just inside the limit still counts.
  await(2);
  t().ScanReply(std::string(Transport::kMaxReceiveBuffer - 5, 'x'));
  t().ScanReply("OK>" + chunk);
  EXPECT_TRUE(s().ReplyComplete);
  EXPECT_EQ(s().ReceiveBuffer.size(), Transport::kMaxReceiveBuffer);
}

}  // namespace
}  // namespace velnor::testing
