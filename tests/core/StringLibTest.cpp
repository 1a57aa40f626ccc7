#include <gtest/gtest.h>

#include "core/StringLib.h"

using namespace velnor;

// Every Windows-1252 letter with a Windows-1252 capital; ß, µ, ª, º and ÷ have none.
TEST(ToUpperCp1252, RaisesEveryLetterOfTheCodePage) {
  EXPECT_EQ(ToUpperCp1252("az09-\x9a\x9c\x9e\xff\xe0\xe9\xf6\xf8\xfe\xdf\xb5\xaa\xba\xf7\xc9\x8a"),
            "AZ09-\x8a\x8c\x8e\x9f\xc0\xc9\xd6\xd8\xde\xdf\xb5\xaa\xba\xf7\xc9\x8a");
}
