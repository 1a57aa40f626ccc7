#include "main/PrintJob.h"

#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <cstdio>

#include "app/Settings.h"
#include "core/AtomicFile.h"
#include "core/VError.h"
#include "editor/MessageEditor.h"
#include "print/IcsPrint.h"
#include "print/qt/QtPrinterSystem.h"
#include "store/IcsMsg.h"

namespace velnor {
namespace {

int Failed(const std::string& what) {
  std::fprintf(stderr, "velnor: %s\n", what.c_str());
  return kExitFailed;
}

}  // namespace

Settings ReadSettingsOnly(const std::string& file, EventLog& eventLog) {
  Settings s;
  try {
    ParseSettingsText(FileLib::ReadTextFileContents(file, eventLog), s);
  } catch (const VError&) {
    s = Settings{};
  }
  return s;
}

void QuietQt(QtMsgType type, const QMessageLogContext&, const QString& text) {
  if (type == QtCriticalMsg || type == QtFatalMsg) std::fprintf(stderr, "velnor: %s\n", qPrintable(text));
}

int PrintMessageToPdf(int& argc, char** argv, const CommandLine& cl, const FileLib::Environment& env,
                      EventLog& eventLog) {
  std::string dataPath;
  try {
    dataPath = FileLib::DefineDataPath(FileLib::WhereAmI(env, eventLog), "Pellmoor.conf", env, eventLog);
  } catch (const VError& e) {
    return Failed("the data directory could not be found: " + e.description());
  }
  IcsMsg store(dataPath, eventLog);
  // Opening the store would create a missing one.
  if (!FileLib::IsFile(store.storeFile())) return Failed("there is no message store " + store.storeFile());
  try {
    if (!store.Load(cl.message))
      return Failed("message " + std::to_string(cl.message) + " is not in " + store.storeFile());
  } catch (const VError& e) {
    return Failed(store.storeFile() + " could not be read: " + e.description());
  }
  const FormTexts t = ShownTexts(store.rec(), ReadSettingsOnly(dataPath + "/velnor.ini", eventLog));

  // Fonts and the PDF printer need a GUI application, never a screen. Qt's own warnings
  // (a missing runtime folder, say) are not this job's failures, which are told below.
  qInstallMessageHandler(QuietQt);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  // The page is drawn into a file of its own, so FILE is replaced only by a whole one.
  QTemporaryDir scratch;
  if (!scratch.isValid())
    return Failed("no temporary folder for the page: " + scratch.errorString().toStdString());
  const QString page = scratch.filePath("page.pdf");
  try {
    QtPrinterSystem printers(nullptr, scratch.path(), [] { return QList<QtPrinterSystem::SystemPrinter>{}; });
    printers.currentPrinter()->setOutputFileName(page);
    IcsPrint form(printers, ProgramVersion());
    form.PrintIcs(t);
    WriteFileAtomically(cl.pdf, ReadWholeFile(QFile::encodeName(page).toStdString(), "PrintToPdf"),
                        "PrintToPdf");
  } catch (const VError& e) {
    return Failed(cl.pdf + " could not be written: " + e.description());
  }
  return kExitDone;
}

}  // namespace velnor
