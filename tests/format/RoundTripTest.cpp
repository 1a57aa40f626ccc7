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

  // Field text: may hold colons and blanks anywhere, never line breaks or tags.
  std::string field(std::size_t maxLen) {
    static const char chars[] = "ABCxyz0129 .,/()':#\xe9\xfc";
    std::string s(below(maxLen + 1), ' ');
    for (auto& c : s) c = chars[below(sizeof chars - 1)];
    return s;
  }

  // Body line: no colon or dash, so no line can turn into a key or a separator.
  std::string bodyLine(std::size_t maxLen) {
    static const char chars[] = "abcXYZ 019.,?()'\xe9";
    std::string s(below(maxLen + 1), ' ');
    for (auto& c : s) c = chars[below(sizeof chars - 1)];
    if (below(4) == 0) s.insert(0, 1 + below(4), ' ');
    return s;
  }

  std::string body() {
    if (below(10) == 0) return bodyLine(3990);
    std::string b;
    const std::size_t lines = 1 + below(8);
    for (std::size_t i = 0; i < lines; ++i) {
      if (i) b += "\r\n";
      if (below(5) != 0) b += bodyLine(100);
    }
    return b;
  }

  double date() {
    if (below(8) == 0) return 0;
    DateParts p{2000 + static_cast<int>(below(31)), 1 + static_cast<int>(below(12)),
                1 + static_cast<int>(below(28)), 0, 0, 0};
    if (below(4) != 0) {
      p.hour = static_cast<int>(below(24));
      p.minute = static_cast<int>(below(60));
      p.second = static_cast<int>(below(60));
    }
    return ToOleDate(p);
  }

 private:
  std::mt19937 m_rng;
};

// What survives the trip: every body line loses its outer blanks.
std::string TrimEachLine(const std::string& body) {
  std::string out;
  std::size_t start = 0;
  while (true) {
    const std::size_t end = body.find("\r\n", start);
    out += Trim(std::string_view(body).substr(start, end - start));
    if (end == std::string::npos) break;
    out += "\r\n";
    start = end + 2;
  }
  return Trim(out);
}

void ExpectSameSecond(double a, double b, const char* what) {
  const DateParts x = FromOleDate(a), y = FromOleDate(b);
  EXPECT_EQ(std::tie(x.year, x.month, x.day, x.hour, x.minute, x.second),
            std::tie(y.year, y.month, y.day, y.hour, y.minute, y.second))
      << what;
}

TEST(RoundTrip, GeneratedRecordsThroughTwoStores) {
  testing::TempDir sender, receiver;
  RecordingEventLog events;
  testing::RecordingSessionLog session;
  testing::RecordingNotices notices;
  const std::string dateFormat = "dd/mm/yyyy", timeFormat = "hh:nn";
  const StoreMsgContext ctx{receiver.path(), events, session, notices, dateFormat, timeFormat};
  const std::string login = "KX1ABC";

  Generator gen(20261119);
  for (int i = 0; i < 120; ++i) {
    IcsMsg out(sender.path(), events);
    const std::int32_t sentNo = out.NewMsg();
    MsgRecord& s = out.rec();
    const short kind = gen.below(2) ? 2 : 1;
    s.setKind(kind);
    s.setOrigin(1);
    s.setStatus(2);
    s.setKeepLocal(static_cast<short>(gen.below(2)));
    s.setIcdName(gen.field(70));
    s.setTo(gen.field(64));
    s.setToPos(gen.field(64));
    s.setFr(gen.field(64));
    s.setFrPos(gen.field(64));
    s.setSubj(gen.field(64));
    s.setMsgDate(gen.date());
    s.setMsg(gen.body());
    s.setSign(gen.field(64));
    s.setSignPos(gen.field(64));
    s.setRoute("EOC" + std::to_string(gen.below(100)) + ":0");
    if (kind == 2) {
      s.setReply("ok" + gen.body());
      s.setRepSign(gen.field(64));
      s.setRepPos(gen.field(64));
      s.setRepDate(gen.date());
    }
    out.Update(sentNo);
    const MsgRecord sent = s;

    const std::string text = EncodeMsg(sender.path(), events, sentNo, login);
    const std::int32_t n = StoreMsg(text, 2, ctx);

    IcsMsg in(receiver.path(), events);
    ASSERT_TRUE(in.Load(n));
    const MsgRecord& r = in.rec();
    SCOPED_TRACE(text);
    EXPECT_EQ(r.MsgNo(), n);
    EXPECT_EQ(r.Origin(), 2);
    EXPECT_EQ(r.Status(), 4);
    EXPECT_EQ(r.Kind(), kind);
    EXPECT_EQ(r.KeepLocal(), sent.KeepLocal());
    EXPECT_EQ(r.Route(), login + ":" + std::to_string(sentNo));
    EXPECT_EQ(r.IcdName(), sent.IcdName());
    EXPECT_EQ(r.To(), sent.To());
    EXPECT_EQ(r.ToPos(), sent.ToPos());
    EXPECT_EQ(r.Fr(), sent.Fr());
    EXPECT_EQ(r.FrPos(), sent.FrPos());
    EXPECT_EQ(r.Subj(), sent.Subj());
    EXPECT_EQ(r.Msg(), TrimEachLine(sent.Msg()));
    EXPECT_EQ(r.Sign(), sent.Sign());
    EXPECT_EQ(r.SignPos(), sent.SignPos());
    ExpectSameSecond(r.MsgDate(), sent.MsgDate(), "DATE");
    EXPECT_EQ(r.Reply(), TrimEachLine(sent.Reply()));
    EXPECT_EQ(r.RepSign(), sent.RepSign());
    EXPECT_EQ(r.RepPos(), sent.RepPos());
    ExpectSameSecond(r.RepDate(), sent.RepDate(), "RDATE");
    if (HasFailure()) break;
  }
  EXPECT_EQ(session.lines.size(), 120u);  // only the "Loading" lines: nothing went wrong
  EXPECT_TRUE(events.entries.empty());
}

TEST(EncodeMsg, UnknownNumberEncodesWhatLoadLeft) {
  testing::TempDir dir;
  RecordingEventLog events;
  IcsMsg store(dir.path(), events);
  for (const char* subject : {"first", "last"}) {
    const std::int32_t n = store.NewMsg();
    store.rec().setSubj(subject);
    store.Update(n);
  }
  IcsMsg reader(dir.path(), events);
  reader.Load(99);
  const std::string text = EncodeMsg(dir.path(), events, 99, "K");
  EXPECT_EQ(text, EncodeRecord(reader.rec(), "K"));
  EXPECT_NE(text.find("\r\nSUBJECT: last\r\n"), std::string::npos);
}

}  // namespace
}  // namespace velnor
