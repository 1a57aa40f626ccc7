#include "SimHarness.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <stdexcept>

#include "core/AtomicFile.h"

namespace velnor::testing {
namespace {

constexpr int kWaitMs = 5000;

bool readable(int fd) {
  pollfd p{fd, POLLIN, 0};
  return ::poll(&p, 1, kWaitMs) > 0;
}

// The simulator under test is the one VELNOR_SIM names (every test binary sets it). It
// writes only to the test's own descriptors and dies with the test: a simulator left
// holding CTest's output would keep the whole run waiting.
pid_t spawn(std::vector<std::string> args, int outFd, int errFd) {
  const char* sim = std::getenv("VELNOR_SIM");
  if (!sim) throw std::runtime_error("VELNOR_SIM is not set");
  args.insert(args.begin(), sim);
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  const pid_t parent = ::getpid();
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(127);  // the test died before the line above
    ::dup2(outFd, 1);
    ::dup2(errFd, 2);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  if (pid < 0) throw std::runtime_error("fork failed");
  return pid;
}

// Waits for the child to end, at most about kWaitMs; -1 when it did not.
int reap(pid_t pid) {
  for (int i = 0; i < kWaitMs / 10; ++i) {
    int status = 0;
    if (::waitpid(pid, &status, WNOHANG) == pid) return status;
    ::usleep(10000);
  }
  ::kill(pid, SIGKILL);
  ::waitpid(pid, nullptr, 0);
  return -1;
}

// Reads fd to its end, or only to the first line end.
std::string readPipe(int fd, bool firstLine) {
  std::string text;
  char buf[4096];
  while (!(firstLine && text.find('\n') != std::string::npos) && readable(fd)) {
    const ssize_t n = ::read(fd, buf, sizeof buf);
    if (n <= 0) break;
    text.append(buf, static_cast<std::size_t>(n));
  }
  ::close(fd);
  return text;
}

}  // namespace

SimProcess::SimProcess(const std::string& spool, const std::string& transcript,
                       std::vector<std::string> extra)
    : m_errFile(transcript + ".stderr") {
  std::vector<std::string> args = {"--port", "0", "--spool", spool, "--transcript", transcript};
  args.insert(args.end(), extra.begin(), extra.end());
  int out[2];
  if (::pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
  const int err = ::open(m_errFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (err < 0) throw std::runtime_error("cannot open " + m_errFile);
  m_pid = spawn(args, out[1], err);
  ::close(out[1]);
  ::close(err);
  const std::string line = readPipe(out[0], true), prefix = "pmdirect-sim listening on 127.0.0.1:";
  if (!line.starts_with(prefix)) {
    stop();
    throw std::runtime_error("simulator did not start: " + line + errors());
  }
  m_port = std::atoi(line.c_str() + prefix.size());
}

SimProcess::~SimProcess() {
  stop();
  if (::testing::Test::HasFailure()) std::fprintf(stderr, "pmdirect-sim said:\n%s", errors().c_str());
}

int SimProcess::stop() {
  if (m_pid <= 0) return -1;
  ::kill(m_pid, SIGTERM);
  const int status = reap(m_pid);
  m_pid = -1;
  return status;
}

std::string SimProcess::errors() const {
  return std::filesystem::exists(m_errFile) ? ReadWholeFile(m_errFile, "test") : std::string();
}

int RunSimToEnd(const std::vector<std::string>& args, std::string& errText) {
  int err[2];
  if (::pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
  const int devnull = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  const pid_t pid = spawn(args, devnull, err[1]);
  ::close(devnull);
  ::close(err[1]);
  errText = readPipe(err[0], false);
  const int status = reap(pid);
  return status >= 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

SimClient::SimClient(int port) {
  m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in sa{};
  sa.sin_family = AF_INET;
  sa.sin_port = htons(static_cast<std::uint16_t>(port));
  sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (m_fd < 0 || ::connect(m_fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa) != 0)
    throw std::runtime_error("cannot connect to the simulator");
}

void SimClient::send(const std::string& bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t n = ::send(m_fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
    if (n <= 0) return;  // the peer may have dropped us on purpose; reads tell
    done += static_cast<std::size_t>(n);
  }
}

std::string SimClient::read(std::size_t n) {
  std::string got;
  char buf[65536];
  while (got.size() < n && readable(m_fd)) {
    const ssize_t r = ::recv(m_fd, buf, std::min(sizeof buf, n - got.size()), 0);
    if (r <= 0) break;
    got.append(buf, static_cast<std::size_t>(r));
  }
  return got;
}

std::vector<std::string> Transcript(const std::string& path, char dir) {
  const std::string all = ReadWholeFile(path, "test");
  std::vector<std::string> out;
  std::size_t pos = 0, eol = 0;
  while ((eol = all.find('\n', pos)) != std::string::npos) {
    const std::string head = all.substr(pos, eol - pos);
    pos = eol + 1;
    if (head.size() <= 4 || (head.compare(0, 4, "<<< ") != 0 && head.compare(0, 4, ">>> ") != 0)) continue;
    int c = 0;
    std::size_t len = 0;
    if (std::sscanf(head.c_str() + 4, "%d %zu", &c, &len) != 2 || pos + len > all.size()) break;
    if (head[0] == dir) out.push_back(all.substr(pos, len));
    pos += len + 1;
  }
  return out;
}

std::string Joined(const std::vector<std::string>& parts) {
  return std::accumulate(parts.begin(), parts.end(), std::string());
}

}  // namespace velnor::testing
