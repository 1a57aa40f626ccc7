// The new-message notices on the real window: one per received message, Open, Close.
#include <QScreen>

#include "WindowFixture.h"
#include "editor/qt/FrmNewMsgPopup.h"
#include "format/Encoder.h"

namespace velnor::testing {
namespace {

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
  // A text another station hands in for us, filed as a session files it; returns its notice.
  FrmNewMsgPopup* Receive(Kind kind, const std::string& subj) {
    MsgRecord r = Sample(Status::ReadyToSend, Origin::Local, kind, subj);
    r.setMsgNo(12);
    r.setMsgDate(ToOleDate({2026, 11, 19, 13, 30, 0}));
    r.setRoute("K1ABC");  // the destination: us
    if (kind == Kind::Reply) r.setReply("Understood");
    const auto before = Notices().size();
    win->StoreMsg(EncodeRecord(r, "BRAVO"));
    auto now = Notices();
    EXPECT_EQ(now.size(), before + 1);
    return now.empty() ? nullptr : now.back();
  }
};

TEST_F(NoticeTest, CloseLeavesUnreadOpenWaitsWhileEditingShowsItReadAndOpenNoticesLieSideBySide) {
  start();
  FrmNewMsgPopup* later = Receive(Kind::Message, "Later");
  ASSERT_NE(later, nullptr);
  const auto unread = later->number();
  later->findChild<QPushButton*>("cmdClose")->click();
  EXPECT_EQ(Notices().size(), 0u);
  EXPECT_EQ(StoredStatus(unread), Status::Unread);

  FrmNewMsgPopup* notice = Receive(Kind::Reply, "Answer");
  ASSERT_NE(notice, nullptr);
  const auto n = notice->number();
  click("cmdNew");
  type(Field::Subject, "Mine");
  dialogs.expectMessage(
      "Press Save, Close, or Delete for your\r\ncurrent message before Opening this message.");
  notice->findChild<QPushButton*>("cmdOpen")->click();
  EXPECT_EQ(Notices().size(), 1u);
  EXPECT_EQ(win->text(Field::Subject), "Mine");
  EXPECT_EQ(StoredStatus(n), Status::Unread);

  click("cmdSave");
  notice->findChild<QPushButton*>("cmdOpen")->click();
  EXPECT_EQ(State(), "SAVE 1 LLLLLLLLLLLLLL");  // opening from a notice is not a command
  EXPECT_EQ(Texts({Field::Subject, Field::Reply}), (Names{"Answer", "Understood"}));
  // A received reply can be neither edited nor answered.
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse"}));
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(n) + ",  Received reply; Read");  // read once shown
  EXPECT_EQ(StoredStatus(n), Status::Read);

  // The notices left open lie side by side on the screen: none hides another.
  for (const char* subject : {"One", "Two", "Three", "Four"}) Receive(Kind::Message, subject);
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
