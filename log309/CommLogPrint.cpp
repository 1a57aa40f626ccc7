#include "log309/CommLogPrint.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include "core/DateTime.h"
#include "core/StringLib.h"
#include "print/PrinterSystem.h"

namespace velnor {

namespace {

constexpr Colour kBlack = 0;
constexpr Colour kBandGrey = Rgb(200, 200, 200);

// The frame spans the same 185 mm as the ICS 213 page, so both print at the same size.
constexpr double kLeft = 10;
constexpr double kRight = 195;
constexpr double kTop = 14;
constexpr double kHeaderSplit = 95;
constexpr double kRow2 = 26;
constexpr double kBandTop = 38;
constexpr double kHeadTop = 44;
constexpr double kHeadSplit = 49;
constexpr double kLinesTop = 54;
constexpr double kLineHeight = 7;
constexpr double kFooterTop = kLinesTop + kLineHeight * static_cast<double>(kLogLinesPerPage);
constexpr double kFooterSplit = 160;
constexpr double kBottom = kFooterTop + 12;
constexpr PageContent kLogContent{kLeft, kRight, kBottom + 5};

// Columns of block 5: No. | Time | FROM Call Sign/ID | Msg # | TO Call Sign/ID | Msg # | Message.
constexpr std::array<double, 8> kCol = {kLeft, 20, 42, 70, 83, 111, 124, kRight};
// Characters of the 8-point fixed-pitch face (0.6 em, 1.69 mm) that fit each column.
constexpr std::array<std::size_t, 7> kColChars = {5, 12, 15, 7, 15, 7, 40};
// 9-point values of the header and footer blocks: 1.9 mm a character.
constexpr std::size_t kHalfBlockChars = 43;
constexpr std::size_t kOperatorChars = 49;

constexpr const char* kArial = "Arial";
constexpr const char* kCourier = "Courier New";
constexpr const char* kFormSource =
    "Ref: ICS 309, Communications Log, FEMA / NIMS Incident Command System forms";

void Text(DrawingSurface& s, const char* font, int size, bool bold, double x, double y,
          const std::string& text) {
  s.setFont(font, size, bold);
  s.setPosition(x, y);
  s.printText(text);
}

void Caption(DrawingSurface& s, double x, double y, const std::string& text) {
  Text(s, kArial, 7, false, x, y, text);
}

// Lines of a value, one under the other.
void Value(DrawingSurface& s, int size, double x, double y, const std::vector<std::string>& lines) {
  s.setFont(kCourier, size, false);
  s.setPosition(x, y);
  for (const std::string& line : lines) {
    s.setCurrentX(x);
    s.printText(line);
  }
}

std::string Joined(const std::string& a, const std::string& b) {
  if (a.empty() || b.empty()) return a + b;
  return a + ", " + b;
}

void DrawFrame(DrawingSurface& s) {
  s.setLineWidth(2);
  s.fillBox(kLeft, kBandTop, kRight, kHeadTop, kBandGrey);
  for (double y : {kTop, kRow2, kBandTop, kHeadTop, kLinesTop, kFooterTop, kBottom})
    s.drawLine(kLeft, y, kRight, y, kBlack);
  s.drawLine(kLeft, kTop, kLeft, kBottom, kBlack);
  s.drawLine(kRight, kTop, kRight, kBottom, kBlack);
  s.drawLine(kHeaderSplit, kTop, kHeaderSplit, kBandTop, kBlack);
  s.drawLine(kHeaderSplit, kFooterTop, kHeaderSplit, kBottom, kBlack);
  s.drawLine(kFooterSplit, kFooterTop, kFooterSplit, kBottom, kBlack);
  // FROM and TO each head a pair of columns.
  s.drawLine(kCol[2], kHeadSplit, kCol[6], kHeadSplit, kBlack);
  for (std::size_t c = 1; c + 1 < kCol.size(); ++c)
    s.drawLine(kCol[c], c == 3 || c == 5 ? kHeadSplit : kHeadTop, kCol[c], kFooterTop, kBlack);
  s.setLineWidth(1);
  for (std::size_t i = 1; i < kLogLinesPerPage; ++i) {
    const double y = kLinesTop + kLineHeight * static_cast<double>(i);
    s.drawLine(kLeft, y, kRight, y, kBlack);
  }
}

void DrawHeader(DrawingSurface& s, const LogHeader& h, std::size_t page, std::size_t pages) {
  Text(s, kArial, 12, true, 67, 7, "COMMUNICATIONS LOG (ICS 309)");

  Caption(s, kLeft + 1, kTop + 1, "1. Incident Name:");
  Value(s, 9, kLeft + 3, kTop + 4.5, CellLines(h.incident, kHalfBlockChars, 2));
  Caption(s, kHeaderSplit + 1, kTop + 1, "2. Operational Period:");
  const auto period = [&](double y, const char* fromCaption, const std::string& from, const char* toCaption,
                          const std::string& to) {
    Caption(s, kHeaderSplit + 2, y + 0.5, fromCaption);
    Value(s, 9, kHeaderSplit + 16, y, {from});
    Caption(s, kHeaderSplit + 51, y + 0.5, toCaption);
    Value(s, 9, kHeaderSplit + 63, y, {to});
  };
  period(kTop + 4.5, "Date From:", FormatDate(h.period.from, h.dateFormat),
         "Date To:", FormatDate(h.period.to, h.dateFormat));
  period(kTop + 8, "Time From:", FormatDate(h.period.from, "hh:nn"),
         "Time To:", FormatDate(h.period.to, "hh:nn"));

  Caption(s, kLeft + 1, kRow2 + 1, "3. Radio Net Name or Position/Tactical Call:");
  Value(s, 9, kLeft + 3, kRow2 + 4.5, CellLines(h.net, kHalfBlockChars, 2));
  Caption(s, kHeaderSplit + 1, kRow2 + 1, "4. Radio Operator (Name, Call Sign/ID):");
  Value(s, 9, kHeaderSplit + 3, kRow2 + 4.5,
        CellLines(Joined(h.operatorName, h.operatorCall), kOperatorChars, 2));

  Text(s, kArial, 9, true, kLeft + 1, kBandTop + 1.2, "5. COMMUNICATIONS LOG");
  Caption(s, kCol[0] + 1, kHeadTop + 3.5, "No.");
  Caption(s, kCol[1] + 1, kHeadTop + 2, "Time");
  Caption(s, kCol[1] + 1, kHeadTop + 5, "(24-hour)");
  Text(s, kArial, 7, true, kCol[2] + 1, kHeadTop + 1, "FROM");
  Text(s, kArial, 7, true, kCol[4] + 1, kHeadTop + 1, "TO");
  for (std::size_t c : {2u, 4u}) {
    Caption(s, kCol[c] + 1, kHeadSplit + 1, "Call Sign/ID");
    Caption(s, kCol[c + 1] + 1, kHeadSplit + 1, "Msg #");
  }
  Caption(s, kCol[6] + 1, kHeadTop + 3.5, "Message");

  Caption(s, kLeft + 1, kFooterTop + 1, "6. Prepared By (Name, Call Sign):");
  Value(s, 9, kLeft + 3, kFooterTop + 4.5, CellLines(h.preparedBy, kHalfBlockChars, 2));
  Caption(s, kHeaderSplit + 1, kFooterTop + 1, "7. Date & Time Prepared:");
  Value(s, 9, kHeaderSplit + 3, kFooterTop + 4.5, {FormatDate(h.prepared, h.dateFormat + " hh:nn")});
  Caption(s, kFooterSplit + 1, kFooterTop + 1, "8.");
  Value(s, 9, kFooterSplit + 3, kFooterTop + 4.5,
        {"Page " + std::to_string(page) + " of " + std::to_string(pages)});
  Text(s, kArial, 8, false, kLeft + 1, kBottom + 1,
       std::string(kFormSource) + "\t\t\t\t\t\tCreated by: velnor.exe, v" + h.programVersion);
}

void DrawLine(DrawingSurface& s, double top, std::size_t number, const std::string& timePattern,
              const LogLine& l) {
  const std::array<std::string, 7> cells = {
      std::to_string(number), FormatDate(l.time, timePattern), l.fromId, l.fromNo, l.toId, l.toNo,
      LogMessageText(l)};
  std::array<std::vector<std::string>, 7> wrapped;
  std::size_t height = 1;
  for (std::size_t c = 0; c < cells.size(); ++c) {
    wrapped[c] = CellLines(cells[c], kColChars[c], 2);
    height = std::max(height, wrapped[c].size());
  }
  // One line sits in the middle of its row; two fill it.
  const double y = top + (height == 1 ? 1.8 : 0.35);
  for (std::size_t c = 0; c < cells.size(); ++c) Value(s, 8, kCol[c] + 1, y, wrapped[c]);
}

}  // namespace

std::vector<std::string> CellLines(const std::string& text, std::size_t width, std::size_t maxLines) {
  std::vector<std::string> lines(1);
  std::string_view rest = text;
  bool full = false;
  for (std::string word = GetWord(rest); !word.empty() && !full; word = GetWord(rest)) {
    while (!word.empty()) {
      std::string& line = lines.back();
      if ((line.empty() ? 0 : line.size() + 1) + word.size() <= width) {
        line += (line.empty() ? "" : " ") + word;
        break;
      }
      // A word wider than the cell is broken where the cell ends.
      if (line.empty()) {
        line = word.substr(0, width);
        word.erase(0, width);
        if (word.empty()) break;
      }
      if (lines.size() == maxLines) {
        full = true;
        break;
      }
      lines.emplace_back();
    }
  }
  if (full) {
    std::string& last = lines.back();
    last = last.substr(0, std::min(last.size(), width > 3 ? width - 3 : 0)) + "...";
  }
  return lines;
}

std::string LogTimePattern(const LogPeriod& period) {
  // The period's last second: one that ends at midnight does not reach the next day.
  const bool oneDay = FormatDate(period.from, "yyyymmdd") == FormatDate(period.to - 1.0 / 86400, "yyyymmdd");
  return oneDay ? "hh:nn" : "dd-mmm hh:nn";
}

void DrawCommLog(DrawingSurface& s, const LogHeader& header, const std::vector<LogLine>& lines) {
  const std::size_t pages = LogPageCount(lines.size());
  const std::string timePattern = LogTimePattern(header.period);
  for (std::size_t page = 1; page <= pages; ++page) {
    if (page > 1) s.newPage();
    s.setScaleMillimetres();
    DrawFrame(s);
    DrawHeader(s, header, page, pages);
    const std::size_t first = (page - 1) * kLogLinesPerPage;
    const std::size_t end = std::min(lines.size(), first + kLogLinesPerPage);
    for (std::size_t i = first; i < end; ++i)
      DrawLine(s, kLinesTop + kLineHeight * static_cast<double>(i - first), i + 1, timePattern, lines[i]);
  }
}

void PrintCommLog(PrinterSystem& printers, const LogHeader& header, const std::vector<LogLine>& lines) {
  std::unique_ptr<DrawingSurface> surface = printers.OpenSurface(kLogContent);
  DrawCommLog(*surface, header, lines);
  surface->endDocument();
}

}  // namespace velnor
