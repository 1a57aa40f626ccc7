// Store operations on a full store of 32767 messages, each printed beside the time of
// one sequential read of the same file. Targets: Load and Update of the last message
// within 1.5x the read, a whole GetList walk within 5x. Run by hand:
// build/bench/store/bench_store [directory]
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
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
  const double load = Best(5, [&] { m.Load(kMessages - 1); });
  const double update = Best(5, [&] { m.Update(kMessages - 1); });
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
  const double newMsg = Best(1, [&] { m.NewMsg(); });
  const double del = Best(1, [&] { m.DeleteOne(kMessages / 2); });

  std::printf("store: %d records, %.1f MB in %s\n", kMessages, kMessages * double(kRec) / 1e6, dir.c_str());
  std::printf("%-28s %10.2f ms\n", "sequential read", read);
  auto row = [&](const char* name, double ms, double target) {
    std::printf("%-28s %10.2f ms  %5.2fx read%s\n", name, ms, ms / read,
                target > 0 ? (ms / read <= target ? "  (target met)" : "  (TARGET MISSED)") : "");
  };
  row("Load last message", load, 1.5);
  row("Update last message", update, 1.5);
  row("GetList whole walk", walk, 5.0);
  row("  of which system-call floor", floor, 0);
  row("DeleteOne middle message", del, 0);
  row("NewMsg", newMsg, 0);
  std::filesystem::remove_all(dir);
  return 0;
}
