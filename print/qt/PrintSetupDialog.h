#pragma once
// File > Print Setup...: the printer, its paper and orientation, and for the PDF printer
// the file the page goes to, kept for the rest of the run. A page-setup dialog with the
// printer choice in it: nothing is printed here, so it neither offers to "Print" nor asks
// whether to overwrite the PDF file (the print dialog asks that when a page is written).
#include <QDialog>
#include <QList>
#include <QPageSize>
#include <QStringList>

class QButtonGroup;
class QComboBox;
class QLabel;
class QLineEdit;
class QPrinter;
class QPushButton;

namespace velnor {

class PrintSetupDialog : public QDialog {
  Q_OBJECT
 public:
  struct Printer {
    QString name;
    QPageSize defaultPage;  // for the PDF printer: the paper of the operator's locale
  };
  // printers: the installed printers, the PDF printer last. current: the index of the
  // current one. request: pre-filled from the current printer; on OK it holds the paper,
  // orientation and, for the PDF printer, the file chosen.
  PrintSetupDialog(QPrinter& request, QList<Printer> printers, int current, const QString& pdfFile,
                   QWidget* owner);

  // The index of the printer chosen.
  int chosen() const;

  void accept() override;

 private:
  void FillPapers(const QPageSize& keep);
  void Browse();

  QPrinter& m_request;
  QList<Printer> m_printers;
  QComboBox* m_cboPrinter = nullptr;
  QLineEdit* m_txtPdfFile = nullptr;
  QPushButton* m_cmdBrowse = nullptr;
  QComboBox* m_cboPaper = nullptr;
  QButtonGroup* m_orientation = nullptr;
  QLabel* m_lblProblem = nullptr;
};

}  // namespace velnor
