#pragma once
// The day's session log, "Ics213-yymmdd.log" in the logs directory: a banner per
// start-up and one time-stamped line per event, CR LF, only ever appended to.
//
//   ---------------------------------------------------        (51 "-")
//   19-Nov-26 14:05:01: velnor v1.0.0
//   ---------------------------------------------------
//   19-Nov 14:05:09: Link Test to Pmdirect... passed
//
// The file's name is fixed at start-up, so a run that passes midnight keeps writing into
// the file of the day it started. The file is opened and closed for every line.
#include <string>

namespace velnor {

class Clock;
class Dialogs;

// What other subsystems need: append one event line. Never fails to the caller.
class SessionLogWriter {
 public:
  virtual ~SessionLogWriter() = default;
  virtual void WriteLog(const std::string& routine) = 0;
};

class SessionLog : public SessionLogWriter {
 public:
  SessionLog(Clock& clock, Dialogs& dialogs);

  // logDir + "/Ics213-" + yymmdd of `now` + ".log".
  static std::string LogFileName(const std::string& logDir, double now);

  // The logs directory when it exists (as anything) or can be created, else the data
  // directory itself.
  static std::string ChooseLogDirectory(const std::string& logsPath, const std::string& dataPath);

  // Fixes the log file from the directory and today's date; call once at start-up.
  void SetLogDirectory(const std::string& logDir);
  void SetLogFile(const std::string& path) { m_logFile = path; }
  const std::string& logFile() const { return m_logFile; }

  bool loggingOn() const { return m_loggingOn; }
  void SetLoggingOn(bool on) { m_loggingOn = on; }

  // Appends the banner and turns logging on. On failure: one message box ("SetupLog
  // Error <n>, <description>Could not start Session logging") and logging stays off.
  void SetupLog();

  // CR LF pairs removed, then "dd-mmm hh:mm:ss: " + the trimmed text, the whole line
  // trimmed again. The first failure shows one message box and turns logging off for
  // the rest of the run.
  void WriteLog(const std::string& routine) override;

 private:
  Clock& m_clock;
  Dialogs& m_dialogs;
  std::string m_logFile;
  bool m_loggingOn = false;
};

}  // namespace velnor
