#include <gtest/gtest.h>

#include "core/Cp1252.h"

using namespace velnor;

TEST(Cp1252, RoundTripsEveryDefinedByteAndReplacesTheRest) {
  std::string all;
  for (int b = 1; b < 256; ++b) {
    if (b == 0x81 || b == 0x8D || b == 0x8F || b == 0x90 || b == 0x9D) continue;
    all.push_back(static_cast<char>(b));
  }
  EXPECT_EQ(Utf8ToCp1252(Cp1252ToUtf8(all)), all);
  EXPECT_EQ(Utf8ToCp1252("\xE2\x82\xAC"), "\x80");    // euro sign
  EXPECT_EQ(Utf8ToCp1252("caf\xC3\xA9"), "caf\xE9");  // e acute
  EXPECT_EQ(Utf8ToCp1252("a\xE4\xB8\xAD"
                         "b"),
            "a?b");                               // CJK has no place: replaced
  EXPECT_EQ(Utf8ToCp1252("x\xFF\xFEy"), "x??y");  // invalid UTF-8 does not crash
  EXPECT_EQ(Cp1252ToUtf8("\x93hi\x94"), "\xE2\x80\x9Chi\xE2\x80\x9D");
}
