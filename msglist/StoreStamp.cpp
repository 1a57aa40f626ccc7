#include "msglist/StoreStamp.h"

#include <sys/stat.h>
#include <time.h>

#include "store/IcsMsg.h"

namespace velnor {

namespace {

std::int64_t Ns(const timespec& t) { return std::int64_t{t.tv_sec} * 1'000'000'000 + t.tv_nsec; }

}  // namespace

StoreStamp StampOf(const std::string& path) {
  // The time before the file's: a change after the stat is later still.
  timespec now{}, tick{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  if (::clock_getres(CLOCK_REALTIME_COARSE, &tick) != 0) tick = {0, 100'000'000};
  struct stat st {};
  StoreStamp s;
  if (::stat(path.c_str(), &st) != 0) return s;
  s.exists = true;
  s.dev = static_cast<std::uint64_t>(st.st_dev);
  s.ino = static_cast<std::uint64_t>(st.st_ino);
  s.size = static_cast<std::int64_t>(st.st_size);
  s.mtimeNs = Ns(st.st_mtim);
  s.ctimeNs = Ns(st.st_ctim);
  s.settled = IcsMsg::FileStateSettled(s.ctimeNs, Ns(now), Ns(tick));
  return s;
}

}  // namespace velnor
