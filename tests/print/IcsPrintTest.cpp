#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "print/IcsPrint.h"
#include "tests/print/RecordingSurface.h"

namespace velnor {
namespace {

using test::FakePrinters;
using test::RecordingSurface;

struct Texts {
  std::string To = "Planning Section Chief", ToPos = "PSC", Fr = "Net Control",
              FrPos = "Radio Operator", Subj = "Shelter count", Date = "03/14/2024 09:30",
              Msg = "Shelter at Lincoln School has 42 occupants.", Sign = "J. Rivera",
              SignPos = "Shelter Manager", IcdName = "River Flood", Reply = "Acknowledged.",
              RepSign = "K. Osei", RepPos = "PSC", RepDate = "03/14/2024 09:45";
};

std::vector<std::string> Draw(const Texts& t, long failAt = -1) {
  FakePrinters printers;
  printers.failAt = failAt;
  IcsPrint form(printers, "1.0.0");
  form.PrintIcs(t.To, t.ToPos, t.Fr, t.FrPos, t.Subj, t.Date, t.Msg, t.Sign, t.SignPos,
                t.IcdName, t.Reply, t.RepSign, t.RepPos, t.RepDate);
  return printers.ops;
}

// The printed lines of the body that starts at (13, y): every line is placed at x 13.
std::vector<std::string> BodyLines(const std::vector<std::string>& ops, int y) {
  std::vector<std::string> lines;
  const std::string start = "pos 13 " + std::to_string(y);
  std::size_t i = 0;
  while (i < ops.size() && ops[i] != start) ++i;
  EXPECT_LT(i, ops.size()) << "no body at y " << y;
  EXPECT_EQ(ops[i - 1], "font Courier New 10");
  for (++i; i + 1 < ops.size() && ops[i] == "x 13"; i += 2) {
    EXPECT_EQ(ops[i + 1].rfind("text ", 0), 0u);
    lines.push_back(ops[i + 1].substr(5));
  }
  EXPECT_EQ(ops[i].rfind("font Arial", 0), 0u) << "body not followed by the next caption";
  return lines;
}

std::vector<std::string> MsgLines(const std::string& body) {
  Texts t;
  t.Msg = body;
  return BodyLines(Draw(t), 69);
}

TEST(IcsPrintLayout, FrameThenTextsInTableOrder) {
  std::vector<std::string> want = {
      "scale mm", "width 2",
      "box 10 60 195 68 13158600", "box 10 160 195 167 13158600"};
  for (int y : {20, 30, 40, 50, 60, 68, 150, 160, 167, 242, 255})
    want.push_back("line 10 " + std::to_string(y) + " 195 " + std::to_string(y) + " 0");
  for (const char* v : {"line 10 20 10 255 0", "line 100 30 100 60 0", "line 100 150 100 160 0",
                        "line 100 242 100 255 0", "line 195 20 195 255 0"})
    want.push_back(v);

  struct Row {
    const char* font;
    const char* x;
    const char* y;
    std::string text;
  };
  const Texts t;
  const std::vector<Row> rows = {
      {"Arial 12 bold", "72.5", "12", "GENERAL MESSAGE (ICS 213)"},
      {"Arial 7", "11", "21", "INCIDENT NAME:"},
      {"Arial 11", "14", "24", t.IcdName},
      {"Arial 7", "11", "31", "TO:"},
      {"Arial 7", "101", "31", "POSITION:"},
      {"Arial 11", "14", "34", t.To},
      {"Arial 11", "104", "34", t.ToPos},
      {"Arial 7", "11", "41", "FROM:"},
      {"Arial 7", "101", "41", "POSITION:"},
      {"Arial 11", "14", "44", t.Fr},
      {"Arial 11", "104", "44", t.FrPos},
      {"Arial 7", "11", "51", "SUBJECT:"},
      {"Arial 7", "101", "51", "DATE, TIME"},
      {"Arial 11", "14", "54", t.Subj},
      {"Arial 11", "104", "54", t.Date},
      {"Arial 12 bold", "11", "61", "MESSAGE:"},
      {"Courier New 10", "13", "69", t.Msg},
      {"Arial 7", "11", "151", "SIGNATURE:"},
      {"Arial 7", "101", "151", "POSITION:"},
      {"Arial 11", "14", "154", t.Sign},
      {"Arial 11", "104", "154", t.SignPos},
      {"Arial 12", "11", "161", "REPLY:"},
      {"Courier New 10", "13", "168", t.Reply},
      {"Arial 7", "11", "243", "DATE, TIME"},
      {"Arial 7", "101", "243", "SIGNATURE, POSITION"},
      {"Arial 11", "14", "246", t.RepDate},
      {"Arial 11", "104", "246", "K. Osei, PSC"},
      {"Arial 8", "11", "256",
       "Ref: ICS 213, General Message, FEMA / NIMS Incident Command System forms"
       "\t\t\t\t\t\tCreated by: velnor.exe, v1.0.0"},
  };
  for (const Row& r : rows) {
    want.push_back(std::string("font ") + r.font);
    want.push_back(std::string("pos ") + r.x + " " + r.y);
    if (std::string(r.font).rfind("Courier", 0) == 0) want.push_back("x 13");
    want.push_back("text " + r.text);
  }
  want.push_back("end");

  EXPECT_EQ(Draw(t), want);
}

TEST(IcsPrintLayout, ReplySignatureRows) {
  auto hasRow = [](const std::vector<std::string>& ops, const std::string& pos,
                   const std::string& text) {
    for (std::size_t i = 0; i + 1 < ops.size(); ++i)
      if (ops[i] == pos && ops[i + 1] == "text " + text) return true;
    return false;
  };
  auto anyAt246 = [](const std::vector<std::string>& ops) {
    for (const std::string& op : ops)
      if (op.rfind("pos ", 0) == 0 && op.find(" 246") != std::string::npos) return true;
    return false;
  };

  Texts noSign;
  noSign.RepSign = "";
  EXPECT_FALSE(anyAt246(Draw(noSign))) << "date and position without a signature";

  Texts noPos;
  noPos.RepPos = "";
  const auto ops = Draw(noPos);
  EXPECT_TRUE(hasRow(ops, "pos 104 246", "K. Osei, "));
  EXPECT_TRUE(hasRow(ops, "pos 14 246", "03/14/2024 09:45"));

  Texts signOnly;
  signOnly.RepPos = "";
  signOnly.RepDate = "";
  EXPECT_TRUE(hasRow(Draw(signOnly), "pos 14 246", ""));
}

TEST(IcsPrintLayout, AllTextsEmpty) {
  const auto ops = Draw(Texts{"", "", "", "", "", "", "", "", "", "", "", "", "", ""});
  EXPECT_EQ(BodyLines(ops, 69), std::vector<std::string>{""});
  EXPECT_EQ(BodyLines(ops, 168), std::vector<std::string>{""});
  EXPECT_EQ(std::find(ops.begin(), ops.end(), "pos 104 246"), ops.end());
  EXPECT_EQ(ops.back(), "end");
  EXPECT_EQ(ops[ops.size() - 2].substr(0, 10), "text Ref: ");
}

struct WrapCase {
  const char* name;
  std::string body;
  std::vector<std::string> lines;
};

std::string Rep(char c, std::size_t n) { return std::string(n, c); }

// Words of length 9 plus one blank: eight of them make exactly 80 characters.
std::string Words(std::size_t n, char c = 'w') {
  std::string s;
  for (std::size_t i = 0; i < n; ++i) s += (i ? " " : "") + Rep(static_cast<char>(c + i % 3), 9);
  return s;
}

void PrintTo(const WrapCase& c, std::ostream* os) { *os << c.name; }

class BodyWrapping : public ::testing::TestWithParam<WrapCase> {};

TEST_P(BodyWrapping, Lines) { EXPECT_EQ(MsgLines(GetParam().body), GetParam().lines); }

const std::string k79 = Words(8) + Rep('z', 0);             // 8*9 + 7 = 79
const std::string k80 = Words(8) + " ";                      // trailing blank kept
const std::string k81 = Words(8) + "  ";                     // over by one: re-flowed
const std::string kLong = Rep('X', 100);

INSTANTIATE_TEST_SUITE_P(
    IcsPrint, BodyWrapping,
    ::testing::Values(
        WrapCase{"Empty", "", {""}},
        WrapCase{"Exactly80KeepsBlanks", "  a" + Rep(' ', 10) + Rep('b', 67), {"  a" + Rep(' ', 10) + Rep('b', 67)}},
        WrapCase{"Exactly80TrailingBlank", k80, {k80}},
        WrapCase{"Over81TrailingBlanksOnly", k81, {k79 + " "}},
        WrapCase{"Over81WrapsAtWord",
                 Words(8) + " ab",
                 {Words(8) + " ", "ab "}},
        WrapCase{"WordFillsTo80ThenBlank",
                 Rep('a', 39) + " " + Rep('b', 40) + " c",
                 {Rep('a', 39) + " " + Rep('b', 40) + " ", "c "}},
        WrapCase{"LongWordAloneNoEmptyLineBefore", kLong, {kLong + " "}},
        WrapCase{"LongWordAfterShortWord", "ab " + kLong + " cd", {"ab ", kLong + " ", "cd "}},
        WrapCase{"RunsOfBlanksCollapsed",
                 "one" + Rep(' ', 50) + "two" + Rep(' ', 30) + "three",
                 {"one two three "}},
        WrapCase{"LeadingBlanksLostWhenWrapped", Rep(' ', 20) + Words(7), {Words(7) + " "}},
        WrapCase{"CrLfLines", "first\r\nsecond\r\nthird", {"first", "second", "third"}},
        WrapCase{"CrLines", "first\rsecond\rthird", {"first", "second", "third"}},
        WrapCase{"LfDropped", "first\nsecond", {"firstsecond"}},
        WrapCase{"EmptyLinesKept", "a\r\n\r\nb", {"a", "", "b"}},
        WrapCase{"EndsInCrLf", "a\r\n", {"a", ""}},
        WrapCase{"EndsInCr", "a\r", {"a", ""}},
        WrapCase{"LongLineThenShort", Words(9) + "\r\nend", {Words(8) + " ", Words(9).substr(80) + " ", "end"}}),
    [](const ::testing::TestParamInfo<WrapCase>& i) { return std::string(i.param.name); });

TEST(IcsPrintBody, FortyLinesAllPrintedOnOnePage) {
  std::string body;
  std::vector<std::string> want;
  for (int i = 1; i <= 40; ++i) {
    body += "line " + std::to_string(i) + (i < 40 ? "\r\n" : "");
    want.push_back("line " + std::to_string(i));
  }
  FakePrinters printers;
  IcsPrint form(printers, "1.0.0");
  form.PrintIcs("", "", "", "", "", "", body, "", "", "", "", "", "", "");
  EXPECT_EQ(BodyLines(printers.ops, 69), want);
  EXPECT_EQ(printers.surfacesOpened, 1);
  EXPECT_EQ(std::count(printers.ops.begin(), printers.ops.end(), "end"), 1);
}

TEST(IcsPrintBody, ReplyWrapsLikeMessage) {
  Texts t;
  t.Reply = "a\r" + Rep(' ', 3) + Words(9);
  EXPECT_EQ(BodyLines(Draw(t), 168),
            (std::vector<std::string>{"a", Words(8) + " ", Words(9).substr(80) + " "}));
}

TEST(IcsPrintFailure, FirstSurfaceFailureStopsDrawingButPageIsEnded) {
  const Texts t;
  std::vector<std::string> full = Draw(t);
  ASSERT_EQ(full.back(), "end");
  full.pop_back();
  for (std::size_t n = 0; n < full.size(); ++n) {
    std::vector<std::string> want(full.begin(), full.begin() + static_cast<long>(n));
    want.push_back("end");
    ASSERT_EQ(Draw(t, static_cast<long>(n)), want) << "failure at call " << n;
  }
}

TEST(IcsPrintFailure, EndDocumentFailureGoesToCaller) {
  const Texts t;
  const long endCall = static_cast<long>(Draw(t).size()) - 1;
  EXPECT_THROW(Draw(t, endCall), std::runtime_error);
}

}  // namespace
}  // namespace velnor
