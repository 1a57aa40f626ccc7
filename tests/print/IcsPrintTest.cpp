#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "print/IcsPrint.h"
#include "tests/print/RecordingSurface.h"

namespace velnor {
namespace {

using test::FakePrinters;

struct Texts {
  std::string To = "Planning Section Chief", ToPos = "PSC", Fr = "Net Control", FrPos = "Radio Operator",
              Subj = "Shelter count", Date = "03/14/2024 09:30",
              Msg = "Shelter at Lincoln School has 42 occupants.", Sign = "J. Rivera",
              SignPos = "Shelter Manager", IcdName = "River Flood", Reply = "Acknowledged.",
              RepSign = "K. Osei", RepPos = "PSC", RepDate = "03/14/2024 09:45";
};

std::vector<std::string> Draw(const Texts& t, long failAt = -1) {
  FakePrinters printers;
  printers.failAt = failAt;
  IcsPrint(printers, "1.0.0")
      .PrintIcs(t.To, t.ToPos, t.Fr, t.FrPos, t.Subj, t.Date, t.Msg, t.Sign, t.SignPos, t.IcdName, t.Reply,
                t.RepSign, t.RepPos, t.RepDate);
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

// The whole page, one drawn text a line (its font, position and text), each frame line on
// its own (VELNOR_WRITE_GOLDEN=<file> writes the file anew).
TEST(IcsPrintLayout, PagesAreTheGoldenDrawings) {
  std::string page;
  for (const std::string& op : Draw({})) {
    const bool joined = op.rfind("pos ", 0) == 0 || op.rfind("x ", 0) == 0 || op.rfind("text ", 0) == 0;
    page += (page.empty() ? "" : joined ? " | " : "\n") + op;
  }
  page += "\n";
  if (const char* keep = std::getenv("VELNOR_WRITE_GOLDEN")) std::ofstream(keep, std::ios::binary) << page;
  std::ifstream golden(VELNOR_ICS213_GOLDEN, std::ios::binary);
  EXPECT_EQ(page, std::string(std::istreambuf_iterator<char>(golden), {}));
}

// A reply without a signature is not vouched for: its date and signature row stay off.
TEST(IcsPrintLayout, ReplyRowOnlyUnderASignature) {
  std::vector<std::string> want = Draw({});
  want.erase(want.end() - 10, want.end() - 4);
  Texts t;
  t.RepSign = "";
  EXPECT_EQ(Draw(t), want);
}

std::string Rep(char c, std::size_t n) { return std::string(n, c); }

TEST(IcsPrintBody, WrapsAt80Characters) {
  // Two words of 39 letters, each with its blank: 80 characters.
  const std::string k80 = Rep('a', 39) + " " + Rep('b', 39) + " ", kLong = Rep('X', 100);
  const struct {
    const char* name;
    std::string body;
    std::vector<std::string> lines;
  } rows[] = {
      {"Empty", "", {""}},
      {"Exactly80KeepsBlanks", "  a" + Rep(' ', 10) + Rep('b', 67), {"  a" + Rep(' ', 10) + Rep('b', 67)}},
      {"Over81TrailingBlanksOnly", k80 + " ", {k80}},
      {"Over80BlanksOnlyStaysAnEmptyLine", Rep(' ', 81) + "\r\nb", {"", "b"}},
      {"WordFillsTo80ThenBlank",
       Rep('a', 39) + " " + Rep('b', 40) + " c",
       {Rep('a', 39) + " " + Rep('b', 40) + " ", "c "}},
      {"LongWordAloneNoEmptyLineBefore", kLong, {kLong + " "}},
      {"LongWordBetweenBlankRuns", "ab  " + kLong + Rep(' ', 50) + "cd", {"ab ", kLong + " ", "cd "}},
      {"CrLfOrCrEndLinesLfIsDropped", "first\r\nsecond\rthird\nfourth", {"first", "second", "thirdfourth"}},
      {"EmptyLinesKept", "a\r\n\r\nb\r\n", {"a", "", "b", ""}},
      {"EndsInCr", "a\r", {"a", ""}},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    Texts t;
    t.Msg = r.body;
    EXPECT_EQ(BodyLines(Draw(t), 69), r.lines);
  }
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

}  // namespace
}  // namespace velnor
