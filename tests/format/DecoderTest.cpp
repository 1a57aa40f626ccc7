// Reading received texts: the line rules, their order, and the filing outcomes.
#include <gtest/gtest.h>

#include <random>

#include "FormatTestSupport.h"
#include "core/DateTime.h"
#include "core/StringLib.h"
#include "format/Decoder.h"
#include "format/Notice.h"

namespace velnor {
namespace {

MsgRecord Parse(std::string_view text) { return ParseIncoming(text, Origin::Received, "mm/dd/yyyy", "hh:mm").record; }

// A minimal tagged text around the given inner lines (CR LF added to each).
std::string Tagged(std::initializer_list<std::string_view> lines, bool close = true) {
  std::string t = "!ICS213!\r\n";
  for (auto l : lines) t.append(l).append("\r\n");
  if (close) t += "!/ICS213!\r\n";
  return t;
}

TEST(ParseIncoming, BodyLines) {
  const struct { std::string text, msg; } rows[] = {
      {Tagged({"MESSAGE: a", "Note: x", "b"}), "a\r\nNote: x\r\nb"},
      {Tagged({"MESSAGE: a", "   Note :  x  "}), "a\r\nNote :  x"},
      {Tagged({"MESSAGE: a", "---------", "-- b", "c"}), "a\r\nc"},
      {Tagged({"MESSAGE: a", "   indented", "b   "}), "a\r\nindented\r\nb"},
      {Tagged({"MESSAGE: one", "", "three"}), "one\r\n\r\nthree"},
      {Tagged({"MESSAGE:", "", "x"}), "\r\n\r\nx"},
      {Tagged({"MESSAGE: a", "b", "", "   "}), "a\r\nb\r\n\r\n"},
      {Tagged({"MESSAGE: a", "MESSAGE: b", "c"}), "b\r\nc"},
      {Tagged({"MESSAGE: a", "REPLY: r", "b"}), "a"},
      {Tagged({"body before any block", "Note: also dropped", "MESSAGE: a"}), "a"},
      {"MESSAGE: a\r\nuntagged\r\nNote: kept\r\n!/ICS213!\r\n", "a\r\nNote: kept"},
      {Tagged({"MESSAGE: a", "b"}) + "after the end\r\n", "a\r\nb"},
      {"!ICS213!\rMESSAGE: a\rb\r!/ICS213!", "a\r\nb"},
      {"!ICS213!\nMESSAGE: a\nb\n!/ICS213!", ""},  // LF alone ends no line: all one tag line
  };
  for (const auto& row : rows) EXPECT_EQ(Parse(row.text).Msg(), row.msg) << row.text;
}

TEST(ParseIncoming, KeyedLinesAnywhere) {
  const MsgRecord r = Parse(
      "TO: early\r\n"
      "no colon before the tag\r\n"
      "!ICS213!\r\n"
      "MESSAGE: body\r\n"
      "DATE: 11/19/2026 2:05:09 PM\r\n"
      "SUBJECT : Spaced key : value with colon \r\n"
      "subject: lower case is not a key\r\n"
      "!/ICS213!\r\n");
  EXPECT_EQ(r.To(), "early");
  EXPECT_EQ(r.Subj(), "Spaced key : value with colon");
  EXPECT_EQ(r.Msg(), "body\r\nsubject: lower case is not a key");
  EXPECT_EQ(r.MsgDate(), ToOleDate({2026, 11, 19, 14, 5, 9}));
}

TEST(ParseIncoming, PositionsAndSignaturesByCount) {
  const MsgRecord r = Parse(Tagged({"POSITION: p1", "SIGNATURE: s1", "POSITION: p2",
                                    "POSITION: p3", "SIGNATURE: s2", "POSITION: p4",
                                    "POSITION: p5", "SIGNATURE: s3", "REPLY: r"}));
  EXPECT_EQ((std::vector<std::string>{r.ToPos(), r.FrPos(), r.SignPos(), r.RepPos(), r.Sign(), r.RepSign()}),
            (std::vector<std::string>{"p1", "p2", "p3", "p4", "s1", "s2"}));
}

TEST(ParseIncoming, KindFromReplyText) {
  EXPECT_EQ(Parse(Tagged({"REPLY:      "})).Kind(), Kind::Message);
  EXPECT_EQ(Parse(Tagged({"REPLY:", "   "})).Kind(), Kind::Reply);  // a line break is text
  EXPECT_EQ(Parse(Tagged({"REPLY: ok"})).Kind(), Kind::Reply);
  EXPECT_EQ(Parse(Tagged({"MESSAGE: m"})).Kind(), Kind::Message);
}

TEST(ParseIncoming, KeepLocalFollowsTheLastTag) {
  EXPECT_EQ(Parse("!ICS213!!KEEPLOCAL!\r\n!/ICS213!\r\n").KeepLocal(), 1);
  EXPECT_EQ(Parse("!ICS213!!KEEPLOCAL!\r\nx !ICS213! y\r\n!/ICS213!\r\n").KeepLocal(), 0);
  EXPECT_EQ(Parse("!ICS213!\r\n!KEEPLOCAL!!ICS213!\r\n!/ICS213!\r\n").KeepLocal(), 1);
  // A tag line is a tag even with a colon in it.
  EXPECT_EQ(Parse("TO: !ICS213!!KEEPLOCAL!\r\n!/ICS213!\r\n").To(), "");
}

TEST(ParseIncoming, Route) {
  const struct { const char* line, *route; } rows[] = {
      {"ROUTE: KX1ABC:17:EOC1:0", "KX1ABC:17"},
      {"ROUTE: KX1ABC:17", "KX1ABC:17"},
      {"ROUTE: a:b:c:d:e:f", "a:b"},
      {"ROUTE: NOCOLONBUTVERYLONGTEXT", "NOCOLONBUTVERYLO"},
      {"ROUTE: ", ""},
      {"ROUTE: :5:x", ":5"},
      {"SUBJECT: no route line", ""},
  };
  for (const auto& row : rows) EXPECT_EQ(Parse(Tagged({row.line})).Route(), row.route) << row.line;
}

TEST(ParseIncoming, DatesReadOrRejected) {
  // Day-first operators still read the standard text our stations write.
  auto parsed = ParseIncoming(Tagged({"DATE: 11/19/2026", "RDATE: 12:00:00 AM"}), Origin::Received, "dd/mm/yyyy", "hh:mm");
  EXPECT_EQ(parsed.record.MsgDate(), ToOleDate({2026, 11, 19, 0, 0, 0}));
  EXPECT_EQ(parsed.record.RepDate(), 0);
  EXPECT_TRUE(parsed.badDates.empty());
  parsed = ParseIncoming(Tagged({"DATE: 25/12/2026 08:30"}), Origin::Received, "dd/mm/yyyy", "hh:mm");
  EXPECT_EQ(parsed.record.MsgDate(), ToOleDate({2026, 12, 25, 8, 30, 0}));
  parsed = ParseIncoming(Tagged({"DATE: next tuesday", "RDATE: 13/45/2026", "DATE:"}), Origin::Received, "mm/dd/yyyy", "hh:mm");
  EXPECT_EQ(parsed.record.MsgDate(), 0);
  EXPECT_EQ(parsed.record.RepDate(), 0);
  std::string bad;
  for (const auto& b : parsed.badDates) bad += b.key + "=" + b.value + ";";
  EXPECT_EQ(bad, "DATE=next tuesday;RDATE=13/45/2026;");
  std::string many = "!ICS213!\r\n";
  for (int i = 0; i < 1000; ++i) many += "DATE: " + std::string(300, 'x') + "\r\n";
  parsed = ParseIncoming(many, Origin::Received, "", "");
  EXPECT_LE(parsed.badDates.size(), 10u);
  for (const auto& b : parsed.badDates) EXPECT_LE(b.value.size(), 100u);
}

TEST(ParseIncoming, CompleteOnlyWithClosingTag) {
  EXPECT_TRUE(ParseIncoming(Tagged({"MESSAGE: a"}), Origin::Received, "", "").complete);
  EXPECT_FALSE(ParseIncoming(Tagged({"MESSAGE: a"}, false), Origin::Received, "", "").complete);
  EXPECT_FALSE(ParseIncoming("", Origin::Received, "", "").complete);
  // With a colon the closing tag is just an unknown key.
  EXPECT_FALSE(ParseIncoming(Tagged({"!/ICS213!: x"}, false), Origin::Received, "", "").complete);
}

// The body assigned line by line through the record's setter: slow, but an independent account of the cut.
std::string StepByStepBody(std::string_view text) {
  MsgRecord rec;
  int block = 0;
  bool inTag = false;
  while (!text.empty()) {
    const std::string line = GetLine(text);
    if (line.find("!ICS213!") != std::string::npos) {
      inTag = true;
      continue;
    }
    if (line.rfind("--", 0) == 0) continue;
    const auto colon = line.find(':');
    if (colon == std::string::npos && line.find("!/ICS213!") != std::string::npos) break;
    if (colon == std::string::npos && !inTag) continue;
    if (colon != std::string::npos && Trim(line.substr(0, colon)) == "MESSAGE") {
      rec.setMsg(Trim(line.substr(colon + 1)));
      block = 1;
    } else if (block == 1) {
      rec.setMsg(rec.Msg() + "\r\n" + Trim(line));
    }
  }
  return rec.Msg();
}

TEST(ParseIncoming, BodyMatchesLineByLineAssignmentAtTheCut) {
  std::mt19937 rng(4242);
  // Zero bytes read back as padding, like blanks: they must fall away the same way.
  const std::string alphabet("ab c  d\0", 8);
  for (int round = 0; round < 400; ++round) {
    std::string text = "!ICS213!\r\nMESSAGE: ";
    std::size_t total = 3700 + rng() % 250;  // so the cut falls in the later lines
    text.append(std::string(rng() % 2 ? 0 : 3, rng() % 2 ? ' ' : '\0'));
    while (total > 0) {
      const std::size_t len = std::min<std::size_t>(total, rng() % 90);
      std::string line(len, 'x');
      for (auto& c : line) c = alphabet[rng() % alphabet.size()];
      if (rng() % 7 == 0) line = "Note: " + line;
      text += line + "\r\n";
      total -= len;
      if (rng() % 13 == 0) text += "\r\n";
      if (total < 40) total = rng() % 2 ? 0 : 300;
    }
    text += "!/ICS213!\r\n";
    const std::string got = Parse(text).Msg();
    ASSERT_EQ(got, StepByStepBody(text)) << "round " << round;
    EXPECT_LE(got.size(), 4000u);
  }
}

TEST(ParseIncoming, BodyCutBoundaries) {
  const std::string x3999(3999, 'x');
  const struct { std::string text, msg; } rows[] = {
      {Tagged({"MESSAGE: " + std::string(3998, 'x'), "abc"}), std::string(3998, 'x') + "\r\n"},
      {Tagged({"MESSAGE: " + std::string(3997, 'x'), "abc"}), std::string(3997, 'x') + "\r\na"},
      {Tagged({"MESSAGE: " + x3999, "abc", "def"}), x3999 + "\r"},
      {Tagged({"MESSAGE: " + x3999 + "x", "abc"}), x3999 + "x"},
      // The cut leaves a blank at the end, which is dropped, so the next line finds room.
      {Tagged({"MESSAGE: " + x3999 + " yy", "abc"}), x3999 + "\r"},
      {Tagged({"MESSAGE: " + std::string(3996, 'x'), "a b", "c"}),
       std::string(3996, 'x') + "\r\na\r"},
      // Zero bytes count for the cut, then read back as padding.
      {Tagged({"MESSAGE: " + std::string(10, '\0') + x3999 + "x", "abc"}),
       std::string(3990, 'x') + "\r\nabc"},
  };
  for (const auto& row : rows) {
    const std::string got = Parse(row.text).Msg();
    // Compared as flags: a failure printing 4000 x's says nothing.
    EXPECT_TRUE(got == row.msg && got == StepByStepBody(row.text))
        << "row " << &row - rows << ": " << got.size() << " bytes, ends \"" << got.substr(got.size() - 6) << '"';
  }
}

TEST(NoticeText, MessageNamesSenderReplyNamesAddressee) {
  MsgRecord r = testing::SampleMessage();
  EXPECT_EQ(NoticeText(r),
            "New incoming MESSAGE... \r\n"
            "FROM:       Jo Marsh\r\n"
            "SUBJECT: Water tender\r\n"
            "DATE:       11/19/2026 2:05:09 PM\r\n"
            "\r\n"
            "Press Open to view the message or Close to skip.");
  for (Kind kind : {Kind{0}, Kind::Reply}) {
    r.setKind(kind);
    EXPECT_EQ(NoticeText(r).rfind("New incoming REPLY... \r\nFROM:       Planning Chief\r\nS", 0), 0u);
  }
}

class StoreMsgTest : public ::testing::Test, public testing::Receiver {
 protected:
  // The one record filed.
  MsgRecord Only() {
    const auto all = Filed();
    EXPECT_EQ(all.size(), 1u);
    return all.empty() ? MsgRecord{} : all[0];
  }
};

TEST_F(StoreMsgTest, FilesUnderNewNumbersAndAnnouncesEach) {
  const std::int32_t a = StoreMsg(Tagged({"FROM: A", "SUBJECT: first"}), Origin::Received, ctx);
  const std::int32_t b = StoreMsg(Tagged({"TO: B", "SUBJECT: second", "REPLY: yes"}), Origin::Received, ctx);
  EXPECT_EQ(b, a + 1);
  ASSERT_EQ(notices.calls.size(), 2u);
  EXPECT_EQ(notices.calls[0].number, a);
  EXPECT_EQ(notices.calls[0].text.rfind("New incoming MESSAGE... \r\nFROM:       A\r\n", 0), 0u);
  EXPECT_EQ(notices.calls[1].number, b);
  EXPECT_EQ(notices.calls[1].text.rfind("New incoming REPLY... \r\nFROM:       B\r\n", 0), 0u);
  EXPECT_EQ(session.lines, (std::vector<std::string>{"StoreMsg...: Loading message titled: first",
                                                     "StoreMsg...: Loading message titled: second"}));
  const auto filed = Filed();
  ASSERT_EQ(filed.size(), 2u);
  // No MESSAGE line: the body keeps the zero bytes of a field never set.
  const MsgRecord::Image& im = filed[0].image();
  EXPECT_EQ(std::string(im.begin() + 402, im.begin() + 4402), std::string(4000, '\0'));
}

TEST_F(StoreMsgTest, UnreadableDateIsLoggedWithNumberAndValue) {
  const std::int32_t n = StoreMsg(Tagged({"SUBJECT: s", "DATE: 31/31/31 25:61"}), Origin::Received, ctx);
  ASSERT_EQ(session.lines.size(), 2u);
  EXPECT_EQ(session.lines[0], "StoreMsg...: Loading message titled: s");  // "filed" only once it is
  EXPECT_NE(session.lines[1].find("Message " + std::to_string(n)), std::string::npos);
  EXPECT_NE(session.lines[1].find("DATE"), std::string::npos);
  EXPECT_NE(session.lines[1].find("31/31/31 25:61"), std::string::npos);
  EXPECT_EQ(Only().MsgDate(), 0);
}

TEST_F(StoreMsgTest, IncompleteTextIsFiledNotLeftBlank) {
  const std::int32_t n = StoreMsg(Tagged({"SUBJECT: cut off", "MESSAGE: half", "REPLY: r"}, false), Origin::Received, ctx);
  ASSERT_EQ(session.lines.size(), 2u);
  EXPECT_NE(session.lines[1].find("Message " + std::to_string(n) + " arrived incomplete"), std::string::npos);
  const MsgRecord r = Only();
  EXPECT_EQ(std::make_tuple(r.MsgNo(), r.Subj(), r.Msg(), r.Status(), r.Origin(), r.Kind()),
            std::make_tuple(n, std::string("cut off"), std::string("half"), Status::Unread, Origin::Received, Kind::Reply));
  ASSERT_EQ(notices.calls.size(), 1u);
  EXPECT_EQ(notices.calls[0].number, n);
}

TEST_F(StoreMsgTest, RouteWithoutColonStillFiled) {
  StoreMsg(Tagged({"SUBJECT: s", "ROUTE: JUSTANIDENTIFIER-LONG"}), Origin::Received, ctx);
  EXPECT_EQ(Only().Route(), "JUSTANIDENTIFIER");
  EXPECT_EQ(session.lines.size(), 1u);
}

}  // namespace
}  // namespace velnor
