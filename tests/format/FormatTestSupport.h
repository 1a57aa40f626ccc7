#pragma once
// Recording doubles for what the decoder reports to, and a receiving station built on them.
#include <cstdint>
#include <string>
#include <vector>

#include "app/SessionLog.h"
#include "core/DateTime.h"
#include "core/EventLog.h"
#include "format/Decoder.h"
#include "format/Notice.h"
#include "store/IcsMsg.h"
#include "tests/support/TempDir.h"

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
  void ShowNotice(const std::string& text, std::int32_t number) override { calls.push_back({text, number}); }
  std::vector<Call> calls;
};

// The message of the golden texts and the notice.
inline MsgRecord SampleMessage() {
  MsgRecord r;
  r.setMsgNo(17);
  r.setStatus(Status::ReadyToSend);
  r.setOrigin(Origin::Local);
  r.setKind(Kind::Message);
  r.setIcdName("Ridge Fire");
  r.setTo("Planning Chief");
  r.setToPos("PSC");
  r.setFr("Jo Marsh");
  r.setFrPos("COML");
  r.setSubj("Water tender");
  r.setMsgDate(ToOleDate({2026, 11, 19, 14, 5, 9}));
  r.setMsg("Need one tender\r\n\r\nat Div A");
  r.setSign("J. Marsh");
  r.setSignPos("COML");
  r.setRoute("EOC1:0");
  return r;
}

// A receiving station: its store, recording logs and notices, and day-first date settings.
struct Receiver {
  TempDir dir;
  RecordingEventLog events;
  RecordingSessionLog session;
  RecordingNotices notices;
  std::string dateFormat = "dd/mm/yyyy";
  std::string timeFormat = "hh:nn";
  StoreMsgContext ctx{dir.path(), events, session, notices, dateFormat, timeFormat};

  std::vector<MsgRecord> Filed() {
    IcsMsg store(dir.path(), events);
    std::vector<MsgRecord> out;
    store.ResetList();
    while (store.GetList()) out.push_back(store.rec());
    return out;
  }
};

}  // namespace velnor::testing
