// Exact bytes of the tagged text: this is what other stations and Pmdirect read.
#include <gtest/gtest.h>

#include "FormatTestSupport.h"
#include "format/Encoder.h"

namespace velnor {
namespace {

using testing::SampleMessage;

// The lines up to the body are the same for a message and a reply.
const std::string kHead =
    "!ICS213!\r\n"
    "---------\r\n"
    "ICDNAME: Ridge Fire\r\n"
    "TO: Planning Chief\r\n"
    "POSITION: PSC\r\n"
    "---------\r\n"
    "FROM: Jo Marsh\r\n"
    "POSITION: COML\r\n"
    "----------\r\n"
    "SUBJECT: Water tender\r\n"
    "DATE: 11/19/2026 2:05:09 PM\r\n"
    "---------\r\n";

TEST(EncodeRecord, MessageIsNineteenLinesExactly) {
  EXPECT_EQ(EncodeRecord(SampleMessage(), "KX1ABC"), kHead +
                                                         "MESSAGE: Need one tender\r\n"
                                                         "\r\n"
                                                         "at Div A\r\n"
                                                         "---------\r\n"
                                                         "SIGNATURE: J. Marsh\r\n"
                                                         "POSITION: COML\r\n"
                                                         "---------\r\n"
                                                         "ROUTE: KX1ABC:17:EOC1:0\r\n"
                                                         "!/ICS213!\r\n");
}

TEST(EncodeRecord, ReplyAddsSevenLinesBeforeRoute) {
  MsgRecord r = SampleMessage();
  r.setMsg("One line");
  r.setKind(Kind::Reply);
  r.setReply("Sent T-12\r\nETA 30 min");
  r.setRepSign("A. Ruiz");
  r.setRepPos("PSC");
  r.setRepDate(ToOleDate({2026, 11, 20, 0, 0, 0}));
  EXPECT_EQ(EncodeRecord(r, "KX1ABC"), kHead +
                                           "MESSAGE: One line\r\n"
                                           "---------\r\n"
                                           "SIGNATURE: J. Marsh\r\n"
                                           "POSITION: COML\r\n"
                                           "---------\r\n"
                                           "REPLY: Sent T-12\r\n"
                                           "ETA 30 min\r\n"
                                           "---------\r\n"
                                           "SIGNATURE: A. Ruiz\r\n"
                                           "POSITION: PSC\r\n"
                                           "---------\r\n"
                                           "RDATE: 11/20/2026\r\n"
                                           "---------\r\n"
                                           "ROUTE: KX1ABC:17:EOC1:0\r\n"
                                           "!/ICS213!\r\n");
}

// Only Kind 2 adds the reply block, only KeepLocal 1 the tag: anything else encodes as the plain message.
TEST(EncodeRecord, OnlyKindTwoRepliesOnlyKeepLocalOneTags) {
  const std::string plain = EncodeRecord(SampleMessage(), "K");
  for (const auto& [kind, keepLocal] : {std::pair<Kind, short>{Kind{0}, 2}, {Kind{3}, -1}}) {
    MsgRecord r = SampleMessage();
    r.setReply("ignored unless reply");
    r.setKind(kind);
    r.setKeepLocal(keepLocal);
    EXPECT_EQ(EncodeRecord(r, "K"), plain) << static_cast<int>(kind);
  }
  MsgRecord r = SampleMessage();
  r.setKeepLocal(1);
  EXPECT_EQ(EncodeRecord(r, "K"), "!ICS213!!KEEPLOCAL!" + plain.substr(8));
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
