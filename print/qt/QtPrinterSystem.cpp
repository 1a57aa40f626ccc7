#include "print/qt/QtPrinterSystem.h"

#include <QDir>
#include <QPageLayout>
#include <QPrintDialog>
#include <QPrinterInfo>

#include "core/Cp1252.h"
#include "core/VError.h"
#include "print/qt/QtPrinterSurface.h"

namespace velnor {

namespace {

std::string Station(const QString& s) { return Utf8ToCp1252(s.toStdString()); }
QString FromStation(const std::string& s) { return QString::fromStdString(Cp1252ToUtf8(s)); }

bool IsPdf(const std::string& name) { return name == QtPrinterSystem::kPdfPrinterName; }

// Each setting on its own: a printer that refuses one still gets the rest.
template <typename F>
void Try(F&& f) {
  try {
    f();
  } catch (...) {
  }
}

}  // namespace

QtPrinterSystem::QtPrinterSystem(QWidget* owner, QString pdfDirectory, PrinterLister lister)
    : m_owner(owner),
      m_runDialog([owner](QPrinter& p, std::uint32_t flags) { return RunQtPrintDialog(owner, p, flags); }),
      m_listPrinters(std::move(lister)) {
  if (pdfDirectory.isEmpty()) pdfDirectory = QDir::homePath();
  m_pdfFile = QDir(pdfDirectory).filePath(QStringLiteral("ICS213.pdf"));
  const QStringList names = systemPrinters();
  const QString def = m_listPrinters ? QString() : QPrinterInfo::defaultPrinterName();
  const QString first = names.contains(def) ? def : (names.isEmpty() ? QString() : names.front());
  m_currentName = first.isEmpty() ? std::string(kPdfPrinterName) : Station(first);
  m_printer = makePrinter(FromStation(m_currentName));
}

QtPrinterSystem::~QtPrinterSystem() = default;

void QtPrinterSystem::setPrinterLister(PrinterLister lister) {
  m_listPrinters = std::move(lister);
  const QStringList names = systemPrinters();
  m_currentName = names.isEmpty() ? std::string(kPdfPrinterName) : Station(names.front());
  m_printer = makePrinter(FromStation(m_currentName));
}

QStringList QtPrinterSystem::systemPrinters() const {
  return m_listPrinters ? m_listPrinters() : QPrinterInfo::availablePrinterNames();
}

std::unique_ptr<QPrinter> QtPrinterSystem::makePrinter(const QString& name) const {
  auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
  if (IsPdf(Station(name))) {
    printer->setOutputFormat(QPrinter::PdfFormat);
    printer->setOutputFileName(m_pdfFile);
    // Thin ruled lines stay visible at this resolution (they are given in device pixels).
    printer->setResolution(300);
  } else {
    printer->setPrinterName(name);
  }
  printer->setPageSize(QPageSize(QPageSize::Letter));
  return printer;
}

QPrinter& QtPrinterSystem::current() {
  if (!m_printer) throw VError(kErrInvalidCall, "PmPrintLib", "No printer is installed");
  return *m_printer;
}

std::vector<std::string> QtPrinterSystem::InstalledPrinters() {
  std::vector<std::string> out;
  for (const QString& n : systemPrinters()) out.push_back(Station(n));
  out.emplace_back(kPdfPrinterName);
  return out;
}

void QtPrinterSystem::MakeCurrent(std::size_t index) {
  const std::vector<std::string> names = InstalledPrinters();
  if (index >= names.size()) throw VError(kErrInvalidCall, "PmPrintLib", "No such printer");
  // The PDF printer keeps the file the operator named last time.
  const QString pdfFile = m_printer && IsPdf(m_currentName) ? m_printer->outputFileName() : m_pdfFile;
  m_pdfFile = pdfFile;
  m_printer = makePrinter(FromStation(names[index]));
  m_currentName = names[index];
}

std::string QtPrinterSystem::CurrentDeviceName() {
  current();
  return m_currentName;
}

short QtPrinterSystem::Orientation() {
  return current().pageLayout().orientation() == QPageLayout::Landscape ? kOrientationLandscape
                                                                          : kOrientationPortrait;
}

void QtPrinterSystem::SetOrientation(short orientation) {
  if (orientation != kOrientationPortrait && orientation != kOrientationLandscape)
    throw VError(kErrInvalidCall, "PmPrintLib", "Invalid orientation");
  current().setPageOrientation(orientation == kOrientationLandscape ? QPageLayout::Landscape
                                                                    : QPageLayout::Portrait);
}

short QtPrinterSystem::Copies() { return static_cast<short>(current().copyCount()); }

void QtPrinterSystem::SetCopies(short copies) {
  if (copies < 1) throw VError(kErrInvalidCall, "PmPrintLib", "Invalid number of copies");
  current().setCopyCount(copies);
}

bool QtPrinterSystem::ShowPrinter(std::uint32_t flags) {
  // The dialog works on its own printer object, so a cancel leaves the current one intact.
  QPrinter request(QPrinter::HighResolution);
  try {
    QPrinter& cur = current();
    if (cur.outputFormat() == QPrinter::PdfFormat) {
      request.setOutputFormat(QPrinter::PdfFormat);
      request.setOutputFileName(cur.outputFileName());
    } else {
      request.setPrinterName(cur.printerName());
    }
    request.setPageOrientation(cur.pageLayout().orientation());
    request.setDuplex(cur.duplex());
    request.setPageSize(cur.pageLayout().pageSize());
    request.setCopyCount(cur.copyCount());
  } catch (...) {
  }

  bool confirmed = false;
  try {
    confirmed = m_runDialog && m_runDialog(request, flags);
  } catch (...) {
    confirmed = false;
  }
  if (!confirmed) return false;

  const bool pdf = request.outputFormat() == QPrinter::PdfFormat;
  const std::string chosen = pdf ? std::string(kPdfPrinterName) : Station(request.printerName());
  if (chosen != m_currentName) {
    const std::vector<std::string> names = InstalledPrinters();
    for (std::size_t i = 0; i < names.size(); ++i)
      if (names[i] == chosen) Try([&] { MakeCurrent(i); });
  }
  if (!m_printer) return true;
  QPrinter& cur = *m_printer;
  Try([&] { cur.setCopyCount(request.copyCount()); });
  Try([&] { cur.setDuplex(request.duplex()); });
  Try([&] { cur.setPageOrientation(request.pageLayout().orientation()); });
  Try([&] { cur.setPageSize(request.pageLayout().pageSize()); });
  Try([&] {
    if (!pdf) cur.setResolution(request.resolution());
  });
  Try([&] { cur.setColorMode(request.colorMode()); });
  Try([&] { cur.setPaperSource(request.paperSource()); });
  if (pdf && cur.outputFormat() == QPrinter::PdfFormat && !request.outputFileName().isEmpty())
    cur.setOutputFileName(request.outputFileName());
  return true;
}

std::unique_ptr<DrawingSurface> QtPrinterSystem::OpenSurface() {
  return std::make_unique<QtPrinterSurface>(current());
}

bool QtPrinterSystem::RunQtPrintDialog(QWidget* owner, QPrinter& printer, std::uint32_t flags) {
  QPrintDialog dialog(&printer, owner);
  // The PDF printer is offered as the dialog's file output, so that choice stays; copies
  // and page ranges are the printer's own matter for a one-page form.
  QAbstractPrintDialog::PrintDialogOptions options = QAbstractPrintDialog::PrintToFile;
  if (flags & kPrintSetupFlags) {
    dialog.setWindowTitle(QObject::tr("Print Setup"));
  } else {
    options |= QAbstractPrintDialog::PrintShowPageSize;
  }
  dialog.setOptions(options);
  return dialog.exec() == QDialog::Accepted;
}

}  // namespace velnor
