// Browsing on the real window: the list, where it starts, the counter and arrows, reading.
#include "WindowFixture.h"
#include "link/PmLink.h"

namespace velnor::testing {
namespace {

class BrowseTest : public WindowTest {
 protected:
  // The subject shown, the counter, and whether the left and right arrows are on.
  void expectAt(const char* subject, const char* counter, bool left, bool right) const {
    EXPECT_EQ((Names{win->text(Field::Subject), BrowsePtr()}), (Names{subject, counter}));
    EXPECT_EQ(button("cmdBLeft")->isEnabled(), left) << counter;
    EXPECT_EQ(button("cmdBRight")->isEnabled(), right) << counter;
  }
};

TEST_F(BrowseTest, ThreeSevenNineFromTheEndAndTheBeginningSkipsAbandoned) {
  // Numbers 3, 7 (given up) and 9: the others are deleted again, as Delete would.
  for (int n = 1; n <= 9; ++n)
    ASSERT_EQ(StoreRecord(n == 7 ? Status::Abandoned : Status::Draft, Origin::Local, Kind::Message,
                          "Subject " + std::to_string(n)),
              n);
  for (int n : {1, 2, 4, 5, 6, 8}) IcsMsg(dataPath, eventLog).DeleteOne(n);
  Settings s = QuickSettings();
  s.STARTBROWSE = 1;
  start(s);

  click("cmdBrowse");
  expectAt("Subject 9", "( 2/2 )", true, false);
  click("cmdBLeft");
  expectAt("Subject 3", "( 1/2 )", false, true);
  ed->cmdBLeft_Click();  // at the first, as if the arrow were on: nothing moves
  expectAt("Subject 3", "( 1/2 )", false, true);
  win->settings().STARTBROWSE = -3;  // any value but 0 means the end, read when browsing starts
  click("cmdBrowse");
  EXPECT_EQ(win->text(Field::Subject), "Subject 9");

  win->settings().STARTBROWSE = 0;
  click("cmdBrowse");
  EXPECT_EQ(ed->BrowseList(), (std::vector<std::int32_t>{3, 9}));
  expectAt("Subject 3", "( 1/2 )", false, true);
  EXPECT_EQ(State(), "BROWSE 1 LLLLLLLLLLLLLL");
  EXPECT_EQ(Enabled(),
            (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdBRight", "cmdEdit"}));
  EXPECT_EQ(MsgInfo(), "Msg# 3,  Locally created message; Draft");
  click("cmdBRight");
  expectAt("Subject 9", "( 2/2 )", true, false);

  click("cmdClose");  // any other command takes the counter and the arrows away
  expectAt("", "", false, false);
}

// The information line follows the store: a message shown is read at once, and a queued
// one a session sends reads "Sent" where it is shown.
TEST_F(BrowseTest, ShownMessageReadsReadAtOnceAndSentWhenASessionSendsIt) {
  const auto mine = StoreRecord(Status::ReadyToSend, Origin::Local, Kind::Message, "Queued earlier");
  const auto in = StoreRecord(Status::Unread, Origin::Received, Kind::Message, "Road closed");
  const std::string info = "Msg# " + std::to_string(in) + ",  Received message; ";
  start();  // nothing listens: the link test leaves it queued

  click("cmdBrowse");
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(mine) + ",  Locally created message; Ready, but not sent");
  EXPECT_EQ(StoredStatus(in), Status::Unread);  // not shown yet, so not read
  SimProcess sim(tmp.file("spool"), tmp.file("transcript"));
  win->settings().Port = std::to_string(sim.port());
  win->link()->RunSession();  // as the schedule runs it
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(mine) + ",  Locally created message; Sent");

  click("cmdBRight");
  EXPECT_EQ((Names{win->text(Field::Subject), MsgInfo()}), (Names{"Road closed", info + "Read"}));
  EXPECT_EQ(StoredStatus(in), Status::Read);
  EXPECT_EQ(StoredStatus(mine), Status::Sent);

  // Closed, the form shows nothing, whatever a session does to the message last shown.
  click("cmdClose");
  {
    IcsMsg st(dataPath, eventLog);
    ASSERT_TRUE(st.Load(mine));
    st.rec().setStatus(Status::ReadyToSend);
    st.Update(mine);
  }
  win->link()->RunSession();
  EXPECT_EQ(MsgInfo(), "");
}

}  // namespace
}  // namespace velnor::testing
