#pragma once
// Store files built and read byte by byte, independently of IcsMsg; child-process helpers.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "core/EventLog.h"
#include "core/VError.h"
#include "store/MsgRecord.h"
#include "tests/support/TempDir.h"
#include "tests/support/Thrown.h"

namespace velnor::testing {

constexpr std::size_t kRecLen = 8822;

// Numbers are little-endian in the file, as on the machines the tests run on.
inline std::int32_t GetI32(const std::string& bytes, std::size_t at) {
  std::int32_t v = 0;
  std::memcpy(&v, bytes.data() + at, 4);
  return v;
}

inline std::string ImageOf(const MsgRecord& r) {
  return std::string(reinterpret_cast<const char*>(r.image().data()), r.image().size());
}

// A zeroed record that starts with its number, little-endian.
inline std::string NumberedRecord(std::int32_t number) {
  std::string rec(kRecLen, '\0');
  std::memcpy(rec.data(), &number, 4);
  return rec;
}

inline std::string HeaderRecord(std::int32_t counter) {
  return NumberedRecord(counter).replace(74, 64, "[ics213!.]" + std::string(54, ' '));
}

// A Draft with a subject that tells records apart.
inline std::string MessageRecord(std::int32_t number, const std::string& subject = "") {
  std::string s = subject.empty() ? "subject " + std::to_string(number) : subject;
  s.resize(64, ' ');
  std::string rec = NumberedRecord(number).replace(330, 64, s);
  rec[4] = 6;
  return rec;
}

inline std::string StoreBytes(std::int32_t counter, const std::vector<std::int32_t>& numbers) {
  std::string out = HeaderRecord(counter);
  for (std::int32_t n : numbers) out += MessageRecord(n);
  return out;
}

inline std::vector<std::int32_t> Range(std::int32_t first, std::int32_t last) {
  std::vector<std::int32_t> out(static_cast<std::size_t>(last - first + 1));
  std::iota(out.begin(), out.end(), first);
  return out;
}

inline void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

inline std::string ReadFile(const std::string& path) {
  std::ostringstream out;
  out << std::ifstream(path, std::ios::binary).rdbuf();
  return std::move(out).str();
}

// The MsgNo of every message record (header excluded), in file order.
inline std::vector<std::int32_t> NumbersIn(const std::string& bytes) {
  std::vector<std::int32_t> out;
  for (std::size_t at = kRecLen; at + kRecLen <= bytes.size(); at += kRecLen)
    out.push_back(GetI32(bytes, at));
  return out;
}

// Runs body in a child process; the child's exit code is 0 when body returned normally.
template <typename F>
pid_t Spawn(F body) {
  const pid_t parent = ::getpid();
  const pid_t pid = ::fork();
  if (pid == 0) {
    // It shares the test's output, so it must not outlive the test; nor hang on a lock.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(4);
    ::alarm(60);
    int code = 0;
    try {
      body();
    } catch (...) {
      code = 3;
    }
    ::_exit(code);
  }
  return pid;
}

inline int WaitFor(pid_t pid) {
  int status = 0;
  ::waitpid(pid, &status, 0);
  return status;
}

// A temporary data directory holding the store.
class StoreTest : public ::testing::Test {
 protected:
  std::string store() const { return dir.file("velnor.odb"); }
  void make(std::int32_t counter, const std::vector<std::int32_t>& numbers) {
    WriteFile(store(), StoreBytes(counter, numbers));
  }
  TempDir dir;
  RecordingEventLog log;
};

}  // namespace velnor::testing
