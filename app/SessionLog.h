#pragma once
// The day's session log, "Ics213-yymmdd.log" in the logs directory: a banner per
// start-up and one time-stamped line per event, CR LF, only ever appended to.
#include <string>

namespace velnor {

// What other subsystems need: append one event line. Never fails to the caller.
class SessionLogWriter {
 public:
  virtual ~SessionLogWriter() = default;
  virtual void WriteLog(const std::string& routine) = 0;
};

}  // namespace velnor
