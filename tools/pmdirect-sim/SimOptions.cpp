#include "SimOptions.h"

#include <arpa/inet.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace velnor::sim {
namespace {

bool parseNumber(const char* text, long lo, long hi, long& out) {
  if (!text || !*text) return false;
  char* end = nullptr;
  errno = 0;
  const long v = std::strtol(text, &end, 10);
  if (errno != 0 || *end != '\0' || v < lo || v > hi) return false;
  out = v;
  return true;
}

}  // namespace

const char* UsageText() {
  return "usage: pmdirect-sim [--listen ADDR] [--port N] [--spool DIR] [--transcript FILE]\n"
         "                    [--no-prompt PROMPT] [--drop-after N] [--split-prompts]\n"
         "                    [--drip MS] [--lower-case] [--help]\n"
         "\n"
         "A message server for Velnor exercises: stations log on, hand over ICS 213\n"
         "messages and collect the ones routed to them.\n"
         "\n"
         "  --listen ADDR      address to listen on (default 127.0.0.1: this machine only);\n"
         "                     stations log on without any password, see pmdirect-sim(1)\n"
         "  --bind ADDR        the same as --listen\n"
         "  --port N           port (default 9334; 0 picks a free one)\n"
         "  --spool DIR        where queued messages are kept\n"
         "                     (default ${XDG_STATE_HOME:-~/.local/state}/pmdirect-sim/spool)\n"
         "  --transcript FILE  append every byte received and sent to FILE\n"
         "  --no-prompt P      never send prompt P (LOGON>, OK>, NOMORE> or QUITING>); repeatable\n"
         "  --drop-after N     close a connection when its message number N+1 arrives\n"
         "  --split-prompts    send each prompt in two writes about 50 ms apart\n"
         "  --drip MS          send every reply one byte per MS milliseconds\n"
         "  --lower-case       send prompts in lower case\n"
         "  -h, --help         show this text and end\n"
         "\n"
         "SIGTERM or SIGINT (Ctrl+C) ends it cleanly, the spool flushed to the disk.\n";
}

bool IsLoopback(const std::string& address) {
  in_addr v4{};
  in6_addr v6{};
  if (inet_pton(AF_INET, address.c_str(), &v4) == 1) return (ntohl(v4.s_addr) >> 24) == 127;
  if (inet_pton(AF_INET6, address.c_str(), &v6) != 1) return false;
  if (IN6_IS_ADDR_LOOPBACK(&v6)) return true;
  return IN6_IS_ADDR_V4MAPPED(&v6) && v6.s6_addr[12] == 127;
}

std::string DefaultSpoolDir() {
  // Waiting messages are state to keep across restarts and reboots, so not under /tmp;
  // one folder whatever the port, so a restarted simulator finds what waited.
  const char* state = std::getenv("XDG_STATE_HOME");
  if (state && state[0] == '/') return std::string(state) + "/pmdirect-sim/spool";
  const char* home = std::getenv("HOME");
  if (!home || !*home) {
    const passwd* pw = ::getpwuid(::getuid());
    home = pw ? pw->pw_dir : nullptr;
  }
  if (!home || !*home) return {};
  return std::string(home) + "/.local/state/pmdirect-sim/spool";
}

ParseResult ParseOptions(int argc, char** argv, SimOptions& opts, std::string& error) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    auto needValue = [&]() {
      if (!value) {
        error = std::string(arg) + " needs a value";
        return false;
      }
      ++i;
      return true;
    };
    long n = 0;
    if (arg == "--help" || arg == "-h") {
      return ParseResult::Help;
    } else if (arg == "--split-prompts") {
      opts.splitPrompts = true;
    } else if (arg == "--lower-case") {
      opts.lowerCase = true;
    } else if (arg == "--listen" || arg == "--bind") {
      if (!needValue()) return ParseResult::Error;
      opts.bind = value;
    } else if (arg == "--port") {
      if (!needValue()) return ParseResult::Error;
      if (!parseNumber(value, 0, 65535, n)) {
        error = std::string("bad port: ") + value;
        return ParseResult::Error;
      }
      opts.port = static_cast<int>(n);
    } else if (arg == "--spool") {
      if (!needValue()) return ParseResult::Error;
      opts.spool = value;
    } else if (arg == "--transcript") {
      if (!needValue()) return ParseResult::Error;
      opts.transcript = value;
    } else if (arg == "--no-prompt") {
      if (!needValue()) return ParseResult::Error;
      const std::string_view p = value;
      if (p != "LOGON>" && p != "OK>" && p != "NOMORE>" && p != "QUITING>") {
        error = std::string("--no-prompt takes LOGON>, OK>, NOMORE> or QUITING>, not ") + value;
        return ParseResult::Error;
      }
      opts.noPrompt.insert(std::string(p));
    } else if (arg == "--drop-after") {
      if (!needValue()) return ParseResult::Error;
      if (!parseNumber(value, 0, 1000000000, n)) {
        error = std::string("bad --drop-after count: ") + value;
        return ParseResult::Error;
      }
      opts.dropAfter = n;
    } else if (arg == "--drip") {
      if (!needValue()) return ParseResult::Error;
      if (!parseNumber(value, 1, 60000, n)) {
        error = std::string("bad --drip milliseconds: ") + value;
        return ParseResult::Error;
      }
      opts.dripMs = static_cast<int>(n);
    } else {
      error = "unknown option " + std::string(arg);
      return ParseResult::Error;
    }
  }
  return ParseResult::Run;
}

}  // namespace velnor::sim
