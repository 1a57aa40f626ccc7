#include "store/StoreIndex.h"

#include <linux/magic.h>
#include <sys/inotify.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>

#include "store/MsgRecord.h"

namespace velnor {

namespace {

// Whatever can change the contents or replace the file. Opening, closing, reading and
// locking raise none of these, so our own operations raise only IN_MODIFY, by writing.
constexpr std::uint32_t kWatched = IN_MODIFY | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF;
// Stores indexed at once; the program has one, tests and tools a few.
constexpr std::size_t kMaxIndexes = 4;

}  // namespace

bool LocalKernelFileSystem(int fd) {
  struct statfs fs {};
  if (::fstatfs(fd, &fs) != 0) return false;
  switch (static_cast<unsigned long>(fs.f_type)) {
    case EXT4_SUPER_MAGIC:
    case XFS_SUPER_MAGIC:
    case BTRFS_SUPER_MAGIC:
    case TMPFS_MAGIC:
    case F2FS_SUPER_MAGIC:
      return true;
    default:
      return false;
  }
}

// The indexes of this process and the one inotify queue that watches their files. Held for
// the whole process, as the file it describes is shared by every store object, and never
// destroyed: a store object may still run while statics are destroyed at exit.
struct IndexRegistry {
  pid_t pid = 0;
  int queue = -1;
  std::uint64_t uses = 0;
  std::vector<std::unique_ptr<StoreIndex>> indexes;

  static IndexRegistry& Get() {
    static IndexRegistry* const r = new IndexRegistry;
    if (r->pid != ::getpid()) r->restart();
    return *r;
  }

  // In a child made by fork, the queue is the parent's: draining it would take events the
  // parent needs. The child closes its copy and starts afresh.
  void restart() {
    if (queue >= 0) ::close(queue);
    queue = -1;
    indexes.clear();
    pid = ::getpid();
  }

  bool open() {
    if (queue < 0) queue = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    return queue >= 0;
  }

  StoreIndex* find(const struct stat& st) {
    for (auto& ix : indexes)
      if (ix->m_dev == static_cast<std::uint64_t>(st.st_dev) &&
          ix->m_ino == static_cast<std::uint64_t>(st.st_ino))
        return ix.get();
    return nullptr;
  }

  void distrustAll() {
    for (auto& ix : indexes) ix->m_trusted = ix->m_clean = false;
  }

  // Reads every queued event. Each one distrusts the index of its file, except the
  // IN_MODIFY of `own`, whose write the caller is making under the lock.
  void drain(const StoreIndex* own) {
    if (queue < 0) return;
    alignas(struct inotify_event) char buf[4096];
    for (;;) {
      const ssize_t n = ::read(queue, buf, sizeof buf);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0 && errno == EAGAIN) return;
      if (n <= 0) {
        // The queue cannot be read: nothing can be proved any more.
        distrustAll();
        return;
      }
      for (std::size_t at = 0; at + sizeof(struct inotify_event) <= static_cast<std::size_t>(n);) {
        struct inotify_event ev {};
        std::memcpy(&ev, buf + at, sizeof ev);
        at += sizeof ev + ev.len;
        if (ev.mask & IN_Q_OVERFLOW) {
          distrustAll();
          continue;
        }
        for (auto& ix : indexes) {
          if (ix->m_wd != ev.wd) continue;
          if (ev.mask & IN_IGNORED) ix->m_wd = -1;  // the kernel removed the watch
          if (ix.get() == own && (ev.mask & ~static_cast<std::uint32_t>(IN_MODIFY)) == 0) continue;
          ix->m_trusted = ix->m_clean = false;
        }
      }
    }
  }

  void remove(StoreIndex* ix) {
    if (ix->m_wd >= 0) ::inotify_rm_watch(queue, ix->m_wd);
    std::erase_if(indexes, [&](const auto& p) { return p.get() == ix; });
    drain(nullptr);  // the removal's own IN_IGNORED
  }
};

StoreIndex::FileState StoreIndex::StateOf(const struct stat& st) {
  constexpr std::int64_t kNs = 1'000'000'000;
  FileState s;
  s.size = static_cast<std::int64_t>(st.st_size);
  s.mtimeNs = static_cast<std::int64_t>(st.st_mtim.tv_sec) * kNs + st.st_mtim.tv_nsec;
  s.ctimeNs = static_cast<std::int64_t>(st.st_ctim.tv_sec) * kNs + st.st_ctim.tv_nsec;
  return s;
}

