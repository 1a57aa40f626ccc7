#pragma once
// What the list knows of the store file between two reads: which file the path names and
// its size and times. Any write changes the times, and DeleteOne's rename changes the file.
#include <cstdint>
#include <string>

namespace velnor {

struct StoreStamp {
  bool exists = false;
  std::uint64_t dev = 0, ino = 0;
  std::int64_t size = 0, mtimeNs = 0, ctimeNs = 0;
  bool operator==(const StoreStamp&) const = default;
};

StoreStamp StampOf(const std::string& path);

}  // namespace velnor
