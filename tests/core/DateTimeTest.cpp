#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <string>
#include <tuple>

#include "core/DateTime.h"

namespace velnor {
namespace {

// Instants built by hand, independently of ToOleDate.
constexpr double At(double day, int h, int m, int s) { return day + (h * 3600 + m * 60 + s) / 86400.0; }
constexpr double kNov19 = 46345.0;
constexpr double kInstant = At(kNov19, 14, 5, 9);  // 19 Nov 2026 14:05:09

// -1.25 is 29 Dec 1899 06:00 (the time of day counts forward), not 28 Dec 18:00.
TEST(OleDate, KnownDaysAndBackAgain) {
  const DateParts days[] = {{1899, 12, 30}, {1900, 3, 1},   {2024, 2, 29},
                            {1800, 1, 1},   {9999, 12, 31}, {1899, 12, 29, 6}};
  const double oles[] = {0, 61, 45351, -36522, 2958465, -1.25};
  for (std::size_t i = 0; i < std::size(days); ++i) {
    const DateParts& p = days[i];
    SCOPED_TRACE(oles[i]);
    EXPECT_DOUBLE_EQ(ToOleDate(p), oles[i]);
    const DateParts back = FromOleDate(oles[i]);
    EXPECT_EQ(std::tie(back.year, back.month, back.day, back.hour), std::tie(p.year, p.month, p.day, p.hour));
  }
}

// The letter rules: m after an hour (any separator between) is minutes, elsewhere the month.
TEST(FormatDate, Patterns) {
  const double jan5 = At(46027, 7, 3, 4);  // 5 Jan 2026 07:03:04
  const std::tuple<double, const char*, const char*> rows[] = {
      {kInstant, "dd-mmm-yy hh:mm:ss", "19-Nov-26 14:05:09"},
      {jan5, "d/m/yyyy h.mm mmm MMMM ddd dddd", "5/1/2026 7.03 Jan January Mon Monday"},
      {At(kNov19, 11, 59, 59), "t", "11:59:59 AM"},
      {-36522, "dddd", "Wednesday"}};  // 1 Jan 1800: a weekday before the epoch
  for (const auto& [at, pattern, expected] : rows) EXPECT_EQ(FormatDate(at, pattern), expected) << pattern;
}

// An operator format that reads the text wins over month-first; one that cannot falls back.
TEST(ParseDateText, StandardIsoAndOperatorForms) {
  const std::tuple<const char*, double, const char*, const char*> rows[] = {
      {"11/19/2026 2:05:09 PM", kInstant, "", ""},
      {"  11/19/2026  ", kNov19, "", ""},
      {"1/5/2026 12:00:01 am", At(46027, 0, 0, 1), "", ""},
      {"12:00:00 AM", 0, "", ""},
      {"2026-11-19T14:05:09.250", kInstant, "", ""},
      {"05/06/2026 10:00", At(46178, 10, 0, 0), "dd/mm/yyyy", "hh:mm"},  // 5 June
      {"11/19/2026 2:05:09 PM", kInstant, "dd/mm/yyyy", "hh:mm"},
      {"5126", At(46027, 0, 0, 0), "dmyy", ""},  // one letter before another number: one digit
      {"261119 140509", kInstant, "yymmdd", "hhmmss"},
      {"19 Nov 2026 2:05:09 PM", kInstant, "DD MMM YYYY", "TTTTT"},
      {"12/31/9999", 2958465, "", ""}};
  for (const auto& [text, expected, date, time] : rows) {
    const auto v = ParseDateText(text, date, time);
    ASSERT_TRUE(v.has_value()) << text;
    EXPECT_NEAR(*v, expected, 1e-9) << text;
  }
  // What our stations write: the date alone at midnight, the time alone on day 0.
  for (const char* text : {"11/19/2026 2:05:09 PM", "1/5/2026 12:00:01 AM", "11/19/2026", "12:00:00 AM"})
    EXPECT_EQ(StandardDateText(ParseDateText(text, "", "").value_or(-1)), text);
}

TEST(ParseDateText, RejectsRatherThanGuesses) {
  // "11/19/26": the standard form has four-digit years.
  for (const char* text : {"", "tomorrow", "2/29/2025", "2/29/2024 24:00", "11/19/2026 13:05 PM", "11/19/26",
                           "11/19/2026 2:05:09 PM extra", "99999999999999999999/1/2026"})
    EXPECT_FALSE(ParseDateText(text, "", "")) << text;
  const std::string x65(65, 'x');
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"19-Nov 14:05:09", "dd-mmm", "hh:mm:ss"},          // no year in the format
      {std::string(1 << 20, '1'), "yyyymmdd", "hhmmss"},  // huge input rejected, not scanned
      {"11/19/2026 14:05", "mm/dd/yyyy", x65},
      {"11/19/2026 :30", "mm/dd/yyyy", "hh:mm"},
      {"0000 10:00", "yyyy", "hh:mm"},  // a date field read is a date
      {"00 10:00", "dd", "hh:mm"}};
  for (const auto& [text, date, time] : rows)
    EXPECT_FALSE(ParseDateText(text, date, time)) << text.substr(0, 40);
  // Every month's last day, and the day after it.
  const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int month = 1; month <= 12; ++month) {
    const auto day = [&](int d) { return std::to_string(month) + "/" + std::to_string(d) + "/2026"; };
    EXPECT_TRUE(ParseDateText(day(lengths[month - 1]), "", "")) << month;
    EXPECT_FALSE(ParseDateText(day(lengths[month - 1] + 1), "", "")) << month;
  }
}

}  // namespace
}  // namespace velnor
