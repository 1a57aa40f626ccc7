#include "print/qt/QtPrinterSystem.h"

#include <QDir>
#include <QLocale>
#include <QPageLayout>
#include <QPrintDialog>
#include <QPrinterInfo>

#if defined(__GLIBC__)
#include <langinfo.h>
#endif

#include "core/Cp1252.h"
#include "core/VError.h"
#include "print/qt/PrintSetupDialog.h"
#include "print/qt/QtPrinterSurface.h"

namespace velnor {

namespace {

std::string Station(const QString& s) { return Utf8ToCp1252(s.toStdString()); }

// Each setting on its own: a printer that refuses one still gets the rest.
template <typename F>
void Try(F&& f) {
  try {
    f();
  } catch (...) {
  }
}

// The paper of the operator's locale (LC_PAPER): A4 in most of the world, Letter in North
// America. For output that has no printer, and no default paper, of its own.
QPageSize LocalePaper() {
#if defined(__GLIBC__)
  // The C library hands these numbers back in the place of a text pointer.
  union {
    const char* text;
    unsigned int mm;
  } width{nl_langinfo(_NL_PAPER_WIDTH)}, height{nl_langinfo(_NL_PAPER_HEIGHT)};
  if (width.mm > 0 && height.mm > 0 && width.mm < 10000 && height.mm < 10000)
    return QPageSize(QSizeF(width.mm, height.mm), QPageSize::Millimeter, {}, QPageSize::FuzzyMatch);
#endif
  return QPageSize(QLocale().measurementSystem() == QLocale::ImperialUSSystem ? QPageSize::Letter
                                                                              : QPageSize::A4);
}

}  // namespace

QtPrinterSystem::QtPrinterSystem(QWidget* owner, QString pdfDirectory, PrinterLister lister)
    : m_owner(owner),
      // The owner is looked up when the dialog opens: the main window is made after us.
      m_runDialog([this](QPrinter& p, std::uint32_t flags) {
        return (flags & kPrintSetupFlags) ? RunSetupDialog(p) : RunQtPrintDialog(m_owner, p, flags);
      }) {
  if (pdfDirectory.isEmpty()) pdfDirectory = QDir::homePath();
  m_pdf = std::make_unique<QPrinter>(QPrinter::HighResolution);
  m_pdf->setOutputFormat(QPrinter::PdfFormat);
  m_pdf->setOutputFileName(QDir(pdfDirectory).filePath(QStringLiteral("ICS213.pdf")));
  // Thin ruled lines stay visible at this resolution (they are given in device pixels).
  m_pdf->setResolution(300);
  m_pdf->setPageSize(LocalePaper());
  setPrinterLister(std::move(lister));
}

QtPrinterSystem::~QtPrinterSystem() = default;

void QtPrinterSystem::setPrinterLister(PrinterLister lister) {
  m_listPrinters = std::move(lister);
  m_system.clear();
  m_printer = nullptr;
  const QString def = m_listPrinters ? QString() : QPrinterInfo::defaultPrinterName();
  const QList<SystemPrinter> printers = systemPrinters();
  std::size_t start = 0;
  for (qsizetype i = 0; i < printers.size(); ++i)
    if (printers[i].name == def) start = static_cast<std::size_t>(i);
  MakeCurrent(start);  // the PDF printer when there is no other
}

QList<QtPrinterSystem::SystemPrinter> QtPrinterSystem::systemPrinters() const {
  if (m_listPrinters) return m_listPrinters();
  QList<SystemPrinter> out;
  for (const QPrinterInfo& info : QPrinterInfo::availablePrinters())
    out.push_back({info.printerName(), info.defaultPageSize()});
  return out;
}

QPrinter& QtPrinterSystem::current() {
  if (!m_printer) throw VError(kErrInvalidCall, "PmPrintLib", "No printer is current");
  return *m_printer;
}

std::vector<std::string> QtPrinterSystem::InstalledPrinters() {
  std::vector<std::string> out;
  for (const SystemPrinter& p : systemPrinters()) out.push_back(Station(p.name));
  out.emplace_back(kPdfPrinterName);
  return out;
}

void QtPrinterSystem::MakeCurrent(std::size_t index) {
  const QList<SystemPrinter> printers = systemPrinters();
  const auto count = static_cast<std::size_t>(printers.size());
  if (index > count) throw VError(kErrInvalidCall, "PmPrintLib", "No such printer");
  if (index == count) {
    m_printer = m_pdf.get();
    m_currentName = kPdfPrinterName;
    m_currentIsPdf = true;
    return;
  }
  const SystemPrinter& chosen = printers[static_cast<qsizetype>(index)];
  const std::string name = Station(chosen.name);
  std::unique_ptr<QPrinter>& printer = m_system[name];
  if (!printer) {
    printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    printer->setPrinterName(chosen.name);
    printer->setPageSize(chosen.defaultPageSize.isValid() ? chosen.defaultPageSize : LocalePaper());
  }
  m_printer = printer.get();
  m_currentName = name;
  m_currentIsPdf = false;
}

std::string QtPrinterSystem::CurrentDeviceName() {
  current();
  return m_currentName;
}

std::string QtPrinterSystem::CurrentSystemPrinterName() {
  if (m_currentIsPdf) throw VError(kErrInvalidCall, "PmPrintLib", "No printer is installed");
  return CurrentDeviceName();
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
  m_dialogChoice.reset();
  try {
    confirmed = m_runDialog && m_runDialog(request, flags);
  } catch (...) {
    confirmed = false;
  }
  if (!confirmed) return false;

  const std::vector<std::string> names = InstalledPrinters();
  bool pdf = request.outputFormat() == QPrinter::PdfFormat;
  std::string chosen = pdf ? std::string(kPdfPrinterName) : Station(request.printerName());
  if (m_dialogChoice && *m_dialogChoice < names.size()) {
    pdf = *m_dialogChoice + 1 == names.size();
    chosen = names[*m_dialogChoice];
  }
  if (pdf != m_currentIsPdf || chosen != m_currentName) {
    for (std::size_t i = 0; i < names.size(); ++i)
      if (names[i] == chosen && (i + 1 == names.size()) == pdf) Try([&] { MakeCurrent(i); });
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

std::unique_ptr<DrawingSurface> QtPrinterSystem::OpenSurface(const PageContent& content) {
  return std::make_unique<QtPrinterSurface>(current(), content);
}

std::string QtPrinterSystem::CurrentOutputFile() {
  if (!m_currentIsPdf) return {};
  return Station(QDir::toNativeSeparators(current().outputFileName()));
}

bool QtPrinterSystem::RunQtPrintDialog(QWidget* owner, QPrinter& printer, std::uint32_t) {
  QPrintDialog dialog(&printer, owner);
  // The PDF printer is offered as the dialog's file output, so that choice stays; copies
  // and page ranges are the printer's own matter for a one-page form.
  dialog.setOptions(QAbstractPrintDialog::PrintToFile | QAbstractPrintDialog::PrintShowPageSize);
  return dialog.exec() == QDialog::Accepted;
}

bool QtPrinterSystem::RunSetupDialog(QPrinter& printer) {
  QList<PrintSetupDialog::Printer> printers;
  int current = 0;
  for (const SystemPrinter& p : systemPrinters()) {
    if (!m_currentIsPdf && Station(p.name) == m_currentName) current = static_cast<int>(printers.size());
    printers.push_back({p.name, p.defaultPageSize});
  }
  if (m_currentIsPdf) current = static_cast<int>(printers.size());
  printers.push_back({QString::fromLatin1(kPdfPrinterName), LocalePaper()});
  PrintSetupDialog dialog(printer, printers, current, m_pdf->outputFileName(), m_owner);
  if (dialog.exec() != QDialog::Accepted) return false;
  m_dialogChoice = static_cast<std::size_t>(dialog.chosen());
  return true;
}

}  // namespace velnor
