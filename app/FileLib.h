#pragma once
// Where the program keeps its data, and the directory tree in it.
//
// The data directory is shared with Pellmoor: the DATADIR key of "Pellmoor.conf" beside
// the executable names it; without one it is the application-data folder ("APPDATA" when
// set, else XDG_DATA_HOME, else $HOME/.local/share) joined with the name of the program's
// own folder. Paths are joined with "/".
//
// "Pellmoor.conf": lines end at CR (LF dropped); empty and "[" lines are skipped; a line
// is split at its first "="; keys are trimmed and compared without regard to case; the
// value is taken as it stands. DATADIR sets the result (the last one wins); INSTANCE is
// known but changes nothing.
//
// Failures: DirExists, IsFile and MakeDir never throw (any failure is "no"). The other
// procedures write "<description> FileLib:<Proc>, Step = <n>" to the event log and throw
// VError(number - 2147221504, "FileLib:<Proc>", "<description>, Step = <n>"). A failure
// raised by another FileLib procedure is logged and raised again the same way, its
// number kept (it has the base already): DefineDataPath over an unreadable
// "Pellmoor.conf" logs "... FileLib:GetPathFromConf, Step = 2" and then
// "..., Step = 2 FileLib:DefineDataPath, Step = 1". GetDirName and GetFileName cannot fail.
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace velnor {

class Dialogs;
class EventLog;

namespace FileLib {

// Added to an error's own number when it is passed on.
inline constexpr long kUserErrorBase = -2147221504L;

// What the module asks of the process; tests substitute both.
struct Environment {
  // The directory holding the executable, without a trailing "/"; may throw.
  std::function<std::string()> exeDir;
  // An environment variable, nullopt when unset.
  std::function<std::optional<std::string>(const char*)> getenv;
  // A data directory named on the command line (for training): it wins over Pellmoor.conf
  // and the application-data folder.
  std::optional<std::string> dataDir = std::nullopt;

  // The running process: /proc/self/exe and the real environment.
  static Environment FromProcess();
};

// The last component of the executable's directory.
std::string WhereAmI(const Environment& env, EventLog& log);

// "APPDATA", else XDG_DATA_HOME, else $HOME/.local/share (empty values count as unset).
// Throws VError when none of them is available.
std::string AppDataDir(const Environment& env);

// The data directory: env.dataDir when set, else DATADIR of exeDir + "/" + confName, else
// AppDataDir + "/" + name.
std::string DefineDataPath(const std::string& Name, const std::string& ConfName, const Environment& env,
                           EventLog& log);

// The last DATADIR value of the configuration file, or empty.
std::string GetPathFromConf(const std::string& ConfFile, EventLog& log);

// The same over the file's text; never fails.
std::string DataDirFromConfText(std::string_view text);

// Makes sure the data directory and its eleven subdirectories exist, creating what is
// missing in a fixed order. On the first directory that cannot be created it shows that
// directory's message (OK, caption "Velnor") and returns false. Sets logsPath to
// dataPath + "/logs" when that row is reached.
bool CheckDirectories(const std::string& dataPath, std::string& logsPath, Dialogs& dialogs, EventLog& log);

// True when anything, directory or file, exists under the name.
bool DirExists(const std::string& path);
// True when something other than a directory exists under the name.
bool IsFile(const std::string& path);
// Creates the last component only; true when created.
bool MakeDir(const std::string& path);

// Text before the last "/", or empty; text after the last "/", or the whole path.
std::string GetDirName(const std::string& path);
std::string GetFileName(const std::string& path);

// The whole file as bytes; empty when no file exists under the path.
std::string ReadTextFileContents(const std::string& path, EventLog& log);

}  // namespace FileLib
}  // namespace velnor
