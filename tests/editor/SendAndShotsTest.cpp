// The window as a whole program: the first start on a clean data directory, Pellmoor's
// global file across start-up and shutdown, and a complete Send against the real station
// simulator with a reply from another station collected in the same session, on the form
// at the smallest screen we support. That last test also makes the pictures under docs/
// (scripts/screenshots runs it under Xvfb with VELNOR_SHOTS_DIR set).
#include <QLabel>
#include <QPixmap>
#include <cstdlib>

#include "WindowFixture.h"
#include "editor/qt/FrmNewMsgPopup.h"
#include "core/AtomicFile.h"
#include "format/Encoder.h"
#include "link/PmLink.h"
#include "tests/sim/SimHarness.h"

namespace velnor::testing {
namespace {

std::vector<std::string> CrLfLines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t pos = 0;
  for (std::size_t eol; (eol = text.find("\r\n", pos)) != std::string::npos; pos = eol + 2)
    lines.push_back(text.substr(pos, eol - pos));
  EXPECT_EQ(pos, text.size()) << "text after the last CR LF";
  return lines;
}

class GlobalFileTest : public WindowTest {
 protected:
  std::string glo() const { return dataPath + "/Pellmoor.glo"; }
};

TEST_F(GlobalFileTest, FirstStartOnCleanDataDirectoryAndCurrentGlobalFileLeftAlone) {
  start("k1abc");  // APPDATA exists on any desktop; everything below it is ours to make
  for (const char* sub : {"archive", "reports", "logs", "scripts", "docs", "bbs.d", "tnc.d", "msg.d", "addr.d",
                          "usr.d", "spool"}) {
    EXPECT_TRUE(std::filesystem::is_directory(dataPath + "/" + sub)) << sub;
  }
  EXPECT_EQ(win->LogFile(), dataPath + "/logs/Ics213-261119.log");
  EXPECT_TRUE(std::filesystem::exists(win->LogFile()));
  EXPECT_EQ(win->windowTitle().toStdString(), "Velnor (K1ABC)");
  EXPECT_EQ(ReadSettings(dataPath + "/velnor.ini").LoginName, "K1ABC");
  EXPECT_EQ(win->status(), "Velnor Ready");
  EXPECT_EQ(ed->EditorMode(), "MAIN");
  EXPECT_EQ(Enabled(), kIdle);
  EXPECT_EQ(FieldStates(), "LLLLLLLLLLLLLL");
  EXPECT_FALSE(RoutingEnabled());

  const std::vector<std::string> lines = CrLfLines(Slurp(glo()));
  const std::vector<std::string> expected = {"[GENERAL VARIABLES]",
                                             "Version=" + ProgramVersion(),
                                             "UseGlobalMsgNum=1",
                                             "ProfSave=1",
                                             "ParentVer=",
                                             "",
                                             "[LOCAL PRINTER]",
                                             "PrinterName=" + printers.CurrentDeviceName(),
                                             "PtrOrient=1",
                                             "PtrCopies=1",
                                             "PtrDuplex=1",
                                             "FolderLabels=Folder 1|Folder 2|Folder 3|Folder 4|Folder 5",
                                             "LstFontSize=9",
                                             "",
                                             "[START PREFERENCES]",
                                             "RunPrgmOnStart=0",
                                             "RunPrgmName="};
  EXPECT_EQ(lines, expected);

  // Same version, nothing changed: shutdown must not rewrite what Pellmoor added since.
  AppendToFile(glo(), "Pellmoor=was here\r\n", "test");
  const std::string before = Slurp(glo());
  EXPECT_TRUE(win->close());
  win.reset();
  EXPECT_EQ(Slurp(glo()), before);
}

TEST_F(GlobalFileTest, OtherVersionIsRewrittenOnlyAtShutdown) {
  WriteIni(QuickSettings());
  const std::string old =
      "[GENERAL VARIABLES]\r\nVersion=0.9.1\r\nPtrCopies=3\r\nPrinterName = Shack laser\r\nUnknownKey=x\r\n";
  WriteFileAtomically(glo(), old, "test");
  start();
  EXPECT_EQ(Slurp(glo()), old);  // read, not yet written

  EXPECT_TRUE(win->close());
  const std::vector<std::string> lines = CrLfLines(Slurp(glo()));
  ASSERT_EQ(lines.size(), 17u);
  EXPECT_EQ(lines[1], "Version=" + ProgramVersion());
  EXPECT_EQ(lines[7], "PrinterName= Shack laser");
  EXPECT_EQ(lines[9], "PtrCopies=3");
  EXPECT_EQ(Slurp(glo()).find("UnknownKey"), std::string::npos);
}

// Velnor against pmdirect-sim, with "EOC" as a second station speaking over a raw socket.
class PictureTest : public WindowTest {
 protected:
  PictureTest() : sim(tmp.file("spool"), tmp.file("transcript")) {}

