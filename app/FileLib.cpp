#include "app/FileLib.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <exception>

#include "core/AtomicFile.h"
#include "core/EventLog.h"
#include "core/StringLib.h"
#include "core/VError.h"
#include "platform/Dialogs.h"

namespace velnor::FileLib {
namespace {

bool StartsWith(const std::string& s, std::string_view prefix) { return s.compare(0, prefix.size(), prefix) == 0; }

// Logs the failure and raises it again as this procedure's FileLib:<proc> failure. Each
// procedure a failure passes through logs it and adds its own step, so the entries trace
// the calls from where it happened outwards.
[[noreturn]] void Fail(EventLog& log, const std::string& proc, int step) {
  const std::string source = "FileLib:" + proc;
  long number = kErrInvalidCall + kUserErrorBase;
  std::string description = "Unexpected failure";
  try {
    throw;
  } catch (const VError& e) {
    description = e.description();
    // A failure raised by another procedure here already carries the user-error base.
    number = StartsWith(e.source(), "FileLib:") ? e.number() : e.number() + kUserErrorBase;
  } catch (const std::exception& e) {
    description = e.what();
  } catch (...) {
  }
  const std::string stepText = ", Step = " + std::to_string(step);
  log.writeError(description + " " + source + stepText);
  throw VError(number, source, description + stepText);
}

std::optional<std::string> NonEmpty(const Environment& env, const char* name) {
  if (!env.getenv) return std::nullopt;
  auto v = env.getenv(name);
  if (v && v->empty()) return std::nullopt;
  return v;
}

std::string ProcessExeDir() {
  std::string buf(4096, '\0');
  const ssize_t n = ::readlink("/proc/self/exe", buf.data(), buf.size());
  if (n < 0) throw ErrnoError(errno, "readlink");
  buf.resize(static_cast<std::size_t>(n));
  const std::size_t slash = buf.rfind('/');
  if (slash == std::string::npos) return buf;
  return slash == 0 ? std::string("/") : buf.substr(0, slash);
}

}  // namespace

Environment Environment::FromProcess() {
  return Environment{&ProcessExeDir, [](const char* name) -> std::optional<std::string> {
                       const char* v = std::getenv(name);
                       if (!v) return std::nullopt;
                       return std::string(v);
                     }};
}

std::string WhereAmI(const Environment& env, EventLog& log) {
  int step = 1;
  try {
    const std::string dir = env.exeDir();
    const std::size_t slash = dir.rfind('/');
    step = 2;
    return slash == std::string::npos ? dir : dir.substr(slash + 1);
  } catch (...) {
    Fail(log, "WhereAmI", step);
  }
}

std::string AppDataDir(const Environment& env) {
  if (auto v = NonEmpty(env, "APPDATA")) return *v;
  if (auto v = NonEmpty(env, "XDG_DATA_HOME")) return *v;
  if (auto v = NonEmpty(env, "HOME")) return *v + "/.local/share";
  throw VError(kErrPathNotFound, "AppDataDir", "No application data folder (HOME is not set)");
}

std::string DefineDataPath(const std::string& Name, const std::string& ConfName, const Environment& env,
                           EventLog& log) {
  if (env.dataDir) return *env.dataDir;
  int step = 0;
  try {
    const std::string confPath = env.exeDir() + "/" + ConfName;
    std::string result;
    step = 1;
    if (IsFile(confPath)) result = GetPathFromConf(confPath, log);
    step = 2;
    if (result.empty()) result = AppDataDir(env) + "/" + Name;
    return result;
  } catch (...) {
    Fail(log, "DefineDataPath", step);
  }
}

std::string DataDirFromConfText(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::string line = GetLine(text);
    if (line.empty() || line[0] == '[') continue;
    const std::size_t eq = line.find('=');
    if (eq == std::string::npos) continue;
    const std::string key = ToUpperAscii(TrimSpaces(std::string_view(line).substr(0, eq)));
    if (key == "DATADIR") {
      result = line.substr(eq + 1);
    } else if (key == "INSTANCE") {
      // Pellmoor runs several instances from one folder; this program has one data path.
    }
  }
  return result;
}

std::string GetPathFromConf(const std::string& ConfFile, EventLog& log) {
  int step = 1;
  try {
    struct stat st {};
    if (::stat(ConfFile.c_str(), &st) != 0) throw ErrnoError(errno, "stat");
    step = 2;
    const std::string text = ReadWholeFile(ConfFile, "GetPathFromConf");
    step = 3;
    return DataDirFromConfText(text);
  } catch (...) {
    Fail(log, "GetPathFromConf", step);
  }
}

bool CheckDirectories(const std::string& dataPath, std::string& logsPath, Dialogs& dialogs, EventLog& log) {
  struct Row {
    const char* sub;  // nullptr: the data directory itself
    int step;
    const char* message;  // nullptr: "Cannot create data directory: " + the path
  };
  static constexpr Row kRows[] = {
      {nullptr, 1, "Cannot create program main data directory"},
      {"archive", 2, "Cannot create 'archive' data directory"},
      {"reports", 3, "Cannot create 'reports' data directory"},
      {"logs", 4, "Cannot create 'logs' data directory"},
      {"scripts", 5, "Cannot create 'scripts' data directory"},
      {"docs", 6, "Cannot create 'docs' data directory"},
      {"bbs.d", 7, nullptr},
      {"tnc.d", 8, nullptr},
      {"msg.d", 9, nullptr},
      {"addr.d", 10, nullptr},
      {"usr.d", 10, nullptr},
      {"spool", 11, "Cannot create 'spool' data directory"},
  };
  int step = 0;
  try {
    for (const Row& row : kRows) {
      const std::string path = row.sub ? dataPath + "/" + row.sub : dataPath;
      if (!DirExists(path)) {
        step = row.step;
        if (!MakeDir(path)) {
          const std::string text = row.message ? std::string(row.message) : "Cannot create data directory: " + path;
          dialogs.messageBox(text, kProgramTitle, MsgButtons::Ok);
          return false;
        }
      }
      if (row.step == 4) logsPath = path;
    }
    return true;
  } catch (...) {
    Fail(log, "CheckDirectories", step);
  }
}

bool DirExists(const std::string& path) {
  struct stat st {};
  return !path.empty() && ::stat(path.c_str(), &st) == 0;
}

bool IsFile(const std::string& path) {
  struct stat st {};
  return !path.empty() && ::stat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

bool MakeDir(const std::string& path) { return !path.empty() && ::mkdir(path.c_str(), 0755) == 0; }

std::string GetDirName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string GetFileName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string ReadTextFileContents(const std::string& path, EventLog& log) {
  int step = 1;
  try {
    if (!IsFile(path)) return {};
    step = 2;
    return ReadWholeFile(path, "ReadTextFileContents");
  } catch (...) {
    Fail(log, "ReadTextFileContents", step);
  }
}

}  // namespace velnor::FileLib
