#pragma once
// The platform's printers for Qt: every printer Qt knows of, then always one PDF printer
// (Qt's PDF output to a file the operator names in the print dialog), which is current when
// no real printer is installed.
//
// The dialog is a replaceable runner so tests can confirm or cancel it without showing a
// modal window; it receives a QPrinter pre-filled from the current printer, may change it,
// and returns true when the operator confirmed.
#include <QPrinter>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

#include "print/PrinterSystem.h"

class QWidget;

namespace velnor {

class QtPrinterSystem : public PrinterSystem {
 public:
  using DialogRunner = std::function<bool(QPrinter& printer, std::uint32_t flags)>;
  using PrinterLister = std::function<QStringList()>;

  // Device name of the PDF printer in the list.
  static constexpr const char* kPdfPrinterName = "PDF file";

  // owner: parent of the dialog (may be null). pdfDirectory: where the PDF printer's file
  // goes unless the operator names another (UTF-8 path; empty = home directory). lister:
  // the printers to offer instead of the system's; one that lists none makes the PDF
  // printer current from the start.
  explicit QtPrinterSystem(QWidget* owner = nullptr, QString pdfDirectory = {}, PrinterLister lister = {});
  ~QtPrinterSystem() override;

  void setDialogRunner(DialogRunner runner) { m_runDialog = std::move(runner); }
  // Tests replace the system's printer list; the current printer becomes the list's first
  // entry (or the PDF printer when the list is empty).
  void setPrinterLister(PrinterLister lister);

  std::vector<std::string> InstalledPrinters() override;
  void MakeCurrent(std::size_t index) override;
  std::string CurrentDeviceName() override;
  short Orientation() override;
  void SetOrientation(short orientation) override;
  short Copies() override;
  void SetCopies(short copies) override;
  bool ShowPrinter(std::uint32_t flags) override;
  std::unique_ptr<DrawingSurface> OpenSurface() override;

  // The current printer itself, e.g. to read the PDF file name.
  QPrinter* currentPrinter() { return m_printer.get(); }

  // The stock dialog: QPrintDialog in its print or setup form.
  static bool RunQtPrintDialog(QWidget* owner, QPrinter& printer, std::uint32_t flags);

 private:
  QStringList systemPrinters() const;
  std::unique_ptr<QPrinter> makePrinter(const QString& name) const;
  QPrinter& current();

  QWidget* m_owner;
  QString m_pdfFile;
  DialogRunner m_runDialog;
  PrinterLister m_listPrinters;
  std::unique_ptr<QPrinter> m_printer;
  std::string m_currentName;
};

}  // namespace velnor
