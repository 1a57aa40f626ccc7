// Reading received texts: the line rules, their order, and the filing outcomes.
#include <gtest/gtest.h>

#include "app/SessionLog.h"
#include "core/DateTime.h"
#include "core/EventLog.h"
#include "format/Decoder.h"
#include "format/Notice.h"
#include "store/IcsMsg.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

ParsedIncoming ParseAs(std::string_view text, std::string_view dateFormat = "mm/dd/yyyy") {
  return ParseIncoming(text, Origin::Received, dateFormat, "hh:mm");
}
MsgRecord Parse(std::string_view text) { return ParseAs(text).record; }

// A minimal tagged text around the given inner lines (CR LF added to each).
std::string Tagged(std::initializer_list<std::string_view> lines, bool close = true) {
  std::string t = "!ICS213!\r\n";
  for (auto l : lines) t.append(l).append("\r\n");
  if (close) t += "!/ICS213!\r\n";
  return t;
}

// The body is cut at the field's 4000 bytes as if assigned line by line; blanks and zero
// bytes at the cut read back as padding.
TEST(ParseIncoming, BodyLines) {
  const std::string x3997(3997, 'x'), x3999(3999, 'x');
  const struct {
    std::string text, msg;
  } rows[] = {
      {Tagged({"MESSAGE: a", "Note: x", "b"}), "a\r\nNote: x\r\nb"},
      {Tagged({"MESSAGE: a", "   Note :  x  "}), "a\r\nNote :  x"},
      {Tagged({"MESSAGE: a", "subject: keys are upper case"}), "a\r\nsubject: keys are upper case"},
      {Tagged({"MESSAGE: a", "---------", "-- b", "c"}), "a\r\nc"},
      {Tagged({"MESSAGE: a", "   indented", "b   "}), "a\r\nindented\r\nb"},
      {Tagged({"MESSAGE:", "", "x"}), "\r\n\r\nx"},
      {Tagged({"MESSAGE: a", "b", "", "   "}), "a\r\nb\r\n\r\n"},
      {Tagged({"MESSAGE: a", "MESSAGE: b", "c"}), "b\r\nc"},
      {Tagged({"MESSAGE: a", "REPLY: r", "b"}), "a"},
      {Tagged({"body before any block", "Note: also dropped", "MESSAGE: a"}), "a"},
      {"MESSAGE: a\r\nuntagged\r\nNote: kept\r\n!/ICS213!\r\n", "a\r\nNote: kept"},
      {Tagged({"MESSAGE: a", "b"}) + "after the end\r\n", "a\r\nb"},
      {"!ICS213!\rMESSAGE: a\rb\r!/ICS213!", "a\r\nb"},
      {"!ICS213!\nMESSAGE: a\nb\n!/ICS213!", ""},  // LF alone ends no line: all one tag line
      {Tagged({"MESSAGE: " + x3997 + "x", "abc"}), x3997 + "x\r\n"},
      {Tagged({"MESSAGE: " + x3997, "abc"}), x3997 + "\r\na"},
      // The cut leaves a blank at the end, which is dropped, so the next line finds room.
      {Tagged({"MESSAGE: " + x3999 + " yy", "abc"}), x3999 + "\r"},
      {Tagged({"MESSAGE: " + std::string(10, '\0') + x3999 + "x", "abc"}),
       std::string(3990, 'x') + "\r\nabc"},
  };
  for (const auto& row : rows) {
    const std::string got = Parse(row.text).Msg();
    // Compared as a flag: a failure printing 4000 x's says nothing.
    EXPECT_TRUE(got == row.msg) << "row " << &row - rows << " ends \""
                                << got.substr(std::max<int>(0, got.size() - 9)) << '"';
  }
  EXPECT_TRUE(Parse(Tagged({"REPLY: " + x3999 + "xy", "abc"})).Reply() == x3999 + "x");
}

TEST(ParseIncoming, PositionsAndSignaturesByCountAndKindFromReply) {
  const MsgRecord r =
      Parse(Tagged({"POSITION: p1", "SIGNATURE: s1", "POSITION: p2", "POSITION: p3", "SIGNATURE: s2",
                    "POSITION: p4", "POSITION: p5", "SIGNATURE: s3", "REPLY: r", "ICDNAME: i", "FROM: f"}));
  EXPECT_EQ((std::vector<std::string>{r.ToPos(), r.FrPos(), r.SignPos(), r.RepPos(), r.Sign(), r.RepSign(),
                                      r.Reply(), r.IcdName(), r.Fr()}),
            (std::vector<std::string>{"p1", "p2", "p3", "p4", "s1", "s2", "r", "i", "f"}));
  EXPECT_EQ(std::make_tuple(r.Kind(), r.Status(), r.Origin()),
            std::make_tuple(Kind::Reply, Status::Unread, Origin::Received));
  EXPECT_EQ(Parse(Tagged({"REPLY:      "})).Kind(), Kind::Message);
  EXPECT_EQ(Parse(Tagged({"REPLY:", "   "})).Kind(), Kind::Reply);  // a line break is text
}

TEST(ParseIncoming, KeepLocalFollowsTheLastTag) {
  EXPECT_EQ(Parse("!ICS213!!KEEPLOCAL!\r\n!/ICS213!\r\n").KeepLocal(), 1);
  EXPECT_EQ(Parse("!ICS213!!KEEPLOCAL!\r\nx !ICS213! y\r\n!/ICS213!\r\n").KeepLocal(), 0);
  // A tag line is a tag even with a colon in it.
  EXPECT_EQ(Parse("TO: !ICS213!!KEEPLOCAL!\r\n!/ICS213!\r\n").To(), "");
}

