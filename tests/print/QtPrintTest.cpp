#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QPageLayout>
#include <QProcess>
#include <QRegularExpression>

#include "print/IcsPrint.h"
#include "print/qt/QtPrinterSystem.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

// The fields of a realistic message, as the editor would hand them over.
struct Sample {
  std::string To = "Logistics Section Chief", ToPos = "LSC", Fr = "Shelter Manager",
              FrPos = "Lincoln School Caf\xE9", Subj = "Water and cots",
              Date = "03/14/2024 10:05",
              Msg = "The shelter at Lincoln School now houses 142 evacuees and expects about 60 more "
                    "before nightfall as the river keeps rising.\r\n"
                    "Request 200 gallons of drinking water and 75 cots, delivered to the east "
                    "entrance on Maple Street.\r\n\r\n"
                    "Contact: J. Rivera on the shelter net.",
              Sign = "J. Rivera", SignPos = "Shelter Manager", IcdName = "Cedar River Flood 2024",
              Reply = "Water is on its way on truck 12, ETA 13:00. Cots follow tomorrow morning from "
                      "the county depot.",
              RepSign = "K. Osei", RepPos = "LSC", RepDate = "03/14/2024 10:40";
};

TEST(QtPrint, PdfPageReadsBackWithEveryText) {
  testing::TempDir dir;
  const QString path = QString::fromStdString(dir.path()) + "/page.pdf";
  QtPrinterSystem printers(nullptr, QString::fromStdString(dir.path()));
  printers.setPrinterLister([] { return QStringList{}; });
  ASSERT_EQ(printers.CurrentDeviceName(), QtPrinterSystem::kPdfPrinterName);
  printers.currentPrinter()->setOutputFileName(path);

  const Sample s;
  IcsPrint form(printers, "1.0.0");
  form.PrintIcs(s.To, s.ToPos, s.Fr, s.FrPos, s.Subj, s.Date, s.Msg, s.Sign, s.SignPos,
                s.IcdName, s.Reply, s.RepSign, s.RepPos, s.RepDate);
  ASSERT_TRUE(QFile::exists(path));

  QProcess pdftotext;
  pdftotext.start("pdftotext", {"-layout", path, "-"});
  ASSERT_TRUE(pdftotext.waitForFinished(60000)) << "pdftotext did not finish";
  ASSERT_EQ(pdftotext.exitCode(), 0) << pdftotext.readAllStandardError().toStdString();
  const QString text = QString::fromUtf8(pdftotext.readAllStandardOutput());
  // Body lines as the 80-character wrap cuts them.
  for (const char* want :
       {"GENERAL MESSAGE (ICS 213)", "INCIDENT NAME:", "Cedar River Flood 2024", "TO:",
        "POSITION:", "Logistics Section Chief", "FROM:", "Shelter Manager", "Lincoln School Café", "SUBJECT:",
        "DATE, TIME", "Water and cots", "03/14/2024 10:05", "MESSAGE:",
        "The shelter at Lincoln School now houses 142 evacuees and expects about 60 more",
        "before nightfall as the river keeps rising.",
        "Request 200 gallons of drinking water and 75 cots, delivered to the east",
        "entrance on Maple Street.", "Contact: J. Rivera on the shelter net.", "SIGNATURE:",
        "J. Rivera", "REPLY:",
        "Water is on its way on truck 12, ETA 13:00. Cots follow tomorrow morning from",
        "the county depot.", "SIGNATURE, POSITION", "03/14/2024 10:40", "K. Osei, LSC",
        "Ref: ICS 213, General Message, FEMA / NIMS Incident Command System forms",
        "Created by: velnor.exe, v1.0.0"})
    EXPECT_TRUE(text.contains(QString::fromUtf8(want))) << "missing: " << want << "\n"
                                                        << text.toStdString();
  EXPECT_FALSE(text.contains('\f' + QString("GENERAL"))) << "a second page";
  // The footer stays on one line, inside the page.
  EXPECT_TRUE(text.contains(QRegularExpression("Ref: ICS 213[^\n]*Created by: velnor.exe, v1.0.0")))
      << text.toStdString();

  // A picture of the page for the documentation, when asked for.
  const QByteArray keep = qgetenv("VELNOR_KEEP_PAGE");
  if (!keep.isEmpty()) QFile::copy(path, QString::fromLocal8Bit(keep));
}

