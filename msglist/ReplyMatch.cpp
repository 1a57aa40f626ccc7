#include "msglist/ReplyMatch.h"

#include <cmath>
#include <string_view>
#include <unordered_map>

#include "core/DateTime.h"

namespace velnor {

namespace {

bool IsSentMessage(const MsgRow& r) {
  return r.origin == Origin::Local && r.kind == Kind::Message && r.status == Status::Sent;
}
bool IsReceivedReply(const MsgRow& r) { return r.origin == Origin::Received && r.kind == Kind::Reply; }

}  // namespace

int DateFit(double sent, double reply) {
  // The date travels as text to the second, so a second either way is the same date.
  if (std::fabs(sent - reply) * 86400 < 1.5) return 0;
  const DateParts s = FromOleDate(sent), r = FromOleDate(reply);
  if (s.year != r.year || s.month != r.month || s.day != r.day || r.second != 0) return -1;
  if (r.hour == s.hour && r.minute == s.minute) return 1;
  if (r.minute != 0) return -1;
  if (r.hour == s.hour) return 2;
  return r.hour == 0 ? 3 : -1;
}

void MatchReplies(std::vector<MsgRow>& rows) {
  std::unordered_map<std::string_view, std::vector<std::size_t>> sent;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    MsgRow& r = rows[i];
    r.link = 0;
    r.replies = 0;
    r.reply = ReplyState::None;
    if (IsSentMessage(r)) {
      r.reply = ReplyState::Awaiting;
      sent[r.matchKey].push_back(i);
    }
  }
  // Replies in the order they were filed: of two equally good messages the first reply
  // takes the one not yet answered, and of those the older.
  for (MsgRow& reply : rows) {
    if (!IsReceivedReply(reply)) continue;
    reply.reply = ReplyState::Unmatched;
    const auto it = sent.find(reply.matchKey);
    if (it == sent.end()) continue;
    MsgRow* best = nullptr;
    int bestFit = 0;
    for (std::size_t i : it->second) {
      MsgRow& m = rows[i];
      const int fit = DateFit(m.msgDate, reply.msgDate);
      if (fit < 0) continue;
      if (!best || fit < bestFit || (fit == bestFit && best->replies > 0 && m.replies == 0)) {
        best = &m;
        bestFit = fit;
      }
    }
    if (!best) continue;
    reply.reply = ReplyState::AnswersMessage;
    reply.link = best->number;
    if (best->replies++ == 0) {
      best->reply = ReplyState::Answered;
      best->link = reply.number;
    }
  }
}

}  // namespace velnor
