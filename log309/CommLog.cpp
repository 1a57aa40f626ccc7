#include "log309/CommLog.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "core/Cp1252.h"
#include "core/DateTime.h"
#include "store/IcsMsg.h"
#include "store/MsgRecord.h"

namespace velnor {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

std::string Trimmed(std::string_view s) {
  const auto first = s.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return std::string(s.substr(first, s.find_last_not_of(' ') - first + 1));
}

// The identifier and number of a Route pair; "0" is no number.
void SplitRoute(const std::string& route, std::string& id, std::string& number) {
  const auto colon = route.find(':');
  id = Trimmed(std::string_view(route).substr(0, colon));
  number.clear();
  if (colon == std::string::npos) return;
  const std::string_view rest = std::string_view(route).substr(colon + 1);
  number = Trimmed(rest.substr(0, rest.find(':')));
  if (number == "0") number.clear();
}

LogLine Line(double time, bool reply, std::string status, bool unsent) {
  LogLine l;
  l.time = time;
  l.second = OleSeconds(time);
  l.reply = reply;
  l.status = std::move(status);
  l.unsent = unsent;
  return l;
}

std::string CsvField(const std::string& text) {
  std::string v = text;
  if (!v.empty() && (v[0] == '=' || v[0] == '+' || v[0] == '-' || v[0] == '@'))
    v.insert(v.begin(), '\'');
  if (v.find_first_of(",\"\r\n") == std::string::npos) return v;
  std::string out = "\"";
  for (char c : v) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + '"';
}

}  // namespace

std::int64_t OleSeconds(double ole) {
  if (!std::isfinite(ole)) return 0;
  const double days = std::trunc(ole);
  return static_cast<std::int64_t>(days) * kSecondsPerDay +
         std::llround(std::fabs(ole - days) * static_cast<double>(kSecondsPerDay));
}

void AppendLogLines(const MsgRecord& rec, const std::string& station, std::vector<LogLine>& out) {
  const Status status = rec.Status();
  if (status == Status::Deleted) return;
  const bool local = rec.Origin() == Origin::Local;
  const bool reply = rec.Kind() == Kind::Reply;
  std::string routeId, routeNo;
  SplitRoute(rec.Route(), routeId, routeNo);
  const std::string ourNo = std::to_string(rec.MsgNo());
  const double replyTime = rec.RepDate() != 0 ? rec.RepDate() : rec.MsgDate();

  // What came in: a received record, or the message a local reply answers.
  if (!local || reply) {
    const bool answered = local;  // the reply was written into it here
    LogLine l = Line(answered || !reply ? rec.MsgDate() : replyTime, reply && !answered, "Received", false);
    // A received reply was written by the addressee of the message it answers.
    l.fromId = !routeId.empty() ? routeId : (reply && !answered ? rec.To() : rec.Fr());
    l.fromNo = routeNo;
    l.toId = station;
    l.toNo = ourNo;
    l.subject = rec.Subj();
    out.push_back(std::move(l));
  }
  if (!local) return;

  // What went out: a message of ours, or our reply.
  const bool sent = status == Status::Sent || status == Status::Read;
  std::string word = sent ? "Sent" : MsgRecord::StatusWord(status);
  if (word.empty()) word = "Status " + std::to_string(static_cast<int>(status));
  LogLine l = Line(reply ? replyTime : rec.MsgDate(), reply, std::move(word), !sent);
  l.fromId = station;
  l.fromNo = ourNo;
  // A reply goes back to the sender of the message it answers.
  l.toId = !routeId.empty() ? routeId : (reply ? rec.Fr() : rec.To());
  l.toNo = routeNo;
  l.subject = rec.Subj();
  out.push_back(std::move(l));
}

std::vector<LogLine> ReadLogLines(IcsMsg& store, const std::string& station) {
  std::vector<LogLine> out;
  store.ResetList();
  while (store.GetList()) AppendLogLines(store.rec(), station, out);
  return out;
}

std::vector<LogLine> SelectLogLines(const std::vector<LogLine>& all, const LogPeriod& period,
                                    bool includeUnsent) {
  const std::int64_t from = OleSeconds(period.from), to = OleSeconds(period.to);
  std::vector<LogLine> out;
  for (const LogLine& l : all) {
    if (l.time == 0 || l.second < from || l.second >= to) continue;
    if (l.unsent && !includeUnsent) continue;
    out.push_back(l);
  }
  std::stable_sort(out.begin(), out.end(),
                   [](const LogLine& a, const LogLine& b) { return a.second < b.second; });
  return out;
}

std::string LogMessageText(const LogLine& line) {
  std::string text = line.reply ? "Reply: " + line.subject : line.subject;
  if (line.unsent) text += " [" + line.status + "]";
  return text;
}

std::string CommLogCsv(const std::vector<LogLine>& lines) {
  std::string csv =
      "No,Date,Time,From Call Sign/ID,From Msg #,To Call Sign/ID,To Msg #,Subject,Reply,Status\r\n";
  std::size_t n = 0;
  for (const LogLine& l : lines) {
    csv +=
        std::to_string(++n) + ',' + FormatDate(l.time, "yyyy-mm-dd") + ',' + FormatDate(l.time, "hh:nn:ss");
    for (const std::string* cell : {&l.fromId, &l.fromNo, &l.toId, &l.toNo, &l.subject})
      csv += ',' + CsvField(*cell);
    csv += std::string(",") + (l.reply ? "Yes" : "") + ',' + CsvField(l.status) + "\r\n";
  }
  return "\xEF\xBB\xBF" + Cp1252ToUtf8(csv);
}

std::size_t LogPageCount(std::size_t lines) {
  return lines == 0 ? 1 : (lines + kLogLinesPerPage - 1) / kLogLinesPerPage;
}

}  // namespace velnor
