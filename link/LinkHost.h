#pragma once
// What the link needs from the main window: its status bar, the message-information
// line, and the message codec. The window implements it; tests script it.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "store/MsgRecord.h"

namespace velnor {

class EventLog;

class LinkHost {
 public:
  virtual ~LinkHost() = default;
  // Status bar panels by key: "Status" (progress texts) and "NetState".
  virtual void setStatus(const std::string& panelKey, const std::string& text) = 0;
  // Current text of the "Status" panel.
  virtual std::string status() = 0;
  // A session changed the status of message `msgNo` in the store: the editor's
  // message-information line follows when that message is the one shown.
  virtual void RefreshMsgInfo(std::int32_t msgNo, Status now) = 0;
  // The tagged text of a queued record, as the send step's walk found it (the encoder).
  // A failure keeps the message queued.
  virtual std::string EncodeMsg(const MsgRecord& rec) = 0;
  // Files one received text (the decoder, origin "received"), announces it and returns
  // its number; throws when it could not be filed.
  virtual std::int32_t StoreMsg(const std::string& text) = 0;
  // Tells the operator something that must not be missed, without waiting for an answer:
  // the session goes on meanwhile.
  virtual void Warn(const std::string& text) = 0;
  // A session has ended; `why` says what failed ("Connection refused", "error during
  // Logging on"), empty when it went through.
  virtual void SessionEnded(bool ok, const std::string& why) = 0;
};

// The send step's own cursor over the store, independent of the record the editor holds.
class Outbox {
 public:
  virtual ~Outbox() = default;
  virtual void ResetList() = 0;
  virtual bool GetList() = 0;  // next message record in file order; false at the end
  virtual const MsgRecord& Record() const = 0;  // the record GetList returned
  // Sets that record's status and writes it back where the walk found it (not by its
  // number, which another program may have given twice). False when the record has
  // changed or gone since the walk read it: nothing is then written.
  virtual bool UpdateStatus(Status status) = 0;
};

using OutboxFactory = std::function<std::unique_ptr<Outbox>()>;

// An Outbox on the store file in dataPath (a fresh IcsMsg per call).
OutboxFactory StoreOutbox(std::string dataPath, EventLog& eventLog);

}  // namespace velnor
