// pmdirect-sim: a Pmdirect-compatible message server for exercises and tests.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "SimOptions.h"
#include "SimServer.h"
#include "Spool.h"
#include "core/VError.h"

namespace {

int g_stopPipe[2] = {-1, -1};

void onSignal(int) {
  const char b = 1;
  [[maybe_unused]] const ssize_t n = ::write(g_stopPipe[1], &b, 1);
}

}  // namespace

int main(int argc, char** argv) {
  using namespace velnor::sim;
  SimOptions opts;
  std::string error;
  switch (ParseOptions(argc, argv, opts, error)) {
    case ParseResult::Help:
      std::fputs(UsageText(), stdout);
      return 0;
    case ParseResult::Error:
      std::fprintf(stderr, "pmdirect-sim: %s\n%s", error.c_str(), UsageText());
      return 1;
    case ParseResult::Run:
      break;
  }
  if (!IsLoopback(opts.bind))
    std::fprintf(stderr,
                 "pmdirect-sim: warning: --listen %s reaches beyond this machine, and the Pmdirect dialogue "
                 "has no authentication: anyone who reaches this port can log on as any station and take "
                 "its messages\n",
                 opts.bind.c_str());
  if (::pipe2(g_stopPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
    std::perror("pmdirect-sim: pipe");
    return 1;
  }
  struct sigaction sa {};
  sa.sa_handler = onSignal;
  sigemptyset(&sa.sa_mask);
  sigaction(SIGINT, &sa, nullptr);
  sigaction(SIGTERM, &sa, nullptr);
  signal(SIGPIPE, SIG_IGN);

  SimServer server(opts);
  if (!server.listen(error)) {
    std::fprintf(stderr, "pmdirect-sim: %s\n", error.c_str());
    return 1;
  }
  const std::string spoolDir = opts.spool.empty() ? DefaultSpoolDir() : opts.spool;
  if (spoolDir.empty()) {
    std::fprintf(stderr, "pmdirect-sim: no home folder for the spool; give --spool DIR\n");
    return 1;
  }
  std::unique_ptr<Spool> spool;
  try {
    spool = std::make_unique<Spool>(spoolDir);
  } catch (const velnor::VError& e) {
    std::fprintf(stderr, "pmdirect-sim: spool %s: %s\n", spoolDir.c_str(), e.description().c_str());
    return 1;
  }
  std::printf("pmdirect-sim listening on %s:%d\n", server.address().c_str(), server.port());
  std::fflush(stdout);
  std::fprintf(stderr, "pmdirect-sim: spool %s\n", spoolDir.c_str());
  server.run(*spool, g_stopPipe[0]);
  try {
    spool->flush();
  } catch (const velnor::VError& e) {
    std::fprintf(stderr, "pmdirect-sim: spool %s: %s\n", spoolDir.c_str(), e.description().c_str());
    return 1;
  }
  return 0;
}