  Settings StationSettings() const {
    Settings s = QuickSettings(sim.port());
    s.IcdName = "Ridge Fire";
    s.DefTo = "EOC";
    s.DefToPos = "Duty Officer";
    s.DefFr = "Division A";
    s.DefFrPos = "Supervisor";
    s.DEFDEST = "EOC";
    return s;
  }

  // EOC answers our station's message 1 with a reply addressed to K1ABC.
  void EocReplies() {
    MsgRecord r;
    r.setKind(2);
    r.setMsgNo(1);
    r.setIcdName("Ridge Fire");
    r.setTo("Division A");
    r.setToPos("Supervisor");
    r.setFr("EOC");
    r.setFrPos("Duty Officer");
    r.setSubj("Water tender");
    r.setMsgDate(ToOleDate({2026, 11, 19, 13, 50, 0}));
    r.setMsg("Need one water tender at gate 3.");
    r.setSign("J. Ortiz");
    r.setSignPos("Supervisor");
    r.setReply("Tender 41 on its way, ETA 14:30.");
    r.setRepSign("M. Chen");
    r.setRepPos("Duty Officer");
    r.setRepDate(ToOleDate({2026, 11, 19, 14, 2, 0}));
    r.setRoute("K1ABC:0");
    SimClient eoc(sim.port());
    ASSERT_EQ(eoc.ask("<!REG!>", "LOGON>"), "LOGON>");
    ASSERT_EQ(eoc.ask("<!LOGON!>EOC", "OK>"), "OK>");
    eoc.send(EncodeRecord(r, "EOC") + "\r\n");
    ASSERT_EQ(eoc.read(3), "OK>");
    ASSERT_EQ(eoc.ask("QUIT", "QUITING>"), "QUITING>");
  }

  std::string ReceivedBySim() const { return Joined(Transcript(tmp.file("transcript"), '<')); }

  // Renders the window; saved only when pictures are asked for.
  void shoot(const char* name) {
    QApplication::processEvents();
    const QPixmap pic = win->grab();
    EXPECT_EQ(pic.size(), win->size()) << name;
    if (const char* dir = std::getenv("VELNOR_SHOTS_DIR"); dir && *dir) {
      EXPECT_TRUE(pic.save(QString::fromStdString(std::string(dir) + "/" + name + ".png"))) << name;
    }
  }
  // Every field lies wholly inside the window and keeps room for a line of some words.
  void expectFieldsFit(const char* when) {
    const QRect area = win->rect();
    for (int i = 0; i <= kFieldCount; ++i) {
      QWidget* w = i < kFieldCount ? field(i) : find("txtDefaultToRoute");
      ASSERT_NE(w, nullptr) << i;
      const QRect r(w->mapTo(win.get(), QPoint(0, 0)), w->size());
      EXPECT_TRUE(area.contains(r)) << when << ": field " << i << " at " << r.x() << "," << r.y() << " "
                                    << r.width() << "x" << r.height();
      EXPECT_GE(r.height(), w->fontMetrics().height()) << when << ": field " << i;
      EXPECT_GE(r.width(), 8 * w->fontMetrics().averageCharWidth()) << when << ": field " << i;
    }
    // The long check box caption wraps instead of being cut off.
    auto* keep = find<QLabel>("lblKeepLocal");
    ASSERT_NE(keep, nullptr);
    EXPECT_EQ(keep->text().toStdString(), "Keep this message local to this Command / ICP");
    EXPECT_GE(keep->height(), keep->heightForWidth(keep->width())) << when;
    EXPECT_TRUE(area.contains(QRect(keep->mapTo(win.get(), QPoint(0, 0)), keep->size()))) << when;
  }
  void fitTo(int w, int h) {
    win->resize(w, h);
    QApplication::processEvents();
  }

