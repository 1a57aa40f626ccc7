// The editor's commands on the real window: enabled commands, field states, focus and
// the store after each step; the identifier prompt; shutdown's refusals.
#include <QCloseEvent>
#include <QTimer>

#include "WindowFixture.h"
#include "link/PmLink.h"

namespace velnor::testing {
namespace {

TEST_F(WindowTest, FailedLinkTestBeepsAndIsLogged) {
  startWith(QuickSettings());
  EXPECT_EQ(dialogs.beeps, 1);
  const std::string log = Slurp(win->LogFile());
  EXPECT_NE(log.find("Link Test to Pmdirect... failed\r\n"), std::string::npos) << log;
  EXPECT_EQ(win->status(), "Velnor Ready");
}

TEST_F(WindowTest, IdentifierPromptAtStartAndFromTheMenu) {
  Settings s = QuickSettings();
  s.LoginName = "W1XYZ";
  startWith(s, std::nullopt);  // cancelled at start-up: the old value stays
  EXPECT_EQ(win->windowTitle().toStdString(), "Velnor (W1XYZ)");
  EXPECT_EQ(dialogs.lastInputPreset, "W1XYZ");

  dialogs.expectInput("Enter your Identifier", " kd0abc/p ");
  trigger("mnuIdentifier");
  EXPECT_EQ(dialogs.shown.back().caption, "Identifier");
  EXPECT_EQ(win->settings().LoginName, " KD0ABC/P ");  // capitals, blanks stay as typed
  EXPECT_EQ(win->windowTitle().toStdString(), "Velnor ( KD0ABC/P )");
  EXPECT_EQ(ReadSettings(dataPath + "/velnor.ini").LoginName, " KD0ABC/P ");

  dialogs.expectInput("Enter your Identifier", "");
  trigger("mnuIdentifier");
  EXPECT_EQ(dialogs.lastInputPreset, " KD0ABC/P ");
  EXPECT_EQ(win->settings().LoginName, " KD0ABC/P ");
}

TEST_F(WindowTest, NewWithAllDefaultsFocusesSubjectAndCreatesDraft) {
  Settings s = WithDefaults();
  s.IcdName = " Ridge Fire ";
  s.DEFDEST = "EOC";
  s.KEEPLOCAL = 1;
  startWith(s);

  click("cmdNew");
  EXPECT_EQ(ed->EditorMode(), "NEW");
  EXPECT_EQ(ed->EditState(), 2);
  EXPECT_EQ(Enabled(), kEditing);
  EXPECT_EQ(FieldStates(), "EEEEELEEEELLLL");  // field 5, the date, is never typed in
  EXPECT_FALSE(field(5)->isEnabled());
  EXPECT_FALSE(field(13)->isEnabled());
  EXPECT_TRUE(RoutingEnabled());
  EXPECT_EQ(fieldText(9), "Ridge Fire");
  EXPECT_EQ(fieldText(7), "Planning");
  EXPECT_EQ(fieldText(8), "Lead");
  EXPECT_EQ(fieldText(5), "11/19/2026 14:05");
  EXPECT_EQ(win->text(kRouteBox), "EOC");
  EXPECT_TRUE(win->keepLocal());
  EXPECT_EQ(FocusName(), "txtField_4");
  EXPECT_EQ(MsgInfo(), "Msg# 1,  Locally created message; Draft");
  EXPECT_EQ(StoredStatus(1), 6);
  EXPECT_FALSE(ed->MessageSaved());  // the defaults count as typing
}

TEST_F(WindowTest, CommandTableThroughSaveEditCloseBrowseDelete) {
  startWith(QuickSettings());
  click("cmdNew");
  EXPECT_EQ(FocusName(), "txtField_0");  // nothing filled: the first empty field
  for (int i : {0, 1, 2, 3, 4, 6, 7, 8, 9}) type(i, "x");

  click("cmdSave");
  EXPECT_EQ(ed->EditState(), 1);
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdEdit"}));
  EXPECT_EQ(FieldStates(), "LLLLLLLLLLLLLL");
  EXPECT_FALSE(RoutingEnabled());
  EXPECT_EQ(win->status(), "Message saved");
  EXPECT_TRUE(ed->MessageSaved());
  const MsgRecord saved = Stored(1);
  EXPECT_EQ(saved.Subj(), "x");
  EXPECT_EQ(saved.Status(), 6);
  EXPECT_EQ(saved.Route(), "LOCAL:0");
  EXPECT_NEAR(saved.MsgDate(), ToOleDate({2026, 11, 19, 14, 5, 0}), 1e-6);  // stamped to the minute
  EXPECT_EQ(saved.RepDate(), 0);

  click("cmdEdit");
  EXPECT_EQ(ed->EditorMode(), "EDIT");
  EXPECT_EQ(Enabled(), kEditing);
  EXPECT_EQ(FieldStates(), "EEEEELEEEELLLL");
  EXPECT_EQ(FocusName(), "txtField_0");

  click("cmdClose");  // nothing typed since the save
  EXPECT_EQ(ed->EditState(), 0);
  EXPECT_EQ(Enabled(), kIdle);
  EXPECT_EQ(fieldText(4), "");
  EXPECT_EQ(MsgInfo(), "");

  click("cmdBrowse");
  EXPECT_EQ(ed->EditState(), 1);
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdBRight", "cmdEdit"}));
  EXPECT_EQ(BrowsePtr(), "( 1/1 )");
  EXPECT_EQ(fieldText(4), "x");
  click("cmdBRight");  // one message: the arrow is on, pressing it only turns it off
  EXPECT_EQ(BrowsePtr(), "( 1/1 )");
  EXPECT_FALSE(button("cmdBRight")->isEnabled());

  click("cmdDelete");
  EXPECT_EQ(ed->EditState(), 0);
  EXPECT_EQ(Enabled(), kIdle);
  EXPECT_EQ(BrowsePtr(), "");
  EXPECT_EQ(win->status(), "Velnor Ready");
  click("cmdBrowse");
  EXPECT_EQ(win->status(), "No messages found");
  EXPECT_EQ(Enabled(), kIdle);
}

TEST_F(WindowTest, CloseWithUnsavedTypingKeepsEverything) {
  startWith(QuickSettings());
  click("cmdNew");
  type(4, "Water");
  dialogs.expectMessage("Message was not saved.  Press Save or\r\nDelete on the form to continue.");
  click("cmdClose");
  EXPECT_EQ(ed->EditState(), 2);
  EXPECT_EQ(fieldText(4), "Water");
  EXPECT_TRUE(button("cmdSend")->isEnabled());
}

TEST_F(WindowTest, SendWithEmptySubjectMarksItThenTypingClearsTheMark) {
  startWith(WithDefaults());
  click("cmdNew");
  type(6, "Need water");
  const std::string before = find<QLabel>("NetState")->text().toStdString();
  click("cmdSend");
  EXPECT_EQ(win->backColour(4), kLightYellow);
  EXPECT_EQ(win->backColour(3), kWindowColour);
  EXPECT_EQ(FocusName(), "txtField_4");
  EXPECT_EQ(StoredStatus(1), 6);
  EXPECT_EQ(ed->EditState(), 2);
  EXPECT_TRUE(button("cmdSend")->isEnabled());
  EXPECT_EQ(find<QLabel>("NetState")->text().toStdString(), before);  // no connection tried
  EXPECT_EQ(win->status(), "Message saved");

  ASSERT_TRUE(ed->MessageSaved());
  button("cmdSave")->setEnabled(false);  // so that only the key can turn it on
  type(4, "W");
  EXPECT_EQ(win->backColour(4), kWindowColour);
  EXPECT_TRUE(button("cmdSave")->isEnabled());
  EXPECT_FALSE(ed->MessageSaved());
  EXPECT_EQ(fieldText(4), "W");  // the key itself goes through

  // Locked after Save: keys change neither the text nor the state.
  click("cmdSave");
  ASSERT_TRUE(ed->MessageSaved());
  field(4)->setFocus(Qt::MouseFocusReason);
  type(4, "zz");
  EXPECT_EQ(fieldText(4), "W");
  EXPECT_TRUE(ed->MessageSaved());
  EXPECT_FALSE(button("cmdSave")->isEnabled());
}

TEST_F(WindowTest, ReplyToReceivedMessageAndCloseWithoutQuestion) {
  WriteIni(QuickSettings());
  const auto n = StoreRecord(4, 2, 1, "Road closed");
  start();
  click("cmdBrowse");
  click("cmdReply");
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "mnuSave", "mnuOpen", "cmdSend", "cmdSave", "cmdDelete", "cmdClose"}));
  EXPECT_EQ(FieldStates(), "LLLLLLLLLLEEEL");
  EXPECT_EQ(fieldText(11), "Logistics");
  EXPECT_EQ(fieldText(12), "Chief");
  EXPECT_EQ(fieldText(13), "11/19/2026 14:05");
  EXPECT_EQ(FocusName(), "txtField_10");
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(n) + ",  Locally created reply; Draft");
  click("cmdClose");  // Reply leaves the form saved: no question
  EXPECT_EQ(ed->EditState(), 0);
  EXPECT_EQ(StoredStatus(n), 5);  // only in memory until saved
}

