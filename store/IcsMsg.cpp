#include "store/IcsMsg.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "core/EventLog.h"
#include "core/VError.h"
#include "store/StoreIndex.h"

namespace velnor {
namespace {

constexpr std::size_t kRec = MsgRecord::kSize;
// Records per read or write while walking the file: about 1 MB per system call.
constexpr std::int64_t kChunkRecords = 128;
constexpr int kMaxReopen = 1000;
// A walk's first read-ahead; it doubles while the walk goes on, up to kChunkRecords.
constexpr std::int64_t kFirstReadAhead = 8;
constexpr std::int64_t kNsPerSec = 1'000'000'000;

// Every write to a store by any object of this process; a change drops read-ahead blocks.
std::uint64_t g_storeWrites = 0;

std::int64_t ClockNs(clockid_t id) {
  timespec ts{};
  ::clock_gettime(id, &ts);
  return static_cast<std::int64_t>(ts.tv_sec) * kNsPerSec + ts.tv_nsec;
}

// Moves only when the realtime clock is stepped (slewing moves both clocks alike).
std::int64_t ClockOffsetNs() { return ClockNs(CLOCK_REALTIME) - ClockNs(CLOCK_MONOTONIC); }

// The resolution of the coarse clock that stamps file times: one kernel tick.
std::int64_t CoarseTickNs() {
  static const std::int64_t tick = [] {
    timespec ts{};
    if (::clock_getres(CLOCK_REALTIME_COARSE, &ts) != 0) return kNsPerSec / 10;
    return static_cast<std::int64_t>(ts.tv_sec) * kNsPerSec + ts.tv_nsec;
  }();
  return tick;
}

// A file time in ns, or false when it does not fit (past the year 2262).
bool TimeNs(const timespec& ts, std::int64_t& out) {
  constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() / kNsPerSec - 1;
  if (ts.tv_sec > limit || ts.tv_sec < -limit) return false;
  out = static_cast<std::int64_t>(ts.tv_sec) * kNsPerSec + ts.tv_nsec;
  return true;
}

std::int64_t RecCountFor(off_t size) {
  const double count = std::nearbyint(static_cast<double>(size) / static_cast<double>(kRec));
  return static_cast<std::int64_t>(std::min(count, 2147483647.0));
}

VError Overflow(const std::string& source) { return VError(kErrOverflow, source, "Overflow"); }

// The header of a new store: the counter, the marker, zero bytes elsewhere.
MsgRecord NewHeader(std::int32_t counter) {
  MsgRecord header;
  header.setMsgNo(counter);
  header.setTo("[ics213!.]");
  return header;
}

std::int32_t MsgNoOf(const unsigned char* rec) {
  const std::uint32_t v = static_cast<std::uint32_t>(rec[0]) | static_cast<std::uint32_t>(rec[1]) << 8 |
                          static_cast<std::uint32_t>(rec[2]) << 16 | static_cast<std::uint32_t>(rec[3]) << 24;
  return static_cast<std::int32_t>(v);
}

void WriteAll(int fd, const unsigned char* data, std::size_t len, off_t offset, const std::string& source) {
  while (len > 0) {
    const ssize_t n = ::pwrite(fd, data, len, offset);
    if (n < 0) {
      if (errno == EINTR) continue;
      throw ErrnoError(errno, source);
    }
    if (n == 0) throw ErrnoError(EIO, source);
    data += n;
    len -= static_cast<std::size_t>(n);
    offset += n;
  }
}

class Fd {
 public:
  Fd() = default;
  explicit Fd(int fd) : m_fd(fd) {}
  ~Fd() { reset(); }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  int get() const { return m_fd; }
  void reset(int fd = -1) {
    if (m_fd >= 0) ::close(m_fd);  // closing the store unlocks it; a failure is ignored
    m_fd = fd;
  }
  int release() {
    const int fd = m_fd;
    m_fd = -1;
    return fd;
  }

