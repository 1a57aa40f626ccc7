#include "link/IncomingSpool.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "core/VError.h"

namespace velnor {

namespace {

constexpr const char* kSource = "IncomingSpool";

void MakeDir(const std::string& path) {
  if (::mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) throw ErrnoError(errno, kSource);
}

void SyncDir(const std::string& dir) {
  const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

void WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      throw ErrnoError(errno, kSource);
    }
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
}

bool ReadAll(int fd, std::string& out) {
  char buf[65536];
  for (;;) {
    const ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (n == 0) return true;
    out.append(buf, static_cast<std::size_t>(n));
  }
}

bool EndsWith(const std::string& s, std::string_view tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

IncomingSpool::Kept::Kept(Kept&& other) noexcept
    : m_fd(std::exchange(other.m_fd, -1)), m_path(std::move(other.m_path)) {}

IncomingSpool::Kept& IncomingSpool::Kept::operator=(Kept&& other) noexcept {
  if (this != &other) {
    release();
    m_fd = std::exchange(other.m_fd, -1);
    m_path = std::move(other.m_path);
  }
  return *this;
}

IncomingSpool::Kept::~Kept() { release(); }

void IncomingSpool::Kept::release() {
  if (m_fd >= 0) ::close(m_fd);  // and with it the lock
  m_fd = -1;
}

void IncomingSpool::Kept::Remove() {
  // Still holding the lock, so nobody else can pick the file up in between.
  if (::unlink(m_path.c_str()) != 0 && errno != ENOENT) throw ErrnoError(errno, kSource);
  release();
}

IncomingSpool::IncomingSpool(const std::string& dataPath) : m_dir(dataPath + "/spool/incoming") {}

IncomingSpool::Kept IncomingSpool::Keep(std::string_view text) {
  MakeDir(m_dir.substr(0, m_dir.rfind('/')));
  MakeDir(m_dir);
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  char stamp[32];
  std::snprintf(stamp, sizeof stamp, "%010lld%09ld", static_cast<long long>(now.tv_sec), now.tv_nsec);
  for (;;) {
    const std::string path =
        m_dir + "/" + stamp + "-" + std::to_string(::getpid()) + "-" + std::to_string(m_next++) + ".txt";
    const std::string fresh = path + ".new";
    const int fd = ::open(fresh.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0) {
      if (errno == EEXIST) continue;
      throw ErrnoError(errno, kSource);
    }
    Kept kept(fd, fresh);
    try {
      while (::flock(fd, LOCK_EX) != 0) {
        if (errno != EINTR) throw ErrnoError(errno, kSource);
      }
      WriteAll(fd, text);
      if (::fsync(fd) != 0) throw ErrnoError(errno, kSource);
      if (::rename(fresh.c_str(), path.c_str()) != 0) throw ErrnoError(errno, kSource);
    } catch (...) {
      ::unlink(fresh.c_str());
      throw;
    }
    SyncDir(m_dir);
    kept.m_path = path;
    return kept;
  }
}

std::vector<IncomingSpool::Leftover> IncomingSpool::Leftovers() {
  std::vector<std::string> names;
  if (DIR* d = ::opendir(m_dir.c_str())) {
    while (const dirent* e = ::readdir(d)) {
      const std::string name = e->d_name;
      if (EndsWith(name, ".txt") || EndsWith(name, ".txt.new")) names.push_back(name);
    }
    ::closedir(d);
  }
  std::sort(names.begin(), names.end());
  std::vector<Leftover> out;
  for (const std::string& name : names) {
    const std::string path = m_dir + "/" + name;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) continue;
    Kept kept(fd, path);
    // Held by a running Velnor that is filing it or writing it now.
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) continue;
    // Filed and removed, or renamed from ".new", while we waited: not ours under this name.
    struct stat held {};
    struct stat named {};
    if (::fstat(fd, &held) != 0 || ::stat(path.c_str(), &named) != 0 || held.st_ino != named.st_ino ||
        held.st_dev != named.st_dev)
      continue;
    Leftover l{std::move(kept), {}};
    if (!ReadAll(fd, l.text) || l.text.empty()) continue;
    out.push_back(std::move(l));
  }
  return out;
}

}  // namespace velnor
