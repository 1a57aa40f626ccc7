// Browsing on the real window: which records the list holds, where it starts, the counter
// and the arrows at both ends, the empty store, and a received message read by browsing.
#include "WindowFixture.h"

namespace velnor::testing {
namespace {

class BrowseTest : public WindowTest {
 protected:
  // Records numbered 3, 7 and 9, the one numbered 7 given up: the others made on the way
  // are deleted again, as the operator's Delete would.
  void StoreThreeSevenNine() {
    for (int n = 1; n <= 9; ++n) ASSERT_EQ(StoreRecord(n == 7 ? 7 : 6, 1, 1, "Subject " + std::to_string(n)), n);
    IcsMsg s(dataPath, eventLog);
    for (int n : {1, 2, 4, 5, 6, 8}) s.DeleteOne(n);
  }
  // The subject shown, the counter, and whether the left and right arrows are on.
  void expectAt(const char* subject, const char* counter, bool left, bool right) const {
    EXPECT_EQ(fieldText(4), subject);
    EXPECT_EQ(BrowsePtr(), counter);
    EXPECT_EQ(button("cmdBLeft")->isEnabled(), left) << counter;
    EXPECT_EQ(button("cmdBRight")->isEnabled(), right) << counter;
  }
};

TEST_F(BrowseTest, FromTheBeginningSkipsAbandonedAndStopsAtBothEnds) {
  WriteIni(QuickSettings());
  StoreThreeSevenNine();
  start();

  click("cmdBrowse");
  EXPECT_EQ(ed->EditorMode(), "BROWSE");
  EXPECT_EQ(ed->BrowseList(), (std::vector<std::int32_t>{3, 9}));
  expectAt("Subject 3", "( 1/2 )", false, true);
  EXPECT_EQ(ed->EditState(), 1);
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdBRight", "cmdEdit"}));
  EXPECT_EQ(FieldStates().find('E'), std::string::npos) << FieldStates();
  EXPECT_FALSE(RoutingEnabled());
  EXPECT_EQ(MsgInfo(), "Msg# 3,  Locally created message; Draft");

  click("cmdBRight");
  expectAt("Subject 9", "( 2/2 )", true, false);
  EXPECT_EQ(MsgInfo(), "Msg# 9,  Locally created message; Draft");
  click("cmdBLeft");
  expectAt("Subject 3", "( 1/2 )", false, true);

  // Any other command takes the counter and the arrows away.
  click("cmdClose");
  expectAt("", "", false, false);
}

TEST_F(BrowseTest, FromTheEndStartsAtTheLastMessage) {
  Settings s = QuickSettings();
  s.STARTBROWSE = 1;
  WriteIni(s);
  StoreThreeSevenNine();
  start();

  click("cmdBrowse");
  expectAt("Subject 9", "( 2/2 )", true, false);
  EXPECT_EQ(ed->BrowsePtr(), 2);
  click("cmdBLeft");
  expectAt("Subject 3", "( 1/2 )", false, true);

  // Any value but 0 means the end; the setting is read when browsing starts.
  win->settings().STARTBROWSE = -3;
  click("cmdBrowse");
  EXPECT_EQ(fieldText(4), "Subject 9");
  win->settings().STARTBROWSE = 0;
  click("cmdBrowse");
  EXPECT_EQ(fieldText(4), "Subject 3");
}

TEST_F(BrowseTest, NothingToBrowseLeavesAnEmptyLockedForm) {
  startWith(QuickSettings());
  click("cmdBrowse");  // an empty store
  EXPECT_EQ(win->status(), "No messages found");
  EXPECT_EQ(ed->BrowseCount(), 0);
  EXPECT_EQ(Enabled(), kIdle);

  // Records that are all given up count as none; the form shown before is emptied.
  const auto a = StoreRecord(6, 1, 1, "Kept for now");
  click("cmdBrowse");
  EXPECT_EQ(fieldText(4), "Kept for now");
  {
    IcsMsg st(dataPath, eventLog);
    ASSERT_TRUE(st.Load(a));
    st.rec().setStatus(7);
    st.Update(a);
  }
  StoreRecord(7, 1, 1, "Given up");
  click("cmdBrowse");
  EXPECT_EQ(win->status(), "No messages found");
  EXPECT_EQ(ed->EditState(), 0);
  EXPECT_EQ(Enabled(), kIdle);
  EXPECT_EQ(MsgInfo(), "");
  EXPECT_EQ(BrowsePtr(), "");
  for (int i = 0; i < kFieldCount; ++i) EXPECT_EQ(fieldText(i), "") << "field " << i;
  EXPECT_EQ(FieldStates().find('E'), std::string::npos) << FieldStates();
}

TEST_F(BrowseTest, ReceivedMessageReadsUnreadOnceThenRead) {
  WriteIni(QuickSettings());
  const auto mine = StoreRecord(3, 1, 1, "Sent earlier");
  const auto in = StoreRecord(4, 2, 1, "Road closed");
  const std::string info = "Msg# " + std::to_string(in) + ",  Received message; ";
  start();

  click("cmdBrowse");
  EXPECT_EQ(fieldText(4), "Sent earlier");
  EXPECT_EQ(StoredStatus(in), 4);  // not shown yet, so not read
  click("cmdBRight");
  EXPECT_EQ(fieldText(4), "Road closed");
  EXPECT_EQ(MsgInfo(), info + "Unread");
  EXPECT_EQ(StoredStatus(in), 5);
  EXPECT_EQ(StoredStatus(mine), 3);
  EXPECT_TRUE(button("cmdReply")->isEnabled());
  EXPECT_FALSE(button("cmdEdit")->isEnabled());

  // Stepping back onto it within the same browse reads the store again.
  click("cmdBLeft");
  EXPECT_TRUE(button("cmdEdit")->isEnabled());
  click("cmdBRight");
  EXPECT_EQ(MsgInfo(), info + "Read");

  click("cmdBrowse");
  click("cmdBRight");
  EXPECT_EQ(MsgInfo(), info + "Read");
  EXPECT_EQ(StoredStatus(in), 5);
}

}  // namespace
}  // namespace velnor::testing
