#include "format/Decoder.h"

#include "app/SessionLog.h"
#include "core/DateTime.h"
#include "core/StringLib.h"
#include "format/Notice.h"
#include "store/IcsMsg.h"

namespace velnor {

namespace {

constexpr std::size_t kBodyWidth = 4000;
// No date text is anywhere near this long; longer values are rejected unread.
constexpr std::size_t kMaxDateText = 100;
constexpr std::size_t kMaxBadDates = 8;
constexpr std::size_t kMaxLoggedValue = 80;

bool Contains(std::string_view s, std::string_view what) {
  return s.find(what) != std::string_view::npos;
}

// The record reads zero bytes at either end of a field as padding, like blanks.
bool IsPad(char c) { return c == ' ' || c == '\0'; }

// A body as its record field would hold it after each line had been assigned to it in
// turn (blanks trimmed, cut to the width, padding trimmed on reading back). The value
// never starts with padding and an appended piece never ends with a blank, so only the
// appended piece can lose anything, at its end; once the width is reached nothing more
// can change the value.
class BodyText {
 public:
  void assign(std::string_view trimmed) {
    m_text.assign(trimmed.substr(0, kBodyWidth));
    std::size_t lead = 0;
    while (lead < m_text.size() && IsPad(m_text[lead])) ++lead;
    m_text.erase(0, lead);
    dropTrailingPad();
  }
  void append(std::string_view trimmed) {
    if (m_text.size() >= kBodyWidth) return;
    add("\r\n");
    add(trimmed);
    dropTrailingPad();
  }
  const std::string& text() const { return m_text; }

 private:
  void add(std::string_view piece) {
    m_text.append(piece.substr(0, kBodyWidth - m_text.size()));
  }
  void dropTrailingPad() {
    std::size_t n = m_text.size();
    while (n > 0 && IsPad(m_text[n - 1])) --n;
    m_text.resize(n);
  }

