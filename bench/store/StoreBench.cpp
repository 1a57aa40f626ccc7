// Store operations on a full store of 32767 messages, each printed beside the time of
// one sequential read of the same file. Targets: Load and Update of the last message
// through a warm index within 1/20 of the read; the first Load after another process
// changed the file within 1.5x; a whole GetList walk within 5x. Then the same Load with
// the file evicted from the page cache, by walk and by index: the index at least 20 times
// faster. Run by hand: build/bench/store/bench_store [directory]
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "core/EventLog.h"
#include "store/IcsMsg.h"

using namespace velnor;

namespace {

constexpr std::int32_t kMessages = 32767;
constexpr std::size_t kRec = MsgRecord::kSize;

double Millis(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double, std::milli>(d).count();
}

template <typename F>
double Best(int runs, F f) {
  double best = 1e300;
  for (int i = 0; i < runs; ++i) {
    const auto t0 = std::chrono::steady_clock::now();
    f();
    best = std::min(best, Millis(std::chrono::steady_clock::now() - t0));
  }
  return best;
}

// Writes the header and messages 1..count directly, a megabyte at a time.
void BuildStore(const std::string& path, std::int32_t count) {
  MsgRecord header;
  header.setMsgNo(count);
  header.setTo("[ics213!.]");
  MsgRecord msg;
  msg.setStatus(velnor::Status::Sent);
  msg.setTo("Planning Section Chief");
  msg.setSubj("Resource request");
  msg.setMsg(std::string(600, 'x'));
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0) std::exit(1);
  std::vector<unsigned char> buf;
  auto put = [&](const MsgRecord& r) {
    buf.insert(buf.end(), r.image().begin(), r.image().end());
    if (buf.size() >= (1u << 20)) {
      if (::write(fd, buf.data(), buf.size()) != static_cast<ssize_t>(buf.size())) std::exit(1);
      buf.clear();
    }
  };
  put(header);
  for (std::int32_t n = 1; n <= count; ++n) {
    msg.setMsgNo(n);
    put(msg);
  }
  if (!buf.empty() && ::write(fd, buf.data(), buf.size()) != static_cast<ssize_t>(buf.size())) std::exit(1);
  ::close(fd);
}

// The middle of the time of runs of f, each after prepare (not timed).
template <typename P, typename F>
double Median(int runs, P prepare, F f) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    prepare();
    const auto t0 = std::chrono::steady_clock::now();
    f();
    times.push_back(Millis(std::chrono::steady_clock::now() - t0));
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

// Another process changes the file: change(fd) runs in a child on the file opened anew.
template <typename F>
void Elsewhere(const std::string& path, F change) {
  const pid_t kid = ::fork();
  if (kid == 0) {
    const int fd = ::open(path.c_str(), O_RDWR);
    ::_exit(fd >= 0 && change(fd) ? 0 : 1);
  }
  int status = 0;
  ::waitpid(kid, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) std::exit(1);
}

// Record `at` rewritten in place by another process with one byte of its subject changed.
void RewriteElsewhere(const std::string& path, std::int64_t at) {
  Elsewhere(path, [&](int fd) {
    std::vector<unsigned char> rec(kRec);
    const off_t offset = static_cast<off_t>(at - 1) * static_cast<off_t>(kRec);
    if (::pread(fd, rec.data(), kRec, offset) != static_cast<ssize_t>(kRec)) return false;
    rec[330] ^= 0x01;
    return ::pwrite(fd, rec.data(), kRec, offset) == static_cast<ssize_t>(kRec);
  });
}

// The file put back by hand: a copy of it renamed over it.
void ReplaceWithCopy(const std::string& path) {
  const std::string copy = path + ".copy";
  const int in = ::open(path.c_str(), O_RDONLY),
            out = ::open(copy.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  std::vector<char> buf(1 << 20);
  for (ssize_t n; (n = ::read(in, buf.data(), buf.size())) > 0;)
    if (::write(out, buf.data(), static_cast<std::size_t>(n)) != n) std::exit(1);
  ::close(in);
  ::close(out);
  if (::rename(copy.c_str(), path.c_str()) != 0) std::exit(1);
}

// Writes the file's dirty pages and drops all of its pages from the page cache.
void Evict(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY);
  ::fdatasync(fd);
  ::posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
  ::close(fd);
}

// The last record as the file holds it, read independently of the store.
std::vector<unsigned char> LastRecord(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY);
  std::vector<unsigned char> rec(kRec);
  const off_t size = ::lseek(fd, 0, SEEK_END);
  if (::pread(fd, rec.data(), kRec, size - static_cast<off_t>(kRec)) != static_cast<ssize_t>(kRec))
    std::exit(1);
  ::close(fd);
  return rec;
}

void ReadWhole(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY);
  std::vector<char> buf(1 << 20);
  while (::read(fd, buf.data(), buf.size()) > 0) {
  }
  ::close(fd);
}

}  // namespace