 private:
  int m_fd = -1;
};

// The open, locked store for the length of one operation.
class StoreFile {
 public:
  StoreFile(const std::string& path, MsgRecord& header) {
    const std::string source = "PmMsg:OpenStore";
    struct stat locked {};
    for (int attempt = 0;; ++attempt) {
      m_fd.reset(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
      if (m_fd.get() < 0) throw ErrnoError(errno, source);
      while (::flock(m_fd.get(), LOCK_EX) != 0) {
        if (errno != EINTR) throw ErrnoError(errno, source);
      }
      if (::fstat(m_fd.get(), &locked) != 0) throw ErrnoError(errno, source);
      struct stat named {};
      // A DeleteOne elsewhere may have renamed a new store over the one we waited on.
      if (::stat(path.c_str(), &named) == 0 && named.st_dev == locked.st_dev &&
          named.st_ino == locked.st_ino)
        break;
      if (attempt >= kMaxReopen) throw VError(kErrPathFileAccess, source, "Path/File access error");
    }
    m_locked = locked;
    m_mode = locked.st_mode & 07777;
    m_size = locked.st_size;
    if (m_size == 0) {
      // InitHeader: a new store starts with counter 0 and the marker.
      header = NewHeader(0);
      writeRecord(1, header.image().data(), "PmMsg:InitHeader");
    }
    recount();
  }

  // The record count for the file's length now, as an operation that opened it anew sees it.
  void recount() { m_recCount = RecCountFor(m_size); }

  int fd() const { return m_fd.get(); }
  std::int64_t recCount() const { return m_recCount; }
  mode_t mode() const { return m_mode; }
  // The file as fstat saw it under the lock, before this operation wrote anything.
  const struct stat& lockedStat() const { return m_locked; }
  bool wroteHeader() const { return m_locked.st_size == 0; }
  off_t size() const { return m_size; }

  // Reads count records starting at record first (from 1); whatever lies past the end of
  // the file reads as zero bytes.
  void readRecords(std::int64_t first, std::int64_t count, unsigned char* out, const std::string& source) const {
    const std::size_t want = static_cast<std::size_t>(count) * kRec;
    off_t offset = static_cast<off_t>(first - 1) * static_cast<off_t>(kRec);
    std::size_t got = 0;
    while (got < want) {
      const ssize_t n = ::pread(m_fd.get(), out + got, want - got, offset);
      if (n < 0) {
        if (errno == EINTR) continue;
        throw ErrnoError(errno, source);
      }
      if (n == 0) break;
      got += static_cast<std::size_t>(n);
      offset += n;
    }
    std::memset(out + got, 0, want - got);
  }

  void writeRecord(std::int64_t index, const unsigned char* data, const std::string& source) {
    const off_t offset = static_cast<off_t>(index - 1) * static_cast<off_t>(kRec);
    ++g_storeWrites;
    WriteAll(m_fd.get(), data, kRec, offset, source);
    m_size = std::max<off_t>(m_size, offset + static_cast<off_t>(kRec));
  }

  void grow() { ++m_recCount; }

 private:
  Fd m_fd;
  struct stat m_locked {};
  off_t m_size = 0;
  std::int64_t m_recCount = 0;
  mode_t m_mode = 0644;
};

// Walks records 2..RecCount in chunks for the first whose MsgNo is number; into ends
// holding that record, or the last one read. Returns its index, or 0. The 16-bit walk of
// Load and Update cannot go past record 32767. With an index to fill, the walk reads every
// record, and into ends as it would have.
std::int64_t FindRecord(const StoreFile& f, std::int32_t number, MsgRecord& into, const std::string& source,
                        StoreIndex* fill) {
  const std::int64_t n = f.recCount();
  if (n >= 32768) throw Overflow(source);
  std::int64_t found = 0;
  if (n >= 2) {
    std::vector<unsigned char> buf(static_cast<std::size_t>(std::min(kChunkRecords, n - 1)) * kRec);
    for (std::int64_t r = 2; r <= n;) {
      const std::int64_t k = std::min(kChunkRecords, n - r + 1);
      f.readRecords(r, k, buf.data(), source);
      for (std::int64_t i = 0; i < k; ++i) {
        const unsigned char* rec = buf.data() + static_cast<std::size_t>(i) * kRec;
        const std::int32_t no = MsgNoOf(rec);
        if (fill) fill->Walked(no);
        if (found == 0 && (no == number || r + i == n)) {
          std::memcpy(into.image().data(), rec, kRec);
          if (no == number) found = r + i;
          if (found != 0 && !fill) return found;
        }
      }
      r += k;
    }
  }
  if (fill) fill->EndWalk(f.fd());
  if (found == 0 && n == 32767) throw Overflow(source);
  return found;
}

// FindRecord's answer, through the file's index when it provably describes the file: one
// record read instead of the walk. index: the index, when the caller's writes can follow.
std::int64_t Locate(const StoreFile& f, std::int32_t number, MsgRecord& into, const std::string& source,
                    StoreIndex*& index, std::int64_t& walks) {
  const std::int64_t n = f.recCount();
  if (n >= 32768) throw Overflow(source);
  index = StoreIndex::Trusted(f.lockedStat());
  if (index) {
    const std::int64_t at = index->Find(number);
    if (at == 0) {
      if (n >= 2) f.readRecords(n, 1, into.image().data(), source);
      if (n == 32767) throw Overflow(source);
      return 0;
    }
    f.readRecords(at, 1, into.image().data(), source);
    if (MsgNoOf(into.image().data()) == number) return at;
    // The file says otherwise: it changed in a way nothing reported.
    index->Forget();
  }
  ++walks;
  index = StoreIndex::Rebuild(f.fd(), f.lockedStat());
  return FindRecord(f, number, into, source, index);
}

// Writes whole records under the lock and lets the file's index, if trusted, follow them.
class FollowedWrite {
 public:
  explicit FollowedWrite(StoreIndex* index) : m_index(index) {}
  void record(StoreFile& f, std::int64_t at, const MsgRecord& rec, const std::string& source) {
    begin();
    f.writeRecord(at, rec.image().data(), source);
    if (m_index) m_index->Wrote(at, rec.MsgNo());
  }
  void header(StoreFile& f, const MsgRecord& header, const std::string& source) {
    begin();
    f.writeRecord(1, header.image().data(), source);
  }
  void done(const StoreFile& f) {
    if (m_index && m_begun) m_index->EndWrite(f.fd());
  }

