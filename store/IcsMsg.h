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
// zero bytes. The record count is length / 8822 rounded to nearest, halves to even. NewMsg
// on a file shorter than one record writes a whole header (marker, the counter it found)
// and appends after it.
//
// Load and Update find a number through this process's index of the file (StoreIndex.h):
// one record read, with the answer the walk from the start would give, as long as the
// index provably describes the file; otherwise they walk the whole file and rebuild it.
// The writes of store objects of this process keep it up to date; DeleteOne, which
// replaces the file, drops it.
//
// A ResetList/GetList walk reads ahead: GetList keeps a block of the records after the one
// it returns, with the file's state (device, inode, size, mtime, ctime, mode, owner) as
// seen under the lock when the block was read, and a descriptor of that file opened
// without a lock. A later GetList serves the next record from the block, without opening
// or locking the file, only when an fstat of that descriptor shows the state unchanged
// and the file still linked; anything else goes the locked way and reads again. (An fstat
// costs a third less than a stat of the path, and the walk makes one per record.)
// Why an unchanged state proves unchanged contents:
//  - Every writer of this store holds the lock while it writes, so the block is one
//    whole, settled state of the file, and every change after it comes after our unlock.
//  - A write, truncate, chmod or rename sets the inode's ctime to the file system's
//    clock (CLOCK_REALTIME, coarse, cut to the file system's granularity). A store
//    replaced by rename or removed loses its last link (and gets a newer ctime); one
//    renamed away gets a newer ctime. Renaming a directory above the store touches
//    neither: the walk sees the file now under that name when its block runs out.
//  - The catch is a change within the same clock tick as the ctime we saw: it leaves
//    ctime (and a same-size write leaves everything) unchanged. So a block is trusted only
//    when, at the time it was read, its ctime already lay at least one granularity plus
//    two coarse ticks in the past: any later change then gets a strictly newer ctime.
//    Blocks read sooner are used once and read again (see FileStateSettled).
//  - Granularity: the cache is used only on local file systems whose clock is this
//    kernel's and whose granularity is 1 ns or 1 s (ext2/3/4, xfs, btrfs, tmpfs, f2fs).
//    A ctime with nonzero nanoseconds rules out 1 s; otherwise 1 s is assumed. Network
//    file systems stamp times with the server's clock and are never cached.
//  - The realtime clock stepped back could reproduce an old ctime: a block is dropped
//    when the offset between the realtime and monotonic clocks has moved since it was
//    read. Every write by any store object of this process drops all blocks at once.
//  - Not covered, as the lock does not cover them either: writers that ignore the lock,
//    and writes through a shared memory mapping (which need not touch ctime).
// A GetList served from the block cannot fail where the locked way would only on
// conditions that do not concern the contents (no free descriptors, a read-only remount).
//
// Load/Add/Update/UpdateListed/GetList/DeleteOne write an event-log entry "<description> in
// PmMsg:<Op>" on failure and rethrow VError with source "PmMsg:<Op>".
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

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
  // Throws VError(kErrOverflow), after storing, when the counter it took was outside
  // 0..32766: numbers run from 1 to 32767.
  short NewMsg();
  void Update(std::int32_t number);
  // Writes the current record over the record the last GetList returned, found by its
  // place in the file rather than its number: a store written by another program may hold
  // one number twice, and Update would then write over the first of them. `listed` is
  // that record as GetList returned it. If another process has moved it since (a
  // DeleteOne before it), the first record still equal to it is written instead; false,
  // and nothing written, when the store no longer holds it.
  bool UpdateListed(const MsgRecord& listed);
  void DeleteOne(std::int32_t number);
  void ResetList();
  bool GetList();

  const std::string& storeFile() const { return m_storeFile; }
  std::int32_t listPos() const { return m_listPos; }

  // Called by DeleteOne at each of its steps (1 tmp created, 2 each chunk written, 3
  // written and synced, 4 renamed); lets tests stop a process at a chosen point.
  void setStepHook(std::function<void(int)> hook) { m_stepHook = std::move(hook); }

  // The file system's clock, in ns since 1970, as GetList uses it to decide whether a
  // block may be trusted; CLOCK_REALTIME unless tests fix it.
  void setFileClock(std::function<std::int64_t()> nowNs) { m_fileClock = std::move(nowNs); }
  // How many times GetList opened and read the store (the rest came from its block).
  std::int64_t listFileReads() const { return m_listFileReads; }
  // How many times Load and Update walked the file (the rest went through the index).
  std::int64_t walks() const { return m_walks; }

  // True when a block read at nowNs, of a file whose ctime was ctimeNs, may be trusted:
  // any later change of the file is then bound to get a newer ctime. tickNs is the
  // coarse clock's resolution.
  static bool FileStateSettled(std::int64_t ctimeNs, std::int64_t nowNs, std::int64_t tickNs);

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

  // The record after ListPos, served from the read-ahead block when it is still valid.
  bool listFromBlock(bool& found);

  struct FileState {
    std::uint64_t dev = 0, ino = 0;
    std::int64_t size = -1, mtimeNs = 0, ctimeNs = 0;
    std::uint32_t mode = 0, uid = 0, gid = 0;
    bool operator==(const FileState&) const = default;
  };
  struct ListBlock {
    ListBlock() = default;
    ListBlock(const ListBlock&) = delete;
    ListBlock& operator=(const ListBlock&) = delete;
    ~ListBlock() { drop(); }
    void drop();  // forgets the records and closes the descriptor

    std::vector<unsigned char> bytes;
    int fd = -1;             // the file the block was read from, opened without a lock
    std::int64_t first = 0;  // record number of the first record held
    std::int64_t count = 0;  // records held; 0 when there is no trusted block
    FileState state;
    std::uint64_t writes = 0;       // the process's store writes when it was read
    std::int64_t clockOffsetNs = 0;  // realtime minus monotonic when it was read
    std::int64_t readAhead = 1;
  };
  ListBlock m_block;
  std::function<std::int64_t()> m_fileClock;
  std::int64_t m_listFileReads = 0;
  std::int64_t m_walks = 0;
};

}  // namespace velnor