  SimProcess sim;
};

TEST_F(PictureTest, SendCollectsTheReplyOnAFormThatFitsSmallScreenAndGrowsOnLargeOne) {
  WriteIni(StationSettings());
  start();
  EXPECT_NE(Slurp(win->LogFile()).find("Link Test to Pmdirect... passed\r\n"), std::string::npos);
  EXPECT_EQ(find<QLabel>("NetState")->text().toStdString(), "Disconnected");
  fitTo(1024, 768);
  EXPECT_LE(win->minimumSizeHint().width(), 1024);
  EXPECT_LE(win->minimumSizeHint().height(), 768);
  EXPECT_EQ(win->size(), QSize(1024, 768));
  expectFieldsFit("empty");
  shoot("main-empty");

  click("cmdNew");
  type(4, "Water tender");
  type(6, "Need one water tender at gate 3 by 14:30.\rRoad from the north is open.");
  expectFieldsFit("new");
  // A click on the caption ticks the box, as on any check box.
  QTest::mouseClick(find("lblKeepLocal"), Qt::LeftButton);
  EXPECT_TRUE(win->keepLocal());
  QTest::mouseClick(find("lblKeepLocal"), Qt::LeftButton);
  EXPECT_FALSE(win->keepLocal());
  shoot("main-new");

  EocReplies();
  click("cmdSend");
  ASSERT_EQ(MsgInfo(), "Msg# 1,  Locally created message; Sent");
  EXPECT_EQ(StoredStatus(1), 3);
  EXPECT_FALSE(win->link()->SessionRunning());
  EXPECT_EQ(ed->EditState(), 1);
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdEdit"}));
  // The exact text went over the wire, followed by the extra line end the dialogue wants.
  const std::string sent = EncodeMsg(dataPath, eventLog, 1, "K1ABC");
  EXPECT_NE(sent.find("SUBJECT: Water tender\r\n"), std::string::npos) << sent;
  EXPECT_NE(ReceivedBySim().find("<!LOGON!>K1ABC\r\n" + sent + "\r\nPOP\r\n"), std::string::npos)
      << ReceivedBySim();
  // The reply came back in the same session: filed on its own, unread, with a notice.
  const MsgRecord reply = Stored(2);
  EXPECT_EQ(reply.Status(), 4);
  EXPECT_EQ(reply.Kind(), 2);
  EXPECT_EQ(reply.Reply(), "Tender 41 on its way, ETA 14:30.");
  EXPECT_EQ(win->OpenNotices(), 1);
  EXPECT_EQ(StoredStatus(1), 3);  // the reply is not merged into the message it answers
  click("cmdClose");
  for (auto* notice : win->findChildren<FrmNewMsgPopup*>()) notice->close();
  ed->OpenFromNotice(2);
  EXPECT_EQ(fieldText(10), "Tender 41 on its way, ETA 14:30.");
  EXPECT_EQ(MsgInfo(), "Msg# 2,  Received reply; Unread");
  shoot("main-reply");

  // A large screen gives the extra room to the message and reply bodies.
  const int bodyAt1024 = field(6)->height();
  const int replyAt1024 = field(10)->height();
  fitTo(1600, 1200);
  expectFieldsFit("large");
  EXPECT_GT(field(6)->height(), bodyAt1024 + 100);
  EXPECT_GT(field(10)->height(), replyAt1024);
}

}  // namespace
}  // namespace velnor::testing
