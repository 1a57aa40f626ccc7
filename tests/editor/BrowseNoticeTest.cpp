// Browsing, field entry and defaults, and the notices of a real session against
// pmdirect-sim, all on the real window offscreen.
#include <QClipboard>
#include <QTimer>
#include <fstream>

#include "WindowFixture.h"
#include "editor/qt/FrmNewMsgPopup.h"
#include "format/Encoder.h"
#include "tests/sim/SimHarness.h"

namespace velnor::testing {
namespace {

using Names = std::vector<std::string>;

std::string Hex(const std::string& s) {
  static const char digits[] = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : s) {
    out.push_back(digits[c >> 4]);
    out.push_back(digits[c & 15]);
  }
  return out;
}

TEST_F(WindowTest, BrowseSkipsAbandonedFromEitherEnd) {
  WriteIni(QuickSettings(DeadPort()));
  for (int i = 1; i <= 9; ++i) StoreRecord(i == 7 ? 7 : 6, 1, 1, "Msg " + std::to_string(i));
  {
    IcsMsg s(dataPath, eventLog);
    for (int n : {1, 2, 4, 5, 6, 8}) s.DeleteOne(n);
  }
  start();
  click("cmdBrowse");
  EXPECT_EQ(ed->BrowseList(), (std::vector<std::int32_t>{3, 9}));
  EXPECT_EQ(fieldText(4), "Msg 3");
  EXPECT_EQ(BrowsePtr(), "( 1/2 )");
  EXPECT_FALSE(button("cmdBLeft")->isEnabled());
  EXPECT_TRUE(button("cmdBRight")->isEnabled());
  click("cmdBRight");
  EXPECT_EQ(fieldText(4), "Msg 9");
  EXPECT_EQ(BrowsePtr(), "( 2/2 )");
  EXPECT_TRUE(button("cmdBLeft")->isEnabled());
  EXPECT_FALSE(button("cmdBRight")->isEnabled());
  click("cmdBLeft");
  EXPECT_EQ(fieldText(4), "Msg 3");
  EXPECT_EQ(BrowsePtr(), "( 1/2 )");
  EXPECT_FALSE(button("cmdBLeft")->isEnabled());

  win->settings().STARTBROWSE = 1;
  click("cmdBrowse");
  EXPECT_EQ(fieldText(4), "Msg 9");
  EXPECT_EQ(BrowsePtr(), "( 2/2 )");
  EXPECT_TRUE(button("cmdBLeft")->isEnabled());
  EXPECT_FALSE(button("cmdBRight")->isEnabled());
  EXPECT_EQ(FieldStates(), "LLLLLLLLLLLLLL");
}

TEST_F(WindowTest, UnreadShowsUnreadOnceThenRead) {
  WriteIni(QuickSettings(DeadPort()));
  const auto n = StoreRecord(4, 2, 1, "Road closed");
  start();
  click("cmdBrowse");
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(n) + ",  Received message; Unread");
  click("cmdBrowse");
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(n) + ",  Received message; Read");
}

TEST_F(WindowTest, FieldEntryCopiesSenderAndDefaultsFollowTheForm) {
  Settings s = QuickSettings(DeadPort());
  s.DefTo = "Logistics";
  s.DefToPos = "Chief";
  WriteIni(s);
  start();
  click("cmdNew");
  field(2)->setFocus();
  type(2, "  Planning ");
  field(3)->setFocus();  // leaving From signs the message with its name and (empty) position
  EXPECT_EQ(fieldText(7), "Planning");
  EXPECT_EQ(fieldText(8), "");
  type(3, "Lead");
  field(4)->setFocus();
  EXPECT_EQ(fieldText(8), "Lead");

  QTest::keyClicks(find("txtDefaultToRoute"), "eoc");
  EXPECT_EQ(win->text(kRouteBox), "EOCLOCAL");  // capitals, at the cursor

  // An emptied field empties its default, and the next New leaves it empty.
  win->setText(1, "");
  click("cmdSetFieldsAsDefault");
  const Settings saved = ReadSettings(dataPath + "/velnor.ini");
  EXPECT_EQ(saved.DefToPos, "");
  EXPECT_EQ(saved.DefTo, "Logistics");
  EXPECT_EQ(saved.DefFr, "Planning");
  click("cmdSave");
  click("cmdNew");
  EXPECT_EQ(fieldText(1), "");
  EXPECT_EQ(fieldText(0), "Logistics");
  EXPECT_EQ(FocusName(), "txtField_1");
}

