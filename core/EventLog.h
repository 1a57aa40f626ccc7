#pragma once
// The application event log: where store and file-location failures leave an error entry
// that outlives the session. The program writes to the system log; tests record.
#include <string>
#include <vector>

namespace velnor {

class EventLog {
 public:
  virtual ~EventLog() = default;
  virtual void writeError(const std::string& text) = 0;
};

class RecordingEventLog : public EventLog {
 public:
  void writeError(const std::string& text) override { entries.push_back(text); }
  std::vector<std::string> entries;
};

// Discards entries; for tools that have nowhere to report.
class NullEventLog : public EventLog {
 public:
  void writeError(const std::string&) override {}
};

}  // namespace velnor
