#include "msglist/StoreStamp.h"

#include <sys/stat.h>

namespace velnor {

StoreStamp StampOf(const std::string& path) {
  struct stat st {};
  StoreStamp s;
  if (::stat(path.c_str(), &st) != 0) return s;
  s.exists = true;
  s.dev = static_cast<std::uint64_t>(st.st_dev);
  s.ino = static_cast<std::uint64_t>(st.st_ino);
  s.size = static_cast<std::int64_t>(st.st_size);
  s.mtimeNs = static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec;
  s.ctimeNs = static_cast<std::int64_t>(st.st_ctim.tv_sec) * 1'000'000'000 + st.st_ctim.tv_nsec;
  return s;
}

}  // namespace velnor
