#pragma once
#include "core/EventLog.h"

namespace velnor {

// Error entries go to the system log under the identifier "velnor".
class SyslogEventLog : public EventLog {
 public:
  SyslogEventLog();
  ~SyslogEventLog() override;
  void writeError(const std::string& text) override;
};

}  // namespace velnor
