#include "core/DateTime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <string>
#include <tuple>

namespace velnor {
namespace {

// Instants built by hand, independently of ToOleDate.
constexpr double At(double day, int h, int m, int s) { return day + (h * 3600 + m * 60 + s) / 86400.0; }
constexpr double kNov19 = 46345.0;
constexpr double kInstant = At(kNov19, 14, 5, 9);  // 19 Nov 2026 14:05:09

// -1.25 is 29 Dec 1899 06:00 (the time of day counts forward), not 28 Dec 18:00.
TEST(OleDate, KnownDaysAndBackAgain) {
  const DateParts days[] = {{1899, 12, 30}, {1899, 12, 31}, {1900, 1, 1}, {1900, 3, 1}, {2024, 2, 29},
                            {2026, 11, 19}, {1899, 12, 29}, {1800, 1, 1}, {9999, 12, 31}, {1899, 12, 29, 6}};
  const double oles[] = {0, 1, 2, 61, 45351, 46345, -1, -36522, 2958465, -1.25};
  for (std::size_t i = 0; i < std::size(days); ++i) {
    const DateParts& p = days[i];
    SCOPED_TRACE(oles[i]);
    EXPECT_DOUBLE_EQ(ToOleDate(p), oles[i]);
    const DateParts back = FromOleDate(oles[i]);
    EXPECT_EQ(std::tie(back.year, back.month, back.day, back.hour), std::tie(p.year, p.month, p.day, p.hour));
  }
}

TEST(OleDate, RoundsToNearestSecondAcrossMidnight) {
  const DateParts a = FromOleDate(At(kNov19, 23, 59, 59) + 0.6 / 86400.0);
  EXPECT_EQ(std::tie(a.day, a.hour, a.minute, a.second), std::make_tuple(20, 0, 0, 0));
  EXPECT_EQ(FromOleDate(At(kNov19, 14, 5, 9) + 0.4 / 86400.0).second, 9);
}

TEST(OleDate, GarbageValuesDoNotCrash) {
  for (double v : {double(NAN), double(INFINITY), -double(INFINITY), 1e300, -1e300}) {
    const DateParts p = FromOleDate(v);
    EXPECT_TRUE(p.year >= 100 && p.year <= 9999) << p.year;
    EXPECT_FALSE(FormatDate(v, "dd-mmm-yyyy hh:nn:ss t").empty());
    EXPECT_FALSE(StandardDateText(v).empty());
  }
}

// The program's fixed patterns, then the letter rules: m after an hour is minutes.
TEST(FormatDate, Patterns) {
  const double jan5 = At(46027, 7, 3, 4);  // 5 Jan 2026 07:03:04
  struct Row { double at; const char* pattern; const char* expected; };
  const Row rows[] = {
      {kInstant, "yymmdd", "261119"},          {kInstant, "hh:nn:ss", "14:05:09"},
      {kInstant, "dd-mmm-yy hh:mm:ss", "19-Nov-26 14:05:09"},
      {kInstant, "dd-mmm hh:mm:ss", "19-Nov 14:05:09"},
      {kInstant, "mm/dd/yy", "11/19/26"},      {kInstant, "dd-mmm-yyyy", "19-Nov-2026"},
      {kInstant, "HH:mm:ss", "14:05:09"},      {kInstant, "hh:mm", "14:05"},
      {kInstant, "mm/dd/yyyy hh:mm", "11/19/2026 14:05"},
      {jan5, "d/m/yyyy", "5/1/2026"},          {jan5, "D.M.YY", "5.1.26"},
      {jan5, "h:m:s", "7:3:4"},                {jan5, "h.mm", "7.03"},  // any separator after the hour
      {jan5, "hhmm", "0703"},                  {jan5, "mm:ss", "01:04"},  // no hour before: month
      {jan5, "hh dd mm", "07 05 01"},          // a day field in between: month
      {jan5, "mmm MMMM", "Jan January"},       {jan5, "ddd dddd", "Mon Monday"},
      {jan5, "t", "7:03:04 AM"},               {jan5, "TTTTT", "7:03:04 AM"},
      {jan5, "yyyy-mm-dd [x]", "2026-01-05 [x]"},
      {kInstant, "t", "2:05:09 PM"},           {kNov19, "t", "12:00:00 AM"},
      {At(kNov19, 12, 0, 0), "t", "12:00:00 PM"}, {At(kNov19, 11, 59, 59), "t", "11:59:59 AM"},
      {-36522, "dddd", "Wednesday"},  // 1 Jan 1800: a weekday before the epoch
  };
  for (const Row& r : rows) EXPECT_EQ(FormatDate(r.at, r.pattern), r.expected) << r.pattern;
}

TEST(StandardDateText, DateTimeDateOnlyTimeOnly) {
  EXPECT_EQ(StandardDateText(kInstant), "11/19/2026 2:05:09 PM");
  EXPECT_EQ(StandardDateText(kNov19), "11/19/2026");
  EXPECT_EQ(StandardDateText(At(kNov19, 0, 0, 1)), "11/19/2026 12:00:01 AM");
  EXPECT_EQ(StandardDateText(At(46027, 0, 0, 0)), "1/5/2026");
  EXPECT_EQ(StandardDateText(0), "12:00:00 AM");
  EXPECT_EQ(StandardDateText(0.75), "6:00:00 PM");
  EXPECT_EQ(StandardDateText(-1.25), "12/29/1899 6:00:00 AM");
}

// An operator format that reads the text wins over month-first; one that cannot falls back.
TEST(ParseDateText, StandardIsoAndOperatorForms) {
  struct Row { const char* text; double expected; const char* date = ""; const char* time = ""; };
  const Row rows[] = {
      {"11/19/2026 2:05:09 PM", kInstant},       {"11/19/2026", kNov19},
      {"  11/19/2026  ", kNov19},                {"1/5/2026 12:00:01 am", At(46027, 0, 0, 1)},
      {"11/19/2026 14:05", At(kNov19, 14, 5, 0)}, {"12:00:00 AM", 0},
      {"6:00:00 PM", 0.75},                      {"2026-11-19T14:05:09", kInstant},
      {"2026-11-19 14:05", At(kNov19, 14, 5, 0)}, {"2026-11-19", kNov19},
      {"2026-11-19T14:05:09.250", kInstant},
      {"05/06/2026 10:00", At(46178, 10, 0, 0), "dd/mm/yyyy", "hh:mm"},  // 5 June
      {"11/19/2026 2:05:09 PM", kInstant, "dd/mm/yyyy", "hh:mm"},
      {"5126", At(46027, 0, 0, 0), "dmyy"},  // one letter before another number: one digit
      {"12/31/9999", 2958465},
  };
  for (const Row& r : rows) {
    const auto v = ParseDateText(r.text, r.date, r.time);
    ASSERT_TRUE(v.has_value()) << r.text;
    EXPECT_NEAR(*v, r.expected, 1e-9) << r.text;
  }
}

TEST(ParseDateText, RoundTripThroughOperatorFormats) {
  struct Row { const char* date; const char* time; bool keepsSeconds; };
  const Row rows[] = {
      {"mm/dd/yyyy", "hh:mm", false},  {"dd-mmm-yyyy", "HH:mm:ss", true},
      {"mm/dd/yy", "hh:mm", false},    {"dd.mm.yyyy", "hh.mm", false},
      {"yyyy-mm-dd", "hh:mm:ss", true}, {"d-m-yyyy", "h:m:s", true},
      {"yymmdd", "hhmmss", true},      {"DD MMM YYYY", "TTTTT", true},
      {"dd mmm, yy", "hh-mm", false},
  };
  const double instants[] = {kInstant, At(46027, 7, 3, 4), At(45351, 23, 59, 59), At(46345, 0, 0, 0)};
  for (const Row& r : rows) {
    for (double t : instants) {
      const std::string text = FormatDate(t, std::string(r.date) + " " + r.time);
      const auto v = ParseDateText(text, r.date, r.time);
      ASSERT_TRUE(v.has_value()) << text << " with " << r.date << " " << r.time;
      const double expected = r.keepsSeconds ? t : std::floor(t * 1440.0 + 1e-9) / 1440.0;
      EXPECT_NEAR(*v, expected, 0.5 / 86400.0) << text;
      // The date alone reads back as midnight of the day.
      const auto d = ParseDateText(FormatDate(t, r.date), r.date, r.time);
      ASSERT_TRUE(d.has_value()) << FormatDate(t, r.date);
      EXPECT_NEAR(*d, std::floor(t), 1e-9);
    }
  }
}

TEST(ParseDateText, RejectsRatherThanGuesses) {
  struct Row { std::string text; std::string date = ""; std::string time = ""; };
  const Row rows[] = {
      {""}, {"   "}, {"tomorrow"}, {"13/01/2026"}, {"2/30/2026"}, {"2/29/2025"},  // no such day
      {"2/29/2024 24:00"}, {"11/19/2026 13:05 PM"}, {"11/19/2026 2:60:00 PM"},
      {"11/19/26"},  // the standard form has four-digit years
      {"11/19/2026 2:05:09 PM extra"}, {"2026-11-19T14:05:09+02:00"}, {"2026-13-01"},
      {"19-Nov 14:05:09", "dd-mmm", "hh:mm:ss"},  // no year in the format
      {"31-Apr-2026 10:00", "dd-mmm-yyyy", "hh:mm"},
      {"19-Xyz-2026 10:00", "dd-mmm-yyyy", "hh:mm"},
      {"19-11-2026", "dd/mm/yyyy", "hh:mm"},
      {"99999999999999999999/1/2026"},
      {std::string(1 << 20, '1'), "yyyymmdd", "hhmmss"},  // huge input rejected, not scanned
      {"11/19/2026 14:05", "mm/dd/yyyy", std::string(65, 'x')}, {"11/19/2026", std::string(65, 'x')},
      {"11/19/2026 :30", "mm/dd/yyyy", "hh:mm"},
      {"0000 10:00", "yyyy", "hh:mm"}, {"00 10:00", "dd", "hh:mm"},  // a date field read is a date
  };
  for (const Row& r : rows) EXPECT_FALSE(ParseDateText(r.text, r.date, r.time).has_value()) << r.text.substr(0, 40);
  // Every month's last day, and the day after it.
  const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int month = 1; month <= 12; ++month) {
    const auto day = [&](int d) { return std::to_string(month) + "/" + std::to_string(d) + "/2026"; };
    EXPECT_TRUE(ParseDateText(day(lengths[month - 1]), "", "").has_value()) << month;
    EXPECT_FALSE(ParseDateText(day(lengths[month - 1] + 1), "", "").has_value()) << month;
  }
}

}  // namespace
}  // namespace velnor
