#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPageLayout>
#include <QProcess>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTimer>
#include <algorithm>

#include "print/IcsPrint.h"
#include "print/PrintCommand.h"
#include "print/qt/QtPrinterSystem.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

// The fields of a realistic message, as the editor would hand them over.
// clang-format off
const FormTexts kSample = {
    "Logistics Section Chief", "LSC", "Shelter Manager", "Lincoln School Caf\xE9", "Water and cots",
    "03/14/2024 10:05",
    "The shelter at Lincoln School now houses 142 evacuees and expects about 60 more before nightfall as the "
    "river keeps rising.\r\nRequest 200 gallons of drinking water and 75 cots, delivered to the east entrance "
    "on Maple Street.", "J. Rivera", "Shelter Manager", "Cedar River Flood 2024",
    "Water is on its way on truck 12, ETA 13:00. Cots follow tomorrow morning from the county depot.",
    "K. Osei", "LSC", "03/14/2024 10:40"};
// clang-format on

constexpr double kPtPerMm = 72 / 25.4;

// Print setup picks the paper, then the print command prints the sample on the PDF printer.
TEST(QtPrint, PageFitsA4AndLetterCentredAcrossAndThePaperChosenInSetupStays) {
  for (const QPageSize::PageSizeId paper : {QPageSize::A4, QPageSize::Letter}) {
    const QPageSize size(paper);
    SCOPED_TRACE(size.name().toStdString());
    testing::TempDir dir;
    const QString path = QString::fromStdString(dir.path()) + "/page.pdf";
    QtPrinterSystem printers(nullptr, QString::fromStdString(dir.path()));
    printers.setPrinterLister([] { return QList<QtPrinterSystem::SystemPrinter>{}; });
    printers.setDialogRunner([&](QPrinter& p, std::uint32_t flags) {
      if (flags == kPrintSetupFlags) {
        p.setPageSize(size);
        p.setOutputFileName(path);
      }
      return true;
    });
    PrintSetup(printers);
    IcsPrint form(printers, "1.0.0");
    PrintMessage(7, {form, printers, {}, [] { return kSample; }});
    EXPECT_EQ(printers.currentPrinter()->pageLayout().pageSize().id(), paper);

    // One page of the chosen paper; every word on it, and the frame (its captions 1 mm in)
    // at the same distance from both edges of the sheet.
    QProcess pdftotext;
    pdftotext.start("pdftotext", {"-bbox", path, "-"});
    ASSERT_TRUE(pdftotext.waitForFinished(60000));
    const QString boxes = QString::fromUtf8(pdftotext.readAllStandardOutput());
    EXPECT_EQ(boxes.count("<page "), 1);
    const QSizeF sheet = size.size(QPageSize::Point);
    const auto page = QRegularExpression(R"re(<page width="([\d.]+)")re").match(boxes);
    EXPECT_NEAR(page.captured(1).toDouble(), sheet.width(), 0.5);
    const QRegularExpression word(
        R"re(<word xMin="([\d.]+)" yMin="[\d.]+" xMax="([\d.]+)" yMax="([\d.]+)">([^<]*)<)re");
    double right = 0, bottom = 0, incident = -1;
    for (const auto& m : word.globalMatch(boxes)) {
      right = std::max(right, m.captured(2).toDouble());
      bottom = std::max(bottom, m.captured(3).toDouble());
      if (incident < 0 && m.captured(4) == "INCIDENT") incident = m.captured(1).toDouble();
    }
    EXPECT_LT(right, sheet.width());
    EXPECT_LT(bottom, sheet.height());
    EXPECT_NEAR(incident, ((sheet.width() / kPtPerMm - 185) / 2 + 1) * kPtPerMm, 1.0);

    // A picture of the page for the documentation, when asked for.
    const QByteArray keep = qgetenv("VELNOR_KEEP_PAGE");
    if (!keep.isEmpty() && paper == QPageSize::A4) QFile::copy(path, QString::fromLocal8Bit(keep));
  }
}