StoreIndex* StoreIndex::Trusted(const struct stat& locked) {
  IndexRegistry& r = IndexRegistry::Get();
  if (r.queue < 0) return nullptr;
  r.drain(nullptr);
  StoreIndex* ix = r.find(locked);
  if (!ix) return nullptr;
  if (!ix->m_trusted || ix->m_wd < 0 || !(StateOf(locked) == ix->m_state)) {
    ix->m_trusted = false;
    return nullptr;
  }
  ix->m_lastUse = ++r.uses;
  return ix;
}

StoreIndex* StoreIndex::Rebuild(int fd, const struct stat& locked) {
  IndexRegistry& r = IndexRegistry::Get();
  if (!r.open() || !LocalKernelFileSystem(fd)) return nullptr;
  r.drain(nullptr);
  StoreIndex* ix = r.find(locked);
  if (!ix) {
    if (r.indexes.size() >= kMaxIndexes) {
      r.remove(std::min_element(r.indexes.begin(), r.indexes.end(), [](const auto& a, const auto& b) {
                 return a->m_lastUse < b->m_lastUse;
               })->get());
    }
    r.indexes.push_back(std::unique_ptr<StoreIndex>(new StoreIndex(
        static_cast<std::uint64_t>(locked.st_dev), static_cast<std::uint64_t>(locked.st_ino), -1)));
    ix = r.indexes.back().get();
  }
  if (ix->m_wd < 0) {
    // The inode we hold open and locked, not whatever the name points to by now.
    const std::string self = "/proc/self/fd/" + std::to_string(fd);
    ix->m_wd = ::inotify_add_watch(r.queue, self.c_str(), kWatched);
    if (ix->m_wd < 0) {
      r.remove(ix);
      return nullptr;
    }
  }
  ix->m_trusted = false;
  ix->m_clean = true;
  ix->m_lastUse = ++r.uses;
  ix->m_numbers.clear();
  ix->m_first.clear();
  const auto expected = static_cast<std::size_t>(locked.st_size / static_cast<off_t>(MsgRecord::kSize));
  ix->m_numbers.reserve(expected);
  ix->m_first.reserve(expected);
  return ix;
}

void StoreIndex::Drop(const struct stat& locked) {
  IndexRegistry& r = IndexRegistry::Get();
  if (StoreIndex* ix = r.find(locked)) r.remove(ix);
}

std::int64_t StoreIndex::Find(std::int32_t number) const {
  const auto it = m_first.find(number);
  return it == m_first.end() ? 0 : it->second;
}

void StoreIndex::Walked(std::int32_t number) {
  m_numbers.push_back(number);
  m_first.emplace(number, static_cast<std::int64_t>(m_numbers.size()) + 1);  // the first one stays
}

void StoreIndex::EndWalk(int fd) {
  IndexRegistry::Get().drain(nullptr);
  settle(fd);
}

void StoreIndex::BeginWrite() {
  // An event that came since the caller's check is not ours: it must not pass for one.
  IndexRegistry::Get().drain(nullptr);
  m_clean = m_trusted;
  m_trusted = false;
}

void StoreIndex::Wrote(std::int64_t record, std::int32_t number) {
  if (!m_clean) return;
  const auto held = static_cast<std::int64_t>(m_numbers.size());
  if (record == held + 2) {
    Walked(number);
    return;
  }
  if (record < 2 || record > held + 1) {
    m_clean = false;
    return;
  }
  std::int32_t& slot = m_numbers[static_cast<std::size_t>(record - 2)];
  const std::int32_t old = slot;
  if (old == number) return;
  slot = number;
  const auto mine = m_first.find(number);
  if (mine == m_first.end())
    m_first.emplace(number, record);
  else
    mine->second = std::min(mine->second, record);
  const auto gone = m_first.find(old);
  if (gone != m_first.end() && gone->second == record) {
    // The old number's first record is now its next one, if it has another.
    const auto next = std::find(m_numbers.begin() + (record - 1), m_numbers.end(), old);
    if (next == m_numbers.end())
      m_first.erase(gone);
    else
      gone->second = (next - m_numbers.begin()) + 2;
  }
}

void StoreIndex::EndWrite(int fd) {
  IndexRegistry::Get().drain(this);
  settle(fd);
}

void StoreIndex::settle(int fd) {
  m_trusted = false;
  struct stat st {};
  if (!m_clean || m_wd < 0 || ::fstat(fd, &st) != 0) return;
  // The count as Load and Update see it (length / 8822, halves to even); a store of no
  // message records counts as the header alone.
  const double count =
      std::nearbyint(static_cast<double>(st.st_size) / static_cast<double>(MsgRecord::kSize));
  if (std::max(count, 1.0) != static_cast<double>(m_numbers.size() + 1)) return;
  m_state = StateOf(st);
  m_trusted = true;
}

}  // namespace velnor
