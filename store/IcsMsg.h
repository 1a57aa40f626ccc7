#pragma once
// The message store "velnor.odb": records of 8822 bytes, record 1 the header (counter of
// numbers given at bytes 0-3, "[ics213!.]" padded with spaces at 74-137, zero elsewhere),
// records 2.. the messages in the order added. Field layout: see MsgRecord.h.
//
// A store object holds one current record; each operation opens the file, works and
// closes it again, holding an advisory lock (flock) for its whole length so that other
// processes sharing the file never see or make half an operation. NewMsg holds it from
// reading the counter to appending the record, so no two processes get one number.
//
// The lock is taken on the store file itself, which DeleteOne replaces by rename: a
// process that was waiting on the old file would wake up holding a lock on a file no
// longer in the directory. So after locking, an operation compares the inode it locked
// with the one the path names now and starts again on a mismatch. DeleteOne writes
// "IcsData.tmp" beside the store under that lock, fsyncs it and renames it over the
// store in one step: a crash at any instant leaves the old or the new store.
//
// Files whose length is not a multiple of 8822 are read with the last record padded with
// zero bytes. The record count is length / 8822 rounded to nearest, halves to even.
//
// Load/Add/Update/GetList/DeleteOne write an event-log entry "<description> in
// PmMsg:<Op>" on failure and rethrow VError with source "PmMsg:<Op>".
#include <cstdint>
#include <functional>
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

  // Called by DeleteOne at each of its steps (1 tmp created, 2 each chunk written, 3
  // written and synced, 4 renamed); lets tests stop a process at a chosen point.
  void setStepHook(std::function<void(int)> hook) { m_stepHook = std::move(hook); }

 private:
  // Logs "<description> in PmMsg:<op>" and throws the failure again with that source.
  [[noreturn]] void rethrow(const char* op);
  void step(int n) {
    if (m_stepHook) m_stepHook(n);
  }

  std::string m_dataPath;
  std::string m_storeFile;
  EventLog& m_log;
  MsgRecord m_current;
  MsgRecord m_scan;
  MsgRecord m_header;
  std::int32_t m_listPos = 1;
  std::function<void(int)> m_stepHook;
};

}  // namespace velnor
