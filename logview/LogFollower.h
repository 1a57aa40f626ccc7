#pragma once
// Follows a file that is only ever appended to, such as the day's session log: each Poll
// reads just what was added since the last one and hands back the lines that are complete
// (ended by LF, a CR before it dropped); a line still being written waits for its end. A
// file that got shorter was replaced or cut, and is read again from its start.
#include <cstdint>
#include <string>
#include <vector>

namespace velnor {

class LogFollower {
 public:
  // A first Poll on a file longer than maxFirstRead bytes starts that far from its end,
  // at the next whole line.
  explicit LogFollower(std::string path, std::uint64_t maxFirstRead = 4u << 20);

  struct News {
    bool missing = false;    // there is no such file (yet)
    bool restarted = false;  // read again from the start: drop the lines handed out before
    std::vector<std::string> lines;
  };
  News Poll();

  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
  std::uint64_t m_maxFirstRead;
  std::uint64_t m_offset = 0;  // bytes read so far
  bool m_started = false;
  bool m_skipToLine = false;  // the first read began inside a line
  std::string m_partial;      // an unfinished last line
};

}  // namespace velnor
