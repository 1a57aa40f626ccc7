// The editor's commands on the real window.
#include <QElapsedTimer>
#include <QTimer>

#include "WindowFixture.h"
#include "link/PmLink.h"

namespace velnor::testing {
namespace {

// A failed link test at start, the Setup menu; then New fills in the defaults.
TEST_F(WindowTest, FailedLinkTestAtStartSetupMenuThenNewWithDefaults) {
  Settings s = QuickSettings();
  s.IcdName = " Ridge Fire ";
  s.DEFDEST = "EOC";
  s.KEEPLOCAL = 1;
  s.TimeOut = "10000";
  QElapsedTimer took;
  took.start();
  start(s);
  EXPECT_LT(took.elapsed(), 5000);  // nothing listening fails at once, not after TimeOut
  EXPECT_EQ(win->status(), "Velnor Ready. Link Test failed: Connection refused");  // not only in the log

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
  EXPECT_EQ((Names{win->text(Field::IncidentName), win->text(Field::Signature),
                   win->text(Field::SignaturePos), win->text(Field::Date), win->text(TextBox::Route)}),
            (Names{"Ridge Fire", "Planning", "Lead", "11/19/2026 14:05", "EOC"}));
  EXPECT_TRUE(win->keepLocal());
  click("cmdSave");
  EXPECT_EQ(Stored(1).KeepLocal(), 1);  // the box as ticked
}

// One message through the command table; Close and Delete offer to go back to the stored text.
TEST_F(WindowTest, CommandTableThroughSaveEditDiscardBrowseDelete) {
  start();
  click("cmdNew");
  type(Field::Subject, "Water");
  click("cmdSave");
  const Names saved{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdEdit"};
  EXPECT_EQ(State(), "SAVE 1 LLLLLLLLLLLLLL");
  EXPECT_EQ(Enabled(), saved);
  const MsgRecord stored = Stored(1);
  EXPECT_EQ(stored.RepDate(), 0);
  EXPECT_EQ(stored.KeepLocal(), 0);

  dialogs.expectChoice("Delete message No. 1, 'Water'?", "No");
  click("cmdDelete");
  EXPECT_EQ(dialogs.shown.back().preferred, 1);  // No
  EXPECT_EQ(State(), "SAVE 1 LLLLLLLLLLLLLL");   // No changes nothing

  for (const std::string command : {"cmdClose", "cmdDelete"}) {
    SCOPED_TRACE(command);
    click("cmdEdit");
    EXPECT_EQ(State(), "EDIT 2 EEEEELEEEELLLL route");
    QTest::keyClick(field(Field::Subject), Qt::Key_End);
    type(Field::Subject, " tender");
    if (command == "cmdClose") {
      dialogs.expectChoice("Message was not saved.  Press Save or\r\nDelete on the form to continue.", "OK");
      click("cmdClose");
      EXPECT_EQ(ed->EditState(), 2);
      EXPECT_EQ(dialogs.shown.back().preferred, 1);  // OK: Enter does not throw the typing away
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
  click("cmdBrowse");

  dialogs.expectChoice("Delete message No. 1, 'Water'?", "Yes");
  click("cmdDelete");
  EXPECT_EQ((Names{BrowsePtr(), win->status()}), (Names{"", "Velnor Ready"}));
  click("cmdBrowse");
  EXPECT_EQ(win->status(), "No messages found");
  EXPECT_EQ(State(), "BROWSE 0 LLLLLLLLLLLLLL");
  EXPECT_EQ(Enabled(), (Names{"cmdNew", "cmdBrowse"}));
}

// Edit during Send's session: the typing stays, and when the session sent the text as it
// was, the operator says what the typing becomes.
TEST_F(WindowTest, EditDuringSendKeepsTheTypingAndAsksWhenTheOldTextWent) {
  SimProcess sim(tmp.file("spool"), tmp.file("transcript"));
  Settings s = QuickSettings(sim.port());
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

// File > Exit in the pause after the start-up link test ends the program: no schedule polls on.
TEST_F(WindowTest, ExitDuringTheStartUpPauseEndsTheProgram) {
  build(QuickSettings(), "k1abc");
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
