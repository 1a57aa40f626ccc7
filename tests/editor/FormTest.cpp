// The form on the real window: typing into it, browsing the store, and the new-message notices.
#include <QClipboard>
#include <QScreen>
#include <QTextCursor>

#include "WindowFixture.h"
#include "editor/qt/FrmNewMsgPopup.h"
#include "format/Encoder.h"
#include "link/PmLink.h"

namespace velnor::testing {
namespace {

class FieldEntryTest : public WindowTest {};

// The route takes capitals, Tab follows the paper form, Space presses only a chosen button.
TEST_F(FieldEntryTest, RouteCapitalsTabOrderAndSpaceOnAButton) {
  start();
  click("cmdNew");
  QWidget* route = find("txtDefaultToRoute");
  win->setText(TextBox::Route, "");
  route->setFocus(Qt::MouseFocusReason);
  QTest::keyClicks(route, "eoc-2b");
  QTest::sendKeyEvent(QTest::Click, route, Qt::Key_Eacute, QString::fromUtf8("\xc3\xa9"), Qt::NoModifier);
  EXPECT_EQ(win->text(TextBox::Route), "EOC-2B\xc9");

  const auto press = [](Qt::Key key, Qt::KeyboardModifiers mods = {}) {
    QTest::keyClick(QApplication::focusWidget(), key, mods);
    QApplication::processEvents();
  };
  // The dates are never typed, the reply is locked, the buttons that cannot be used are off.
  field(Field::IncidentName)->setFocus(Qt::MouseFocusReason);
  QApplication::processEvents();
  Names chain{FocusName()};
  for (int i = 0; i < 16; ++i) {
    press(Qt::Key_Tab);
    chain.push_back(FocusName());
  }
  EXPECT_EQ(chain,
            (Names{"txtField_9", "txtField_0", "txtField_1", "txtField_2", "txtField_3", "txtField_4",
                   "txtField_6", "txtField_7", "txtField_8", "txtDefaultToRoute", "chkKeepLocal", "cmdSave",
                   "cmdSend", "cmdDelete", "cmdClose", "cmdSetFieldsAsDefault", "txtField_9"}));

  // A Tab from the form onto a button, then a space: nothing pressed, and a beep says so.
  for (int i = 0; i < 11; ++i) press(Qt::Key_Tab);
  ASSERT_EQ(FocusName(), "cmdSave");
  const int beeps = dialogs.beeps;
  press(Qt::Key_Space);
  EXPECT_EQ(State(), "NEW 2 EEEEELEEEELLLL route");
  EXPECT_EQ(dialogs.beeps, beeps + 1);
  // Moved to from another button, it was chosen.
  press(Qt::Key_Tab);
  press(Qt::Key_Tab, Qt::ShiftModifier);
  ASSERT_EQ(FocusName(), "cmdSave");
  press(Qt::Key_Space);
  EXPECT_EQ(State(), "SAVE 1 LLLLLLLLLLLLLL");
  EXPECT_EQ(dialogs.beeps, beeps + 1);
  EXPECT_EQ(Stored(1).Route(), "EOC-2B\xc9:0");
}

// A reply and File > Open; then a new message: widths, the body's limit, the clipboard.
TEST_F(FieldEntryTest, ReplyLeavesTheFormSavedOpenChangesNothingItCannotReadAndNothingIsEverCut) {
  const auto n = StoreRecord(Status::Unread, Origin::Received, Kind::Message, "Road closed");
  start();
  click("cmdBrowse");
  click("cmdReply");
  EXPECT_EQ(State(), "REPLY 2 LLLLLLLLLLEEEL route");
  // Reply leaves the form saved. A folder opens but cannot be read: nothing changes. A name
  // that is not there inserts nothing, yet counts as a change.
  const std::string dir = tmp.file("folder.txt");
  std::filesystem::create_directories(dir);
  dialogs.expectFile("Select the destination file name", dir);
  dialogs.expectMessage("could not be read");
  trigger("mnuOpen");
  EXPECT_TRUE(ed->MessageSaved());
  dialogs.expectFile("Select the destination file name", tmp.file("missing.txt"));
  trigger("mnuOpen");
  EXPECT_EQ(win->text(Field::Reply), "");
  EXPECT_FALSE(ed->MessageSaved());
  EXPECT_TRUE(dialogs.lastFileRequest.pathMustExist);
  type(Field::Reply, "Aone");

  click("cmdSave");
  const MsgRecord saved = Stored(n);
  EXPECT_EQ((Names{saved.Reply(), saved.Msg()}), (Names{"Aone", "Line one\r\nLine two"}));

  // A box stops at its record field's width; a body counts up to 4,000; a paste that would
  // not fit goes in whole or not at all; Save keeps every character or refuses.
  click("cmdNew");
  EXPECT_EQ(find<QLineEdit>("txtDefaultToRoute")->maxLength(), 14);  // ":0" follows in the record
  type(Field::Subject, std::string(66, 's').c_str());
  EXPECT_EQ(win->text(Field::Subject), std::string(64, 's'));
  QClipboard* cb = QApplication::clipboard();
  auto* subject = qobject_cast<QLineEdit*>(field(Field::Subject));
  subject->setFocus(Qt::MouseFocusReason);
  QApplication::processEvents();  // entering the box selects all of it
  cb->setText("xyz");
  subject->setSelection(0, 2);
  dialogs.expectMessage(
      "Nothing was pasted: the clipboard holds 3 characters, and 2 more fit in this field (64 at most).");
  trigger("mnuPaste");
  EXPECT_EQ(win->text(Field::Subject), std::string(64, 's'));

  auto* counter = find<QLabel>("lblMsgLength");
  EXPECT_EQ(counter->text().toStdString(), "0 / 4,000");
  const std::string start(3995, 'a');
  win->setText(Field::Message, start);
  EXPECT_EQ(counter->text().toStdString(), "3,995 / 4,000");
  auto* body = qobject_cast<QPlainTextEdit*>(field(Field::Message));
  body->moveCursor(QTextCursor::End);
  const int beeps = dialogs.beeps;
  type(Field::Message, "bc\rdefg");  // the line break counts two, as CR LF in the record
  EXPECT_EQ(win->text(Field::Message), start + "bc\r\nd");
  EXPECT_EQ(dialogs.beeps - beeps, 3);
  EXPECT_EQ(counter->text().toStdString(), "4,000 / 4,000");
  EXPECT_EQ(counter->palette().color(QPalette::WindowText), QColor(0xB0, 0, 0));

  // 5,000 characters over the whole text: refused whole, as the box says.
  body->setFocus(Qt::MouseFocusReason);
  body->selectAll();
  cb->setText(QString(5000, 'p'));
  dialogs.expectMessage(
      "Nothing was pasted: the clipboard holds 5,000 characters, and 4,000 more fit in the message (4,000 at "
      "most).");
  trigger("mnuPaste");
  const std::string full = start + "bc\r\nd";
  click("cmdSave");
  EXPECT_EQ(Stored(2).Msg(), full);

  // Text that came in by other ways is not cut on Save either: Save refuses it.
  click("cmdEdit");
  win->setText(Field::Message, full + "!");
  dialogs.expectMessage(
      "The message holds 4,001 characters; 4,000 can be kept. Shorten it, then save again.");
  click("cmdSave");
  EXPECT_EQ((Names{Stored(2).Msg(), std::to_string(ed->EditState())}), (Names{full, "2"}));
}

class BrowseTest : public WindowTest {
 protected:
  // The subject shown, the counter, and whether the left and right arrows are on.
  void expectAt(const char* subject, const char* counter, bool left, bool right) const {
    EXPECT_EQ((Names{win->text(Field::Subject), BrowsePtr()}), (Names{subject, counter}));
    EXPECT_EQ(button("cmdBLeft")->isEnabled(), left) << counter;
    EXPECT_EQ(button("cmdBRight")->isEnabled(), right) << counter;
  }
};

// Numbers 3, 7 (given up) and 9, from either end. A message shown is read at once, and the
// information line follows what a session does to it.
TEST_F(BrowseTest, ThreeSevenNineFromEitherEndSkipsAbandonedAndShownMessagesFollowTheStore) {
  for (int n = 1; n <= 9; ++n) {
    const Status status = n == 3 ? Status::Unread : n == 7 ? Status::Abandoned : Status::ReadyToSend;
    const std::string subject = n == 3 ? "Road closed" : "Queued " + std::to_string(n);
    ASSERT_EQ(StoreRecord(status, n == 3 ? Origin::Received : Origin::Local, Kind::Message, subject), n);
  }
  for (int n : {1, 2, 4, 5, 6, 8}) IcsMsg(dataPath, eventLog).DeleteOne(n);
  Settings s = QuickSettings();
  s.STARTBROWSE = 1;
  start(s);  // nothing listens: the link test leaves 9 queued

  click("cmdBrowse");
  expectAt("Queued 9", "( 2/2 )", true, false);
  EXPECT_EQ(State(), "BROWSE 1 LLLLLLLLLLLLLL");
  EXPECT_EQ(MsgInfo(), "Msg# 9,  Locally created message; Ready, but not sent");
  EXPECT_EQ(StoredStatus(3), Status::Unread);  // not shown yet, so not read
  SimProcess sim(tmp.file("spool"), tmp.file("transcript"));
  win->settings().Port = std::to_string(sim.port());
  win->link()->RunSession();  // as the schedule runs it
  EXPECT_EQ(MsgInfo(), "Msg# 9,  Locally created message; Sent");
  click("cmdBLeft");
  expectAt("Road closed", "( 1/2 )", false, true);
  EXPECT_EQ(StoredStatus(3), Status::Read);
  ed->cmdBLeft_Click();  // at the first, as if the arrow were on: nothing moves
  expectAt("Road closed", "( 1/2 )", false, true);

  win->settings().STARTBROWSE = 0;  // from the beginning
  click("cmdBrowse");
  expectAt("Road closed", "( 1/2 )", false, true);
  click("cmdBRight");
  expectAt("Queued 9", "( 2/2 )", true, false);

  click("cmdClose");  // any other command takes the counter and the arrows away
  expectAt("", "", false, false);
  ed->StatusChangedInStore(9, Status::ReadyToSend);  // closed, the form shows nothing
  EXPECT_EQ(MsgInfo(), "");
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
  EXPECT_EQ(StoredStatus(n), Status::Unread);

  click("cmdSave");
  notice->findChild<QPushButton*>("cmdOpen")->click();
  EXPECT_EQ(State(), "SAVE 1 LLLLLLLLLLLLLL");  // opening from a notice is not a command
  EXPECT_EQ(win->text(Field::Reply), "Understood");
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
