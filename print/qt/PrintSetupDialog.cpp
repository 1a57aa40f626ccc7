#include "print/qt/PrintSetupDialog.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPageLayout>
#include <QPrinter>
#include <QPrinterInfo>
#include <QPushButton>
#include <QRadioButton>

namespace velnor {

namespace {

// Paper a printer that tells none of its own is offered: the sizes in use at command posts.
const QList<QPageSize::PageSizeId> kCommonPapers{QPageSize::A4, QPageSize::Letter, QPageSize::Legal,
                                                 QPageSize::A5, QPageSize::A3,     QPageSize::Executive,
                                                 QPageSize::B5};

}  // namespace

PrintSetupDialog::PrintSetupDialog(QPrinter& request, QList<Printer> printers, int current,
                                   const QString& pdfFile, QWidget* owner)
    : QDialog(owner), m_request(request), m_printers(std::move(printers)) {
  setObjectName("dlgPrintSetup");
  setWindowTitle("Print Setup");

  m_cboPrinter = new QComboBox(this);
  m_cboPrinter->setObjectName("cboPrinter");
  for (const Printer& p : m_printers) m_cboPrinter->addItem(p.name);
  m_cboPrinter->setCurrentIndex(current);

  m_txtPdfFile = new QLineEdit(QDir::toNativeSeparators(pdfFile), this);
  m_txtPdfFile->setObjectName("txtPdfFile");
  m_cmdBrowse = new QPushButton("&Browse...", this);
  m_cmdBrowse->setObjectName("cmdBrowse");
  m_cmdBrowse->setAccessibleName("Browse for the PDF file");
  auto* fileRow = new QHBoxLayout();
  fileRow->addWidget(m_txtPdfFile, 1);
  fileRow->addWidget(m_cmdBrowse);

  m_cboPaper = new QComboBox(this);
  m_cboPaper->setObjectName("cboPaper");

  auto* portrait = new QRadioButton("P&ortrait", this);
  portrait->setObjectName("optPortrait");
  auto* landscape = new QRadioButton("&Landscape", this);
  landscape->setObjectName("optLandscape");
  m_orientation = new QButtonGroup(this);
  m_orientation->addButton(portrait, QPageLayout::Portrait);
  m_orientation->addButton(landscape, QPageLayout::Landscape);
  m_orientation->button(request.pageLayout().orientation())->setChecked(true);
  auto* orientationRow = new QHBoxLayout();
  orientationRow->addWidget(portrait);
  orientationRow->addWidget(landscape);
  orientationRow->addStretch(1);

  m_lblProblem = new QLabel(this);
  m_lblProblem->setObjectName("lblProblem");
  m_lblProblem->setStyleSheet("color: #b00000");
  m_lblProblem->setWordWrap(true);
  m_lblProblem->hide();

  auto* form = new QFormLayout();
  form->addRow("&Printer:", m_cboPrinter);
  form->addRow("PDF &file:", fileRow);
  form->addRow("Paper si&ze:", m_cboPaper);
  form->addRow("Orientation:", orientationRow);
  static_cast<QLabel*>(form->labelForField(fileRow))->setBuddy(m_txtPdfFile);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &PrintSetupDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(form);
  layout->addWidget(m_lblProblem);
  layout->addWidget(buttons);

  auto printerChanged = [this] {
    const bool pdf = chosen() == m_printers.size() - 1;
    m_txtPdfFile->setEnabled(pdf);
    m_cmdBrowse->setEnabled(pdf);
    FillPapers(m_cboPaper->count() ? m_cboPaper->currentData().value<QPageSize>()
                                   : m_request.pageLayout().pageSize());
  };
  connect(m_cboPrinter, &QComboBox::currentIndexChanged, this, printerChanged);
  connect(m_cmdBrowse, &QPushButton::clicked, this, [this] { Browse(); });
  printerChanged();
  setMinimumWidth(460);
}

int PrintSetupDialog::chosen() const { return m_cboPrinter->currentIndex(); }

// The chosen printer's papers; the one in use stays chosen when the printer has it.
void PrintSetupDialog::FillPapers(const QPageSize& keep) {
  const Printer& printer = m_printers.at(chosen());
  QList<QPageSize> papers;
  if (chosen() < m_printers.size() - 1) papers = QPrinterInfo::printerInfo(printer.name).supportedPageSizes();
  if (papers.isEmpty()) {
    for (QPageSize::PageSizeId id : kCommonPapers) papers.push_back(QPageSize(id));
    if (printer.defaultPage.isValid() && !papers.contains(printer.defaultPage))
      papers.prepend(printer.defaultPage);
  }
  m_cboPaper->clear();
  int pick = -1;
  for (const QPageSize& p : papers) {
    if (pick < 0 && p.isEquivalentTo(keep)) pick = m_cboPaper->count();
    m_cboPaper->addItem(p.name(), QVariant::fromValue(p));
  }
  if (pick < 0) {
    for (int i = 0; i < m_cboPaper->count(); ++i)
      if (papers[i].isEquivalentTo(printer.defaultPage)) pick = i;
  }
  m_cboPaper->setCurrentIndex(std::max(pick, 0));
}

void PrintSetupDialog::Browse() {
  // Choosing the name writes nothing yet, so there is nothing to overwrite.
  const QString file =
      QFileDialog::getSaveFileName(this, "PDF file", m_txtPdfFile->text(), "PDF files (*.pdf)", nullptr,
                                   QFileDialog::DontConfirmOverwrite);
  if (!file.isEmpty()) m_txtPdfFile->setText(QDir::toNativeSeparators(file));
}

void PrintSetupDialog::accept() {
  const bool pdf = chosen() == m_printers.size() - 1;
  const QString file = QDir::fromNativeSeparators(m_txtPdfFile->text().trimmed());
  if (pdf) {
    QString problem;
    if (file.isEmpty())
      problem = "Name the PDF file the page is to go to.";
    else if (QFileInfo(file).isDir())
      problem = QString("%1 is a folder; name a file in it.").arg(file);
    else if (!QFileInfo(file).absoluteDir().exists())
      problem =
          QString("There is no folder %1.").arg(QDir::toNativeSeparators(QFileInfo(file).absolutePath()));
    if (!problem.isEmpty()) {
      m_lblProblem->setText(problem);
      m_lblProblem->show();
      m_txtPdfFile->setFocus();
      return;
    }
    m_request.setOutputFormat(QPrinter::PdfFormat);
    m_request.setOutputFileName(QFileInfo(file).absoluteFilePath());
  } else {
    m_request.setOutputFormat(QPrinter::NativeFormat);
    m_request.setPrinterName(m_printers.at(chosen()).name);
  }
  m_request.setPageSize(m_cboPaper->currentData().value<QPageSize>());
  m_request.setPageOrientation(static_cast<QPageLayout::Orientation>(m_orientation->checkedId()));
  QDialog::accept();
}

}  // namespace velnor
