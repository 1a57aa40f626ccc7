#pragma once
// The command line of velnor. Without options the main window starts as it always has;
// --data names another data directory (for training); a job runs without any window,
// writes one file and ends.
//
// Exit codes: 0 done, 1 the store, the message or an output file failed, 2 bad
// arguments. Every failure is one line on stderr, "velnor: <what went wrong>".
#include <QStringList>
#include <cstdint>
#include <optional>
#include <string>

namespace velnor {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitBadArguments = 2;

struct CommandLine {
  enum class Action {
    Window,
    // Jobs without a window.
    PrintMessage,  // --print N --pdf FILE
    CommLog,       // --ics309 [--from TIME] [--to TIME] [--pdf FILE] [--csv FILE], one file at least
    Help,
    Version,
    BadArguments,
  };
  Action action = Action::Window;
  std::optional<std::string> dataDir;  // --data, made absolute
  std::int32_t message = 0;            // --print
  std::string pdf;                     // --pdf, made absolute
  std::string csv;                     // --csv, made absolute
  // --from and --to as OLE dates. The period is 12 hours: up to --to, from --from, or up
  // to now when neither is given.
  std::optional<double> from, to;
  // Help and Version: the text for stdout. BadArguments: the reason, one line.
  std::string text;
};

// arguments: the program's argv as given, program name first.
CommandLine ParseCommandLine(const QStringList& arguments);

// argv as a list, decoded the way file names are.
QStringList ArgumentList(int argc, char** argv);

}  // namespace velnor
