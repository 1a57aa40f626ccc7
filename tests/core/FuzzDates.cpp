// Date texts off the wire and formats from a hand-edited file: date format CR time format CR text.
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/DateTime.h"
#include "core/StringLib.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  const std::string dateFormat = velnor::GetLine(rest);
  const std::string timeFormat = velnor::GetLine(rest);
  const std::string_view text = rest;
  if (const auto d = velnor::ParseDateText(text, dateFormat, timeFormat)) {
    if (!std::isfinite(*d)) __builtin_trap();
    // What was read must format back without trouble.
    (void)velnor::FormatDate(*d, dateFormat.substr(0, 64) + " " + timeFormat.substr(0, 64));
    (void)velnor::StandardDateText(*d);
  }
  if (dateFormat.size() <= 256) (void)velnor::FormatDate(46345.5871, dateFormat);
  return 0;
}
