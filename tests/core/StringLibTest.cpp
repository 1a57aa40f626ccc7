#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/StringLib.h"

using namespace velnor;

// CR ends a line and LF is dropped: the LF after the last CR is a line of its own.
TEST(GetLine, WalksTheText) {
  struct Row { std::string_view text; std::vector<std::string> lines; };
  const Row rows[] = {{"A\r\nB\r\n", {"A", "B", ""}}, {"A\nB", {"AB"}}, {"X\r\rY", {"X", "", "Y"}}};
  for (const Row& r : rows) {
    std::string_view v = r.text;
    std::vector<std::string> lines;
    while (!v.empty()) lines.push_back(GetLine(v));
    EXPECT_EQ(lines, r.lines) << r.text;
  }
  std::string_view e;
  EXPECT_EQ(GetLine(e), "");
  EXPECT_TRUE(e.empty());
}

TEST(GetWord, SkipsLeadingSpacesAndLeavesTheSeparator) {
  std::string_view v = "  one two";
  EXPECT_EQ(GetWord(v), "one");
  EXPECT_EQ(v, " two");
  EXPECT_EQ(GetWord(v), "two");
  EXPECT_TRUE(v.empty());
  std::string_view blanks = "    ";
  EXPECT_EQ(GetWord(blanks), "");
  EXPECT_TRUE(blanks.empty());
  std::string_view tab = "a\tb c";
  EXPECT_EQ(GetWord(tab), "a\tb");
}

TEST(GetLine, WalkIsLinearOnAHugeText) {
  std::string big;  // copying the rest at each call would copy gigabytes
  for (int i = 0; i < 200000; ++i) big += "line\r\n";
  std::string_view v = big;
  std::size_t n = 0;
  for (; !v.empty(); ++n) GetLine(v);
  EXPECT_EQ(n, 200001u);
}

TEST(ParseInt16, AcceptsBlanksAndRejectsJunkAndRange) {
  short v = 0;
  EXPECT_TRUE(ParseInt16("  42 ", v));
  EXPECT_EQ(v, 42);
  EXPECT_TRUE(ParseInt16("-32768", v));
  EXPECT_FALSE(ParseInt16("32768", v));
  EXPECT_FALSE(ParseInt16("12ab", v));
  EXPECT_FALSE(ParseInt16("", v));
}
