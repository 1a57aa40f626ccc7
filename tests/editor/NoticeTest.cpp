// The new-message notices on the real window: one per message a session brings in (a
// second station sends them over pmdirect-sim), Open guarded while editing, Open showing
// the message locked and read, Close leaving it unread, and the arrival sound.
#include "WindowFixture.h"
#include "editor/qt/FrmNewMsgPopup.h"
#include "format/Encoder.h"
#include "store/MsgRecord.h"
#include "tests/sim/SimHarness.h"

namespace velnor::testing {
namespace {

// The tagged text another station hands in for us.
std::string TextFrom(const std::string& sender, short kind, const std::string& subj) {
  MsgRecord r = Sample(2, 1, kind, subj);
  r.setMsgNo(12);
  r.setMsgDate(ToOleDate({2026, 11, 19, 13, 30, 0}));
  r.setRoute("K1ABC");  // the destination: us
  if (kind == 2) r.setReply("Understood");
  return EncodeRecord(r, sender);
}

class NoticeTest : public WindowTest {
 protected:
  std::vector<FrmNewMsgPopup*> Notices() {
    QApplication::processEvents();  // closed notices go away on the next turn of the loop
    std::vector<FrmNewMsgPopup*> out;
    for (auto* n : win->findChildren<FrmNewMsgPopup*>()) {
      if (n->isVisible()) out.push_back(n);
    }
    return out;
  }
  static void press(FrmNewMsgPopup* notice, const char* name) {
    auto* b = notice->findChild<QPushButton*>(name);
    ASSERT_NE(b, nullptr) << name;
    b->click();
  }
  // One received text filed as a session files it; returns its notice.
  FrmNewMsgPopup* Receive(short kind, const std::string& subj) {
    const auto before = Notices().size();
    win->StoreMsg(TextFrom("BRAVO", kind, subj));
    auto now = Notices();
    EXPECT_EQ(now.size(), before + 1);
    return now.empty() ? nullptr : now.back();
  }
};

TEST_F(NoticeTest, TwoMessagesFromOneSessionLeaveTwoNotices) {
  const std::string spool = tmp.path() + "/spool";
  SimProcess sim(spool, tmp.path() + "/transcript");
  {
    SimClient bravo(sim.port());
    ASSERT_EQ(bravo.ask("<!REG!>", "LOGON>"), "LOGON>");
    ASSERT_EQ(bravo.ask("<!LOGON!>BRAVO", "OK>"), "OK>");
    ASSERT_EQ(bravo.ask(TextFrom("BRAVO", 1, "Water"), "OK>"), "OK>");
    ASSERT_EQ(bravo.ask(TextFrom("BRAVO", 1, "Fuel"), "OK>"), "OK>");
    ASSERT_EQ(bravo.ask("QUIT", "QUITING>"), "QUITING>");
  }
  WriteIni(QuickSettings(sim.port()));
  start();  // the link test is a whole session: it collects both

  auto notices = Notices();
  ASSERT_EQ(notices.size(), 2u);
  EXPECT_EQ(sound.beeps, 2);
  EXPECT_TRUE(sound.played.empty());
  EXPECT_EQ(dialogs.beeps, 0);  // the link test passed
  for (auto* n : notices) {
    EXPECT_EQ(n->windowTitle().toStdString(), "New Incoming Message");
    EXPECT_EQ(StoredStatus(n->number()), 4);
  }
  const std::string first = notices[0]->findChild<QPlainTextEdit*>("txtNotice")->toPlainText().toStdString();
  EXPECT_NE(first.find("SUBJECT: Water"), std::string::npos) << first;

  // Opening the first and then the second leaves the second in the editor.
  const auto n1 = notices[0]->number(), n2 = notices[1]->number();
  EXPECT_NE(n1, n2);
  press(notices[0], "cmdOpen");
  EXPECT_EQ(fieldText(4), "Water");
  EXPECT_EQ(Notices().size(), 1u);
  press(notices[1], "cmdOpen");
  EXPECT_EQ(fieldText(4), "Fuel");
  EXPECT_EQ(Notices().size(), 0u);
  EXPECT_EQ(StoredStatus(n1), 5);
  EXPECT_EQ(StoredStatus(n2), 5);
}

TEST_F(NoticeTest, CloseLeavesUnreadOpenWaitsWhileEditingThenShowsTheMessageLocked) {
  startWith(QuickSettings());
  FrmNewMsgPopup* later = Receive(1, "Later");
  ASSERT_NE(later, nullptr);
  const auto unread = later->number();
  press(later, "cmdClose");
  EXPECT_EQ(Notices().size(), 0u);
  EXPECT_EQ(StoredStatus(unread), 4);
  EXPECT_EQ(ed->EditState(), 0);
  EXPECT_EQ(fieldText(4), "");

  FrmNewMsgPopup* notice = Receive(2, "Answer");
  ASSERT_NE(notice, nullptr);
  const auto n = notice->number();

  click("cmdNew");
  type(4, "Mine");
  const std::string fields = FieldStates();
  const Names commands = Enabled();
  dialogs.expectMessage("Press Save, Close, or Delete for your\r\ncurrent message before Opening this message.");
  press(notice, "cmdOpen");
  EXPECT_EQ(dialogs.shown.back().caption, "New Incoming Message");
  EXPECT_EQ(dialogs.shown.back().buttons, MsgButtons::Ok);
  EXPECT_EQ(Notices().size(), 1u);
  EXPECT_EQ(ed->EditState(), 2);
  EXPECT_EQ(ed->EditorMode(), "NEW");
  EXPECT_EQ(fieldText(4), "Mine");
  EXPECT_FALSE(ed->MessageSaved());
  EXPECT_EQ(FieldStates(), fields);
  EXPECT_EQ(Enabled(), commands);
  EXPECT_EQ(StoredStatus(n), 4);

  click("cmdSave");
  press(notice, "cmdOpen");
  EXPECT_EQ(Notices().size(), 0u);
  EXPECT_EQ(ed->EditState(), 1);
  EXPECT_EQ(ed->EditorMode(), "SAVE");  // opening from a notice is not a command
  EXPECT_EQ(fieldText(4), "Answer");
  EXPECT_EQ(fieldText(10), "Understood");
  EXPECT_EQ(FieldStates().find('E'), std::string::npos) << FieldStates();
  EXPECT_FALSE(RoutingEnabled());
  // A received reply can be neither edited nor answered.
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse"}));
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(n) + ",  Received reply; Unread");
  EXPECT_EQ(StoredStatus(n), 5);

