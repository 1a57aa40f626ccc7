// Exact bytes of the tagged text: this is what other stations and Pmdirect read. The
// goldens are also the decoder fuzzer's seeds.
#include <gtest/gtest.h>

#include "FormatTestSupport.h"
#include "core/AtomicFile.h"
#include "format/Encoder.h"

namespace velnor {
namespace {

using testing::SampleMessage;

std::string Golden(const std::string& name) { return ReadWholeFile(VELNOR_FORMAT_SEEDS "/" + name, "test"); }

TEST(EncodeRecord, MessageAndReplyAreTheGoldenTexts) {
  EXPECT_EQ(EncodeRecord(SampleMessage(), "KX1ABC"), Golden("message.txt"));
  MsgRecord r = SampleMessage();
  r.setMsg("One line");
  r.setKind(Kind::Reply);
  r.setKeepLocal(1);
  r.setReply("Sent T-12\r\nETA 30 min");
  r.setRepSign("A. Ruiz");
  r.setRepPos("PSC");
  r.setRepDate(ToOleDate({2026, 11, 20, 0, 0, 0}));
  EXPECT_EQ(EncodeRecord(r, "KX1ABC"), Golden("reply.txt"));
}

// Nothing in a body is escaped, and a date of 0 is midnight.
TEST(EncodeRecord, BodiesGoAsTheyAre) {
  MsgRecord r = SampleMessage();
  r.setMsg("DATE: soon\r\n-- not a rule\r\n!/ICS213!");
  r.setMsgDate(0);
  const std::string text = EncodeRecord(r, "K");
  EXPECT_NE(
      text.find(
          "\r\nDATE: 12:00:00 AM\r\n---------\r\nMESSAGE: DATE: soon\r\n-- not a rule\r\n!/ICS213!\r\n-"),
      std::string::npos);
  // Bodies fill their fields, the message's or the reply's.
  r.setKind(Kind::Reply);
  for (const auto& [msg, reply] : {std::pair<std::size_t, std::size_t>{4000, 2}, {2, 4000}}) {
    r.setMsg(std::string(msg, 'm'));
    r.setReply(std::string(reply, 'r'));
    EXPECT_NE(EncodeRecord(r, "K").find("\r\nREPLY: " + std::string(reply, 'r') + "\r\n"), std::string::npos);
  }
}

}  // namespace
}  // namespace velnor
