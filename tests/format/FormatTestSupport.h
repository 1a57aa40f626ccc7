#pragma once
// Recording doubles for what the decoder reports to: the session log and the notices.
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/TempDir.h"
#include "app/SessionLog.h"
#include "core/EventLog.h"
#include "format/Notice.h"

namespace velnor::testing {

class RecordingSessionLog : public SessionLogWriter {
 public:
  void WriteLog(const std::string& routine) override { lines.push_back(routine); }
  std::vector<std::string> lines;
};

class RecordingNotices : public NoticeSink {
 public:
  struct Call {
    std::string text;
    std::int32_t number;
  };
  void ShowNotice(const std::string& text, std::int32_t number) override {
    calls.push_back({text, number});
  }
  std::vector<Call> calls;
};

}  // namespace velnor::testing
