#pragma once
// The ICS 309 Communications Log of an operational period, built from the store: one line
// for every message the station sent or received in it. docs/ics309.md states the same
// rules for the operator.
//
// Which records give lines, and which lines:
//  - A received record (any origin but Local) gives one line: FROM the sender's identifier
//    and number, the pair its Route holds; TO our identifier and the number we filed it
//    under (its MsgNo).
//  - A local record gives one line when it was sent (Sent; Read counts too): FROM our
//    identifier and its MsgNo; TO the destination of its Route, with no number, since the
//    receiving station numbers it.
//  - A local reply is a received message answered here: the reply is written into the
//    received record, which becomes local. So it gives the line of the message as
//    received (whatever became of the reply) and, once sent, the line of our reply. The
//    sender's number went with the answer (its Route is now "<sender>:0").
//  - Drafts, queued, abandoned and New local records give their lines only when asked,
//    marked with their status. Deleted records never give any.
// Times: a reply's line takes the reply date (the message date when it has none), every
// other line the message date. The store keeps no time of arrival, so a received line
// carries the sender's date. A line is in the period when from <= time < to, to the
// second, so periods that meet count no message twice; a line without a date (0) is in
// no period.
// An empty identifier in a Route is stood in for by the other party's name on the form
// (the addressee of a message we sent, the sender of one we received); the number 0
// means "none" and is left empty.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velnor {

class IcsMsg;
class MsgRecord;

// One line of the log. Texts are station text.
struct LogLine {
  std::int64_t second = 0;  // the time as whole seconds (ordering and the period)
  double time = 0;          // the same as an OLE date, for formatting
  std::string fromId, fromNo, toId, toNo;
  std::string subject;
  bool reply = false;
  // "Received", "Sent", or for a line shown only on request the record's status word.
  std::string status;
  bool unsent = false;
};

struct LogPeriod {
  double from = 0;  // OLE dates
  double to = 0;
};

// Whole seconds of an OLE date; dates before 1900 count their time of day forwards, as
// the date format does.
std::int64_t OleSeconds(double ole);

// The lines one record gives, unsent ones included and marked, for the station whose
// identifier is `station`; appended in the order message, reply.
void AppendLogLines(const MsgRecord& rec, const std::string& station, std::vector<LogLine>& out);

// Every line the store gives, in store order (a ResetList/GetList walk). Throws VError
// when the store cannot be read.
std::vector<LogLine> ReadLogLines(IcsMsg& store, const std::string& station);

// The lines of the period in time order (store order within one second), without the
// unsent ones unless asked for.
std::vector<LogLine> SelectLogLines(const std::vector<LogLine>& all, const LogPeriod& period,
                                    bool includeUnsent);

// The Message column: the subject, "Reply: " before a reply's, the status after an
// unsent one's.
std::string LogMessageText(const LogLine& line);

// RFC 4180 text: UTF-8 with a byte-order mark (so spreadsheet programs take it as
// UTF-8), a header row, CR LF line ends, fields quoted when they hold a comma, quote or
// line break. Date and time in ISO 8601. A cell that begins like a formula (= + - @) is
// prefixed with an apostrophe, so a spreadsheet shows it rather than computing it.
std::string CommLogCsv(const std::vector<LogLine>& lines);

// Lines on one printed page, and the pages a log needs (an empty log is one page, so
// that the period is on file as one without traffic).
inline constexpr std::size_t kLogLinesPerPage = 27;
std::size_t LogPageCount(std::size_t lines);

}  // namespace velnor