class QtPrinterChoice : public ::testing::Test {
 protected:
  QtPrinterChoice() {
    printers.setPrinterLister([] { return QStringList{"Office Laser", "Radio Room"}; });
  }
  testing::TempDir dir;
  QtPrinterSystem printers{nullptr, QString::fromStdString(dir.path())};
};

TEST_F(QtPrinterChoice, PdfPrinterIsAlwaysListedLast) {
  EXPECT_EQ(printers.InstalledPrinters(),
            (std::vector<std::string>{"Office Laser", "Radio Room", "PDF file"}));
  EXPECT_EQ(printers.CurrentDeviceName(), "Office Laser");

  QtPrinterSystem none(nullptr, QString::fromStdString(dir.path()));
  none.setPrinterLister([] { return QStringList{}; });
  EXPECT_EQ(none.InstalledPrinters(), std::vector<std::string>{"PDF file"});
  EXPECT_EQ(none.currentPrinter()->outputFormat(), QPrinter::PdfFormat);
  EXPECT_TRUE(none.currentPrinter()->outputFileName().startsWith(QString::fromStdString(dir.path())));
}

TEST_F(QtPrinterChoice, CancelLeavesEverythingAsItWas) {
  printers.SetCopies(2);
  printers.setDialogRunner([](QPrinter& p, std::uint32_t) {
    p.setOutputFormat(QPrinter::PdfFormat);
    p.setCopyCount(9);
    return false;
  });
  EXPECT_FALSE(printers.ShowPrinter(kPrintDialogFlags));
  // A dialog that fails counts as a cancel.
  printers.setDialogRunner([](QPrinter&, std::uint32_t) -> bool { throw std::runtime_error("x"); });
  EXPECT_FALSE(printers.ShowPrinter(kPrintDialogFlags));
  EXPECT_EQ(printers.CurrentDeviceName(), "Office Laser");
  EXPECT_EQ(printers.Copies(), 2);
}

TEST_F(QtPrinterChoice, DialogStartsFromCurrentAndItsChoiceIsApplied) {
  printers.SetOrientation(kOrientationLandscape);
  std::uint32_t seenFlags = 0;
  QPageLayout::Orientation seenOrientation = QPageLayout::Portrait;
  const QString pdf = QString::fromStdString(dir.path()) + "/chosen.pdf";
  printers.setDialogRunner([&](QPrinter& p, std::uint32_t flags) {
    seenFlags = flags;
    seenOrientation = p.pageLayout().orientation();
    p.setOutputFormat(QPrinter::PdfFormat);
    p.setOutputFileName(pdf);
    p.setCopyCount(3);
    p.setPageOrientation(QPageLayout::Portrait);
    return true;
  });
  EXPECT_TRUE(printers.ShowPrinter(kPrintSetupFlags));
  EXPECT_EQ(seenFlags, kPrintSetupFlags);
  EXPECT_EQ(seenOrientation, QPageLayout::Landscape);
  EXPECT_EQ(printers.CurrentDeviceName(), "PDF file");
  EXPECT_EQ(printers.Copies(), 3);
  EXPECT_EQ(printers.Orientation(), kOrientationPortrait);
  EXPECT_EQ(printers.currentPrinter()->outputFileName(), pdf);

  EXPECT_TRUE(printers.SetPrinterByName("Office Laser"));
  EXPECT_EQ(printers.CurrentDeviceName(), "Office Laser");
  // Back on the PDF printer, the file named in the dialog is kept.
  EXPECT_TRUE(printers.SetPrinterByName("PDF file"));
  EXPECT_EQ(printers.currentPrinter()->outputFileName(), pdf);
}

}  // namespace
}  // namespace velnor

int main(int argc, char** argv) {
  QApplication app(argc, argv);  // offscreen, set by the test environment
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
