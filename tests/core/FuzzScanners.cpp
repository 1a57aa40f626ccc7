#include <cstdint>
#include <string>
#include <string_view>

#include "core/Cp1252.h"
#include "core/StringLib.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string_view lines = text;
  while (!lines.empty()) {
    const std::size_t before = lines.size();
    velnor::GetLine(lines);
    if (lines.size() >= before) __builtin_trap();  // every call must make progress
  }
  std::string_view words = text;
  while (!words.empty()) velnor::GetWord(words);
  const std::string utf8 = velnor::Cp1252ToUtf8(text);
  (void)velnor::Utf8ToCp1252(utf8);
  (void)velnor::Utf8ToCp1252(text);
  return 0;
}
