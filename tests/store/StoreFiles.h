#pragma once
// Builds and reads store files byte by byte, independently of IcsMsg, so tests compare
// what the store wrote with what the file format says; plus child-process helpers.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "core/VError.h"

namespace velnor::testing {

constexpr std::size_t kRecLen = 8822;

inline void PutI32(std::string& rec, std::size_t at, std::int32_t v) {
  const auto u = static_cast<std::uint32_t>(v);
  for (int i = 0; i < 4; ++i) rec[at + static_cast<std::size_t>(i)] = static_cast<char>((u >> (8 * i)) & 0xFF);
}

inline std::int32_t GetI32(const std::string& bytes, std::size_t at) {
  std::uint32_t u = 0;
  for (int i = 3; i >= 0; --i) u = (u << 8) | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
  return static_cast<std::int32_t>(u);
}

inline std::string HeaderRecord(std::int32_t counter) {
  std::string rec(kRecLen, '\0');
  PutI32(rec, 0, counter);
  const std::string marker = "[ics213!.]" + std::string(54, ' ');
  rec.replace(74, 64, marker);
  return rec;
}

// A message record with a number and a subject that tells records apart.
inline std::string MessageRecord(std::int32_t number, const std::string& subject = "") {
  std::string rec(kRecLen, '\0');
  PutI32(rec, 0, number);
  rec[4] = 6;  // Draft
  std::string s = subject.empty() ? "subject " + std::to_string(number) : subject;
  s.resize(64, ' ');
  rec.replace(330, 64, s);
  return rec;
}

inline std::string StoreBytes(std::int32_t counter, const std::vector<std::int32_t>& numbers) {
  std::string out = HeaderRecord(counter);
  for (std::int32_t n : numbers) out += MessageRecord(n);
  return out;
}

inline void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream f(path, std::ios::binary | std::ios::trunc);
  f.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  std::ostringstream out;
  out << f.rdbuf();
  return std::move(out).str();
}

// The MsgNo of every message record (header excluded), in file order.
inline std::vector<std::int32_t> NumbersIn(const std::string& bytes) {
  std::vector<std::int32_t> out;
  for (std::size_t at = kRecLen; at + kRecLen <= bytes.size(); at += kRecLen) out.push_back(GetI32(bytes, at));
  return out;
}

// Runs op, which must throw a VError, and returns that error.
template <typename F>
VError Thrown(F op) {
  try {
    op();
  } catch (const VError& e) {
    return e;
  }
  ADD_FAILURE() << "no VError";
  return VError(0, "", "");
}

// Runs body in a child process; the child's exit code is 0 when body returned normally.
template <typename F>
pid_t Spawn(F body) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::alarm(60);  // a child stuck on a lock dies instead of hanging the run
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

// Runs body in a child process and waits for it; true when it succeeded.
template <typename F>
bool InChild(F body) {
  const int status = WaitFor(Spawn(body));
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace velnor::testing