TEST(ParseIncoming, Route) {
  const struct {
    const char *line, *route;
  } rows[] = {
      {"ROUTE: KX1ABC:17:EOC1:0", "KX1ABC:17"},
      {"ROUTE: NOCOLONBUTVERYLONGTEXT", "NOCOLONBUTVERYLO"},
      {"SUBJECT: no route line", ""},
  };
  for (const auto& row : rows) EXPECT_EQ(Parse(Tagged({row.line})).Route(), row.route) << row.line;
}

TEST(ParseIncoming, DatesReadOrRejected) {
  // Day-first operators still read the standard text our stations write.
  auto parsed = ParseAs(Tagged({"DATE: 11/19/2026", "RDATE: 12:00:00 AM"}), "dd/mm/yyyy");
  EXPECT_EQ(parsed.record.MsgDate(), ToOleDate({2026, 11, 19, 0, 0, 0}));
  EXPECT_TRUE(parsed.badDates.empty());
  EXPECT_EQ(ParseAs(Tagged({"DATE: 25/12/2026 08:30"}), "dd/mm/yyyy").record.MsgDate(),
            ToOleDate({2026, 12, 25, 8, 30, 0}));
  parsed = ParseAs(Tagged({"DATE: next tuesday", "RDATE: 13/45/2026", "DATE:"}));
  EXPECT_EQ(std::make_pair(parsed.record.MsgDate(), parsed.record.RepDate()), std::make_pair(0.0, 0.0));
  std::string bad;
  for (const auto& b : parsed.badDates) bad += b.key + "=" + b.value + ";";
  EXPECT_EQ(bad, "DATE=next tuesday;RDATE=13/45/2026;");
  // A hostile text cannot grow the log: a few values, each cut short.
  std::string many = "!ICS213!\r\n";
  for (int i = 0; i < 1000; ++i) many += "DATE: 1/1/2026" + std::string(300, 'x') + "\r\n";
  parsed = ParseAs(many);
  EXPECT_EQ(parsed.badDates.size(), 8u);
  EXPECT_EQ(parsed.badDates[7].value, "1/1/2026" + std::string(72, 'x'));
}

class StoreMsgTest : public ::testing::Test, public SessionLogWriter, public NoticeSink {
 protected:
  void WriteLog(const std::string& routine) override { lines.push_back(routine); }
  void ShowNotice(const std::string& text, std::int32_t number) override {
    notices.emplace_back(text, number);
  }
  std::vector<std::string> lines;
  std::vector<std::pair<std::string, std::int32_t>> notices;
  std::vector<MsgRecord> Filed() {
    IcsMsg store(dir.path(), events);
    std::vector<MsgRecord> out;
    store.ResetList();
    while (store.GetList()) out.push_back(store.rec());
    return out;
  }
  testing::TempDir dir;
  RecordingEventLog events;
  const std::string dateFormat = "dd/mm/yyyy", timeFormat = "hh:nn";
  const StoreMsgContext ctx{dir.path(), events, *this, *this, dateFormat, timeFormat};
};

// Each text is filed under a new number and announced, a message by its sender and a reply
// by its addressee; only once it is filed does the log name the number, with each
// unreadable date and a missing end.
TEST_F(StoreMsgTest, FilesUnderNewNumbersAnnouncesEachAndLogsWhatWasAmiss) {
  const std::int32_t a = StoreMsg(Tagged({"FROM: A", "SUBJECT: first"}), Origin::Received, ctx);
  const std::int32_t b = StoreMsg(Tagged({"TO: B", "SUBJECT: second", "REPLY: yes"}), Origin::Local, ctx);
  const std::int32_t c =
      StoreMsg(Tagged({"SUBJECT: s", "DATE: 31/31/31 25:61", "MESSAGE: half"}, false), Origin::Received, ctx);
  EXPECT_EQ(std::make_pair(b, c), std::make_pair(a + 1, a + 2));
  const auto filed = Filed();
  ASSERT_EQ(filed.size(), 3u);
  ASSERT_EQ(notices.size(), 3u);
  EXPECT_EQ(
      notices[0],
      std::make_pair(
          std::string("New incoming MESSAGE... \r\nFROM:       A\r\nSUBJECT: first\r\n"
                      "DATE:       12:00:00 AM\r\n\r\nPress Open to view the message or Close to skip."),
          a));
  EXPECT_EQ(notices[1].second, b);
  EXPECT_EQ(notices[1].first.rfind("New incoming REPLY... \r\nFROM:       B\r\n", 0), 0u);
  const std::string m = "StoreMsg...: Message " + std::to_string(c);
  EXPECT_EQ(lines,
            (std::vector<std::string>{
                "StoreMsg...: Loading message titled: first", "StoreMsg...: Loading message titled: second",
                "StoreMsg...: Loading message titled: s",
                m + ": DATE value could not be read as a date: \"31/31/31 25:61\"; filed without that date",
                m + " arrived incomplete (no \"!/ICS213!\"); filed as far as it came"}));
  EXPECT_EQ(std::make_tuple(filed[1].MsgNo(), filed[1].Origin(), filed[1].Kind()),
            std::make_tuple(b, Origin::Local, Kind::Reply));
  EXPECT_EQ(std::make_tuple(filed[2].MsgNo(), filed[2].Subj(), filed[2].MsgDate(), filed[2].Status()),
            std::make_tuple(c, std::string("s"), 0.0, Status::Unread));
  // No MESSAGE line: the body keeps the zero bytes of a field never set.
  const MsgRecord::Image& im = filed[0].image();
  EXPECT_EQ(std::string(im.begin() + 402, im.begin() + 4402), std::string(4000, '\0'));
}

}  // namespace
}  // namespace velnor
