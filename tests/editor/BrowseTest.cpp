// Browsing on the real window: which records the list holds, where it starts, the counter
// and the arrows at both ends, the empty store, and a received message read by browsing.
#include "WindowFixture.h"

namespace velnor::testing {
namespace {

using Names = std::vector<std::string>;

class BrowseTest : public WindowTest {
 protected:
  // Records numbered 3, 7 and 9, the one numbered 7 given up: the others made on the way
  // are deleted again, as the operator's Delete would.
  void StoreThreeSevenNine() {
    for (int n = 1; n <= 9; ++n) {
      const short status = n == 7 ? 7 : 6;
      ASSERT_EQ(StoreRecord(status, 1, 1, "Subject " + std::to_string(n)), n);
    }
    IcsMsg s(dataPath, eventLog);
    for (int n : {1, 2, 4, 5, 6, 8}) s.DeleteOne(n);
  }
  bool LeftOn() const { return button("cmdBLeft")->isEnabled(); }
  bool RightOn() const { return button("cmdBRight")->isEnabled(); }
  std::string Shown() const { return fieldText(4); }
};

TEST_F(BrowseTest, FromTheBeginningSkipsAbandonedAndStopsAtBothEnds) {
  WriteIni(QuickSettings(DeadPort()));
  StoreThreeSevenNine();
  start();

  click("cmdBrowse");
  EXPECT_EQ(ed->EditorMode(), "BROWSE");
  EXPECT_EQ(ed->BrowseList(), (std::vector<std::int32_t>{3, 9}));
  EXPECT_EQ(Shown(), "Subject 3");
  EXPECT_EQ(BrowsePtr(), "( 1/2 )");
  EXPECT_FALSE(LeftOn());
  EXPECT_TRUE(RightOn());
  EXPECT_EQ(ed->EditState(), 1);
  EXPECT_EQ(Enabled(), (Names{"mnuPrint", "cmdNew", "cmdDelete", "cmdClose", "cmdBrowse", "cmdBRight", "cmdEdit"}));
  EXPECT_EQ(FieldStates().find('E'), std::string::npos) << FieldStates();
  EXPECT_FALSE(RoutingEnabled());
  EXPECT_EQ(MsgInfo(), "Msg# 3,  Locally created message; Draft");

  click("cmdBRight");
  EXPECT_EQ(Shown(), "Subject 9");
  EXPECT_EQ(BrowsePtr(), "( 2/2 )");
  EXPECT_TRUE(LeftOn());
  EXPECT_FALSE(RightOn());
  EXPECT_EQ(MsgInfo(), "Msg# 9,  Locally created message; Draft");

  click("cmdBLeft");
  EXPECT_EQ(Shown(), "Subject 3");
  EXPECT_EQ(BrowsePtr(), "( 1/2 )");
  EXPECT_FALSE(LeftOn());
  EXPECT_TRUE(RightOn());

  // Any other command takes the counter and the arrows away.
  click("cmdClose");
  EXPECT_EQ(BrowsePtr(), "");
  EXPECT_FALSE(LeftOn());
  EXPECT_FALSE(RightOn());
}

TEST_F(BrowseTest, FromTheEndStartsAtTheLastMessage) {
  Settings s = QuickSettings(DeadPort());
  s.STARTBROWSE = 1;
  WriteIni(s);
  StoreThreeSevenNine();
  start();

  click("cmdBrowse");
  EXPECT_EQ(Shown(), "Subject 9");
  EXPECT_EQ(BrowsePtr(), "( 2/2 )");
  EXPECT_TRUE(LeftOn());
  EXPECT_FALSE(RightOn());
  EXPECT_EQ(ed->BrowsePtr(), 2);

  click("cmdBLeft");
  EXPECT_EQ(Shown(), "Subject 3");
  EXPECT_EQ(BrowsePtr(), "( 1/2 )");
  EXPECT_FALSE(LeftOn());
  EXPECT_TRUE(RightOn());

  // Any value but 0 means the end; the setting is read when browsing starts.
  win->settings().STARTBROWSE = -3;
  click("cmdBrowse");
  EXPECT_EQ(Shown(), "Subject 9");
  win->settings().STARTBROWSE = 0;
  click("cmdBrowse");
  EXPECT_EQ(Shown(), "Subject 3");
}

TEST_F(BrowseTest, NothingToBrowseLeavesAnEmptyLockedForm) {
  WriteIni(QuickSettings(DeadPort()));
  start();
  click("cmdBrowse");
  EXPECT_EQ(win->status(), "No messages found");
  EXPECT_EQ(ed->BrowseCount(), 0);
  EXPECT_EQ(ed->EditState(), 0);
  EXPECT_EQ(Enabled(), (Names{"cmdNew", "cmdBrowse"}));
  EXPECT_EQ(BrowsePtr(), "");

  // Records that are all given up count as none; the form shown before is emptied.
  const auto a = StoreRecord(6, 1, 1, "Kept for now");
  click("cmdBrowse");
  EXPECT_EQ(Shown(), "Kept for now");
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
  EXPECT_EQ(Enabled(), (Names{"cmdNew", "cmdBrowse"}));
  EXPECT_EQ(MsgInfo(), "");
  EXPECT_EQ(BrowsePtr(), "");
  for (int i = 0; i < kFieldCount; ++i) EXPECT_EQ(fieldText(i), "") << "field " << i;
  EXPECT_EQ(FieldStates().find('E'), std::string::npos) << FieldStates();
}

TEST_F(BrowseTest, ReceivedMessageReadsUnreadOnceThenRead) {
  WriteIni(QuickSettings(DeadPort()));
  const auto mine = StoreRecord(3, 1, 1, "Sent earlier");
  const auto in = StoreRecord(4, 2, 1, "Road closed");
  start();

  click("cmdBrowse");
  EXPECT_EQ(Shown(), "Sent earlier");
  EXPECT_EQ(StoredStatus(in), 4);  // not shown yet, so not read
  click("cmdBRight");
  EXPECT_EQ(Shown(), "Road closed");
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(in) + ",  Received message; Unread");
  EXPECT_EQ(StoredStatus(in), 5);
  EXPECT_EQ(StoredStatus(mine), 3);
  EXPECT_TRUE(button("cmdReply")->isEnabled());
  EXPECT_FALSE(button("cmdEdit")->isEnabled());

  // Stepping back onto it within the same browse reads the store again.
  click("cmdBLeft");
  EXPECT_TRUE(button("cmdEdit")->isEnabled());
  click("cmdBRight");
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(in) + ",  Received message; Read");

  click("cmdBrowse");
  click("cmdBRight");
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(in) + ",  Received message; Read");
  EXPECT_EQ(StoredStatus(in), 5);
}

}  // namespace
}  // namespace velnor::testing
