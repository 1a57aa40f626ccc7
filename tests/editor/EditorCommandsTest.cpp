// The editor's commands on the real window: state, commands, focus and store after each step.
#include <QElapsedTimer>
#include <QTimer>

#include "WindowFixture.h"
#include "link/PmLink.h"

namespace velnor::testing {
namespace {

// A failed link test and the identifier prompt at start, the Setup menu; then New fills in
// the defaults, Send without a subject marks it, and Set Fields As Default takes the texts
// as they are, an emptied one included.
TEST_F(WindowTest, FailedLinkTestAtStartSetupMenuThenNewWithDefaultsAndSendWithoutSubject) {
  Settings s = WithDefaults();
  s.IcdName = " Ridge Fire ";
  s.DEFDEST = "EOC";
  s.KEEPLOCAL = 1;
  s.LoginName = "W1XYZ";
  s.TimeOut = "10000";
  QElapsedTimer took;
  took.start();
  start(s, std::nullopt);           // cancelled at start-up: the old value stays
  EXPECT_LT(took.elapsed(), 5000);  // nothing listening fails at once, not after TimeOut
  EXPECT_EQ(dialogs.beeps, 1);
  EXPECT_NE(Slurp(win->LogFile()).find("Link Test to Pmdirect... failed\r\n"), std::string::npos);
  EXPECT_EQ(win->status(), "Velnor Ready. Link Test failed: Connection refused");  // not only in the log
  EXPECT_EQ(win->windowTitle().toStdString(), "Velnor (W1XYZ)");
  EXPECT_EQ(dialogs.lastInputPreset, "W1XYZ");

  dialogs.expectInput("Enter your Identifier", " j\xf6rg/p ");  // o umlaut
  trigger("mnuIdentifier");
  EXPECT_EQ(win->windowTitle().toStdString(), "Velnor ( J\xc3\x96RG/P )");  // capitals, blanks stay as typed
  EXPECT_EQ(ReadSettings(dataPath + "/velnor.ini").LoginName, " J\xd6RG/P ");

  // Properties: the settings file is rewritten however the dialog closes, and the schedule
  // restarts (its count of seconds back to 0) when the interval is not the one it runs on.
  const auto properties = [this](const char* interval) {  // none: Cancel
    QTimer::singleShot(0, [interval] {
      QWidget* d = QApplication::activeModalWidget();
      ASSERT_NE(d, nullptr);
      if (interval) d->findChild<QLineEdit*>("txtServer_3")->setText(interval);
      d->findChild<QPushButton*>(interval ? "cmdOK" : "cmdCancel")->click();
    });
    trigger("mnuProperties");
  };
  PmLink& link = *win->link();
  const std::string ini = dataPath + "/velnor.ini";
  WriteFileAtomically(ini, "overwritten\r\n", "test");
  for (int i = 0; i < 100; ++i) link.ClockTick();
  properties(nullptr);
  EXPECT_EQ(Slurp(ini), SettingsFileText(win->settings()));
  EXPECT_GE(link.SRCounter(), 100);
  win->settings().SRTime = 120;  // not what the schedule was started with
  properties(nullptr);
  EXPECT_LT(link.SRCounter(), 100);
  for (int i = 0; i < 100; ++i) link.ClockTick();
  properties("120");
  EXPECT_GE(link.SRCounter(), 100);
  properties("300");
  EXPECT_LT(link.SRCounter(), 100);
  EXPECT_EQ(link.SRTimeStarted(), 300);

  click("cmdNew");
  EXPECT_EQ(State(), "NEW 2 EEEEELEEEELLLL route");  // the date is never typed in
  EXPECT_EQ(Enabled(), kEditing);
  EXPECT_EQ(Texts({Field::IncidentName, Field::Signature, Field::SignaturePos, Field::Date, TextBox::Route}),
            (Names{"Ridge Fire", "Planning", "Lead", "11/19/2026 14:05", "EOC"}));
  EXPECT_TRUE(win->keepLocal());
  EXPECT_EQ(MsgInfo(), "Msg# 1,  Locally created message; Draft");
  EXPECT_FALSE(ed->MessageSaved());  // the defaults count as typing

  type(Field::Message, "Need water");
  const QString before = find<QLabel>("NetState")->text();
  click("cmdSend");
  EXPECT_EQ(win->backColour(Field::Subject), kLightYellow);
  EXPECT_EQ(win->backColour(Field::FromPos), kWindowColour);
  EXPECT_EQ(FocusName(), "txtField_4");
  EXPECT_EQ(StoredStatus(1), Status::Draft);
  EXPECT_EQ(ed->EditState(), 2);
  EXPECT_EQ(find<QLabel>("NetState")->text(), before);  // no connection tried
  ASSERT_TRUE(ed->MessageSaved());
  button("cmdSave")->setEnabled(false);  // so that only the key can turn it on
  type(Field::Subject, "W");
  EXPECT_EQ(win->backColour(Field::Subject), kWindowColour);
  EXPECT_TRUE(button("cmdSave")->isEnabled());
  EXPECT_FALSE(ed->MessageSaved());
  EXPECT_EQ(win->text(Field::Subject), "W");  // the key itself goes through

  win->setText(Field::ToPos, "");
  win->setText(Field::To, "  Medical ");
  click("cmdSetFieldsAsDefault");
  const Settings d = ReadSettings(dataPath + "/velnor.ini");
  EXPECT_EQ((Names{d.DefTo, d.DefToPos, d.DefFr, d.DefFrPos, d.IcdName}),
            (Names{"Medical", "", "Planning", "Lead", "Ridge Fire"}));
  click("cmdSave");
  EXPECT_EQ(Stored(1).KeepLocal(), 1);  // the box as ticked
  // Locked after Save: keys change neither the text nor the state.
  field(Field::Subject)->setFocus(Qt::MouseFocusReason);
  type(Field::Subject, "zz");
  EXPECT_EQ(win->text(Field::Subject), "W");
  EXPECT_TRUE(ed->MessageSaved());
  click("cmdClose");
  click("cmdNew");
  EXPECT_EQ(Texts({Field::To, Field::ToPos, Field::From}), (Names{"Medical", "", "Planning"}));
  EXPECT_EQ(FocusName(), "txtField_1");  // the first empty field
}

// Close and Delete refused while the typing is unsaved or the record is locked; the window
// not closed during a session; quitting with unsaved typing gives the new message up.
TEST_F(WindowTest, UnsavedTypingLockedRecordAndSessionRefuseCloseAndDelete) {
  QTcpServer silent;  // accepts and never answers: the session waits
  ASSERT_TRUE(silent.listen(QHostAddress::LocalHost, 0));
  start();
  win->settings().Port = std::to_string(silent.serverPort());
  win->settings().TimeOut = "1500";
  bool closed = true;
  QTimer::singleShot(200, win.get(), [&] {
    EXPECT_TRUE(win->link()->SessionRunning());
    closed = win->close();
  });
  dialogs.expectMessage(
      "Connection in progress; please wait\r\nfor the program to disconnect from Pmdirect.");
  win->link()->RunSession();
  EXPECT_FALSE(closed);
  EXPECT_TRUE(win->isVisible());

  click("cmdNew");
  ed->CurrentRecord().rec().setLocked(1);
  ed->CurrentRecord().Update(1);
  type(Field::Subject, "Kept");
  dialogs.expectMessage("Message was not saved.  Press Save or\r\nDelete on the form to continue.");
  click("cmdClose");
  EXPECT_EQ(ed->EditState(), 2);
  EXPECT_TRUE(button("cmdSend")->isEnabled());

  dialogs.expectChoice("Delete message No. 1, 'Kept'?", "Yes");  // nothing stored to go back to
  dialogs.expectMessage(
      "Message is locked to another process.  Try\r\nagain later, or restart program to clear.");
  dialogs.expectMessage("Message was not saved.\r\nDo you really want to continue?", MsgAnswer::No);
  click("cmdDelete");
  EXPECT_EQ(dialogs.shown.back().caption, "New Message");
  EXPECT_EQ(StoredStatus(1), Status::Draft);     // still there
  EXPECT_EQ(win->text(Field::Subject), "Kept");  // No keeps the text, locked
  EXPECT_EQ(State(), "DELETE 0 LLLLLLLLLLLLLL");
  EXPECT_EQ(Enabled(), kIdle);

  dialogs.expectMessage("Message was not saved.\r\nDo you really want to continue?", MsgAnswer::Yes);
  click("cmdNew");
  type(Field::Subject, "Draft");
  dialogs.expectMessage("Message changed and was not saved.\r\nDo you really want to quit?", MsgAnswer::No);
  EXPECT_FALSE(win->close());
  EXPECT_EQ(StoredStatus(2), Status::Draft);
  dialogs.expectMessage("Message changed and was not saved.", MsgAnswer::Yes);
  EXPECT_TRUE(win->close());
  EXPECT_EQ(StoredStatus(2), Status::Abandoned);
}

// One message through the command table: each command's state, commands and focus, and
// Close and Delete on an edited message offering to go back to the stored text.
TEST_F(WindowTest, CommandTableThroughSaveEditDiscardBrowseDelete) {
  start();
  click("cmdNew");
  EXPECT_EQ(FocusName(), "txtField_0");  // nothing filled: the first empty field
  for (Field f : kMessageFields) {
    if (f != Field::Date) type(f, f == Field::Subject ? "Water" : "x");
  }
  click("cmdSave");
  const Names saved{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdEdit"};
  EXPECT_EQ(State(), "SAVE 1 LLLLLLLLLLLLLL");
  EXPECT_EQ(Enabled(), saved);
  const MsgRecord stored = Stored(1);
  EXPECT_EQ((Names{stored.Subj(), stored.Route()}), (Names{"Water", "LOCAL:0"}));
  EXPECT_NEAR(stored.MsgDate(), ToOleDate({2026, 11, 19, 14, 5, 0}), 1e-6);  // stamped to the minute
  EXPECT_EQ(stored.RepDate(), 0);
  EXPECT_EQ(stored.KeepLocal(), 0);

  dialogs.expectChoice("Delete message No. 1, 'Water'?", "No");
  click("cmdDelete");
  EXPECT_EQ((Names{dialogs.shown.back().choices[1], std::to_string(dialogs.shown.back().preferred)}),
            (Names{"No", "1"}));
  EXPECT_EQ(State(), "SAVE 1 LLLLLLLLLLLLLL");  // No changes nothing

  for (const std::string command : {"cmdClose", "cmdDelete"}) {
    SCOPED_TRACE(command);
    click("cmdEdit");
    EXPECT_EQ(State(), "EDIT 2 EEEEELEEEELLLL route");
    EXPECT_EQ(Enabled(), kEditing);
    QTest::keyClick(field(Field::Subject), Qt::Key_End);
    type(Field::Subject, " tender");
    if (command == "cmdClose") {
      dialogs.expectChoice("Message was not saved.  Press Save or\r\nDelete on the form to continue.", "OK");
      click("cmdClose");
      EXPECT_EQ(ed->EditState(), 2);
      dialogs.expectChoice("Message was not saved.", "Discard my changes");
    } else {
      dialogs.expectChoice("Delete message No. 1, 'Water tender'?", "Discard my changes");
    }
    click(command.c_str());
    EXPECT_EQ(win->text(Field::Subject), "Water");
    EXPECT_TRUE(State().ends_with(" 1 LLLLLLLLLLLLLL")) << State();
    EXPECT_EQ(Enabled(), saved);
    EXPECT_TRUE(ed->MessageSaved());
  }
  EXPECT_EQ(dialogs.shown.back().choices, (Names{"Yes", "Discard my changes", "No"}));
  EXPECT_EQ(dialogs.shown.back().preferred, 2);

  click("cmdClose");  // nothing typed since
  EXPECT_EQ((Names{win->text(Field::Subject), MsgInfo()}), (Names{"", ""}));
  click("cmdBrowse");
  EXPECT_EQ((Names{win->text(Field::Subject), BrowsePtr()}), (Names{"Water", "( 1/1 )"}));
  click("cmdBRight");  // one message: the arrow is on, pressing it only turns it off
  EXPECT_EQ(BrowsePtr(), "( 1/1 )");
  EXPECT_FALSE(button("cmdBRight")->isEnabled());

  dialogs.expectChoice("Delete message No. 1, 'Water'?", "Yes");
  click("cmdDelete");
  EXPECT_EQ(ed->EditState(), 0);
  EXPECT_EQ((Names{BrowsePtr(), win->status()}), (Names{"", "Velnor Ready"}));
  click("cmdBrowse");
  EXPECT_EQ(win->status(), "No messages found");
  EXPECT_EQ(State(), "BROWSE 0 LLLLLLLLLLLLLL");
  EXPECT_EQ(Enabled(), kIdle);
}

// Edit during Send's session: the typing stays, the commands stay one row of the table,
// and when the session sent the text as it was, the operator says what the typing becomes.
TEST_F(WindowTest, EditDuringSendKeepsTheTypingAndAsksWhenTheOldTextWent) {
  SimProcess sim(tmp.file("spool"), tmp.file("transcript"));
  Settings s = WithDefaults(sim.port());
  s.Pausev = 100;
  start(s);
  const auto sendAndEdit = [&](const char* typed) {
    QTimer::singleShot(50, win.get(), [&, typed] {  // the session is still connecting
      EXPECT_EQ(Enabled(), Names{"cmdEdit"});
      click("cmdEdit");
      type(Field::Message, typed);
    });
    click("cmdSend");
  };
  click("cmdNew");
  type(Field::Subject, "Water");
  type(Field::Message, "Need water");
  dialogs.expectChoice("Message No. 1 was sent while you were editing it", "Keep editing as a new draft");
  sendAndEdit(" now");
  EXPECT_EQ(StoredStatus(1), Status::Sent);
  EXPECT_EQ(win->text(Field::Message), "Need water now");
  EXPECT_EQ(State(), "NEW 2 EEEEELEEEELLLL route");
  EXPECT_EQ(Enabled(), kEditing);
  EXPECT_EQ(MsgInfo(), "Msg# 2,  Locally created message; Draft");

  dialogs.expectChoice("Message No. 2 was sent while", "Discard my changes");
  sendAndEdit(", please");
  EXPECT_EQ(win->text(Field::Message), "Need water now");  // as it went
  EXPECT_EQ(State(), "SEND 1 LLLLLLLLLLLLLL");
  EXPECT_EQ(MsgInfo(), "Msg# 2,  Locally created message; Sent");
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdEdit"}));
  const std::string received = Joined(Transcript(tmp.file("transcript"), '<'));
  EXPECT_NE(received.find("Need water now\r\n"), std::string::npos);
  EXPECT_EQ(received.find("please"), std::string::npos);
}

// File > Exit in the pause after the start-up link test ends start-up there, and with it
// the program: no schedule goes on polling behind a closed window.
TEST_F(WindowTest, ExitDuringTheStartUpPauseEndsTheProgram) {
  std::filesystem::create_directories(dataPath);
  WriteSettings(dataPath + "/velnor.ini", QuickSettings());
  win = std::make_unique<FrmMessage>(
      FrmMessageDeps{dialogs, sound, clock, eventLog, loop, socket, printers, Env()});
  dialogs.expectInput("Enter your Identifier", "k1abc");
  QTimer poll;  // the failed link test beeps, then pauses
  QObject::connect(&poll, &QTimer::timeout, [&] {
    if (dialogs.beeps == 1 && win->isVisible()) trigger("mnuExit");
  });
  poll.start(5);
  EXPECT_FALSE(win->Form_Load());
  EXPECT_TRUE(win->Unloaded());
  EXPECT_FALSE(win->isVisible());
  EXPECT_FALSE(win->link()->tmrSRTimer().enabled());
  EXPECT_EQ(win->status(), "Link Test... Failed");
}

}  // namespace
}  // namespace velnor::testing