 private:
  void begin() {
    if (m_index && !m_begun) m_index->BeginWrite();
    m_begun = true;
  }
  StoreIndex* m_index;
  bool m_begun = false;
};

void DirSync(const std::string& dir) {
  const int dfd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dfd >= 0) {
    ::fsync(dfd);
    ::close(dfd);
  }
}

}  // namespace

IcsMsg::IcsMsg(const std::string& dataPath, EventLog& log)
    : m_dataPath(dataPath), m_storeFile(dataPath + "/velnor.odb"), m_log(log) {}

void IcsMsg::rethrow(const char* op) {
  const std::string source = std::string("PmMsg:") + op;
  long number = kErrInvalidCall;
  std::string description;
  try {
    throw;
  } catch (const VError& e) {
    number = e.number();
    description = e.description();
  } catch (const std::bad_alloc&) {
    number = 7;
    description = "Out of memory";
  } catch (const std::exception& e) {
    description = e.what();
  }
  m_log.writeError(description + " in " + source);
  throw VError(number, source, description);
}

bool IcsMsg::Load(std::int32_t number) {
  try {
    StoreFile f(m_storeFile, m_header);
    StoreIndex* index = nullptr;
    return Locate(f, number, m_current, "PmMsg:Load", index, m_walks) != 0;
  } catch (...) {
    rethrow("Load");
  }
}

void IcsMsg::Add() {
  try {
    StoreFile f(m_storeFile, m_header);
    FollowedWrite w(StoreIndex::Trusted(f.lockedStat()));
    f.grow();
    w.record(f, f.recCount(), m_current, "PmMsg:Add");
    w.done(f);
  } catch (...) {
    rethrow("Add");
  }
}

short IcsMsg::NewMsg() {
  // One lock from reading the counter to appending, so two processes never share a number.
  StoreFile f(m_storeFile, m_header);
  FollowedWrite w(StoreIndex::Trusted(f.lockedStat()));
  f.readRecords(1, 1, m_header.image().data(), "PmMsg:ReadHeader");
  const std::int32_t counter = m_header.MsgNo();
  if (counter == 2147483647) throw Overflow("PmMsg:NewMsg");
  // A file shorter than one record holds at most the start of a header whose writing never
  // finished: it is completed as a new store's header, keeping whatever counter it shows.
  if (f.size() < static_cast<off_t>(kRec)) m_header = NewHeader(counter);
  m_header.setMsgNo(counter + 1);
  w.header(f, m_header, "PmMsg:WriteHeader");
  m_current.setMsgNo(counter + 1);
  m_current.setKeepLocal(0);
  try {
    // Counted again after the header write, which may have made a short file one record
    // long: the message goes after the header, never over it.
    f.recount();
    f.grow();
    w.record(f, f.recCount(), m_current, "PmMsg:Add");
    w.done(f);
  } catch (...) {
    rethrow("Add");
  }
  // Numbers run from 1 to 32767. A counter outside 0..32766 (used up, or negative in a
  // damaged header) gives no number any record can be found by: stored, then refused.
  if (counter < 0 || counter > 32766) throw Overflow("PmMsg:NewMsg");
  return static_cast<short>(counter + 1);
}

void IcsMsg::Update(std::int32_t number) {
  try {
    StoreFile f(m_storeFile, m_header);
    StoreIndex* index = nullptr;
    const std::int64_t at = Locate(f, number, m_scan, "PmMsg:Update", index, m_walks);
    if (at == 0) return;
    FollowedWrite w(index);
    w.record(f, at, m_current, "PmMsg:Update");
    w.done(f);
  } catch (...) {
    rethrow("Update");
  }
}

bool IcsMsg::UpdateListed(const MsgRecord& listed) {
  const std::string source = "PmMsg:UpdateListed";
  try {
    StoreFile f(m_storeFile, m_header);
    FollowedWrite w(StoreIndex::Trusted(f.lockedStat()));
    const std::int64_t n = f.recCount();
    const auto holdsListed = [&](std::int64_t at) {
      f.readRecords(at, 1, m_scan.image().data(), source);
      return m_scan.image() == listed.image();
    };
    std::int64_t at = m_listPos >= 2 && m_listPos <= n && holdsListed(m_listPos) ? m_listPos : 0;
    for (std::int64_t r = 2; at == 0 && r <= n; ++r) {
      if (r != m_listPos && holdsListed(r)) at = r;
    }
    if (at == 0) return false;
    w.record(f, at, m_current, source);
    w.done(f);
    return true;
  } catch (...) {
    rethrow("UpdateListed");
  }
}

void IcsMsg::DeleteOne(std::int32_t number) {
  const std::string source = "PmMsg:DeleteOne";
  const std::string tmp = m_dataPath + "/IcsData.tmp";
  bool tmpMade = false;
  try {
    // The store's lock also guards the temporary file: one DeleteOne at a time.
    StoreFile f(m_storeFile, m_header);
    if (::unlink(tmp.c_str()) != 0 && errno != ENOENT) throw ErrnoError(errno, source);
    Fd t(::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (t.get() < 0) throw ErrnoError(errno, source);
    tmpMade = true;
    // The new store keeps the permissions of the old one.
    if (::fchmod(t.get(), f.mode()) != 0) throw ErrnoError(errno, source);
    step(1);

    const std::int64_t n = f.recCount();
    const std::size_t chunk = static_cast<std::size_t>(std::clamp<std::int64_t>(n, 1, kChunkRecords));
    std::vector<unsigned char> in(chunk * kRec), out(chunk * kRec);
    off_t written = 0;
    for (std::int64_t r = 1; r <= n;) {
      const std::int64_t k = std::min(kChunkRecords, n - r + 1);
      f.readRecords(r, k, in.data(), source);
      std::size_t kept = 0;
      for (std::int64_t i = 0; i < k; ++i) {
        const unsigned char* rec = in.data() + static_cast<std::size_t>(i) * kRec;
        if (r + i == 1 || MsgNoOf(rec) != number) {
          std::memcpy(out.data() + kept, rec, kRec);
          kept += kRec;
        }
        if (r + i == n) std::memcpy(m_scan.image().data(), rec, kRec);
      }
      WriteAll(t.get(), out.data(), kept, written, source);
      written += static_cast<off_t>(kept);
      r += k;
      step(2);
    }
    if (::fsync(t.get()) != 0) throw ErrnoError(errno, source);
    if (::close(t.release()) != 0) throw ErrnoError(errno, source);
    step(3);
    // One atomic step: readers see the old store or the new one, never neither.
    ++g_storeWrites;
    StoreIndex::Drop(f.lockedStat());
    if (::rename(tmp.c_str(), m_storeFile.c_str()) != 0) throw ErrnoError(errno, source);
    tmpMade = false;
    DirSync(m_dataPath);
    step(4);
  } catch (...) {
    if (tmpMade) ::unlink(tmp.c_str());
    rethrow("DeleteOne");
  }
}

void IcsMsg::ResetList() { m_listPos = 1; }

bool IcsMsg::FileStateSettled(std::int64_t ctimeNs, std::int64_t nowNs, std::int64_t tickNs) {
  // Granularity is 1 ns or 1 s on the file systems we cache; whole seconds may mean 1 s.
  const std::int64_t granularity = ctimeNs % kNsPerSec != 0 ? 1 : kNsPerSec;
  // The coarse clock can lag real time by a tick; one more tick of slack.
  return nowNs >= ctimeNs && nowNs - ctimeNs >= granularity + 2 * tickNs;
}

namespace {

bool StateOf(const struct stat& st, std::uint64_t& dev, std::uint64_t& ino, std::int64_t& size,
             std::int64_t& mtimeNs, std::int64_t& ctimeNs) {
  dev = static_cast<std::uint64_t>(st.st_dev);
  ino = static_cast<std::uint64_t>(st.st_ino);
  size = static_cast<std::int64_t>(st.st_size);
  return TimeNs(st.st_mtim, mtimeNs) && TimeNs(st.st_ctim, ctimeNs);
}

}  // namespace

void IcsMsg::ListBlock::drop() {
  count = 0;
  if (fd >= 0) ::close(fd);
  fd = -1;
}

bool IcsMsg::listFromBlock(bool& found) {
  ListBlock& b = m_block;
  if (b.count == 0) return false;
  FileState now;
  struct stat st {};
  if (b.writes != g_storeWrites || std::llabs(ClockOffsetNs() - b.clockOffsetNs) > 1'000'000 ||
      ::fstat(b.fd, &st) != 0 || st.st_nlink == 0 ||
      !StateOf(st, now.dev, now.ino, now.size, now.mtimeNs, now.ctimeNs)) {
    b.drop();
    return false;
  }
  now.mode = st.st_mode;
  now.uid = st.st_uid;
  now.gid = st.st_gid;
  if (!(now == b.state)) {
    b.drop();
    return false;
  }
  // Unchanged since the block was read under the lock, so the block is the file.
  if (m_listPos >= RecCountFor(static_cast<off_t>(now.size))) {
    b.drop();
    found = false;
    return true;
  }
  const std::int64_t next = std::int64_t{m_listPos} + 1;
  if (next < b.first || next >= b.first + b.count) return false;
  std::memcpy(m_current.image().data(), b.bytes.data() + static_cast<std::size_t>(next - b.first) * kRec, kRec);
  m_listPos = static_cast<std::int32_t>(next);
  found = true;
  return true;
}

bool IcsMsg::GetList() {
  try {
    bool found = false;
    if (listFromBlock(found)) return found;
    StoreFile f(m_storeFile, m_header);
    ++m_listFileReads;
    const std::int64_t walkedTo = m_block.first + std::max<std::int64_t>(m_block.count, 1);
    m_block.drop();
    if (m_listPos >= f.recCount()) return false;
    const std::int32_t next = m_listPos + 1;

    FileState state;
    const struct stat& st = f.lockedStat();
    const std::int64_t nowNs = m_fileClock ? m_fileClock() : ClockNs(CLOCK_REALTIME);
    bool trusted = !f.wroteHeader() &&
                   StateOf(st, state.dev, state.ino, state.size, state.mtimeNs, state.ctimeNs) &&
                   FileStateSettled(state.ctimeNs, nowNs, CoarseTickNs()) && LocalKernelFileSystem(f.fd());
    std::int64_t count = 1;
    Fd watch;
    if (trusted) {
      // Opened under our lock, so no writer can come between the read and this open.
      watch.reset(::open(m_storeFile.c_str(), O_RDONLY | O_CLOEXEC));
      struct stat w {};
      if (watch.get() < 0 || ::fstat(watch.get(), &w) != 0 || w.st_dev != st.st_dev || w.st_ino != st.st_ino)
        trusted = false;
    }
    if (trusted) {
      m_block.readAhead = next == walkedTo ? std::min(m_block.readAhead * 2, kChunkRecords) : kFirstReadAhead;
      count = std::min(m_block.readAhead, f.recCount() - next + 1);
    }
    if (count == 1) {
      f.readRecords(next, 1, m_current.image().data(), "PmMsg:GetList");
      m_block.first = next;
    } else {
      m_block.bytes.resize(static_cast<std::size_t>(count) * kRec);
      f.readRecords(next, count, m_block.bytes.data(), "PmMsg:GetList");
      std::memcpy(m_current.image().data(), m_block.bytes.data(), kRec);
      state.mode = st.st_mode;
      state.uid = st.st_uid;
      state.gid = st.st_gid;
      m_block.state = state;
      m_block.first = next;
      m_block.count = count;
      m_block.writes = g_storeWrites;
      m_block.clockOffsetNs = ClockOffsetNs();
      m_block.fd = watch.release();
    }
    m_listPos = next;
    return true;
  } catch (...) {
    m_block.drop();
    rethrow("GetList");
  }
}

}  // namespace velnor
