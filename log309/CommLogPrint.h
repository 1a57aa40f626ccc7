#pragma once
// The printed ICS 309 Communications Log, laid out as the paper form: the title, the
// header blocks (1 incident name, 2 operational period, 3 radio net or position/tactical
// call, 4 radio operator), block 5 the log itself with its column heads, then the footer
// blocks (6 prepared by, 7 date and time prepared, 8 page x of y) and a reference line.
// Every page repeats the header, lines are numbered across pages, and each page holds
// kLogLinesPerPage lines. Values are in a fixed-pitch face, so that a cell's width is
// known in characters: a text too long for its cell wraps at word boundaries onto a
// second line, and what is still left is cut with "...".
#include <string>
#include <vector>

#include "log309/CommLog.h"
#include "print/DrawingSurface.h"

namespace velnor {

class PrinterSystem;

// The header and footer values. Texts are station text.
struct LogHeader {
  std::string incident;
  LogPeriod period;
  std::string net;
  std::string operatorName, operatorCall;
  std::string preparedBy;
  double prepared = 0;         // OLE date
  std::string dateFormat;      // the operator's, for the period and the date prepared
  std::string programVersion;  // for the reference line
};

// Draws every page on the surface, starting a new page of it for each page after the
// first. Surface failures go to the caller.
void DrawCommLog(DrawingSurface& surface, const LogHeader& header, const std::vector<LogLine>& lines);

// Opens the current printer, draws the log and ends the job. Throws on any failure: a
// log with pages missing must not pass for a whole one.
void PrintCommLog(PrinterSystem& printers, const LogHeader& header, const std::vector<LogLine>& lines);

// The Time column: "hh:nn", with the day before it ("dd-mmm hh:nn") when the period
// spans midnight.
std::string LogTimePattern(const LogPeriod& period);

// A cell's text in lines of at most `width` characters, at most `maxLines` of them.
std::vector<std::string> CellLines(const std::string& text, std::size_t width, std::size_t maxLines);

}  // namespace velnor
