#pragma once
// Command line of the station simulator.
#include <set>
#include <string>

namespace velnor::sim {

struct SimOptions {
  std::string bind = "127.0.0.1";  // --listen
  int port = 9334;
  std::string spool;       // empty: DefaultSpoolDir()
  std::string transcript;  // empty: none
  std::set<std::string> noPrompt;  // prompts never sent
  long dropAfter = -1;             // -1: never
  bool splitPrompts = false;
  int dripMs = 0;  // 0: replies in one write
  bool lowerCase = false;
};

enum class ParseResult { Run, Help, Error };

// Fills opts; on Error, error holds a one-line reason.
ParseResult ParseOptions(int argc, char** argv, SimOptions& opts, std::string& error);

const char* UsageText();

// True for a numeric address of this machine's loopback (127.0.0.0/8, ::1).
bool IsLoopback(const std::string& address);

// "$XDG_STATE_HOME/pmdirect-sim/spool", or with no absolute XDG_STATE_HOME
// "<home>/.local/state/pmdirect-sim/spool"; empty when there is no home either.
std::string DefaultSpoolDir();

}  // namespace velnor::sim
