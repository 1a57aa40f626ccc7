// Typing into the real window: route capitals, the Tab order, the limits, File > Open.
#include <QClipboard>
#include <QTextCursor>

#include "WindowFixture.h"

namespace velnor::testing {
namespace {

class FieldEntryTest : public WindowTest {};

// The route takes capitals, Tab follows the paper form and Space only presses a button the
// operator chose.
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

// A reply to a received message and File > Open; then a new message: widths, the body's
// limit, the clipboard.
TEST_F(FieldEntryTest, ReplyLeavesTheFormSavedOpenChangesNothingItCannotReadAndNothingIsEverCut) {
  const auto n = StoreRecord(Status::Unread, Origin::Received, Kind::Message, "Road closed");
  start();
  click("cmdBrowse");
  click("cmdReply");
  EXPECT_EQ(State(), "REPLY 2 LLLLLLLLLLEEEL route");
  EXPECT_EQ(win->text(Field::ReplySignature), "Logistics");
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

  // 5,000 characters over a selection of 1,000: refused whole, as the box says.
  QTextCursor c = body->textCursor();
  c.setPosition(0);
  c.setPosition(1000, QTextCursor::KeepAnchor);
  body->setTextCursor(c);
  body->setFocus(Qt::MouseFocusReason);
  cb->setText(QString(5000, 'p'));
  dialogs.expectMessage(
      "Nothing was pasted: the clipboard holds 5,000 characters, and 1,000 more fit in the message (4,000 at "
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

}  // namespace
}  // namespace velnor::testing
