// The "Pellmoor.conf" reader over arbitrary bytes: no crash, and the result is always a
// piece of the input (never invented text).
#include <cstdint>
#include <string>
#include <string_view>

#include "app/FileLib.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string dir = velnor::FileLib::DataDirFromConfText(text);
  if (dir.size() > text.size()) __builtin_trap();
  if (dir.find('\r') != std::string::npos || dir.find('\n') != std::string::npos) __builtin_trap();
  return 0;
}
