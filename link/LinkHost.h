#pragma once
// What the link needs from the main window: its status bar, the message-information
// line, and the message codec. The window implements it; tests script it.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace velnor {

class EventLog;

class LinkHost {
 public:
  virtual ~LinkHost() = default;
  // Status bar panels by key: "Status" (progress texts) and "NetState".
  virtual void setStatus(const std::string& panelKey, const std::string& text) = 0;
  // Current text of the "Status" panel.
  virtual std::string status() = 0;
  // Rebuilds the editor's message-information line after a record changed status.
  virtual void RefreshMsgInfo() = 0;
  // The tagged text of stored message n (the encoder); throws VError on failure.
  virtual std::string EncodeMsg(std::int32_t n) = 0;
  // Files one received reply (the decoder, origin "received") and announces it.
  virtual void StoreMsg(const std::string& text) = 0;
};

// The send step's own cursor over the store, independent of the record the editor holds.
class Outbox {
 public:
  virtual ~Outbox() = default;
  virtual void ResetList() = 0;
  virtual bool GetList() = 0;  // next message record in file order; false at the end
  virtual std::int32_t MsgNo() const = 0;
  virtual short Status() const = 0;
  virtual std::string Subj() const = 0;
  // Sets the current record's status and writes it back under its number.
  virtual void UpdateStatus(short status) = 0;
};

using OutboxFactory = std::function<std::unique_ptr<Outbox>()>;

// An Outbox on the store file in dataPath (a fresh IcsMsg per call).
OutboxFactory StoreOutbox(std::string dataPath, EventLog& eventLog);

}  // namespace velnor