// Both dialogs open over the owner window and work on a copy of the current printer, each
// printer with its own paper: a cancel changes nothing. Setup is a page-setup dialog with
// the printer in it: it prints nothing and writes nothing.
TEST(QtPrinterChoice, SetupDialogChoosesPrinterPaperAndOrientationAndThePdfFile) {
  testing::TempDir dir;
  QtPrinterSystem printers(nullptr, QString::fromStdString(dir.path()));
  printers.setPrinterLister([] {
    return QList<QtPrinterSystem::SystemPrinter>{{"Office Laser", QPageSize(QPageSize::Letter)},
                                                 {"Radio Room", QPageSize(QPageSize::A4)}};
  });
  QWidget owner;
  owner.show();
  printers.setOwner(&owner);  // after construction, as the main window is made after the printers
  const auto show = [&](std::uint32_t flags, const std::function<void(QDialog&)>& fill) {
    QTimer::singleShot(0, [&] {
      auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
      ASSERT_NE(dialog, nullptr);
      EXPECT_EQ(dialog->parentWidget(), &owner);
      if (flags == kPrintSetupFlags) {
        EXPECT_EQ(dialog->objectName(), "dlgPrintSetup");
        EXPECT_EQ(dialog->windowTitle(), "Print Setup");
        for (auto* b : dialog->findChildren<QAbstractButton*>())
          EXPECT_FALSE(b->text().contains("Print")) << b->text().toStdString();
      }
      fill(*dialog);
    });
    return printers.ShowPrinter(flags);
  };
  const auto choose = [](QDialog& d, const char* combo, const QString& item) {
    auto* c = d.findChild<QComboBox*>(combo);
    c->setCurrentIndex(c->findText(item));
    EXPECT_EQ(c->currentText(), item);
  };
  EXPECT_EQ(printers.currentPrinter()->pageLayout().pageSize().id(), QPageSize::Letter);
  EXPECT_TRUE(printers.SetPrinterByName("Radio Room"));
  EXPECT_EQ(printers.currentPrinter()->pageLayout().pageSize().id(), QPageSize::A4);
  EXPECT_TRUE(printers.SetPrinterByName("Office Laser"));
  EXPECT_FALSE(show(kPrintDialogFlags, [](QDialog& d) { d.reject(); }));
  EXPECT_FALSE(show(kPrintSetupFlags, [&](QDialog& d) {
    choose(d, "cboPrinter", "Radio Room");
    d.reject();
  }));
  EXPECT_EQ(printers.CurrentDeviceName(), "Office Laser");
  EXPECT_TRUE(show(kPrintSetupFlags, [&](QDialog& d) {
    choose(d, "cboPrinter", "Radio Room");
    choose(d, "cboPaper", QPageSize(QPageSize::A5).name());
    d.findChild<QRadioButton*>("optLandscape")->setChecked(true);
    d.accept();
  }));
  EXPECT_EQ(printers.CurrentDeviceName(), "Radio Room");
  EXPECT_EQ(printers.Orientation(), kOrientationLandscape);
  EXPECT_EQ(printers.currentPrinter()->pageLayout().pageSize().id(), QPageSize::A5);

  const QString pdf = QString::fromStdString(dir.file("setup.pdf"));
  EXPECT_TRUE(show(kPrintSetupFlags, [&](QDialog& d) {
    choose(d, "cboPrinter", "PDF file");
    auto* file = d.findChild<QLineEdit*>("txtPdfFile");
    file->setText(QString::fromStdString(dir.file("no-such-folder/x.pdf")));
    d.accept();  // refused: the dialog says why and stays
    EXPECT_TRUE(d.isVisible());
    EXPECT_TRUE(d.findChild<QLabel*>("lblProblem")->text().startsWith("There is no folder"));
    file->setText(pdf);
    d.accept();
  }));
  EXPECT_EQ(printers.CurrentDeviceName(), "PDF file");
  EXPECT_EQ(printers.CurrentOutputFile(), pdf.toStdString());
  EXPECT_FALSE(QFile::exists(pdf));
}

}  // namespace
}  // namespace velnor

int main(int argc, char** argv) {
  QApplication app(argc, argv);  // offscreen, set by the test environment
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