TEST_F(WindowTest, OpenInsertsFileIntoReplyBodyAndReportsUnreadableFile) {
  WriteIni(QuickSettings(DeadPort()));
  StoreRecord(4, 2, 1, "Road closed");
  start();
  click("cmdBrowse");
  click("cmdReply");
  win->setText(10, "AB");
  const std::string file = tmp.file("note.txt");
  std::ofstream(file, std::ios::binary) << "xy\r\nz";
  dialogs.expectFile("Select the destination file name", file);
  win->findChild<QAction*>("mnuOpen")->trigger();
  EXPECT_EQ(dialogs.lastFileRequest.filterIndex, 2);
  EXPECT_EQ(fieldText(10), "xy\r\nzAB");  // at the cursor, which setText leaves at 0
  EXPECT_EQ(fieldText(6), "Line one\r\nLine two");
  EXPECT_FALSE(ed->MessageSaved());

  // A name that is not there inserts nothing, yet the form counts as changed.
  click("cmdSave");
  click("cmdEdit");
  ASSERT_TRUE(ed->MessageSaved());
  dialogs.expectFile("Select the destination file name", tmp.file("missing.txt"));
  win->findChild<QAction*>("mnuOpen")->trigger();
  EXPECT_EQ(fieldText(10), "xy\r\nzAB");
  EXPECT_FALSE(ed->MessageSaved());
}

TEST_F(WindowTest, DeleteOfLockedRecordWarnsThenAsksAboutTyping) {
  WriteIni(QuickSettings(DeadPort()));
  start();
  click("cmdNew");
  ed->CurrentRecord().rec().setLocked(1);
  ed->CurrentRecord().Update(1);
  type(4, "Kept");
  dialogs.expectMessage("Message is locked to another process.  Try\r\nagain later, or restart program to clear.");
  dialogs.expectMessage("Message was not saved.\r\nDo you really want to continue?", MsgAnswer::No);
  click("cmdDelete");
  EXPECT_EQ(dialogs.shown.back().caption, "New Message");
  EXPECT_EQ(StoredStatus(1), 6);  // still there
  EXPECT_EQ(fieldText(4), "Kept");  // No keeps the text, locked
  EXPECT_EQ(FieldStates(), "LLLLLLLLLLLLLL");
  EXPECT_EQ(Enabled(), (Names{"cmdNew", "cmdBrowse"}));
}

TEST_F(WindowTest, ClipboardCommandsFollowTheFocus) {
  WriteIni(QuickSettings(DeadPort()));
  start();
  click("cmdNew");
  win->setText(4, "Water tender");
  field(4)->setFocus();
  win->selectAll(4);
  win->findChild<QAction*>("MnuCut")->trigger();
  EXPECT_EQ(QApplication::clipboard()->text().toStdString(), "Water tender");
  EXPECT_EQ(fieldText(4), "");
  win->findChild<QAction*>("mnuPaste")->trigger();
  EXPECT_EQ(fieldText(4), "Water tender");
  EXPECT_FALSE(ed->MessageSaved());

  button("cmdSave")->setFocus();  // Copy with a button in focus empties the clipboard
  win->findChild<QAction*>("mnuCopy")->trigger();
  EXPECT_EQ(QApplication::clipboard()->text().toStdString(), "");
}

