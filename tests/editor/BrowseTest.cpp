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

// Numbers 3, 7 (given up) and 9, from the end and from the beginning. The information line
// follows the store: a message shown is read at once, and a queued one a session sends reads
// "Sent" where it is shown.
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

}  // namespace
}  // namespace velnor::testing
