// Exact bytes of the tagged text: this is what other stations and Pmdirect read. The
// goldens are also the decoder fuzzer's seeds.
#include <gtest/gtest.h>

#include "core/AtomicFile.h"
#include "core/DateTime.h"
#include "format/Decoder.h"
#include "format/Encoder.h"
#include "store/MsgRecord.h"

namespace velnor {
namespace {

MsgRecord SampleMessage() {
  MsgRecord r;
  r.setMsgNo(17);
  r.setStatus(Status::ReadyToSend);
  r.setOrigin(Origin::Local);
  r.setKind(Kind::Message);
  r.setIcdName("Ridge Fire");
  r.setTo("Planning Chief");
  r.setToPos("PSC");
  r.setFr("Jo Marsh");
  r.setFrPos("COML");
  r.setSubj("Water tender");
  r.setMsgDate(ToOleDate({2026, 11, 19, 14, 5, 9}));
  r.setMsg("Need one tender\r\n\r\nat Div A");
  r.setSign("J. Marsh");
  r.setSignPos("COML");
  r.setRoute("EOC1:0");
  return r;
}

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

// What one station sends, the next reads back with the same values. A reply sets every
// field, each its own value with colons, blanks and 8-bit letters; body lines lose their
// outer blanks, nothing else changes.
TEST(RoundTrip, EveryFieldSurvivesTheTrip) {
  MsgRecord s;
  s.setMsgNo(17);
  s.setKind(Kind::Reply);
  s.setKeepLocal(1);
  int i = 0;
  for (auto set : {&MsgRecord::setIcdName, &MsgRecord::setTo, &MsgRecord::setToPos, &MsgRecord::setFr,
                   &MsgRecord::setFrPos, &MsgRecord::setSubj, &MsgRecord::setSign, &MsgRecord::setSignPos,
                   &MsgRecord::setRepSign, &MsgRecord::setRepPos})
    (s.*set)("F" + std::to_string(++i) + ": a b,(c)/'#\xe9\xfc");
  s.setMsgDate(ToOleDate({2026, 2, 28, 23, 59, 58}));
  s.setMsg("  first line  \r\n\r\nlast, (not a key)");
  s.setRoute("EOC1:0");
  s.setReply("ok\r\n   done ");
  s.setRepDate(ToOleDate({2026, 3, 1, 0, 0, 0}));
  const std::string text = EncodeRecord(s, "KX1ABC");
  const ParsedIncoming in = ParseIncoming(text, Origin::Received, "dd/mm/yyyy", "hh:nn");
  MsgRecord r = in.record;
  SCOPED_TRACE(text);
  EXPECT_TRUE(in.complete && in.badDates.empty());
  EXPECT_EQ(std::make_tuple(r.Origin(), r.Status(), r.Kind(), r.Route()),
            std::make_tuple(Origin::Received, Status::Unread, Kind::Reply, std::string("KX1ABC:17")));
  s.setMsg("first line\r\n\r\nlast, (not a key)");
  s.setReply("ok\r\ndone");
  r.setRoute(s.Route());
  r.setMsgNo(17);
  EXPECT_EQ(EncodeRecord(r, "K"), EncodeRecord(s, "K"));
}

}  // namespace
}  // namespace velnor
