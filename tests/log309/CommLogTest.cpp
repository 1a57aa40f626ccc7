// The communications log: which records of a store give which lines across the edges of
// the period, the CSV of them byte for byte, the cells of the page and its paging; a
// two-page PDF from Qt's PDF printer read back with pdftotext, and the File menu's dialog
// with its defaults, preview, CSV and memory.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <algorithm>
#include <cstdlib>

#include "app/Settings.h"
#include "core/Clock.h"
#include "core/DateTime.h"
#include "core/EventLog.h"
#include "log309/CommLog.h"
#include "log309/CommLogPrint.h"
#include "log309/qt/CommLogDialog.h"
#include "log309/qt/CommLogPdf.h"
#include "store/IcsMsg.h"
#include "tests/print/RecordingSurface.h"
#include "tests/store/StoreFiles.h"
#include "tests/support/ScriptedDialogs.h"

namespace velnor {
namespace {

double At(int hour, int minute, int second = 0) { return ToOleDate({2026, 11, 19, hour, minute, second}); }

const LogPeriod kShift{At(6, 0), At(18, 0)};
constexpr const char* kStation = "EOC-2";

// A record of the store, numbered in table order from 1. The lines they give are the
// golden files: every line, and the sent and received ones only.
struct Row {
  Origin origin;
  Kind kind;
  Status status;
  const char* route;
  double date, repDate;
  const char* subject;
};

constexpr auto L = Origin::Local, R = Origin::Received;
constexpr auto M = Kind::Message, Re = Kind::Reply;

// clang-format off
const Row kRows[] = {
    {L, M, Status::Sent, "LOGISTICS:0", At(6, 0), 0, "Water for shelter"},
    {L, M, Status::Sent, "LOGISTICS:0", At(5, 59, 59), 0, "Too early"},
    {R, M, Status::Unread, "STAGING : 17", At(17, 59, 59), 0, "Cots, \"large\" size"},
    {R, M, Status::Read, "STAGING:18", At(18, 0), 0, "Too late"},
    // No route: the sender's name from the form stands in.
    {R, M, Status::Read, "", At(9, 15), 0, "Caf\xE9 needs power"},
    // Our sent reply to a message received before the period: only the reply is in it.
    {L, Re, Status::Sent, "PLANNING:0", At(5, 30), At(10, 0), "Road closures"},
    // A reply still a draft: the message it answers was received all the same.
    {L, Re, Status::Draft, "MEDICAL:0", At(11, 0), At(11, 30), "Ambulance staging"},
    {L, M, Status::Draft, "LOGISTICS:0", At(12, 0), 0, "Fuel order"},
    {L, M, Status::Abandoned, "LOGISTICS:0", At(12, 30), 0, "@all never finished"},
    // A reply received: timed by the reply, though our message it answers is in the period too.
    {R, Re, Status::Unread, "LOGISTICS:4", At(6, 0), At(13, 0), "Water for shelter"},
    {L, M, Status::ReadyToSend, "OPS:0", At(14, 0), 0, "-3 cots short"},
    {L, M, Status::Read, "OPS:0", At(15, 0), 0, "+2 generators"},
    {R, M, Status::Deleted, "OPS:3", At(16, 0), 0, "Deleted"},
    // No route: the addressee's name stands in. The same second as #12: store order.
    {L, M, Status::Sent, "", At(15, 0), 0, "=SUM(A1)"},
    {L, M, Status::Sent, "OPS:0", 0, 0, "No date"},
    // A reply without a reply date keeps the message's; without a route it is named by its
    // replier, the addressee of the message it answers.
    {R, Re, Status::Read, "", At(17, 0), 0, "Status report"},
};
// clang-format on

class CommLogStore : public testing::StoreTest {
 protected:
  CommLogStore() {
    for (const Row& row : kRows) {
      IcsMsg m(dir.path(), log);
      MsgRecord& r = m.rec();
      r.setOrigin(row.origin);
      r.setKind(row.kind);
      r.setStatus(row.status);
      r.setRoute(row.route);
      r.setMsgDate(row.date);
      r.setRepDate(row.repDate);
      r.setSubj(row.subject);
      r.setTo("Finance Chief");
      r.setFr("Shelter Manager");
      m.NewMsg();
    }
    IcsMsg store(dir.path(), log);
    all = ReadLogLines(store, kStation);
  }
  std::vector<LogLine> all;
};

// The lines in time order, the messages not sent only when asked for
// (VELNOR_WRITE_GOLDEN=<folder> writes both files anew).
TEST_F(CommLogStore, CsvIsTheGoldenFile) {
  const std::vector<LogLine> lines = SelectLogLines(all, kShift, true);
  if (const char* keep = std::getenv("VELNOR_WRITE_GOLDEN")) testing::WriteFile(keep, CommLogCsv(lines));
  EXPECT_EQ(CommLogCsv(lines), testing::ReadFile(VELNOR_LOG309_GOLDEN));
  // Without the unsent ones: the same lines less those the golden shows not sent, numbered anew.
  std::vector<LogLine> sent;
  std::copy_if(lines.begin(), lines.end(), std::back_inserter(sent),
               [](const LogLine& l) { return !l.unsent; });
  EXPECT_EQ(CommLogCsv(SelectLogLines(all, kShift, false)), CommLogCsv(sent));
  // The page's text of a line: a reply is named so, an unsent one says what it is.
  EXPECT_EQ(LogMessageText(SelectLogLines(all, {At(11, 30), At(11, 31)}, true).at(0)),
            "Reply: Ambulance staging [Draft]");
}

// No lines, a page exactly full, one line over: each page its header and footer, and the
// line past a full page opens the next.
TEST(CommLogPage, EveryPageHasTheHeaderAndLinesAreNumberedAcrossPages) {
  // The Time column shows the day only when the period runs past midnight.
  EXPECT_EQ(LogTimePattern({At(6, 0), At(24, 0)}), "hh:nn");
  EXPECT_EQ(LogTimePattern({At(18, 0), At(30, 0)}), "dd-mmm hh:nn");
  for (const std::size_t n : {std::size_t{0}, kLogLinesPerPage, kLogLinesPerPage + 1}) {
    SCOPED_TRACE(n);
    const long pages = n > kLogLinesPerPage ? 2 : 1;
    std::vector<LogLine> lines(n);
    // A subject too long for its cell goes on in the same row.
    if (n > 0) lines.back().subject = "Line 27 and a subject that runs on past its cell";
    test::FakePrinters printers;
    PrintCommLog(printers, {.period = kShift}, lines);
    const std::vector<std::string>& ops = printers.ops;
    ASSERT_EQ(ops.back(), "end");
    EXPECT_EQ(std::count(ops.begin(), ops.end(), "text COMMUNICATIONS LOG (ICS 309)"), pages);
    const auto at = [&](const std::string& op) {
      return std::find(ops.begin(), ops.end(), op) - ops.begin();
    };
    const auto pageBreak = at("page");
    EXPECT_EQ(pageBreak == static_cast<long>(ops.size()), pages == 1);
    EXPECT_LT(at("text Page 1 of " + std::to_string(pages)), pageBreak);
    if (pages == 2) EXPECT_GT(at("text Page 2 of 2"), pageBreak);
    if (n > 0) EXPECT_EQ(at("text " + std::to_string(n)) < pageBreak, n <= kLogLinesPerPage);
    if (n > 0) EXPECT_EQ(ops[static_cast<std::size_t>(at("text its cell")) - 1], "x 125");
  }
}

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
  testing::TempDir dir;
  const std::string pdf = dir.file("log.pdf");
  WriteCommLogPdf(pdf,
                  {.incident = "Cedar River Flood 2026",
                   .period = kShift,
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
    // The last line of a full page is on it alone.
    EXPECT_EQ(text.find("Ambulance staging at county fairgrounds") != std::string::npos, page == 1) << text;
  }

  // A picture of the page for the documentation, when asked for.
  const QByteArray keep = qgetenv("VELNOR_KEEP_LOG");
  if (!keep.isEmpty()) testing::WriteFile(keep.toStdString(), testing::ReadFile(pdf));
}

// The dialog starts on the last twelve hours (the shift, here), and its CSV is what its
// preview counts.
TEST_F(CommLogStore, DialogDefaultsPreviewOutputsAndMemory) {
  Settings settings;
  settings.LoginName = kStation;
  settings.IcdName = "Cedar River Flood";
  FixedClock clock(At(18, 0));
  QSettings memory(QString::fromStdString(dir.file("memory.conf")), QSettings::IniFormat);
  testing::ScriptedDialogs dialogs;
  test::FakePrinters printers;
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
  EXPECT_EQ(count(), "9 lines in the period, on 1 page");
  d->findChild<QCheckBox*>("chkUnsent")->setChecked(true);
  EXPECT_EQ(count(), "13 lines in the period, on 1 page");

  edit("txtNet")->setText("County Command Net");
  // A picture for the documentation when asked for (scripts/screenshots), taken before an
  // export names a temporary file in it.
  if (const char* shots = std::getenv("VELNOR_SHOTS_DIR"); shots && *shots) {
    d->show();
    QApplication::processEvents();
    EXPECT_TRUE(d->grab().save(QString::fromLocal8Bit(shots) + "/ics309-dialog.png"));
  }

  click("cmdExportCsv");
  EXPECT_EQ(testing::ReadFile(dir.file("out.csv")), testing::ReadFile(VELNOR_LOG309_GOLDEN));

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