TEST(NoticeSound, WaveFileOnlyForPoaOneAndBeepWhenItFails) {
  App();
  ScriptedDialogs dialogs;
  struct Row {
    short poa;
    bool playWorks;
    std::size_t played;
    int beeps;
  };
  for (const Row& row : {Row{0, true, 0, 1}, Row{1, true, 1, 0}, Row{1, false, 1, 1}, Row{2, true, 0, 1}}) {
    RecordingSound sound;
    sound.playWorks = row.playWorks;
    Settings settings;
    settings.POA = row.poa;
    settings.POAFile = "/sounds/arrival.wav";
    FrmNewMsgPopup notice(NoticeDeps{dialogs, sound, settings, [] { return short{0}; }, [](std::int32_t) {}}, nullptr);
    notice.ShowNotice("New message\r\nFrom: Base", 5);
    EXPECT_EQ(sound.played.size(), row.played) << "POA " << row.poa;
    EXPECT_EQ(sound.beeps, row.beeps) << "POA " << row.poa;
    EXPECT_TRUE(notice.isVisible());
    EXPECT_EQ(notice.number(), 5);
    notice.setAttribute(Qt::WA_DeleteOnClose, false);
  }
}

class SessionTest : public WindowTest {
 protected:
  // Two messages waiting at the simulator for station K1ABC.
  void QueueTwoMessages(const std::string& spool) {
    const std::string dir = spool + "/queue/" + Hex("K1ABC");
    std::filesystem::create_directories(dir);
    for (int i = 1; i <= 2; ++i) {
      MsgRecord r;
      r.setMsgNo(40 + i);
      r.setKind(1);
      r.setTo("Ops");
      r.setFr("Base " + std::to_string(i));
      r.setSubj("Incoming " + std::to_string(i));
      r.setMsg("Body " + std::to_string(i));
      r.setMsgDate(ToOleDate({2026, 11, 19, 13, 0, 0}));
      r.setRoute("K1ABC:0");
      std::ofstream(dir + "/000000000000000" + std::to_string(i) + ".msg", std::ios::binary)
          << EncodeRecord(r, "W1XYZ");
    }
  }
  std::vector<FrmNewMsgPopup*> Notices() const {
    std::vector<FrmNewMsgPopup*> out;
    for (auto* n : win->findChildren<FrmNewMsgPopup*>()) {
      if (n->isVisible()) out.push_back(n);
    }
    return out;
  }
};

TEST_F(SessionTest, TwoReceivedMessagesLeaveTwoNoticesAndOpenRespectsEditing) {
  const std::string spool = tmp.path() + "/spool";
  QueueTwoMessages(spool);
  SimProcess sim(spool, tmp.path() + "/transcript");
  WriteIni(QuickSettings(sim.port()));
  start();  // the link test is a whole session: both messages arrive in it
  EXPECT_EQ(dialogs.beeps, 0);
  auto notices = Notices();
  ASSERT_EQ(notices.size(), 2u);
  EXPECT_EQ(sound.beeps, 2);  // POA 0: the beep, no file
  EXPECT_TRUE(sound.played.empty());
  EXPECT_EQ(notices[0]->windowTitle().toStdString(), "New Incoming Message");

  click("cmdNew");
  type(4, "Mine");
  dialogs.expectMessage("Press Save, Close, or Delete for your\r\ncurrent message before Opening this message.");
  notices[0]->findChild<QPushButton*>("cmdOpen")->click();
  EXPECT_EQ(dialogs.shown.back().caption, "New Incoming Message");
  EXPECT_EQ(Notices().size(), 2u);
  EXPECT_EQ(fieldText(4), "Mine");
  EXPECT_EQ(ed->EditState(), 2);

  click("cmdSave");
  const std::int32_t n = notices[1]->number();
  EXPECT_EQ(StoredStatus(n), 4);
  notices[1]->findChild<QPushButton*>("cmdOpen")->click();
  QApplication::processEvents();
  EXPECT_EQ(Notices().size(), 1u);
  EXPECT_EQ(fieldText(4), "Incoming 2");
  EXPECT_EQ(ed->EditState(), 1);
  EXPECT_EQ(FieldStates(), "LLLLLLLLLLLLLL");
  EXPECT_EQ(StoredStatus(n), 5);
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdReply"}));
}

}  // namespace
}  // namespace velnor::testing
