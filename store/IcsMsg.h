#pragma once
// The message store "velnor.odb": records of 8822 bytes, record 1 the header (counter of
// numbers given at bytes 0-3, "[ics213!.]" padded with spaces at 74-137, zero elsewhere),
// records 2.. the messages in the order added. Field layout: see MsgRecord.h.
//
// A store object holds one current record; each operation opens the file, works and
// closes it again, holding an advisory lock (flock) for its whole length so that other
// processes sharing the file never see or make half an operation.
//
// Load/Add/Update/GetList/DeleteOne write an event-log entry "<description> in
// PmMsg:<Op>" on failure and rethrow VError with source "PmMsg:<Op>".
#include <cstdint>
#include <string>

#include "store/MsgRecord.h"

namespace velnor {

class EventLog;

class IcsMsg {
 public:
  static constexpr std::int32_t RecLen = 8822;

  // dataPath: the data directory; the store is dataPath + "/velnor.odb".
  IcsMsg(const std::string& dataPath, EventLog& log);

  // The current record and its accessors.
  MsgRecord& rec() { return m_current; }
  const MsgRecord& rec() const { return m_current; }

  bool Load(std::int32_t number);
  void Add();
  short NewMsg();  // throws VError(kErrOverflow) past 32767, after storing
  void Update(std::int32_t number);
  void DeleteOne(std::int32_t number);
  void ResetList();
  bool GetList();

  const std::string& storeFile() const { return m_storeFile; }
  std::int32_t listPos() const { return m_listPos; }

 private:
  std::string m_dataPath;
  std::string m_storeFile;
  EventLog& m_log;
  MsgRecord m_current;
  MsgRecord m_scan;
  MsgRecord m_header;
  std::int32_t m_listPos = 1;
};

}  // namespace velnor