  std::string m_text;
};

double ReadDate(std::string_view value, const char* key, std::string_view dateFormat,
                std::string_view timeFormat, ParsedIncoming& out) {
  if (value.empty()) return 0;
  if (value.size() <= kMaxDateText) {
    // Our own stations write the standard date text; read that first, so an operator's
    // day-first format cannot turn a midnight "11/12/2026" into 11 December.
    if (auto d = ParseDateText(value)) return *d;
    if (auto d = ParseDateText(value, dateFormat, timeFormat)) return *d;
  }
  if (out.badDates.size() < kMaxBadDates) {
    out.badDates.push_back({key, std::string(value.substr(0, kMaxLoggedValue))});
  }
  return 0;
}

}  // namespace

ParsedIncoming ParseIncoming(std::string_view text, Origin origin, std::string_view dateFormat,
                             std::string_view timeFormat) {
  ParsedIncoming out;
  MsgRecord& rec = out.record;
  rec.setReply("");
  rec.setRepSign("");
  rec.setRepPos("");
  rec.setRepDate(0);

  bool inTag = false;
  int block = 0;  // 0 none, 1 message body, 2 reply body
  int positionCount = 1;
  int signatureCount = 1;
  std::string routeText;
  BodyText msg;
  BodyText reply;
  bool msgSet = false;  // a field no line sets keeps its zero bytes

  auto appendToBlock = [&](std::string_view trimmed) {
    if (block == 1) msg.append(trimmed);
    else if (block == 2) reply.append(trimmed);
  };

  while (!text.empty()) {
    const std::string line = GetLine(text);
    const std::string_view lv = line;
    if (Contains(lv, "!ICS213!")) {
      inTag = true;
      rec.setKeepLocal(Contains(lv, "!KEEPLOCAL!") ? 1 : 0);
      continue;
    }
    if (lv.substr(0, 2) == "--") continue;
    const std::size_t colon = lv.find(':');
    if (colon == std::string_view::npos) {
      if (Contains(lv, "!/ICS213!")) {
        out.complete = true;
        break;
      }
      if (inTag) appendToBlock(TrimSpaces(lv));
      continue;
    }
    const std::string_view key = TrimSpaces(lv.substr(0, colon));
    const std::string_view value = TrimSpaces(lv.substr(colon + 1));
    if (key == "ICDNAME") {
      rec.setIcdName(value);
    } else if (key == "TO") {
      rec.setTo(value);
    } else if (key == "FROM") {
      rec.setFr(value);
    } else if (key == "SUBJECT") {
      rec.setSubj(value);
    } else if (key == "DATE") {
      rec.setMsgDate(ReadDate(value, "DATE", dateFormat, timeFormat, out));
    } else if (key == "MESSAGE") {
      msg.assign(value);
      msgSet = true;
      block = 1;
    } else if (key == "REPLY") {
      reply.assign(value);
      block = 2;
    } else if (key == "RDATE") {
      rec.setRepDate(ReadDate(value, "RDATE", dateFormat, timeFormat, out));
    } else if (key == "ROUTE") {
      routeText.assign(value);
    } else if (key == "POSITION") {
      switch (positionCount) {
        case 1: rec.setToPos(value); break;
        case 2: rec.setFrPos(value); break;
        case 3: rec.setSignPos(value); break;
        case 4: rec.setRepPos(value); break;
        default: break;
      }
      if (positionCount < 5) ++positionCount;
    } else if (key == "SIGNATURE") {
      switch (signatureCount) {
        case 1: rec.setSign(value); break;
        case 2: rec.setRepSign(value); break;
        default: break;
      }
      if (signatureCount < 3) ++signatureCount;
    } else {
      appendToBlock(TrimSpaces(lv));
    }
  }

  if (msgSet) rec.setMsg(msg.text());
  rec.setReply(reply.text());
  rec.setOrigin(origin);
  rec.setStatus(Status::Unread);
  rec.setKind(TrimSpaces(rec.Reply()).empty() ? Kind::Message : Kind::Reply);

  const std::string_view rv = routeText;
  const std::size_t first = rv.find(':');
  if (first == std::string_view::npos) {
    rec.setRoute(rv);
  } else {
    const std::size_t second = rv.find(':', first + 1);
    const std::string_view idAndNumber =
        second == std::string_view::npos ? rv : rv.substr(0, second);
    rec.setRoute(idAndNumber);
  }
  return out;
}

std::int32_t StoreMsg(std::string_view text, Origin origin, const StoreMsgContext& ctx) {
  ParsedIncoming parsed = ParseIncoming(text, origin, ctx.dateFormat, ctx.timeFormat);

  IcsMsg store(ctx.dataPath, ctx.log);
  const std::int32_t number = store.NewMsg();
  store.rec() = parsed.record;
  store.rec().setMsgNo(number);

  ctx.sessionLog.WriteLog("StoreMsg...: Loading message titled: " + store.rec().Subj());
  store.Update(number);

  // Only now is it filed, and only now may the log say so.
  const std::string prefix = "StoreMsg...: Message " + std::to_string(number);
  for (const auto& bad : parsed.badDates) {
    ctx.sessionLog.WriteLog(prefix + ": " + bad.key + " value could not be read as a date: \"" +
                            bad.value + "\"; filed without that date");
  }
  if (!parsed.complete) {
    ctx.sessionLog.WriteLog(prefix +
                            " arrived incomplete (no \"!/ICS213!\"); filed as far as it came");
  }

  ctx.notices.ShowNotice(NoticeText(store.rec()), number);
  return number;
}

std::string NoticeText(const MsgRecord& rec) {
  const bool message = rec.Kind() == Kind::Message;
  std::string text = message ? "New incoming MESSAGE... " : "New incoming REPLY... ";
  text += "\r\nFROM:       ";
  text += message ? rec.Fr() : rec.To();
  text += "\r\nSUBJECT: ";
  text += rec.Subj();
  text += "\r\nDATE:       ";
  text += StandardDateText(rec.MsgDate());
  text += "\r\n\r\nPress Open to view the message or Close to skip.";
  return text;
}

}  // namespace velnor
