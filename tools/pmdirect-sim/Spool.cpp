#include "Spool.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "core/AtomicFile.h"
#include "core/VError.h"

namespace fs = std::filesystem;

namespace velnor::sim {
namespace {

const char* const kSource = "pmdirect-sim";

std::string toHex(std::string_view s) {
  static const char digits[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(s.size() * 2);
  for (char ch : s) {
    const auto c = static_cast<unsigned char>(ch);
    out.push_back(digits[c >> 4]);
    out.push_back(digits[c & 15]);
  }
  return out;
}

bool fromHex(std::string_view s, std::string& out) {
  if (s.size() % 2 != 0) return false;
  auto val = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  out.clear();
  for (std::size_t i = 0; i < s.size(); i += 2) {
    const int hi = val(s[i]), lo = val(s[i + 1]);
    if (hi < 0 || lo < 0) return false;
    out.push_back(static_cast<char>(hi * 16 + lo));
  }
  return true;
}

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

// Write beside, then rename: a simulator killed at any instant leaves the whole file or
// none. No fsync: an exercise must survive a restart of this process, and syncing every
// message would make a thousand-message run take many seconds.
void writeFile(const std::string& path, std::string_view bytes) {
  const std::string tmp = path + ".new";
  std::FILE* f = std::fopen(tmp.c_str(), "wb");
  if (!f) throw ErrnoError(errno, kSource);
  const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  const int err = errno;
  if (std::fclose(f) != 0 || !ok) {
    std::remove(tmp.c_str());
    throw ErrnoError(ok ? errno : err, kSource);
  }
  if (std::rename(tmp.c_str(), path.c_str()) != 0) {
    const int renameErr = errno;
    std::remove(tmp.c_str());
    throw ErrnoError(renameErr, kSource);
  }
}

void makeDirs(const std::string& dir) {
  std::error_code ec;
  fs::create_directories(dir, ec);
  if (ec) throw VError(ec.value(), kSource, "cannot create " + dir + ": " + ec.message());
}

// Calls f(seq, path) for every "<SEQ>.msg" in dir. Half-written files (".msg.new") from a
// crash are left alone.
template <typename F>
void forEachMessage(const fs::path& dir, std::error_code& ec, F f) {
  for (const auto& file : fs::directory_iterator(dir, ec)) {
    const std::string name = file.path().filename().string();
    if (name.size() != 20 || name.substr(16) != ".msg") continue;
    if (!std::all_of(name.begin(), name.begin() + 16, [](char c) { return c >= '0' && c <= '9'; })) continue;
    f(std::stoull(name.substr(0, 16)), file.path().string());
  }
}

}  // namespace

std::string StationKey(std::string_view identifier) {
  std::string key(identifier);
  for (char& c : key)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return key;
}

std::string RouteDestination(std::string_view text) {
  std::string_view route;
  bool found = false;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.substr(0, 6) == "ROUTE:") {
      route = line.substr(6);
      found = true;
    }
  }
  if (!found) return {};
  for (int part = 0; part < 2; ++part) {
    const std::size_t colon = route.find(':');
    if (colon == std::string_view::npos) return {};
    route.remove_prefix(colon + 1);
  }
  return StationKey(trimmed(route.substr(0, route.find(':'))));
}

bool IsKeepLocal(std::string_view text) {
  static constexpr std::string_view kTag = "!ICS213!!KEEPLOCAL!";
  return text.substr(0, kTag.size()) == kTag &&
         (text.size() == kTag.size() || text[kTag.size()] == '\r' || text[kTag.size()] == '\n');
}

