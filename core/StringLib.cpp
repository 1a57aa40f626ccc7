#include "core/StringLib.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace velnor {

std::string GetLine(std::string_view& text) {
  const std::size_t cr = text.find('\r');
  const std::string_view line = cr == std::string_view::npos ? text : text.substr(0, cr);
  std::string result;
  result.reserve(line.size());
  for (char c : line)
    if (c != '\n') result.push_back(c);
  text = cr == std::string_view::npos ? std::string_view{} : text.substr(cr + 1);
  return result;
}

std::string GetWord(std::string_view& text) {
  const std::size_t start = text.find_first_not_of(' ');
  if (start == std::string_view::npos) {
    text = {};
    return {};
  }
  text.remove_prefix(start);
  const std::size_t sp = text.find(' ');
  std::string word(sp == std::string_view::npos ? text : text.substr(0, sp));
  text = sp == std::string_view::npos ? std::string_view{} : text.substr(sp);
  return word;
}

std::string_view TrimSpaces(std::string_view s) {
  const std::size_t b = s.find_first_not_of(' ');
  if (b == std::string_view::npos) return {};
  const std::size_t e = s.find_last_not_of(' ');
  return s.substr(b, e - b + 1);
}

std::string Trim(std::string_view s) { return std::string(TrimSpaces(s)); }

std::string RemoveCrLf(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n') {
      ++i;
      continue;
    }
    out.push_back(s[i]);
  }
  return out;
}

std::string ToUpperAscii(std::string_view s) {
  std::string out(s);
  for (char& c : out)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return out;
}

char ToUpperCp1252(char c) {
  const auto b = static_cast<unsigned char>(c);
  auto upper = [](unsigned v) { return static_cast<char>(static_cast<unsigned char>(v)); };
  if ((b >= 'a' && b <= 'z') || (b >= 0xE0 && b <= 0xFE && b != 0xF7)) return upper(b - 0x20u);  // 0xF7 is ÷
  if (b == 0x9A || b == 0x9C || b == 0x9E) return upper(b - 0x10u);  // š œ ž: capitals among 0x80-0x9F
  if (b == 0xFF) return upper(0x9F);                                 // ÿ
  return c;
}

std::string ToUpperCp1252(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = ToUpperCp1252(c);
  return out;
}

bool ParseInt32(std::string_view s, long& out) {
  const std::size_t b = s.find_first_not_of(" \t");
  if (b == std::string_view::npos) return false;
  const std::string trimmed(s.substr(b, s.find_last_not_of(" \t") - b + 1));
  if (trimmed.empty()) return false;
  errno = 0;
  char* end = nullptr;
  const long v = std::strtol(trimmed.c_str(), &end, 10);
  if (errno != 0 || end == trimmed.c_str() || *end != '\0') return false;
  if (v < std::numeric_limits<int>::min() || v > std::numeric_limits<int>::max()) return false;
  out = v;
  return true;
}

bool ParseInt16(std::string_view s, short& out) {
  long v = 0;
  if (!ParseInt32(s, v) || v < -32768 || v > 32767) return false;
  out = static_cast<short>(v);
  return true;
}

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Skips digits from i; returns how many.
std::size_t SkipDigits(std::string_view s, std::size_t& i) {
  const std::size_t from = i;
  while (i < s.size() && IsDigit(s[i])) ++i;
  return i - from;
}

}  // namespace

bool NumberToInt16(std::string_view s, short& out) {
  const std::size_t b = s.find_first_not_of(" \t");
  if (b == std::string_view::npos) return false;
  s = s.substr(b, s.find_last_not_of(" \t") - b + 1);
  // The grammar is checked here, so that from_chars (which knows no locale) reads
  // nothing else: no "inf", "nan" or hexadecimal.
  std::size_t i = 0;
  const bool negative = s[0] == '-';
  if (s[0] == '+' || s[0] == '-') ++i;
  const std::size_t mantissa = i;
  std::size_t digits = SkipDigits(s, i);
  if (i < s.size() && s[i] == '.') {
    ++i;
    digits += SkipDigits(s, i);
  }
  if (digits == 0) return false;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    if (SkipDigits(s, i) == 0) return false;
  }
  if (i != s.size()) return false;
  double v = 0;
  const auto [end, ec] = std::from_chars(s.data() + mantissa, s.data() + s.size(), v);
  if (ec != std::errc() || end != s.data() + s.size()) return false;
  v = std::nearbyint(negative ? -v : v);  // to nearest, halves to even
  if (!(v >= -32768.0 && v <= 32767.0)) return false;
  out = static_cast<short>(v);
  return true;
}

}  // namespace velnor
