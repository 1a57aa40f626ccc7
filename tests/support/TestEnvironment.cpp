// Linked into every test executable: sets the environment the tests rely on before
// main() runs, unless the caller already set it, and keeps the tests off the world: the
// default Pmdirect port, the print server and the user's runtime folder.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/DefaultPort.h"

namespace {

struct TestEnvironment {
  TestEnvironment() {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    setenv("VELNOR_SIM", VELNOR_SIM_BUILT, 0);
    setenv("VELNOR_BIN", VELNOR_BIN_BUILT, 0);
    // Qt makes a runtime folder when none is set, and asks the print server on port 631
    // for printers: both go to a folder of this process's own, where no print server is.
    char dir[] = "/tmp/velnor-env-XXXXXX";
    if (mkdtemp(dir)) {
      m_dir = dir;
      setenv("XDG_RUNTIME_DIR", dir, 1);
      setenv("CUPS_SERVER", (m_dir + "/no-print-server").c_str(), 1);
      // Window state, dialog history and a simulator's default spool stay in here too.
      for (const char* var : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME"})
        setenv(var, (m_dir + "/" + var).c_str(), 1);
    }
  }
  ~TestEnvironment() {
    std::error_code ignored;
    if (!m_dir.empty()) std::filesystem::remove_all(m_dir, ignored);
  }
  std::string m_dir;
};

const TestEnvironment environment;

std::atomic<int> g_expecting{0};
std::atomic<int> g_refused{0};

int PortOf(const sockaddr* a, socklen_t len) {
  if (a && a->sa_family == AF_INET && len >= sizeof(sockaddr_in))
    return ntohs(reinterpret_cast<const sockaddr_in*>(a)->sin_port);
  if (a && a->sa_family == AF_INET6 && len >= sizeof(sockaddr_in6))
    return ntohs(reinterpret_cast<const sockaddr_in6*>(a)->sin6_port);
  return -1;
}

}  // namespace

// Takes the C library's place for the whole process, Qt's sockets included. A guard that
// listened on the port instead would miss exactly the case that matters: a server of this
// machine already listening there. The well-known ports below 1024 (a print server, a
// name server) are never a test's own either.
extern "C" int connect(int fd, const sockaddr* addr, socklen_t len) {
  const int port = PortOf(addr, len);
  const bool pmdirect = port == velnor::testing::kDefaultPmdirectPort;
  if (pmdirect || (port >= 0 && port < 1024)) {
    if (pmdirect) ++g_refused;
    if (!pmdirect || g_expecting == 0)
      ADD_FAILURE() << "connection to port " << port
                    << " refused: a test may only reach a port it opened itself";
    errno = ECONNREFUSED;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_connect, fd, addr, len));
}

namespace velnor::testing {

DefaultPortRefusals::DefaultPortRefusals() : m_before(g_refused) { ++g_expecting; }
DefaultPortRefusals::~DefaultPortRefusals() { --g_expecting; }
int DefaultPortRefusals::count() const { return g_refused - m_before; }

}  // namespace velnor::testing
