#pragma once
// The platform's printers for Qt: every printer Qt knows of, then always one PDF printer
// (Qt's PDF output to a file the operator names in the print dialog), which is current when
// no real printer is installed. Other programs know nothing of the PDF printer, so it is
// never reported as the station's printer.
//
// Each printer keeps its own settings for the rest of the run, so a printer made current
// again comes back with the paper size chosen for it; it starts on its own default paper
// (the PDF printer on the paper of the operator's locale).
//
// The dialog is a replaceable runner so tests can confirm or cancel it without showing a
// modal window; it receives a QPrinter pre-filled from the current printer, may change it,
// and returns true when the operator confirmed. The stock runner shows Qt's print dialog
// for printing and our page-setup dialog, which has the printer choice in it, for setup.
#include <QList>
#include <QPageSize>
#include <QPointer>
#include <QPrinter>
#include <QString>
#include <QWidget>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "print/PrinterSystem.h"

namespace velnor {

class QtPrinterSystem : public PrinterSystem {
 public:
  using DialogRunner = std::function<bool(QPrinter& printer, std::uint32_t flags)>;
  // An installed printer as the system describes it.
  struct SystemPrinter {
    QString name;
    QPageSize defaultPageSize;
  };
  using PrinterLister = std::function<QList<SystemPrinter>()>;

  // Device name of the PDF printer in the list.
  static constexpr const char* kPdfPrinterName = "PDF file";

  // owner: parent of the dialogs (may be null, and set later). pdfDirectory: where the PDF
  // printer's file goes unless the operator names another (UTF-8 path; empty = home).
  // lister: the printers to offer instead of the system's (see setPrinterLister).
  explicit QtPrinterSystem(QWidget* owner = nullptr, QString pdfDirectory = {}, PrinterLister lister = {});
  ~QtPrinterSystem() override;

  // The print dialogs open over this window, as its children.
  void setOwner(QWidget* owner) { m_owner = owner; }
  void setDialogRunner(DialogRunner runner) { m_runDialog = std::move(runner); }
  // Tests replace the system's printer list; the current printer becomes the list's first
  // entry (or the PDF printer when the list is empty).
  void setPrinterLister(PrinterLister lister);

  std::vector<std::string> InstalledPrinters() override;
  void MakeCurrent(std::size_t index) override;
  std::string CurrentDeviceName() override;
  std::string CurrentSystemPrinterName() override;
  short Orientation() override;
  void SetOrientation(short orientation) override;
  short Copies() override;
  void SetCopies(short copies) override;
  bool ShowPrinter(std::uint32_t flags) override;
  std::unique_ptr<DrawingSurface> OpenSurface(const PageContent& content) override;
  std::string CurrentOutputFile() override;

  // The current printer itself, e.g. to read the PDF file name.
  QPrinter* currentPrinter() { return m_printer; }

  // The stock print dialog: QPrintDialog in its print form.
  static bool RunQtPrintDialog(QWidget* owner, QPrinter& printer, std::uint32_t flags);

 private:
  // The stock setup dialog. It gives the chosen printer's place in InstalledPrinters() in
  // m_dialogChoice: a QPrinter given a name the print system does not know turns itself
  // into PDF output, so the name alone could not say it.
  bool RunSetupDialog(QPrinter& printer);
  QList<SystemPrinter> systemPrinters() const;
  void makeCurrent(const std::string& name, bool pdf);
  QPrinter& current();

  QPointer<QWidget> m_owner;
  DialogRunner m_runDialog;
  PrinterLister m_listPrinters;
  std::unique_ptr<QPrinter> m_pdf;
  std::map<std::string, std::unique_ptr<QPrinter>> m_system;  // by device name, once used
  QPrinter* m_printer = nullptr;
  std::string m_currentName;
  bool m_currentIsPdf = false;
  std::optional<std::size_t> m_dialogChoice;
};

}  // namespace velnor
