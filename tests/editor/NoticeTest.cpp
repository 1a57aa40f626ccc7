// The new-message notices on the real window: one per received message, Open, Close, the sound.
#include <QScreen>
#include <fstream>
#include <tuple>

#include "WindowFixture.h"
#include "editor/qt/FrmNewMsgPopup.h"
#include "format/Encoder.h"

namespace velnor::testing {
namespace {

// The tagged text another station hands in for us.
std::string TextFrom(Kind kind, const std::string& subj) {
  MsgRecord r = Sample(Status::ReadyToSend, Origin::Local, kind, subj);
  r.setMsgNo(12);
  r.setMsgDate(ToOleDate({2026, 11, 19, 13, 30, 0}));
  r.setRoute("K1ABC");  // the destination: us
  if (kind == Kind::Reply) r.setReply("Understood");
  return EncodeRecord(r, "BRAVO");
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
  // One received text filed as a session files it; returns its notice.
  FrmNewMsgPopup* Receive(Kind kind, const std::string& subj) {
    const auto before = Notices().size();
    win->StoreMsg(TextFrom(kind, subj));
    auto now = Notices();
    EXPECT_EQ(now.size(), before + 1);
    return now.empty() ? nullptr : now.back();
  }
};

TEST_F(NoticeTest, CloseLeavesUnreadOpenWaitsWhileEditingShowsItLockedAndTheSoundFollowsPoa) {
  start();
  FrmNewMsgPopup* later = Receive(Kind::Message, "Later");
  ASSERT_NE(later, nullptr);
  const auto unread = later->number();
  later->findChild<QPushButton*>("cmdClose")->click();
  EXPECT_EQ(Notices().size(), 0u);
  EXPECT_EQ(StoredStatus(unread), Status::Unread);
  EXPECT_EQ(ed->EditState(), 0);
  EXPECT_EQ(win->text(Field::Subject), "");

  FrmNewMsgPopup* notice = Receive(Kind::Reply, "Answer");
  ASSERT_NE(notice, nullptr);
  const auto n = notice->number();

  click("cmdNew");
  type(Field::Subject, "Mine");
  dialogs.expectMessage(
      "Press Save, Close, or Delete for your\r\ncurrent message before Opening this message.");
  notice->findChild<QPushButton*>("cmdOpen")->click();
  EXPECT_EQ(Notices().size(), 1u);
  EXPECT_EQ(State(), "NEW 2 EEEEELEEEELLLL route");
  EXPECT_EQ(win->text(Field::Subject), "Mine");
  EXPECT_EQ(StoredStatus(n), Status::Unread);

  click("cmdSave");
  notice->findChild<QPushButton*>("cmdOpen")->click();
  EXPECT_EQ(Notices().size(), 0u);
  EXPECT_EQ(State(), "SAVE 1 LLLLLLLLLLLLLL");  // opening from a notice is not a command
  EXPECT_EQ(Texts({Field::Subject, Field::Reply}), (Names{"Answer", "Understood"}));
  // A received reply can be neither edited nor answered.
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse"}));
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(n) + ",  Received reply; Read");  // read once shown
  EXPECT_EQ(StoredStatus(n), Status::Read);

  // A received message offers Reply.
  FrmNewMsgPopup* second = Receive(Kind::Message, "Question");
  ASSERT_NE(second, nullptr);
  second->findChild<QPushButton*>("cmdOpen")->click();
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdReply"}));

  // The arrival sound plays the file only for POA 1, and beeps when it will not play.
  const std::string wav = tmp.file("arrive.wav"), text = tmp.file("text.wav");
  std::ofstream(wav, std::ios::binary) << SilentWave();
  std::ofstream(text, std::ios::binary) << "no sound";
  // Any other value than 1 beeps; so does a file that will not play.
  for (const auto& [poa, file, plays] : {std::tuple{0, wav, false}, std::tuple{1, wav, true},
                                         std::tuple{1, text, true}, std::tuple{2, wav, false}}) {
    sound.played.clear();
    sound.beeps = 0;
    win->settings().POA = static_cast<short>(poa);
    win->settings().POAFile = file;
    Receive(Kind::Message, "Sound " + std::to_string(poa));
    EXPECT_EQ(sound.played, plays ? Names{file} : Names{}) << "POA " << poa;
    EXPECT_EQ(sound.beeps, file == wav && plays ? 0 : 1) << "POA " << poa << " " << file;
  }
  // The notices left open lie side by side on the screen: none hides another.
  const auto open = Notices();
  ASSERT_EQ(open.size(), 4u);
  for (std::size_t i = 0; i < open.size(); ++i) {
    EXPECT_TRUE(win->screen()->availableGeometry().contains(open[i]->frameGeometry())) << i;
    for (std::size_t j = 0; j < i; ++j)
      EXPECT_FALSE(open[i]->frameGeometry().intersects(open[j]->frameGeometry()));
  }
}

}  // namespace
}  // namespace velnor::testing
