#include "main/CommLogJob.h"

#include <QGuiApplication>
#include <QSettings>
#include <cstdio>
#include <filesystem>

#include "app/Settings.h"
#include "core/AtomicFile.h"
#include "core/Clock.h"
#include "core/VError.h"
#include "log309/CommLog.h"
#include "log309/qt/CommLogDialog.h"
#include "log309/qt/CommLogPdf.h"
#include "main/PrintJob.h"
#include "store/IcsMsg.h"

namespace velnor {
namespace {

int Failed(const std::string& what) {
  std::fprintf(stderr, "velnor: %s\n", what.c_str());
  return kExitFailed;
}

constexpr double kDefaultPeriod = 12.0 / 24;

}  // namespace

int WriteCommLogFiles(int& argc, char** argv, const CommandLine& cl, const FileLib::Environment& env,
                      EventLog& eventLog, const Clock& clock) {
  std::string dataPath;
  try {
    dataPath = FileLib::DefineDataPath(FileLib::WhereAmI(env, eventLog), "Pellmoor.conf", env, eventLog);
  } catch (const VError& e) {
    return Failed("the data directory could not be found: " + e.description());
  }
  IcsMsg store(dataPath, eventLog);
  // Opening the store would create a missing one.
  if (!FileLib::IsFile(store.storeFile())) return Failed("there is no message store " + store.storeFile());
  const Settings settings = ReadSettingsOnly(dataPath + "/velnor.ini", eventLog);
  std::vector<LogLine> all;
  try {
    // An empty file is a store that was never used; reading it would write its header.
    std::error_code ec;
    if (std::filesystem::file_size(store.storeFile(), ec) != 0 || ec)
      all = ReadLogLines(store, settings.LoginName);
  } catch (const VError& e) {
    return Failed(store.storeFile() + " could not be read: " + e.description());
  }

  LogPeriod period;
  period.to = cl.to ? *cl.to : cl.from ? *cl.from + kDefaultPeriod : clock.now();
  period.from = cl.from ? *cl.from : period.to - kDefaultPeriod;
  const std::vector<LogLine> lines = SelectLogLines(all, period, false);

  if (!cl.csv.empty()) {
    try {
      WriteFileAtomically(cl.csv, CommLogCsv(lines), "ExportCsv");
    } catch (const VError& e) {
      return Failed(cl.csv + " could not be written: " + e.description());
    }
  }
  if (cl.pdf.empty()) return kExitDone;

  // Fonts and the PDF printer need a GUI application, never a screen.
  qInstallMessageHandler(QuietQt);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  // Read only: nothing here is remembered for the next run.
  QSettings memory("velnor", "velnor");
  const LogForm f = RememberedLogForm(memory, settings);
  const LogHeader header{f.incident,      period,       f.net,       f.operatorName,
                         f.operatorCall,  f.preparedBy, clock.now(), settings.DateFormat,
                         ProgramVersion()};
  try {
    WriteCommLogPdf(cl.pdf, header, lines);
  } catch (const VError& e) {
    return Failed(cl.pdf + " could not be written: " + e.description());
  }
  return kExitDone;
}

}  // namespace velnor
