#include "app/SessionLog.h"

#include <exception>

#include "app/FileLib.h"
#include "app/Settings.h"
#include "core/AtomicFile.h"
#include "core/Clock.h"
#include "core/DateTime.h"
#include "core/StringLib.h"
#include "core/VError.h"
#include "platform/Dialogs.h"

namespace velnor {
namespace {

constexpr std::size_t kRuleWidth = 51;

// "<number>, <description>" of whatever was thrown.
std::string ErrorText() {
  try {
    throw;
  } catch (const VError& e) {
    return std::to_string(e.number()) + ", " + e.description();
  } catch (const std::exception& e) {
    return std::to_string(static_cast<long>(kErrInvalidCall)) + ", " + e.what();
  } catch (...) {
    return std::to_string(static_cast<long>(kErrInvalidCall)) + ", Unexpected failure";
  }
}

}  // namespace

SessionLog::SessionLog(Clock& clock, Dialogs& dialogs) : m_clock(clock), m_dialogs(dialogs) {}

std::string SessionLog::LogFileName(const std::string& logDir, double now) {
  return logDir + "/Ics213-" + FormatDate(now, "yymmdd") + ".log";
}

std::string SessionLog::ChooseLogDirectory(const std::string& logsPath, const std::string& dataPath) {
  if (FileLib::DirExists(logsPath) || FileLib::MakeDir(logsPath)) return logsPath;
  return dataPath;
}

void SessionLog::SetLogDirectory(const std::string& logDir) { m_logFile = LogFileName(logDir, m_clock.now()); }

void SessionLog::SetupLog() {
  try {
    const std::string rule(kRuleWidth, '-');
    const std::string banner = rule + "\r\n" + FormatDate(m_clock.now(), "dd-mmm-yy hh:mm:ss") + ": velnor v" +
                               ProgramVersion() + "\r\n" + rule + "\r\n";
    AppendToFile(m_logFile, banner, "SetupLog");
    m_loggingOn = true;
  } catch (...) {
    m_loggingOn = false;
    m_dialogs.messageBox("SetupLog Error " + ErrorText() + "Could not start Session logging", kProgramTitle,
                         MsgButtons::Ok);
  }
}

void SessionLog::WriteLog(const std::string& routine) {
  // The operator only learns of the first failure; afterwards this stays silent.
  if (!m_loggingOn) return;
  try {
    const std::string text = RemoveCrLf(routine);
    const std::string line =
        Trim(FormatDate(m_clock.now(), "dd-mmm hh:mm:ss") + ": " + std::string(TrimSpaces(text)));
    AppendToFile(m_logFile, line + "\r\n", "WriteLog");
  } catch (...) {
    m_loggingOn = false;
    m_dialogs.messageBox("SetupLog Error " + ErrorText() +
                             "; Could not write to the session log file; disabled session logging",
                         kProgramTitle, MsgButtons::Ok);
  }
}

}  // namespace velnor