int main(int argc, char** argv) {
  std::string base = argc > 1 ? argv[1] : std::filesystem::temp_directory_path().string();
  std::string dir = base + "/velnor-bench-XXXXXX";
  if (!::mkdtemp(dir.data())) return 1;
  const std::string store = dir + "/velnor.odb";
  BuildStore(store, kMessages - 1);  // header + 32766 messages = 32767 records
  NullEventLog log;
  IcsMsg m(dir, log);

  ReadWhole(store);  // warm the cache so every figure compares like with like
  const double read = Best(5, [&] { ReadWhole(store); });
  const std::int32_t last = kMessages - 1;
  const auto nothing = [] {};
  bool correct = true;
  const auto loadLast = [&] {
    correct =
        m.Load(last) && std::equal(m.rec().image().begin(), m.rec().image().end(), LastRecord(store).begin());
  };
  // Each figure is checked: the right record, and a walk exactly where one is due.
  std::int64_t walks = 0;
  const auto walksSince = [&] { return m.walks() - std::exchange(walks, m.walks()); };
  // The first Load walks the file and builds the index; those after read one record.
  const double firstLoad = Best(1, loadLast);
  const bool firstOk = correct && walksSince() == 1;
  const double load = Median(201, nothing, loadLast);
  const bool loadOk = correct;
  const double update = Median(201, nothing, [&] { m.Update(last); });
  const bool indexed = walksSince() == 0;
  // Another process rewrites a record in place (the size stays), or appends one.
  const double afterRewrite = Median(
      5, [&] { RewriteElsewhere(store, kMessages / 2); }, loadLast);
  const bool rewriteOk = correct && walksSince() == 5;
  // The store is full, so the last record is first cut off (and the index rebuilt).
  const std::vector<unsigned char> lastRec = LastRecord(store);
  const off_t fullSize = static_cast<off_t>(kMessages) * static_cast<off_t>(kRec);
  const double afterAppend = Median(
      3,
      [&] {
        Elsewhere(store, [&](int fd) { return ::ftruncate(fd, fullSize - static_cast<off_t>(kRec)) == 0; });
        correct = !m.Load(last) && m.rec().MsgNo() == last - 1;
        Elsewhere(store, [&](int fd) {
          return ::pwrite(fd, lastRec.data(), kRec, fullSize - static_cast<off_t>(kRec)) ==
                 static_cast<ssize_t>(kRec);
        });
      },
      [&] {
        const bool found = m.Load(last);
        correct = correct && found;
      });
  const bool appendOk =
      correct && std::equal(lastRec.begin(), lastRec.end(), m.rec().image().begin()) && walksSince() == 6;
  const double afterReplace = Median(
      3, [&] { ReplaceWithCopy(store); }, loadLast);
  const bool replaceOk = correct && walksSince() == 3;
  const double walk = Best(3, [&] {
    m.ResetList();
    while (m.GetList()) {
    }
  });
  // A walk must ask the kernel at every step whether another process changed the file;
  // this is what one bare system call per record costs on this machine.
  const double floor = Best(3, [&] {
    for (std::int32_t i = 0; i < kMessages; ++i) ::syscall(SYS_getppid);
  });

  // Cold cache: the file's pages dropped before each run. The walk is forced by a change
  // made elsewhere, the index is warm.
  const double coldRead = Median(
      3, [&] { Evict(store); }, [&] { ReadWhole(store); });
  const double coldWalk = Median(
      3, [&] { RewriteElsewhere(store, kMessages / 2), Evict(store); }, loadLast);
  const bool coldWalkOk = correct && walksSince() == 3;
  const double coldIndex = Median(
      5, [&] { Evict(store); }, loadLast);
  const bool coldIndexOk = correct && walksSince() == 0;

  const double newMsg = Best(1, [&] { m.NewMsg(); });
  const double del = Best(1, [&] { m.DeleteOne(kMessages / 2); });

  std::printf("store: %d records, %.1f MB in %s\n", kMessages, kMessages * double(kRec) / 1e6, dir.c_str());
  std::printf("%-40s %10.3f ms\n", "sequential read", read);
  auto row = [&](const char* name, double ms, double target, bool ok = true) {
    std::printf("%-40s %10.3f ms  %8.4fx read", name, ms, ms / read);
    if (target > 0) std::printf("  target <= %gx: %s", target, ms / read <= target ? "met" : "MISSED");
    std::printf("%s\n", ok ? "" : "  WRONG ANSWER OR WALK");
  };
  row("first Load of last message (walk)", firstLoad, 1.5, firstOk);
  row("Load last message, warm index", load, 0.05, loadOk && indexed);
  row("Update last message, warm index", update, 0.05, indexed);
  row("first Load after rewrite elsewhere", afterRewrite, 1.5, rewriteOk);
  row("first Load after append elsewhere", afterAppend, 1.5, appendOk);
  row("first Load after copy put back", afterReplace, 1.5, replaceOk);
  row("GetList whole walk", walk, 5.0);
  row("  of which system-call floor", floor, 0);
  row("DeleteOne middle message", del, 0);
  row("NewMsg", newMsg, 0);
  std::printf("cold cache (file evicted before each run):\n");
  std::printf("%-40s %10.3f ms\n", "sequential read", coldRead);
  std::printf("%-40s %10.3f ms\n", "Load last message by walk", coldWalk);
  std::printf("%-40s %10.3f ms  %.0fx faster than the walk  target >= 20x: %s%s\n",
              "Load last message by index", coldIndex, coldWalk / coldIndex,
              coldWalk / coldIndex >= 20 ? "met" : "MISSED",
              coldWalkOk && coldIndexOk ? "" : "  WRONG ANSWER OR WALK");
  std::filesystem::remove_all(dir);
  return 0;
}
