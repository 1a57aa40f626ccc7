// Encode then file: what one station sends, the next one stores with the same values.
#include <gtest/gtest.h>

#include "FormatTestSupport.h"
#include "core/DateTime.h"
#include "format/Decoder.h"
#include "format/Encoder.h"
#include "store/IcsMsg.h"

namespace velnor {
namespace {

// The text fields that arrive as they were sent, and whether only a reply has them.
struct TextField {
  void (MsgRecord::*set)(std::string_view);
  std::string (MsgRecord::*get)() const;
  bool replyOnly;
};
const TextField kTextFields[] = {{&MsgRecord::setIcdName, &MsgRecord::IcdName, false},
                                 {&MsgRecord::setTo, &MsgRecord::To, false},
                                 {&MsgRecord::setToPos, &MsgRecord::ToPos, false},
                                 {&MsgRecord::setFr, &MsgRecord::Fr, false},
                                 {&MsgRecord::setFrPos, &MsgRecord::FrPos, false},
                                 {&MsgRecord::setSubj, &MsgRecord::Subj, false},
                                 {&MsgRecord::setSign, &MsgRecord::Sign, false},
                                 {&MsgRecord::setSignPos, &MsgRecord::SignPos, false},
                                 {&MsgRecord::setRepSign, &MsgRecord::RepSign, true},
                                 {&MsgRecord::setRepPos, &MsgRecord::RepPos, true}};

// Each field its own value, with colons, blanks and 8-bit letters; body lines lose
// their outer blanks, nothing else changes.
TEST(RoundTrip, EveryFieldSurvivesTheTripThroughTwoStores) {
  testing::TempDir sender;
  testing::Receiver rx;
  for (const Kind kind : {Kind::Message, Kind::Reply}) {
    IcsMsg out(sender.path(), rx.events);
    const std::int32_t sentNo = out.NewMsg();
    MsgRecord& s = out.rec();
    s.setKind(kind);
    s.setKeepLocal(kind == Kind::Reply ? 1 : 0);
    int i = 0;
    for (const TextField& f : kTextFields)
      if (kind == Kind::Reply || !f.replyOnly) (s.*f.set)("F" + std::to_string(++i) + ": a b,(c)/'#\xe9\xfc");
    s.setMsgDate(ToOleDate({2026, 2, 28, 23, 59, 58}));
    s.setMsg("  first line  \r\n\r\nlast, (not a key)");
    s.setRoute("EOC1:0");
    if (kind == Kind::Reply) {
      s.setReply("ok\r\n   done ");
      s.setRepDate(ToOleDate({2026, 3, 1, 0, 0, 0}));
    }
    out.Update(sentNo);
    const MsgRecord sent = s;

    const std::string text = EncodeMsg(sender.path(), rx.events, sentNo, "KX1ABC");
    IcsMsg in(rx.dir.path(), rx.events);
    ASSERT_TRUE(in.Load(StoreMsg(text, Origin::Received, rx.ctx)));
    const MsgRecord& r = in.rec();
    SCOPED_TRACE(text);
    EXPECT_EQ(std::make_tuple(r.Origin(), r.Status(), r.Kind(), r.KeepLocal(), r.Route()),
              std::make_tuple(Origin::Received, Status::Unread, kind, sent.KeepLocal(),
                              "KX1ABC:" + std::to_string(sentNo)));
    for (const TextField& f : kTextFields) EXPECT_EQ((r.*f.get)(), (sent.*f.get)());
    EXPECT_EQ(r.Msg(), "first line\r\n\r\nlast, (not a key)");
    EXPECT_EQ(r.Reply(), kind == Kind::Reply ? "ok\r\ndone" : "");
    EXPECT_EQ(std::make_pair(r.MsgDate(), r.RepDate()), std::make_pair(sent.MsgDate(), sent.RepDate()));
  }
  EXPECT_EQ(rx.session.lines.size(), 2u);  // only the "Loading" lines: nothing went wrong
  EXPECT_TRUE(rx.events.entries.empty());
}

TEST(EncodeMsg, UnknownNumberEncodesWhatLoadLeft) {
  testing::Receiver st;
  for (const std::string subject : {"first", "last"})
    StoreMsg("!ICS213!\r\nSUBJECT: " + subject + "\r\n!/ICS213!\r\n", Origin::Received, st.ctx);
  IcsMsg reader(st.dir.path(), st.events);
  reader.Load(99);
  const std::string text = EncodeMsg(st.dir.path(), st.events, 99, "K");
  EXPECT_EQ(text, EncodeRecord(reader.rec(), "K"));
  EXPECT_NE(text.find("\r\nSUBJECT: last\r\n"), std::string::npos);
}

}  // namespace
}  // namespace velnor
