#include "logview/LogFollower.h"

#include <filesystem>
#include <fstream>

namespace velnor {

namespace {
constexpr std::size_t kMaxLine = 64 * 1024;
}

LogFollower::LogFollower(std::string path, std::uint64_t maxFirstRead)
    : m_path(std::move(path)), m_maxFirstRead(maxFirstRead) {}

LogFollower::News LogFollower::Poll() {
  News news;
  std::error_code ec;
  // One look at the size when nothing was added, which is most of the time.
  const std::uintmax_t size = m_path.empty() ? 0 : std::filesystem::file_size(m_path, ec);
  if (m_path.empty() || ec) {
    news.missing = true;
    return news;
  }
  if (size < m_offset) {
    news.restarted = true;
    m_started = false;
    m_offset = 0;
    m_partial.clear();
  }
  if (!m_started) {
    m_started = true;
    m_skipToLine = size > m_maxFirstRead;
    if (m_skipToLine) m_offset = size - m_maxFirstRead;
  }
  if (size == m_offset) return news;

  std::ifstream in(m_path, std::ios::binary);
  if (!in.seekg(static_cast<std::streamoff>(m_offset))) return news;
  std::string bytes(static_cast<std::size_t>(size - m_offset), '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  m_offset += bytes.size();

  std::size_t start = 0;
  if (m_skipToLine) {
    const std::size_t lf = bytes.find('\n');
    if (lf == std::string::npos) return news;  // still inside the cut line
    m_skipToLine = false;
    start = lf + 1;
  }
  for (std::size_t lf = bytes.find('\n', start); lf != std::string::npos; lf = bytes.find('\n', start)) {
    m_partial.append(bytes, start, lf - start);
    if (!m_partial.empty() && m_partial.back() == '\r') m_partial.pop_back();
    news.lines.push_back(std::move(m_partial));
    m_partial.clear();
    start = lf + 1;
  }
  m_partial.append(bytes, start, std::string::npos);
  // A file that is no log at all must not make one endless line.
  if (m_partial.size() > kMaxLine) {
    news.lines.push_back(std::move(m_partial));
    m_partial.clear();
  }
  return news;
}

}  // namespace velnor
