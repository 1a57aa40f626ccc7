#pragma once
// Conversion between UTF-8 (what Qt and the terminal speak) and station text, the
// Windows-1252 bytes, one per character, that every file and the wire carry. The logic
// works on station text throughout; only the windows convert. Characters Windows-1252
// cannot hold become '?'.
#include <string>
#include <string_view>

namespace velnor {

std::string Utf8ToCp1252(std::string_view utf8);
std::string Cp1252ToUtf8(std::string_view bytes);

}  // namespace velnor
