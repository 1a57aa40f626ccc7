#pragma once
// Reading a received tagged text (see Encoder.h) back into a record and filing it.
//
// Lines are taken with GetLine; each goes to the first rule that fits:
//  1. contains "!ICS213!": inside the tag from now on; KeepLocal = 1 if the line also
//     has "!KEEPLOCAL!", else 0 (a later plain tag resets it);
//  2. starts with "--": a separator, dropped;
//  3. no ":": the closing tag "!/ICS213!" ends the text; otherwise, once inside the tag,
//     the trimmed line is appended (after CR LF) to the open body, MESSAGE or REPLY;
//  4. keyed line, split at the first ":" and both halves trimmed, wherever it stands
//     (before the tag, inside a body): ICDNAME TO FROM SUBJECT DATE MESSAGE REPLY RDATE
//     ROUTE set their field (MESSAGE and REPLY also open their body); POSITION goes to
//     ToPos, FrPos, SignPos, RepPos by count, SIGNATURE to Sign, RepSign; any other key
//     appends the whole trimmed line to the open body, tag or not.
// Bodies behave as if assigned line by line to their 4000-byte field (trimmed and cut at
// every step), but are built in a local buffer, so any input is read in linear time.
//
// Outcomes the tagged text itself leaves open:
//  - DATE and RDATE are read as the standard date text the encoder writes (or ISO 8601),
//    failing that in the operator's DateFormat and TimeFormat;
//  - a DATE or RDATE that cannot be read leaves that date 0 and the session log names
//    the message number and the value (an empty value is simply no date);
//  - ROUTE "id:number[:...]" gives Route "id:number"; a ROUTE without ":" keeps its text
//    (cut to the field), no ROUTE leaves Route empty; the message is filed either way;
//  - a text without "!/ICS213!" is filed with what was parsed and the session log says it
//    arrived incomplete.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "store/MsgRecord.h"

namespace velnor {

class EventLog;
class NoticeSink;
class SessionLogWriter;

struct ParsedIncoming {
  MsgRecord record;  // every parsed field, Origin/Status/Kind/Route set; MsgNo still 0
  bool complete = false;  // the closing tag was reached
  // "DATE" or "RDATE" with a value that could not be read, in order; only the first few
  // are kept, each value cut short, so a hostile text cannot grow the log without bound.
  struct BadDate {
    std::string key;
    std::string value;
  };
  std::vector<BadDate> badDates;
};

// Pure parse of a received text, no store or log involved.
ParsedIncoming ParseIncoming(std::string_view text, Origin origin, std::string_view dateFormat,
                             std::string_view timeFormat);

struct StoreMsgContext {
  const std::string& dataPath;
  EventLog& log;
  SessionLogWriter& sessionLog;
  NoticeSink& notices;
  const std::string& dateFormat;  // the operator's DateFormat and TimeFormat, for dates
  const std::string& timeFormat;  // written by stations with other settings
};

// Files a received text as a new record under a number from NewMsg, writes the session
// log line "StoreMsg...: Loading message titled: <Subj>", hands the notice text to the
// sink and returns the number. Store failures are thrown on as VError.
std::int32_t StoreMsg(std::string_view text, Origin origin, const StoreMsgContext& ctx);

}  // namespace velnor
