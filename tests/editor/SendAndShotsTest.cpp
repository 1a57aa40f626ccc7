// The window as a whole program: a first start, and Sends against the simulator, which
// scripts/screenshots runs with VELNOR_SHOTS_DIR to make docs/*.png.
#include <QElapsedTimer>
#include <QPixmap>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QTabWidget>
#include <QTableWidget>
#include <QTextBrowser>
#include <QTimer>
#include <cstdlib>

#include "WindowFixture.h"
#include "editor/qt/FrmNewMsgPopup.h"
#include "format/Encoder.h"
#include "link/PmLink.h"
#include "logview/qt/FrmSessionLog.h"
#include "platform/qt/WindowState.h"
#include "tests/support/DefaultPort.h"

namespace velnor::testing {
namespace {

// A first start on a clean data directory, a page printed to PDF, the help, and the shutdown.
TEST_F(WindowTest, FirstStartPrintToPdfAndHelpThenShutdownKeepsThePlaceAndLeavesTheGlobalFile) {
  {
    DefaultPortRefusals refused;  // the default settings' link test, kept off this machine's server
    start(std::nullopt);
    EXPECT_GT(refused.count(), 0);
  }
  const std::string glo = dataPath + "/Pellmoor.glo";
  EXPECT_EQ(Slurp(glo),
            "[GENERAL VARIABLES]\r\nVersion=" + ProgramVersion() +
                "\r\nUseGlobalMsgNum=1\r\nProfSave=1\r\nParentVer=\r\n\r\n"
                "[LOCAL PRINTER]\r\nPrinterName=No Printers Defined\r\nPtrOrient=1\r\nPtrCopies=1\r\n"
                "PtrDuplex=1\r\nFolderLabels=Folder 1|Folder 2|Folder 3|Folder 4|Folder 5\r\n"
                "LstFontSize=9\r\n\r\n"
                "[START PREFERENCES]\r\nRunPrgmOnStart=0\r\nRunPrgmName=\r\n");

  // At 800x600 the form scrolls, and the field that takes the focus comes into view by itself.
  win->resize(800, 600);
  QApplication::processEvents();
  auto* scroll = find<QScrollArea>("scrForm");
  ASSERT_NE(scroll, nullptr);
  EXPECT_GT(scroll->verticalScrollBar()->maximum(), 0);
  // Nothing is cut off: every control lies wholly in the scrolled form and fits its view.
  std::vector<QWidget*> controls{find("txtDefaultToRoute"), find("chkKeepLocal")};
  for (Field f : kAllFields) controls.push_back(field(f));
  for (auto* b : scroll->widget()->findChildren<QPushButton*>()) controls.push_back(b);
  const QRect view = scroll->viewport()->rect();
  for (QWidget* w : controls) {
    const QRect r(w->mapTo(scroll->widget(), QPoint(0, 0)), w->size());
    EXPECT_TRUE(scroll->widget()->rect().contains(r) && r.height() <= view.height() &&
                r.width() <= view.width())
        << w->objectName().toStdString();
  }
  win->focusBox(Field::ReplyPos);
  EXPECT_TRUE(view.contains(field(Field::ReplyPos)->mapTo(scroll->viewport(), QPoint(0, 0))));

  // Print Setup chooses a PDF file, Print says where the page went; the help windows open.
  click("cmdNew");
  type(Field::Subject, "Water");
  const std::string pdf = tmp.file("page.pdf");
  QTimer::singleShot(0, [&] {
    auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(d, nullptr);
    d->findChild<QLineEdit*>("txtPdfFile")->setText(QString::fromStdString(pdf));
    d->accept();
  });
  trigger("mnuPrintSetup");
  QTimer::singleShot(0, [] { qobject_cast<QDialog*>(QApplication::activeModalWidget())->accept(); });
  trigger("mnuPrint");
  EXPECT_EQ(win->status(), "Printing message to PDF file... saved as " + pdf);
  EXPECT_TRUE(std::filesystem::exists(pdf));
  click("cmdSave");
  trigger("mnuGuide");
  auto* guide = win->findChild<QTextBrowser*>("txtGuide");
  ASSERT_NE(guide, nullptr);
  EXPECT_TRUE(guide->toPlainText().contains("When something goes wrong"));
  trigger("mnuShortcuts");  // the list is read from the menus themselves
  auto* keys = win->findChild<QTableWidget*>("lstShortcuts");
  ASSERT_NE(keys, nullptr);
  EXPECT_FALSE(keys->findItems("Ctrl+X  or  Alt+E, T", Qt::MatchExactly).isEmpty());

  // Same version, nothing changed (Print Setup included): shutdown must not rewrite what
  // Pellmoor added since. The window's place is kept, outside the settings file.
  AppendToFile(glo, "Pellmoor=was here\r\n", "test");
  const std::string before = Slurp(glo);
  const QString state = QSettings(kStateOrganisation, kStateApplication).fileName();
  EXPECT_TRUE(win->close());
  win.reset();
  EXPECT_EQ(Slurp(glo), before);
  EXPECT_TRUE(QFile::exists(state)) << state.toStdString();
  EXPECT_FALSE(state.startsWith(QString::fromStdString(dataPath)));

  start();  // the window comes back at the size it had
  EXPECT_EQ(win->size(), QSize(800, 600));
  QFile::remove(state);
}

// Velnor against pmdirect-sim, with "EOC" as a second station speaking over a raw socket.
using PictureTest = WindowTest;

// Renders a window; saved only when pictures are asked for.
void Shoot(const char* name, QWidget* window) {
  QApplication::processEvents();
  if (const char* dir = std::getenv("VELNOR_SHOTS_DIR"); dir && *dir)
    EXPECT_TRUE(window->grab().save(QString(dir) + "/" + name + ".png")) << name;
}

TEST_F(PictureTest, SendCollectsTheReplyThenASendDuringAScheduledSessionGoesOnceAndAFailedLinkShows) {
  SimProcess sim(tmp.file("spool"), tmp.file("transcript"));
  Settings s = QuickSettings(sim.port());
  s.DEFDEST = "EOC";
  s.Pausev = 150;
  start(s);
  EXPECT_EQ(find<QLabel>("NetState")->text().toStdString(), "Disconnected. Last session 14:05 OK");
  win->resize(1024, 768);
  Shoot("main-empty", win.get());

  click("cmdNew");
  type(Field::Subject, "Water tender");
  type(Field::Message, "Need one water tender at gate 3 by 14:30.\rRoad from the north is open.");
  find("chkKeepLocal")->setFocus(Qt::MouseFocusReason);  // the picture shows no field selected
  Shoot("main-new", win.get());

  // EOC answers our station's message 1 with a reply addressed to K1ABC.
  MsgRecord r = Sample(Status{0}, Origin{0}, Kind::Reply, "Water tender");
  r.setMsgNo(1);
  r.setMsgDate(ToOleDate({2026, 11, 19, 13, 50, 0}));
  r.setMsg("Need one water tender at gate 3.");
  r.setSign("J. Ortiz");
  r.setReply("Tender 41 on its way, ETA 14:30.");
  r.setRepSign("M. Chen");
  r.setRepPos("Duty Officer");
  r.setRepDate(ToOleDate({2026, 11, 19, 14, 2, 0}));
  r.setRoute("K1ABC:0");
  HandIn(sim.port(), "EOC", {EncodeRecord(r, "EOC")});
  click("cmdSend");
  ASSERT_EQ(MsgInfo(), "Msg# 1,  Locally created message; Sent");
  EXPECT_EQ(ed->EditState(), 1);
  // The reply came back in the same session: filed on its own, unread, with a notice.
  EXPECT_EQ(win->OpenNotices(), 1);
  click("cmdClose");
  for (auto* notice : win->findChildren<FrmNewMsgPopup*>()) notice->close();
  ed->OpenFromNotice(2);
  EXPECT_EQ(win->text(Field::Reply), "Tender 41 on its way, ETA 14:30.");
  EXPECT_EQ(MsgInfo(), "Msg# 2,  Received reply; Read");
  Shoot("main-reply", win.get());

  // A Send and the settings' link test while a scheduled session runs: the message is queued
  // and goes once, the test is turned away; then Pmdirect goes, and the failure stays in view.
  click("cmdNew");
  type(Field::Subject, "Generator fuel");
  const std::string line = "Fuel for generator 2 at the north gate, 20 litres\r\n";
  std::string body;
  while (body.size() + line.size() <= 3812) body += line;
  win->setText(Field::Message, body + std::string(3812 - body.size(), '.'));
  EXPECT_EQ(find<QLabel>("lblMsgLength")->text().toStdString(), "3,812 / 4,000");
  Shoot("body-counter", win.get());

  std::string afterSend;
  QTimer during;
  QObject::connect(&during, &QTimer::timeout, [&] {
    // Once the running session's walk has passed the queue.
    if (!afterSend.empty() || win->status() != "End of Message Retrieval") return;
    QTimer::singleShot(0, [] {
      QWidget* d = QApplication::activeModalWidget();
      ASSERT_NE(d, nullptr);
      d->findChild<QTabWidget*>("SSTab1")->setCurrentIndex(1);
      d->findChild<QPushButton*>("cmdTest")->click();
      d->findChild<QPushButton*>("cmdCancel")->click();
    });
    dialogs.expectMessage("A session with Pmdirect is running; try again when it ends");
    trigger("mnuProperties");
    click("cmdSend");
    afterSend = win->status();
  });
  during.start(5);
  PmLink& link = *win->link();
  for (int i = 0; i < s.SRTime; ++i) link.ClockTick();
  link.tmrSRTimer_Timer();
  EXPECT_EQ(afterSend, "Queued: will go with the session now running");
  EXPECT_EQ(Slurp(win->LogFile()).find("session to Pmdirect... failed"), std::string::npos);
  const std::string all = Joined(Transcript(tmp.file("transcript"), '<'));
  const std::size_t first = all.find("Generator fuel");
  EXPECT_NE(first, std::string::npos);
  EXPECT_EQ(all.find("Generator fuel", first + 1), std::string::npos);  // once
  EXPECT_EQ(MsgInfo(), "Msg# 3,  Locally created message; Sent");

  // The session log in plain words; it follows the log as it grows, each line once.
  trigger("mnuSessionLog");
  auto* logWindow = win->findChild<FrmSessionLog*>();
  ASSERT_NE(logWindow, nullptr);
  auto* lines = logWindow->findChild<QTableWidget*>("lstLog");
  EXPECT_FALSE(
      lines->findItems("Message 3 \"Generator fuel\" went to Pmdirect: sent.", Qt::MatchExactly).isEmpty());
  // Nothing listens any more: the next session fails at once and says why, in red.
  sim.stop();
  win->settings().TimeOut = "20000";
  QElapsedTimer took;
  took.start();
  link.RunSession();
  EXPECT_LT(took.elapsed(), 5000);  // the failure's two seconds on screen, no TimeOut
  auto* netState = find<QLabel>("NetState");
  EXPECT_EQ(netState->text().toStdString(), "Disconnected. Last session 14:05 failed: Connection refused");
  EXPECT_EQ(netState->palette().color(QPalette::WindowText), QColor(0xB0, 0, 0));
  Shoot("link-failed", win.get());
  const std::string log = Slurp(win->LogFile());
  EXPECT_TRUE(
      QTest::qWaitFor([&] { return lines->rowCount() == std::count(log.begin(), log.end(), '\n'); }, 3000));
  EXPECT_FALSE(lines->findItems("Pmdirect did not accept the connection.", Qt::MatchStartsWith).isEmpty());
  logWindow->resize(960, 380);
  Shoot("session-log", logWindow);
}

}  // namespace
}  // namespace velnor::testing
