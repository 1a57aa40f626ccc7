// The communications log through Qt: a two-page PDF from Qt's PDF printer read back with
// pdftotext, and the File menu's dialog with its defaults, preview, outputs and memory.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <cstdlib>

#include "app/Settings.h"
#include "core/Clock.h"
#include "core/DateTime.h"
#include "core/EventLog.h"
#include "log309/qt/CommLogDialog.h"
#include "log309/qt/CommLogPdf.h"
#include "store/IcsMsg.h"
#include "tests/print/RecordingSurface.h"
#include "tests/store/StoreFiles.h"
#include "tests/support/ScriptedDialogs.h"

namespace velnor {
namespace {

using testing::TempDir;

double At(int hour, int minute) { return ToOleDate({2026, 11, 19, hour, minute, 0}); }

std::string PdfText(const std::string& path, int page) {
  QProcess p;
  p.start("pdftotext", {"-layout", "-f", QString::number(page), "-l", QString::number(page),
                        QString::fromStdString(path), "-"});
  EXPECT_TRUE(p.waitForFinished(60000));
  EXPECT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
  return p.readAllStandardOutput().toStdString();
}

// A shift's traffic, one more line than a page holds and then two.
std::vector<LogLine> Traffic() {
  const char* subjects[] = {"Water for Lincoln School shelter",        "Road closures on Route 9",
                            "Ambulance staging at county fairgrounds", "Cots and blankets, 75 each",
                            "Generator fuel for the Caf\xE9 kitchen",  "Sandbag crews to the east levee"};
  const char* stations[] = {"LOGISTICS", "STAGING", "MEDICAL", "PLANNING"};
  std::vector<LogLine> lines;
  for (int i = 0; i < static_cast<int>(kLogLinesPerPage) + 3; ++i) {
    LogLine l;
    l.time = At(6 + i * 23 / 60, (i * 23) % 60);
    l.subject = subjects[i % 6];
    l.reply = i % 5 == 4;
    const bool in = i % 3 != 0;
    const std::string them = stations[i % 4], us = "EOC-2", ours = std::to_string(40 + i);
    l.fromId = in ? them : us;
    l.fromNo = in ? std::to_string(100 + i) : ours;
    l.toId = in ? us : them;
    l.toNo = in ? ours : "";
    lines.push_back(l);
  }
  lines.back().subject = "Last line of the shift";
  return lines;
}

// The header's texts, the footer, and a subject each page holds; the captions are fixed texts.
// clang-format off
const char* const kOnEveryPage[] = {
    "COMMUNICATIONS LOG (ICS 309)", "Cedar River Flood 2026", "11/19/2026", "06:00", "18:00", "County Command Net",
    "J. Rivera, KD0XYZ", "Generator fuel for the Caf\xC3\xA9 kitchen", "11/19/2026 18:05",
    "Created by: velnor.exe, v1.0.0"};
// clang-format on

TEST(CommLogPdf, TwoPagesEachWithTheWholeHeader) {
  TempDir dir;
  const std::string pdf = dir.file("log.pdf");
  WriteCommLogPdf(pdf,
                  {.incident = "Cedar River Flood 2026",
                   .period = {At(6, 0), At(18, 0)},
                   .net = "County Command Net",
                   .operatorName = "J. Rivera",
                   .operatorCall = "KD0XYZ",
                   .preparedBy = "J. Rivera, KD0XYZ",
                   .prepared = At(18, 5),
                   .dateFormat = "mm/dd/yyyy",
                   .programVersion = "1.0.0"},
                  Traffic());

  for (int page : {1, 2}) {
    SCOPED_TRACE(page);
    const std::string text = PdfText(pdf, page);
    for (const char* want : kOnEveryPage)
      EXPECT_NE(text.find(want), std::string::npos) << "missing: " << want << "\n" << text;
    EXPECT_NE(text.find("Page " + std::to_string(page) + " of 2"), std::string::npos) << text;
    // The line past a full page opens the second, under its number across pages.
    EXPECT_EQ(text.find("Ambulance staging at county fairgrounds") != std::string::npos, page == 1) << text;
    EXPECT_EQ(text.find("Last line of the shift") != std::string::npos, page == 2) << text;
  }
  EXPECT_TRUE(QString::fromStdString(PdfText(pdf, 2))
                  .contains(QRegularExpression(R"(^\s*28\s+\d\d:\d\d\s+EOC-2\s+67\s+PLANNING\s)",
                                               QRegularExpression::MultilineOption)));

  // A picture of the page for the documentation, when asked for.
  const QByteArray keep = qgetenv("VELNOR_KEEP_LOG");
  if (!keep.isEmpty()) testing::WriteFile(keep.toStdString(), testing::ReadFile(pdf));
}

TEST(CommLogDialogTest, DefaultsPreviewOutputsAndMemory) {
  TempDir dir;
  RecordingEventLog log;
  const struct {
    Origin origin;
    Status status;
    int hour;
  } records[] = {{Origin::Local, Status::Sent, 10},
                 {Origin::Received, Status::Unread, 11},
                 {Origin::Local, Status::Draft, 12},
                 {Origin::Received, Status::Read, 5}};
  for (const auto& r : records) {
    IcsMsg m(dir.path(), log);
    m.rec().setOrigin(r.origin);
    m.rec().setKind(Kind::Message);
    m.rec().setStatus(r.status);
    m.rec().setRoute(r.origin == Origin::Local ? "STAGING:0" : "STAGING:7");
    m.rec().setMsgDate(At(r.hour, 0));
    m.rec().setSubj("At " + std::to_string(r.hour));
    m.NewMsg();
  }
  Settings settings;
  settings.LoginName = "EOC-2";
  settings.IcdName = "Cedar River Flood";
  FixedClock clock(At(18, 0));
  QSettings memory(QString::fromStdString(dir.file("memory.conf")), QSettings::IniFormat);
  testing::ScriptedDialogs dialogs;
  test::FakePrinters printers;
  printers.dialog = [](test::FakePrinters&) { return true; };
  const auto saveName = [&](const QString&, const QString&, const QString&) {
    return QString::fromStdString(dir.file("out"));  // the extension is added
  };
  const auto open = [&] {
    return std::make_unique<CommLogDialog>(
        nullptr, CommLogDeps{dir.path(), log, settings, clock, printers, dialogs, memory, "1.0.0", saveName});
  };
  auto d = open();
  const auto edit = [&](const char* name) { return d->findChild<QLineEdit*>(name); };
  const auto click = [&](const char* name) { d->findChild<QPushButton*>(name)->click(); };
  const auto count = [&] { return d->findChild<QLabel*>("lblCount")->text().toStdString(); };

  EXPECT_EQ(edit("txtIncident")->text(), "Cedar River Flood");
  EXPECT_EQ(edit("txtCallSign")->text(), "EOC-2");
  EXPECT_EQ(edit("txtPreparedBy")->text(), "EOC-2");
  EXPECT_EQ(count(), "2 lines in the period, on 1 page");
  d->findChild<QCheckBox*>("chkUnsent")->setChecked(true);
  EXPECT_EQ(count(), "3 lines in the period, on 1 page");

  edit("txtNet")->setText("County Command Net");
  click("cmdExportCsv");
  EXPECT_EQ(testing::ReadFile(dir.file("out.csv")), CommLogCsv(d->lines()));
  click("cmdSavePdf");
  EXPECT_EQ(testing::ReadFile(dir.file("out.pdf")).substr(0, 5), "%PDF-");
  click("cmdPrint");
  EXPECT_NE(std::find(printers.ops.begin(), printers.ops.end(), "text County Command Net"),
            printers.ops.end());

  // A picture for the documentation, when asked for (scripts/screenshots).
  if (const char* shots = std::getenv("VELNOR_SHOTS_DIR"); shots && *shots) {
    d->show();
    QApplication::processEvents();
    EXPECT_TRUE(d->grab().save(QString::fromLocal8Bit(shots) + "/ics309-dialog.png"));
  }

  // Closed, the texts stay for the next time, but a new incident name in the settings wins
  // over the one remembered.
  d->reject();
  settings.IcdName = "Harbor Fire";
  d = open();
  EXPECT_EQ(edit("txtIncident")->text(), "Harbor Fire");
  EXPECT_EQ(edit("txtNet")->text(), "County Command Net");
}

}  // namespace
}  // namespace velnor

int main(int argc, char** argv) {
  QApplication app(argc, argv);  // offscreen, set by the test environment
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
