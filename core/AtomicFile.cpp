#include "core/AtomicFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "core/VError.h"

namespace velnor {
namespace {

void writeAll(int fd, std::string_view bytes, const std::string& source) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      throw ErrnoError(errno, source);
    }
    done += static_cast<std::size_t>(n);
  }
}

std::string dirOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

void WriteFileAtomically(const std::string& path, std::string_view bytes, const std::string& source) {
  const std::string tmp = path + ".new";
  const int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) throw ErrnoError(errno, source);
  try {
    writeAll(fd, bytes, source);
    if (::fsync(fd) != 0) throw ErrnoError(errno, source);
  } catch (...) {
    ::close(fd);
    ::unlink(tmp.c_str());
    throw;
  }
  if (::close(fd) != 0) {
    const int err = errno;
    ::unlink(tmp.c_str());
    throw ErrnoError(err, source);
  }
  if (::rename(tmp.c_str(), path.c_str()) != 0) {
    const int err = errno;
    ::unlink(tmp.c_str());
    throw ErrnoError(err, source);
  }
  // Make the rename itself durable.
  const int dfd = ::open(dirOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dfd >= 0) {
    ::fsync(dfd);
    ::close(dfd);
  }
}

std::string ReadWholeFile(const std::string& path, const std::string& source) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw ErrnoError(errno, source);
  std::string out;
  char buf[65536];
  for (;;) {
    const ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0) {
      if (errno == EINTR) continue;
      const int err = errno;
      ::close(fd);
      throw ErrnoError(err, source);
    }
    if (n == 0) break;
    out.append(buf, static_cast<std::size_t>(n));
  }
  ::close(fd);
  return out;
}

void AppendToFile(const std::string& path, std::string_view bytes, const std::string& source) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (fd < 0) throw ErrnoError(errno, source);
  try {
    writeAll(fd, bytes, source);
  } catch (...) {
    ::close(fd);
    throw;
  }
  if (::close(fd) != 0) throw ErrnoError(errno, source);
}

}  // namespace velnor
