#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "core/Cp1252.h"
#include "core/StringLib.h"

using namespace velnor;

// CR ends a line and LF is dropped: the LF after the last CR is a line of its own.
TEST(GetLine, WalksTheText) {
  const std::pair<std::string_view, std::vector<std::string>> rows[] = {
      {"A\r\nB\r\n", {"A", "B", ""}}, {"A\nB", {"AB"}}, {"X\r\rY", {"X", "", "Y"}}};
  for (const auto& [text, expected] : rows) {
    std::string_view v = text;
    std::vector<std::string> lines;
    while (!v.empty()) lines.push_back(GetLine(v));
    EXPECT_EQ(lines, expected) << text;
  }
}

// Leading blanks are skipped, the separator after the word stays, a tab is part of a word.
TEST(GetWord, SkipsLeadingSpacesAndLeavesTheSeparator) {
  const std::tuple<std::string_view, std::string, std::string_view> rows[] = {
      {"  one two", "one", " two"}, {" two", "two", ""}, {"    ", "", ""}, {"a\tb c", "a\tb", " c"}};
  for (auto [text, word, rest] : rows) {
    EXPECT_EQ(GetWord(text), word);
    EXPECT_EQ(text, rest);
  }
}

// Every Windows-1252 letter with a Windows-1252 capital; ß, µ, ª, º and ÷ have none.
TEST(ToUpperCp1252, RaisesEveryLetterOfTheCodePage) {
  EXPECT_EQ(ToUpperCp1252("az09-\x9a\x9c\x9e\xff\xe0\xe9\xf6\xf8\xfe\xdf\xb5\xaa\xba\xf7\xc9\x8a"),
            "AZ09-\x8a\x8c\x8e\x9f\xc0\xc9\xd6\xd8\xde\xdf\xb5\xaa\xba\xf7\xc9\x8a");
}

TEST(Cp1252, RoundTripsEveryDefinedByteAndReplacesTheRest) {
  std::string all;
  for (int b = 1; b < 256; ++b) {
    if (b == 0x81 || b == 0x8D || b == 0x8F || b == 0x90 || b == 0x9D) continue;
    all.push_back(static_cast<char>(b));
  }
  EXPECT_EQ(Utf8ToCp1252(Cp1252ToUtf8(all)), all);
  EXPECT_EQ(Utf8ToCp1252(std::string("a\xE4\xB8\xAD") + "b"), "a?b");  // CJK has no place: replaced
  EXPECT_EQ(Utf8ToCp1252("x\xFF\xFEy"), "x??y");                       // invalid UTF-8 does not crash
  EXPECT_EQ(Cp1252ToUtf8("\x93hi\x94"), "\xE2\x80\x9Chi\xE2\x80\x9D");
}