Spool::Spool(std::string dir) : m_dir(std::move(dir)) {
  makeDirs(m_dir + "/queue");
  const std::string stationsFile = m_dir + "/stations";
  if (fs::exists(stationsFile)) {
    const std::string all = ReadWholeFile(stationsFile, kSource);
    std::string_view rest = all;
    while (!rest.empty()) {
      const std::size_t end = rest.find('\n');
      const std::string_view line = rest.substr(0, end);
      rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
      std::string key;
      if (fromHex(line, key) && !key.empty()) m_stations.insert(key);
    }
  }
  std::error_code ec;
  for (const auto& stationDir : fs::directory_iterator(m_dir + "/queue", ec)) {
    std::string key;
    if (!stationDir.is_directory() || !fromHex(stationDir.path().filename().string(), key)) continue;
    auto& queue = m_queues[key];
    forEachMessage(stationDir.path(), ec, [&](std::uint64_t seq, std::string path) {
      queue.push_back({seq, std::move(path), 0});
      m_nextSeq = std::max(m_nextSeq, seq + 1);
    });
    std::sort(queue.begin(), queue.end(), [](const Entry& a, const Entry& b) { return a.seq < b.seq; });
  }
  if (ec) throw VError(ec.value(), kSource, "cannot read " + m_dir + ": " + ec.message());
  // A number set aside is never given again, so nothing in quarantine is overwritten.
  std::error_code ignored;
  for (const auto& stationDir : fs::directory_iterator(m_dir + "/quarantine", ignored))
    forEachMessage(stationDir.path(), ignored,
                   [&](std::uint64_t seq, const std::string&) { m_nextSeq = std::max(m_nextSeq, seq + 1); });
  // Taken last, so that a failure above leaves no descriptor open.
  m_lockFd = ::open((m_dir + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (m_lockFd < 0) throw ErrnoError(errno, kSource);
  if (::flock(m_lockFd, LOCK_EX | LOCK_NB) != 0) {
    const int err = errno;
    ::close(m_lockFd);
    if (err == EWOULDBLOCK)
      throw VError(err, kSource, "in use by another pmdirect-sim; give this one a --spool DIR of its own");
    throw ErrnoError(err, kSource);
  }
}

Spool::~Spool() { ::close(m_lockFd); }

std::string Spool::queueDir(const std::string& key, const char* area) const {
  return m_dir + "/" + area + "/" + toHex(key);
}

void Spool::addStation(const std::string& key) {
  if (key.empty() || m_stations.count(key)) return;
  std::string all;
  for (const auto& s : m_stations) all += toHex(s) + "\n";
  all += toHex(key) + "\n";
  writeFile(m_dir + "/stations", all);
  m_stations.insert(key);
}

void Spool::enqueue(const std::vector<std::string>& recipients, std::string_view text) {
  for (const auto& key : recipients) {
    const std::string dir = queueDir(key);
    makeDirs(dir);
    char name[32];
    std::snprintf(name, sizeof name, "%016llu.msg", static_cast<unsigned long long>(m_nextSeq));
    const std::string path = dir + "/" + name;
    writeFile(path, text);
    m_queues[key].push_back({m_nextSeq, path, 0});
    ++m_nextSeq;
  }
}

const Spool::Entry* Spool::take(const std::string& key, int conn) {
  auto it = m_queues.find(key);
  if (it == m_queues.end()) return nullptr;
  for (auto& e : it->second) {
    if (e.holder == 0) {
      e.holder = conn;
      return &e;
    }
  }
  return nullptr;
}

std::string Spool::read(const Entry& e) {
  std::error_code ec;
  if (!fs::is_regular_file(e.path, ec)) throw VError(EINVAL, kSource, "not a plain file");
  return ReadWholeFile(e.path, kSource);
}

bool Spool::setAside(const std::string& key, std::uint64_t seq, std::string& where) {
  auto& q = m_queues[key];
  const auto e = std::find_if(q.begin(), q.end(), [&](const Entry& x) { return x.seq == seq; });
  if (e == q.end()) {
    where = "no longer waiting";
    return false;
  }
  const std::string from = e->path;
  q.erase(e);
  const std::string dir = queueDir(key, "quarantine");
  std::error_code ec;
  fs::create_directories(dir, ec);
  const std::string to = dir + "/" + fs::path(from).filename().string();
  if (!ec) fs::rename(from, to, ec);
  where = ec ? ec.message() : to;
  return !ec;
}

void Spool::delivered(const std::string& key, std::uint64_t seq) {
  auto it = m_queues.find(key);
  if (it == m_queues.end()) return;
  auto& q = it->second;
  auto e = std::find_if(q.begin(), q.end(), [&](const Entry& x) { return x.seq == seq; });
  if (e == q.end()) return;
  std::error_code ec;
  fs::remove(e->path, ec);
  q.erase(e);
}

void Spool::release(int conn) {
  for (auto& [key, q] : m_queues)
    for (auto& e : q)
      if (e.holder == conn) e.holder = 0;
}

void Spool::flush() const {
  std::vector<std::string> paths{m_dir + "/stations"};
  for (const auto& [key, q] : m_queues) {
    for (const auto& e : q) paths.push_back(e.path);
    paths.push_back(queueDir(key));  // also records the names of the files handed out
  }
  paths.push_back(m_dir + "/queue");
  paths.push_back(m_dir);
  for (const auto& path : paths) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 && errno == ENOENT) continue;  // no station has logged on yet
    if (fd < 0) throw ErrnoError(errno, kSource);
    const int rc = ::fsync(fd);
    const int err = errno;
    ::close(fd);
    if (rc != 0) throw ErrnoError(err, kSource);
  }
}

std::size_t Spool::waiting(const std::string& key) const {
  auto it = m_queues.find(key);
  return it == m_queues.end() ? 0 : it->second.size();
}

}  // namespace velnor::sim
