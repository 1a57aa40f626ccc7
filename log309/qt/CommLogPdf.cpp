#include "log309/qt/CommLogPdf.h"

#include <QFile>
#include <QTemporaryDir>

#include "core/AtomicFile.h"
#include "core/VError.h"
#include "print/qt/QtPrinterSystem.h"

namespace velnor {

void WriteCommLogPdf(const std::string& path, const LogHeader& header, const std::vector<LogLine>& lines) {
  // Drawn into a file of its own first, so the named file never holds part of a log.
  QTemporaryDir scratch;
  if (!scratch.isValid())
    throw VError(kErrDeviceIO, "WriteCommLogPdf",
                 "no temporary folder: " + scratch.errorString().toStdString());
  const QString page = scratch.filePath("log.pdf");
  QtPrinterSystem printers(nullptr, scratch.path(), [] { return QList<QtPrinterSystem::SystemPrinter>{}; });
  printers.currentPrinter()->setOutputFileName(page);
  PrintCommLog(printers, header, lines);
  WriteFileAtomically(path, ReadWholeFile(QFile::encodeName(page).toStdString(), "WriteCommLogPdf"),
                      "WriteCommLogPdf");
}

}  // namespace velnor
