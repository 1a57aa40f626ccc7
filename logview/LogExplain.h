#pragma once
// Plain words for the session log's technical lines, for the session log window. The log
// file keeps every line exactly as written; the window shows these words beside the lines
// an operator meets most: a link that failed, a message handed over or filed.
#include <string>
#include <string_view>

namespace velnor {

// How the window marks a line.
enum class LogTone { Plain, Good, Problem };

struct LogExplanation {
  std::string words;  // empty when the line is not one we explain
  LogTone tone = LogTone::Plain;
};

// `line` is a whole line of the log: time stamp, ": " and the event text; a line without
// a time stamp is taken as the event text itself.
LogExplanation ExplainLogLine(std::string_view line);

}  // namespace velnor
