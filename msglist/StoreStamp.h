#pragma once
// What the list knows of the store file between two reads: which file the path names and
// its size and times. A write changes the times, and DeleteOne's rename changes the file;
// but a write within the same tick of the file system's coarse clock as the stamp leaves
// the times as they were, so only a settled stamp proves by its equality that nothing
// was written since.
#include <cstdint>
#include <string>

namespace velnor {

struct StoreStamp {
  bool exists = false;
  std::uint64_t dev = 0, ino = 0;
  std::int64_t size = 0, mtimeNs = 0, ctimeNs = 0;
  // When it was taken, the last change lay far enough back that any later one is bound to
  // get a newer change time.
  bool settled = false;
  bool operator==(const StoreStamp& o) const {
    return exists == o.exists && dev == o.dev && ino == o.ino && size == o.size && mtimeNs == o.mtimeNs &&
           ctimeNs == o.ctimeNs;
  }
};

StoreStamp StampOf(const std::string& path);

}  // namespace velnor
