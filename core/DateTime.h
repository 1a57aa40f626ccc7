#pragma once
// Dates and times as OLE Automation dates (double: days since 30 Dec 1899 00:00, time of
// day as the fraction; 0 means "no date"), and the one pattern formatter of the program.
//
// Pattern letters are case-insensitive: d/dd day, m/mm month (minutes when directly
// after an hour field), mmm English month abbreviation, yy/yyyy year, h/hh hour on the
// 24-hour clock, n/nn minutes, s/ss seconds, t the full time (standard long time);
// every other character is copied.
#include <optional>
#include <string>
#include <string_view>

namespace velnor {

struct DateParts {
  int year = 1899, month = 12, day = 30;
  int hour = 0, minute = 0, second = 0;
};

double ToOleDate(const DateParts& p);
DateParts FromOleDate(double ole);  // rounded to the nearest second

// Formats with a pattern as described above.
std::string FormatDate(double ole, std::string_view pattern);

// The standard date text (US English): "11/19/2026 2:05:09 PM"; the date alone
// ("11/19/2026") at exactly midnight; the time alone ("2:05:09 PM") when the date part
// is zero, so 0 gives "12:00:00 AM".
std::string StandardDateText(double ole);

// Reads a date text back: the standard date text, ISO 8601 ("2026-11-19T14:05:09",
// "2026-11-19 14:05", "2026-11-19"), or a text made with dateFormat + " " + timeFormat.
// The given formats are tried first, so a reader of texts from elsewhere passes none.
// Returns nullopt rather than guessing when the text fits none of them (a pattern
// without a year, say, or day 31 in a 30-day month).
std::optional<double> ParseDateText(std::string_view text, std::string_view dateFormat = {},
                                    std::string_view timeFormat = {});

}  // namespace velnor
