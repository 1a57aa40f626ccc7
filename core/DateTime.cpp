#include "core/DateTime.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace velnor {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
// The range an OLE date can express: 1 Jan 100 to 31 Dec 9999.
constexpr double kMinOle = -657434.0;
constexpr double kMaxOle = 2958465.99999;

constexpr const char* kMonthAbbr[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr const char* kMonthFull[12] = {"January", "February", "March",     "April",
                                        "May",     "June",     "July",      "August",
                                        "September", "October", "November", "December"};
constexpr const char* kDayAbbr[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kDayFull[7] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                     "Thursday", "Friday", "Saturday"};

// Days since 1 Jan 1970 of a proleptic Gregorian date (Hinnant's algorithm).
constexpr std::int64_t DaysFromCivil(std::int64_t y, int m, int d) {
  y -= m <= 2 ? 1 : 0;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const std::int64_t yoe = y - era * 400;
  const std::int64_t mp = (m + 9) % 12;
  const std::int64_t doy = (153 * mp + 2) / 5 + d - 1;
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

void CivilFromDays(std::int64_t z, int& year, int& month, int& day) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t doe = z - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  year = static_cast<int>(yoe + era * 400 + (month <= 2 ? 1 : 0));
}

// Constant-initialised: other files' static initialisers build dates through it.
constexpr std::int64_t kOleEpoch = DaysFromCivil(1899, 12, 30);

bool IsLeap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DaysInMonth(int y, int m) {
  static constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeap(y) ? 29 : kDays[m - 1];
}

// Splits an OLE date into whole days from the epoch and seconds of the day. For negative
// values the integer part counts days back and the fraction is still the time of day.
void SplitOle(double ole, std::int64_t& days, std::int64_t& seconds) {
  if (!std::isfinite(ole)) ole = 0;
  if (ole < kMinOle) ole = kMinOle;
  if (ole > kMaxOle) ole = kMaxOle;
  const double whole = std::trunc(ole);
  days = static_cast<std::int64_t>(whole);
  seconds = std::llround(std::fabs(ole - whole) * static_cast<double>(kSecondsPerDay));
  if (seconds >= kSecondsPerDay) {
    seconds -= kSecondsPerDay;
    days += 1;
  }
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

void AppendNumber(std::string& out, int value, int width) {
  std::string digits = std::to_string(value < 0 ? -value : value);
  if (value < 0) out += '-';
  for (int i = static_cast<int>(digits.size()); i < width; ++i) out += '0';
  out += digits;
}

// One element of a pattern: a field letter with its run length, or a literal character.
struct Token {
  char letter = 0;  // 'd','m','y','h','n','s','t' or 0 for a literal
  int count = 0;
  char literal = 0;
  bool minutes = false;  // an 'm' run standing for minutes
};

bool IsFieldLetter(char c) {
  switch (c) {
    case 'd': case 'm': case 'y': case 'h': case 'n': case 's': case 't': return true;
    default: return false;
  }
}

std::vector<Token> Tokenize(std::string_view pattern) {
  std::vector<Token> tokens;
  char lastField = 0;
  std::size_t i = 0;
  while (i < pattern.size()) {
    const char c = Lower(pattern[i]);
    if (!IsFieldLetter(c)) {
      Token t;
      t.literal = pattern[i];
      tokens.push_back(t);
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j < pattern.size() && Lower(pattern[j]) == c) ++j;
    Token t;
    t.letter = c;
    t.count = static_cast<int>(j - i);
    // Separators such as ':' may stand between the hour and its minutes.
    t.minutes = c == 'm' && t.count <= 2 && lastField == 'h';
    tokens.push_back(t);
    lastField = c;
    i = j;
  }
  return tokens;
}

std::string LongTime(int hour, int minute, int second) {
  std::string out;
  const int h12 = hour % 12 == 0 ? 12 : hour % 12;
  AppendNumber(out, h12, 1);
  out += ':';
  AppendNumber(out, minute, 2);
  out += ':';
  AppendNumber(out, second, 2);
  out += hour < 12 ? " AM" : " PM";
  return out;
}

int WeekDay(std::int64_t oleDays) {
  // 30 Dec 1899 was a Saturday.
  const std::int64_t w = (oleDays + 6) % 7;
  return static_cast<int>(w < 0 ? w + 7 : w);
}

// --- reading ---------------------------------------------------------------------------

class Reader {
 public:
  explicit Reader(std::string_view s) : m_s(s) {}
  bool atEnd() const { return m_pos >= m_s.size(); }
  char peek() const { return atEnd() ? '\0' : m_s[m_pos]; }
  std::size_t pos() const { return m_pos; }
  void skipSpaces() {
    while (!atEnd() && (m_s[m_pos] == ' ' || m_s[m_pos] == '\t')) ++m_pos;
  }
  bool accept(char c) {
    if (!atEnd() && Lower(m_s[m_pos]) == Lower(c)) {
      ++m_pos;
      return true;
    }
    return false;
  }
  // Reads minDigits..maxDigits decimal digits.
  bool number(int minDigits, int maxDigits, int& value) {
    int n = 0;
    value = 0;
    while (n < maxDigits && !atEnd() && IsDigit(m_s[m_pos])) {
      value = value * 10 + (m_s[m_pos] - '0');
      ++m_pos;
      ++n;
    }
    return n >= minDigits;
  }
  // Case-insensitive match of one of the names; the longest match wins.
  bool name(const char* const* names, int count, int& index) {
    std::size_t best = 0;
    for (int k = 0; k < count; ++k) {
      std::string_view n(names[k]);
      if (m_s.size() - m_pos < n.size() || n.size() <= best) continue;
      bool same = true;
      for (std::size_t q = 0; q < n.size() && same; ++q) same = Lower(m_s[m_pos + q]) == Lower(n[q]);
      if (same) {
        best = n.size();
        index = k;
      }
    }
    m_pos += best;
    return best > 0;
  }

 private:
  std::string_view m_s;
  std::size_t m_pos = 0;
};

struct Parsed {
  int year = -1, month = -1, day = -1;
  int hour = 0, minute = 0, second = 0;
  int ampm = 0;  // 0 none, 1 AM, 2 PM
  bool hasTime = false;
};

// Optional " AM"/" PM" after a time.
void ReadAmPm(Reader& r, int& ampm) {
  Reader save = r;
  r.skipSpaces();
  const char c = Lower(r.peek());
  if ((c == 'a' || c == 'p') && r.accept(c) && r.accept('m')) {
    ampm = c == 'a' ? 1 : 2;
    return;
  }
  r = save;
}

// "h:mm", "h:mm:ss", either followed by AM/PM.
bool ReadClock(Reader& r, Parsed& p, bool allowAmPm) {
  if (!r.number(1, 2, p.hour) || !r.accept(':') || !r.number(2, 2, p.minute)) return false;
  if (r.accept(':') && !r.number(2, 2, p.second)) return false;
  p.hasTime = true;
  if (allowAmPm) ReadAmPm(r, p.ampm);
  return true;
}

bool Finish(const Parsed& in, double& out) {
  Parsed p = in;
  if (p.ampm != 0) {
    if (p.hour < 1 || p.hour > 12) return false;
    if (p.ampm == 1 && p.hour == 12) p.hour = 0;
    if (p.ampm == 2 && p.hour != 12) p.hour += 12;
  }
  if (p.hour > 23 || p.minute > 59 || p.second > 59) return false;
  const bool anyDate = p.year >= 0 || p.month >= 0 || p.day >= 0;
  if (anyDate) {
    if (p.year < 100 || p.year > 9999 || p.month < 1 || p.month > 12 || p.day < 1 ||
        p.day > DaysInMonth(p.year, p.month))
      return false;
  } else if (!p.hasTime) {
    return false;
  }
  DateParts d;
  if (anyDate) {
    d.year = p.year;
    d.month = p.month;
    d.day = p.day;
  }
  d.hour = p.hour;
  d.minute = p.minute;
  d.second = p.second;
  out = ToOleDate(d);
  return true;
}

// Two-digit years: 00-29 are 2000-2029, 30-99 are 1930-1999.
int WindowYear(int yy) { return yy < 30 ? 2000 + yy : 1900 + yy; }

std::optional<double> ParseStandard(std::string_view text) {
  Reader r(text);
  Parsed p;
  Reader probe = r;
  int first = 0;
  if (probe.number(1, 2, first) && probe.accept('/')) {
    if (!r.number(1, 2, p.month) || !r.accept('/') || !r.number(1, 2, p.day) ||
        !r.accept('/') || !r.number(4, 4, p.year))
      return std::nullopt;
    if (!r.atEnd()) {
      if (r.peek() != ' ') return std::nullopt;
      r.skipSpaces();
      if (!ReadClock(r, p, true)) return std::nullopt;
    }
  } else if (!ReadClock(r, p, true)) {
    return std::nullopt;
  }
  double out = 0;
  if (!r.atEnd() || !Finish(p, out)) return std::nullopt;
  return out;
}

std::optional<double> ParseIso(std::string_view text) {
  Reader r(text);
  Parsed p;
  if (!r.number(4, 4, p.year) || !r.accept('-') || !r.number(2, 2, p.month) || !r.accept('-') ||
      !r.number(2, 2, p.day))
    return std::nullopt;
  if (!r.atEnd()) {
    if (!r.accept('T') && !r.accept(' ')) return std::nullopt;
    if (!r.number(2, 2, p.hour) || !r.accept(':') || !r.number(2, 2, p.minute)) return std::nullopt;
    p.hasTime = true;
    if (r.accept(':')) {
      if (!r.number(2, 2, p.second)) return std::nullopt;
      if (r.accept('.')) {
        int ignored = 0;
        if (!r.number(1, 9, ignored)) return std::nullopt;
      }
    }
  }
  double out = 0;
  if (!r.atEnd() || !Finish(p, out)) return std::nullopt;
  return out;
}

bool IsNumericToken(const Token& t) {
  if (t.letter == 0 || t.letter == 't') return false;
  if (t.letter == 'm' && !t.minutes && t.count >= 3) return false;
  if (t.letter == 'd' && t.count >= 3) return false;
  return true;
}

std::optional<double> ParsePattern(std::string_view text, std::string_view pattern) {
  const std::vector<Token> tokens = Tokenize(pattern);
  Reader r(text);
  Parsed p;
  for (std::size_t k = 0; k < tokens.size(); ++k) {
    const Token& t = tokens[k];
    if (t.letter == 0) {
      if (t.literal == ' ') {
        // A blank in the pattern stands for one or more blanks in the text.
        if (!r.accept(' ')) return std::nullopt;
        r.skipSpaces();
      } else if (!r.accept(t.literal)) {
        return std::nullopt;
      }
      continue;
    }
    // A field followed directly by another number has a fixed width; otherwise the
    // leading zero may be missing ("1/5/2026" for "mm/dd/yyyy").
    const bool packed = k + 1 < tokens.size() && IsNumericToken(tokens[k + 1]);
    const int wide = t.count >= 2 ? 2 : 1;
    const int minDigits = packed ? wide : 1;
    const int maxDigits = packed ? wide : 2;
    int v = 0;
    switch (t.letter) {
      case 'd':
        if (t.count >= 3) {
          int ignored = 0;
          if (!r.name(t.count == 3 ? kDayAbbr : kDayFull, 7, ignored)) return std::nullopt;
        } else {
          if (!r.number(minDigits, maxDigits, p.day)) return std::nullopt;
        }
        break;
      case 'm':
        if (t.minutes) {
          if (!r.number(minDigits, maxDigits, p.minute)) return std::nullopt;
          p.hasTime = true;
        } else if (t.count >= 3) {
          int index = 0;
          if (!r.name(kMonthFull, 12, index) && !r.name(kMonthAbbr, 12, index)) return std::nullopt;
          p.month = index + 1;
        } else {
          if (!r.number(minDigits, maxDigits, p.month)) return std::nullopt;
        }
        break;
      case 'y':
        if (t.count >= 3) {
          if (!r.number(4, 4, p.year)) return std::nullopt;
        } else {
          if (!r.number(2, 2, v)) return std::nullopt;
          p.year = WindowYear(v);
        }
        break;
      case 'h':
        if (!r.number(minDigits, maxDigits, p.hour)) return std::nullopt;
        p.hasTime = true;
        break;
      case 'n':
        if (!r.number(minDigits, maxDigits, p.minute)) return std::nullopt;
        p.hasTime = true;
        break;
      case 's':
        if (!r.number(minDigits, maxDigits, p.second)) return std::nullopt;
        p.hasTime = true;
        break;
      case 't':
        if (!ReadClock(r, p, true)) return std::nullopt;
        break;
      default:
        return std::nullopt;
    }
  }
  double out = 0;
  if (!r.atEnd() || !Finish(p, out)) return std::nullopt;
  return out;
}

std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

}  // namespace

double ToOleDate(const DateParts& p) {
  const std::int64_t days = DaysFromCivil(p.year, p.month, p.day) - kOleEpoch;
  const double time =
      static_cast<double>(p.hour * 3600 + p.minute * 60 + p.second) / static_cast<double>(kSecondsPerDay);
  // Before the epoch the time of day still counts forward within the day.
  return days >= 0 ? static_cast<double>(days) + time : static_cast<double>(days) - time;
}

DateParts FromOleDate(double ole) {
  std::int64_t days = 0, seconds = 0;
  SplitOle(ole, days, seconds);
  DateParts p;
  CivilFromDays(days + kOleEpoch, p.year, p.month, p.day);
  p.hour = static_cast<int>(seconds / 3600);
  p.minute = static_cast<int>(seconds / 60 % 60);
  p.second = static_cast<int>(seconds % 60);
  return p;
}

std::string FormatDate(double ole, std::string_view pattern) {
  std::int64_t days = 0, seconds = 0;
  SplitOle(ole, days, seconds);
  const DateParts p = FromOleDate(ole);
  std::string out;
  for (const Token& t : Tokenize(pattern)) {
    switch (t.letter) {
      case 0: out += t.literal; break;
      case 'd':
        if (t.count <= 2) AppendNumber(out, p.day, t.count);
        else out += (t.count == 3 ? kDayAbbr : kDayFull)[WeekDay(days)];
        break;
      case 'm':
        if (t.minutes) AppendNumber(out, p.minute, t.count);
        else if (t.count <= 2) AppendNumber(out, p.month, t.count);
        else out += (t.count == 3 ? kMonthAbbr : kMonthFull)[p.month - 1];
        break;
      case 'y':
        if (t.count <= 2) AppendNumber(out, p.year % 100, 2);
        else AppendNumber(out, p.year, 4);
        break;
      case 'h': AppendNumber(out, p.hour, t.count >= 2 ? 2 : 1); break;
      case 'n': AppendNumber(out, p.minute, t.count >= 2 ? 2 : 1); break;
      case 's': AppendNumber(out, p.second, t.count >= 2 ? 2 : 1); break;
      case 't': out += LongTime(p.hour, p.minute, p.second); break;
      default: break;
    }
  }
  return out;
}

std::string StandardDateText(double ole) {
  std::int64_t days = 0, seconds = 0;
  SplitOle(ole, days, seconds);
  const DateParts p = FromOleDate(ole);
  if (days == 0) return LongTime(p.hour, p.minute, p.second);
  std::string out;
  AppendNumber(out, p.month, 1);
  out += '/';
  AppendNumber(out, p.day, 1);
  out += '/';
  AppendNumber(out, p.year, 4);
  if (seconds != 0) out += ' ' + LongTime(p.hour, p.minute, p.second);
  return out;
}

std::optional<double> ParseDateText(std::string_view text, std::string_view dateFormat,
                                    std::string_view timeFormat) {
  text = TrimBlanks(text);
  // Bounded work on untrusted text: no date text is anywhere near this long.
  if (text.empty() || text.size() > 256) return std::nullopt;
  dateFormat = TrimBlanks(dateFormat);
  timeFormat = TrimBlanks(timeFormat);
  if (dateFormat.size() > 64 || timeFormat.size() > 64) return std::nullopt;
  // The operator's own formats come first: "05/06/2026" means what the form shows.
  if (!dateFormat.empty() && !timeFormat.empty()) {
    std::string both(dateFormat);
    both += ' ';
    both += timeFormat;
    if (auto v = ParsePattern(text, both)) return v;
  }
  if (!dateFormat.empty()) {
    if (auto v = ParsePattern(text, dateFormat)) return v;
  }
  if (auto v = ParseStandard(text)) return v;
  if (auto v = ParseIso(text)) return v;
  return std::nullopt;
}

}  // namespace velnor
