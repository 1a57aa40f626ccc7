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
TEST_F(TransportTest, EveryPromptFoundAtEverySplitPoint) {
  for (const auto& [awaited, prompt] : {std::pair<short, std::string>{1, "LOGON>"}, {2, "OK>"}, {4, "!/ICS213!"},
                                        {4, "NOMORE>"}, {5, "QUITING>"}}) {
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
    await(r.awaited);
    t().ScanReply(r.text);
    EXPECT_EQ(s().ReplyComplete, r.complete) << r.awaited << " " << r.text;
    EXPECT_EQ(s().ReceiveBuffer, r.text);
  }
}

TEST_F(TransportTest, RetrievalFlagsForTagNoMoreAndBoth) {
  for (const auto& [reply, tag] : {std::pair<std::string, bool>{"!ICS213!\r\nbody\r\n!/ICS213!\r\nNOMORE>\r\n", true},
                                   {"NOMORE>\r\n", false}}) {
    await(4);
    t().ScanReply(reply);
    EXPECT_EQ(s().MessageEndSeen, tag) << reply;
    EXPECT_TRUE(s().NoMoreSeen);
    EXPECT_TRUE(s().ReplyComplete);
  }
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

// Lost while waiting, and then sent on the closed socket: each ends at once, incomplete.
TEST_F(TransportTest, WinSendEndsWhenTheConnectionIsLostOrClosed) {
  connect();
  s().AwaitedPrompt = 2;
  sock.onSend = [&](std::string_view) { sock.peerClose(40); };
  t().WinSend("<!REG!>");
  EXPECT_FALSE(s().ReplyComplete);
  EXPECT_LT(loop.now(), 100);
  EXPECT_EQ(log.lines, (std::vector<std::string>{"WinSend: Lost Telnet connection"}));
  sock.close();
  s().ReplyComplete = true;
  t().WinSend("QUIT");
  EXPECT_FALSE(s().ReplyComplete);
  EXPECT_EQ(log.lines, (std::vector<std::string>(2, "WinSend: Lost Telnet connection")));
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
  struct Row {
    std::int32_t size;
    std::string in, piece, rest;
  };
  for (const Row& r : {Row{75, s160, s160.substr(0, 75), s160.substr(75)},
                       Row{75, s160.substr(150), s160.substr(150), ""}, Row{75, "", "", ""},
                       Row{0, "abc", "", "abc"}, Row{3, "abc", "abc", ""}}) {
    std::string in = r.in;
    EXPECT_EQ(t().GetBuffer(r.size, in), r.piece) << r.size << " of " << r.in.size();
    EXPECT_EQ(in, r.rest);
  }
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
