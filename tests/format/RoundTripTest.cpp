// Encode then file: what one station sends, the next one stores with the same values.
#include <gtest/gtest.h>

#include "FormatTestSupport.h"
#include "core/DateTime.h"
#include "format/Decoder.h"
#include "format/Encoder.h"
#include "store/IcsMsg.h"

namespace velnor {
namespace {

// A reply sets every field: each its own value, with colons, blanks and 8-bit letters. Body
// lines lose their outer blanks, nothing else changes: the record filed encodes as the
// record sent.
TEST(RoundTrip, EveryFieldSurvivesTheTripThroughTwoStores) {
  testing::TempDir sender;
  testing::Receiver rx;
  IcsMsg out(sender.path(), rx.events);
  const std::int32_t sentNo = out.NewMsg();
  MsgRecord& s = out.rec();
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
  out.Update(sentNo);
  MsgRecord sent = s;

  const std::string text = EncodeMsg(sender.path(), rx.events, sentNo, "KX1ABC");
  IcsMsg in(rx.dir.path(), rx.events);
  ASSERT_TRUE(in.Load(StoreMsg(text, Origin::Received, rx.ctx)));
  MsgRecord r = in.rec();
  SCOPED_TRACE(text);
  EXPECT_EQ(
      std::make_tuple(r.Origin(), r.Status(), r.Kind(), r.Route()),
      std::make_tuple(Origin::Received, Status::Unread, Kind::Reply, "KX1ABC:" + std::to_string(sentNo)));
  sent.setMsg("first line\r\n\r\nlast, (not a key)");
  sent.setReply("ok\r\ndone");
  r.setRoute(sent.Route());
  r.setMsgNo(sentNo);
  EXPECT_EQ(EncodeRecord(r, "K"), EncodeRecord(sent, "K"));
  EXPECT_EQ(rx.session.lines.size(), 1u);  // only the "Loading" line: nothing went wrong
  EXPECT_TRUE(rx.events.entries.empty());
}

}  // namespace
}  // namespace velnor
