#pragma once
// Where each message number lies in a store file, so that Load and Update read one record
// instead of walking the file from its start.
//
// An index is built by one walk of the whole file and kept in memory only, one per file
// (device and inode) for the whole process: every store object that opens that file uses
// and updates the same one. It is used only while it provably describes the file, and the
// answer is then the one the walk would give: the first record holding the number.
//
// Why it can be trusted. Each index holds an inotify watch on its file's inode, set up
// before the walk that fills it. The kernel queues an event on the watch, before the
// writer's system call returns, for every write, truncate, attribute change, rename or
// removal of that inode, whoever makes it and whether or not they take our lock; an event
// queue that overflows says so. So:
//  - A walk drains the queue before it reads. If the queue is still empty for this file
//    when the walk ends, nothing changed the file while it was read: the index is the file.
//  - Every operation drains the queue, under the lock, before it uses the index. An event
//    for the file means a change we did not make: the index is distrusted and the next
//    Load or Update walks again. No event means the file is as the index describes it.
//    The check needs no clock, so a change within the same tick as our own write (which
//    leaves size, mtime and ctime as they were) is caught all the same.
//  - Our own writes are followed: under the lock, the queue is drained just before the
//    write; after it, the index takes the new number of each record written, and the
//    write's own events are drained. Writers that take the lock cannot come between.
//  - On top of that, the file's identity, size, mtime and ctime must be as they were after
//    the last walk or write we made, and the caller checks that the record at the indexed
//    place still holds the number asked for. Any doubt falls back to the walk.
// Not covered: writers that ignore the lock and write during one of our own writes (their
// event cannot be told from ours), and writes through a shared memory mapping, which raise
// no event. Files on network or layered file systems, whose changes may come from outside
// this kernel, are never indexed; nor are files when inotify is unavailable.
//
// A child made by fork shares the parent's inotify queue; it drops what it inherited and
// starts its own, so that it never reads events meant for the parent.
#include <sys/stat.h>

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace velnor {

// True for local file systems whose file times and change events come from this kernel
// alone (ext2/3/4, xfs, btrfs, tmpfs, f2fs).
bool LocalKernelFileSystem(int fd);

class StoreIndex {
 public:
  // locked: the fstat of the store, open and locked. The file's index if it provably
  // describes the file now, else nullptr.
  static StoreIndex* Trusted(const struct stat& locked);
  // fd: the store, open and locked. An emptied index for a walk of the whole file to fill,
  // or nullptr when this file cannot be indexed. Call Walked for records 2, 3, ... in
  // order, then EndWalk.
  static StoreIndex* Rebuild(int fd, const struct stat& locked);
  // Forgets the file's index (a DeleteOne is about to replace the file).
  static void Drop(const struct stat& locked);

  // The first record (counted from 1, the header being 1) that holds number; 0 if none.
  std::int64_t Find(std::int32_t number) const;

  void Walked(std::int32_t number);
  // Trusts the index if nothing changed the file since Rebuild.
  void EndWalk(int fd);

  // Brackets writes of whole records under the lock: BeginWrite, Wrote for each record
  // written (the header excepted), EndWrite. An exception in between leaves the index
  // distrusted.
  void BeginWrite();
  void Wrote(std::int64_t record, std::int32_t number);
  void EndWrite(int fd);

  // Distrusts the index until the next walk.
  void Forget() { m_trusted = false; }

 private:
  friend struct IndexRegistry;
  StoreIndex(std::uint64_t dev, std::uint64_t ino, int wd) : m_dev(dev), m_ino(ino), m_wd(wd) {}
  // Trusts the index as describing the file in its state now, if nothing disturbed it.
  void settle(int fd);

  struct FileState {
    std::int64_t size = -1, mtimeNs = 0, ctimeNs = 0;
    bool operator==(const FileState&) const = default;
  };
  static FileState StateOf(const struct stat& st);

  std::uint64_t m_dev, m_ino;
  int m_wd;                // the inotify watch on the file; -1 once the kernel removed it
  bool m_trusted = false;  // describes the file as long as no event arrives
  bool m_clean = false;    // no event since the walk or write began
  FileState m_state;       // the file after our last walk or write
  std::uint64_t m_lastUse = 0;
  std::vector<std::int32_t> m_numbers;  // MsgNo of records 2, 3, ...
  std::unordered_map<std::int32_t, std::int64_t> m_first;
};

}  // namespace velnor