TEST_F(WindowTest, DeleteOfLockedRecordWarnsThenAsksAboutTyping) {
  startWith(QuickSettings());
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
  EXPECT_EQ(Enabled(), kIdle);
}

TEST_F(WindowTest, QuittingUnsavedNewMessageAbandonsIt) {
  startWith(QuickSettings());
  click("cmdNew");
  type(4, "Draft");
  dialogs.expectMessage("Message changed and was not saved.\r\nDo you really want to quit?", MsgAnswer::No);
  EXPECT_FALSE(win->close());
  EXPECT_EQ(StoredStatus(1), 6);
  EXPECT_EQ(dialogs.shown.back().caption, "Message Close");

  dialogs.expectMessage("Message changed and was not saved.", MsgAnswer::Yes);
  EXPECT_TRUE(win->close());
  EXPECT_EQ(StoredStatus(1), 7);
}

TEST_F(WindowTest, ClosingDuringSessionIsRefused) {
  // A server that accepts and never answers holds the session in its first wait.
  QTcpServer silent;
  ASSERT_TRUE(silent.listen(QHostAddress::LocalHost, 0));
  startWith(QuickSettings());
  win->settings().Port = std::to_string(silent.serverPort());
  win->settings().TimeOut = "1500";

  bool closed = true;
  QTimer::singleShot(200, win.get(), [&] {
    EXPECT_TRUE(win->link()->SessionRunning());
    closed = win->close();
  });
  dialogs.expectMessage("Connection in progress; please wait\r\nfor the program to disconnect from Pmdirect.");
  win->link()->RunSession();
  EXPECT_FALSE(closed);
  EXPECT_TRUE(win->isVisible());
  EXPECT_FALSE(win->link()->SessionRunning());
  EXPECT_TRUE(win->close());
}

}  // namespace
}  // namespace velnor::testing
