// Encode then file: what one station sends, the next one stores with the same values.
#include <gtest/gtest.h>

#include <random>

#include "FormatTestSupport.h"
#include "core/DateTime.h"
#include "core/StringLib.h"
#include "format/Decoder.h"
#include "format/Encoder.h"
#include "store/IcsMsg.h"

namespace velnor {
namespace {

class Generator {
 public:
  explicit Generator(unsigned seed) : m_rng(seed) {}
  std::size_t below(std::size_t n) { return m_rng() % n; }
  std::string pick(std::string_view chars, std::size_t maxLen) {
    std::string s(below(maxLen + 1), ' ');
    for (auto& c : s) c = chars[below(chars.size())];
    return s;
  }
  // Field text: may hold colons and blanks anywhere, never line breaks or tags.
  std::string field(std::size_t maxLen) { return pick("ABCxyz0129 .,/()':#\xe9\xfc", maxLen); }
  // Body lines hold no colon or dash, so none can turn into a key or a separator; some
  // are indented, some empty, and now and then one fills the field.
  std::string body() {
    if (below(10) == 0) return pick("abcXYZ 019.,?()'\xe9", 3990);
    std::string b;
    for (std::size_t i = 0, lines = 1 + below(8); i < lines; ++i) {
      if (i) b += "\r\n";
      if (below(4) == 0) b.append(1 + below(4), ' ');
      if (below(5) != 0) b += pick("abcXYZ 019.,?()'\xe9", 100);
    }
    return b;
  }
  // 0, a day at midnight, or a day and time.
  double date() {
    if (below(8) == 0) return 0;
    const int y = 2000 + static_cast<int>(below(31)), m = 1 + static_cast<int>(below(12)),
              d = 1 + static_cast<int>(below(28));
    if (below(4) == 0) return ToOleDate({y, m, d, 0, 0, 0});
    return ToOleDate(
        {y, m, d, static_cast<int>(below(24)), static_cast<int>(below(60)), static_cast<int>(below(60))});
  }

 private:
  std::mt19937 m_rng;
};

// What survives the trip: every body line loses its outer blanks.
std::string TrimEachLine(const std::string& body) {
  std::string out;
  for (std::size_t start = 0;;) {
    const std::size_t end = body.find("\r\n", start);
    out += Trim(std::string_view(body).substr(start, end - start));
    if (end == std::string::npos) break;
    out += "\r\n";
    start = end + 2;
  }
  return Trim(out);
}

// The text fields that arrive as they were sent, their widths, and whether only a reply has them.
struct TextField {
  void (MsgRecord::*set)(std::string_view);
  std::string (MsgRecord::*get)() const;
  std::size_t maxLen;
  bool replyOnly;
};
const TextField kTextFields[] = {{&MsgRecord::setIcdName, &MsgRecord::IcdName, 70, false},
                                 {&MsgRecord::setTo, &MsgRecord::To, 64, false},
                                 {&MsgRecord::setToPos, &MsgRecord::ToPos, 64, false},
                                 {&MsgRecord::setFr, &MsgRecord::Fr, 64, false},
                                 {&MsgRecord::setFrPos, &MsgRecord::FrPos, 64, false},
                                 {&MsgRecord::setSubj, &MsgRecord::Subj, 64, false},
                                 {&MsgRecord::setSign, &MsgRecord::Sign, 64, false},
                                 {&MsgRecord::setSignPos, &MsgRecord::SignPos, 64, false},
                                 {&MsgRecord::setRepSign, &MsgRecord::RepSign, 64, true},
                                 {&MsgRecord::setRepPos, &MsgRecord::RepPos, 64, true}};

// Dates go as text to the second.
std::string Second(double date) { return FormatDate(date, "yyyy-mm-dd hh:nn:ss"); }

TEST(RoundTrip, GeneratedRecordsThroughTwoStores) {
  testing::TempDir sender;
  testing::Receiver rx;
  Generator gen(20261119);
  for (int i = 0; i < 120; ++i) {
    IcsMsg out(sender.path(), rx.events);
    const std::int32_t sentNo = out.NewMsg();
    MsgRecord& s = out.rec();
    const Kind kind = gen.below(2) ? Kind::Reply : Kind::Message;
    s.setKind(kind);
    s.setKeepLocal(static_cast<short>(gen.below(2)));
    for (const TextField& f : kTextFields)
      if (kind == Kind::Reply || !f.replyOnly) (s.*f.set)(gen.field(f.maxLen));
    s.setMsgDate(gen.date());
    s.setMsg(gen.body());
    s.setRoute("EOC" + std::to_string(gen.below(100)) + ":0");
    if (kind == Kind::Reply) {
      s.setReply("ok" + gen.body());
      s.setRepDate(gen.date());
    }
    out.Update(sentNo);
    const MsgRecord sent = s;

    const std::string text = EncodeMsg(sender.path(), rx.events, sentNo, "KX1ABC");
    const std::int32_t n = StoreMsg(text, Origin::Received, rx.ctx);
    IcsMsg in(rx.dir.path(), rx.events);
    ASSERT_TRUE(in.Load(n));
    const MsgRecord& r = in.rec();
    SCOPED_TRACE(text);
    EXPECT_EQ(std::make_tuple(r.MsgNo(), r.Origin(), r.Status(), r.Kind(), r.KeepLocal(), r.Route()),
              std::make_tuple(n, Origin::Received, Status::Unread, kind, sent.KeepLocal(),
                              "KX1ABC:" + std::to_string(sentNo)));
    for (const TextField& f : kTextFields) EXPECT_EQ((r.*f.get)(), (sent.*f.get)());
    EXPECT_EQ(r.Msg(), TrimEachLine(sent.Msg()));
    EXPECT_EQ(r.Reply(), TrimEachLine(sent.Reply()));
    EXPECT_EQ(Second(r.MsgDate()) + Second(r.RepDate()), Second(sent.MsgDate()) + Second(sent.RepDate()));
    if (HasFailure()) break;
  }
  EXPECT_EQ(rx.session.lines.size(), 120u);  // only the "Loading" lines: nothing went wrong
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
