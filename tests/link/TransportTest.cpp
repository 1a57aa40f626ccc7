#include <gtest/gtest.h>

#include "tests/link/LinkFixture.h"

namespace velnor::testing {
namespace {

class TransportTest : public LinkTest {
 protected:
  Transport& t() { return link().transport(); }
  LinkState& s() { return link().state(); }
  void connect() {
    sock.connect();
    loop.runUntil([&] { return sock.state() == Socket::Connected; });
  }
};

TEST_F(TransportTest, PromptSplitBeforeItsLastCharacterCompletesOnSecondArrival) {
  s().AwaitedPrompt = 2;
  t().ScanReply("text O");
  t().ScanReply("K");
  EXPECT_FALSE(s().ReplyComplete);
  t().ScanReply(">");
  EXPECT_TRUE(s().ReplyComplete);
}

TEST_F(TransportTest, EveryPromptFoundAtEverySplitPoint) {
  struct Row {
    short awaited;
    std::string prompt;
  };
  for (const Row& r : {Row{1, "LOGON>"}, Row{2, "OK>"}, Row{4, "!/ICS213!"}, Row{4, "NOMORE>"},
                       Row{5, "QUITING>"}}) {
    const std::string reply = "xx" + r.prompt + "yy";
    for (std::size_t a = 0; a <= reply.size(); ++a) {
      for (std::size_t b = a; b <= reply.size(); ++b) {
        s() = LinkState{};
        s().AwaitedPrompt = r.awaited;
        link().transport().WinSend("");  // empties the buffer; not connected, so no wait
        s().ReplyComplete = false;
        t().ScanReply(reply.substr(0, a));
        t().ScanReply(reply.substr(a, b - a));
        t().ScanReply(reply.substr(b));
        EXPECT_TRUE(s().ReplyComplete) << r.prompt << " split " << a << "/" << b;
      }
    }
  }
}

TEST_F(TransportTest, OnlyTheExactUpperCasePromptCounts) {
  struct Row {
    short awaited;
    std::string text;
    bool complete;
  };
  for (const Row& r : {Row{2, "ok>", false}, Row{2, "Ok>", false}, Row{2, "OK", false},
                       Row{2, "message body says OK> here\r\nmore", true},
                       Row{1, "logon>", false}, Row{1, "LOGON>", true},
                       Row{4, "nomore>", false}, Row{4, "!/ics213!", false},
                       Row{5, "quiting>", false}, Row{5, "QUITING>", true},
                       Row{0, "LOGON> OK> NOMORE> QUITING> !/ICS213!", false},
                       Row{3, "LOGON> OK> NOMORE> QUITING> !/ICS213!", false},
                       Row{2, "LOGON>", false}, Row{1, "OK>", false}}) {
    s() = LinkState{};
    link().transport().WinSend("");
    s().ReplyComplete = false;
    s().AwaitedPrompt = r.awaited;
    t().ScanReply(r.text);
    EXPECT_EQ(s().ReplyComplete, r.complete) << r.awaited << " " << r.text;
    EXPECT_EQ(s().ReceiveBuffer, r.text);
  }
}

TEST_F(TransportTest, RetrievalFlagsForTagNoMoreAndBoth) {
  s().AwaitedPrompt = 4;
  t().ScanReply("!ICS213!\r\nbody\r\n!/ICS213!\r\nNOMORE>\r\n");
  EXPECT_TRUE(s().MessageEndSeen);
  EXPECT_TRUE(s().NoMoreSeen);
  EXPECT_TRUE(s().ReplyComplete);

  s() = LinkState{};
  link().transport().WinSend("");
  s().ReplyComplete = false;
  s().AwaitedPrompt = 4;
  t().ScanReply("NOMORE>\r\n");
  EXPECT_FALSE(s().MessageEndSeen);
  EXPECT_TRUE(s().NoMoreSeen);
  EXPECT_TRUE(s().ReplyComplete);
}

TEST_F(TransportTest, ChangingTheAwaitedPromptSearchesTextAlreadyReceived) {
  s().AwaitedPrompt = 0;
  t().ScanReply("LOGON> and O");
  t().ScanReply("K> too");
  EXPECT_FALSE(s().ReplyComplete);
  s().AwaitedPrompt = 2;
  t().ScanReply("");
  EXPECT_TRUE(s().ReplyComplete);
}

TEST_F(TransportTest, WinSendPutsTheLineWithCrLfAndDiscardsEarlierText) {
  connect();
  s().AwaitedPrompt = 2;
  sock.deliver("OK> stale\r\n");
  loop.advance(1);
  EXPECT_EQ(s().ReceiveBuffer, "OK> stale\r\n");
  s().ReplyComplete = false;
  sock.onSend = [&](std::string_view) { sock.deliver("NOMORE>\r\n", 2); };
  s().AwaitedPrompt = 4;
  t().WinSend("POP");
  EXPECT_EQ(sock.wire, "POP\r\n");
  EXPECT_TRUE(s().ReplyComplete);
  EXPECT_EQ(s().ReceiveBuffer, "NOMORE>\r\n");
}

TEST_F(TransportTest, WinSendGivesUpAfterTimeOutWithoutAPrompt) {
  connect();
  const std::int64_t start = loop.now();
  s().AwaitedPrompt = 2;
  sock.onSend = [&](std::string_view) { sock.deliver("ok>\r\n", 5); };
  t().WinSend("<!LOGON!>X");
  EXPECT_FALSE(s().ReplyComplete);
  EXPECT_EQ(loop.now() - start, 3000);
  EXPECT_TRUE(log.has("WinSend: No reply within 3000 ms"));
}

TEST_F(TransportTest, WinSendEndsWhenTheConnectionIsLost) {
  connect();
  s().AwaitedPrompt = 2;
  sock.onSend = [&](std::string_view) { sock.peerClose(40); };
  t().WinSend("<!REG!>");
  EXPECT_FALSE(s().ReplyComplete);
  EXPECT_LT(loop.now(), 100);
  EXPECT_EQ(log.lines, (std::vector<std::string>{"WinSend: Lost Telnet connection"}));
}

TEST_F(TransportTest, WinSendOnAClosedSocketLogsLostConnection) {
  s().ReplyComplete = true;
  t().WinSend("QUIT");
  EXPECT_FALSE(s().ReplyComplete);
  EXPECT_EQ(log.lines, (std::vector<std::string>{"WinSend: Lost Telnet connection"}));
}

TEST_F(TransportTest, AFloodWithoutThePromptFailsWithBoundedMemory) {
  connect();
  s().AwaitedPrompt = 2;
  const std::string chunk(64 * 1024, 'x');
  std::function<void()> flood = [&] {
    sock.deliver(chunk);
    loop.post(flood, 1);
  };
  sock.onSend = [&](std::string_view) { flood(); };
  t().WinSend("<!LOGON!>X");
  EXPECT_FALSE(s().ReplyComplete);
  EXPECT_EQ(s().ReceiveBuffer.size(), Transport::kMaxReceiveBuffer);
  ASSERT_EQ(log.lines.size(), 1u);
  EXPECT_EQ(log.lines[0].rfind("ScanReply: Reply too long", 0), 0u);
  sock.close();  // stops the flood
}

TEST_F(TransportTest, GetBufferCutsPieces) {
  std::string s160;
  for (int i = 0; i < 160; ++i) s160 += static_cast<char>('0' + i % 10);
  std::string in = s160;
  EXPECT_EQ(t().GetBuffer(75, in), s160.substr(0, 75));
  EXPECT_EQ(in, s160.substr(75));
  EXPECT_EQ(t().GetBuffer(75, in), s160.substr(75, 75));
  EXPECT_EQ(t().GetBuffer(75, in), s160.substr(150));
  EXPECT_EQ(in, "");
  EXPECT_EQ(t().GetBuffer(75, in), "");
  EXPECT_EQ(in, "");
  std::string three = "abc";
  EXPECT_EQ(t().GetBuffer(0, three), "");
  EXPECT_EQ(three, "abc");
  EXPECT_EQ(t().GetBuffer(3, three), "abc");
  EXPECT_EQ(three, "");
}

TEST_F(TransportTest, GetBufferWithNegativeSizeShowsItsBoxAndKeepsTheText) {
  dialogs.expectMessage("GetBuffer: String Error 5, ");
  std::string in = "abc";
  EXPECT_EQ(t().GetBuffer(-1, in), "");
  EXPECT_EQ(in, "abc");
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_EQ(dialogs.shown[0].caption, "GetBuffer Error");
  EXPECT_EQ(dialogs.shown[0].text.substr(dialogs.shown[0].text.size() - 2), "\r\n");
}

}  // namespace
}  // namespace velnor::testing