  // A received message offers Reply.
  FrmNewMsgPopup* second = Receive(1, "Question");
  ASSERT_NE(second, nullptr);
  press(second, "cmdOpen");
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdReply"}));
}

TEST_F(NoticeTest, ArrivalSoundPlaysTheFileOnlyForPoaOne) {
  startWith(QuickSettings());
  struct Row {
    short poa;
    bool playWorks;
    std::size_t played;
    int beeps;
  };
  // POA 1 plays the file, and beeps when the file will not play; any other value beeps.
  const Row rows[] = {{0, true, 0, 1}, {1, true, 1, 0}, {1, false, 1, 1}, {2, true, 0, 1}, {-1, true, 0, 1}};
  win->settings().POAFile = "/opt/sounds/arrive.wav";
  for (const Row& r : rows) {
    sound.played.clear();
    sound.beeps = 0;
    sound.playWorks = r.playWorks;
    win->settings().POA = r.poa;
    Receive(1, "Sound " + std::to_string(r.poa));
    EXPECT_EQ(sound.played.size(), r.played) << "POA " << r.poa;
    if (!sound.played.empty()) EXPECT_EQ(sound.played[0], "/opt/sounds/arrive.wav");
    EXPECT_EQ(sound.beeps, r.beeps) << "POA " << r.poa << " playWorks " << r.playWorks;
  }
  EXPECT_EQ(Notices().size(), 5u);
}

}  // namespace
}  // namespace velnor::testing
