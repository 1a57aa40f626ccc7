// The message list over a real store: columns, reply matching, filters, following the store.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "app/Settings.h"
#include "core/Clock.h"
#include "core/DateTime.h"
#include "core/EventLog.h"
#include "msglist/MsgList.h"
#include "store/IcsMsg.h"
#include "tests/support/TempDir.h"

namespace velnor::testing {
namespace {

using Numbers = std::vector<std::int32_t>;

struct Msg {
  Status status;
  Origin origin;
  Kind kind;
  const char* subj;
  const char* to;
  const char* fr;
  DateParts date;
  const char* body = "";
  DateParts replied = {};  // the reply's own date; none by default
};

// A sent message and what came back for it: two messages share a subject, one reply has
// its date cut to the minute, one to the day, one answers nothing.
// clang-format off
const Msg kTraffic[] = {
    {Status::Sent, Origin::Local, Kind::Message, "Diesel", "EOC", "OPS", {2026, 11, 19, 9, 5, 42}},
    {Status::Sent, Origin::Local, Kind::Message, "Diesel", "EOC", "OPS", {2026, 11, 19, 11, 30, 0}},
    {Status::ReadyToSend, Origin::Local, Kind::Message, "Shelter beds", "Shelter 2", "OPS", {2026, 11, 19, 12, 0, 0}},
    {Status::Unread, Origin::Received, Kind::Reply, "diesel", "eoc", "ops", {2026, 11, 19, 9, 5, 0}, "",
     {2026, 11, 19, 9, 40, 0}},                                                                       // 4 answers 1
    {Status::Read, Origin::Received, Kind::Reply, "Water", "Staging", "OPS", {2026, 11, 19, 10, 0, 0}}, // answers none
    {Status::Draft, Origin::Local, Kind::Message, "Radio relay", "Comms", "OPS", {2026, 11, 18, 22, 0, 0}},
    {Status::Abandoned, Origin::Local, Kind::Message, "", "", "", {2026, 11, 19, 8, 0, 0}},
    {Status::Unread, Origin::Received, Kind::Message, "\xC9vacuation", "OPS", "EOC", {2026, 11, 19, 13, 0, 0},
     "Route du g\xE9n\xE9ral\r\nby the north gate"},
    {Status::Sent, Origin::Local, Kind::Reply, "Fuel", "OPS", "EOC", {2026, 11, 19, 13, 10, 0}},
    {Status::Read, Origin::Received, Kind::Reply, "Diesel", "EOC", "OPS", {2026, 11, 19, 0, 0, 0}},   // 10 answers 2
    {Status::Sent, Origin::Local, Kind::Message, "Generator", "Logistics", "OPS", {2026, 11, 19, 10, 0, 0}},
};
// clang-format on

class MsgListTest : public ::testing::Test {
 protected:
  MsgListTest() : clock(ToOleDate({2026, 11, 19, 14, 5, 9})), list(tmp.path(), log, settings, clock) {
    for (const Msg& m : kTraffic) Add(m);
    list.Reload();
  }
  std::int32_t Add(const Msg& m) {
    IcsMsg s(tmp.path(), log);
    MsgRecord& r = s.rec();
    r.setStatus(m.status);
    r.setOrigin(m.origin);
    r.setKind(m.kind);
    r.setSubj(m.subj);
    r.setTo(m.to);
    r.setFr(m.fr);
    r.setMsgDate(ToOleDate(m.date));
    r.setMsg(m.body);
    if (m.replied.year != 1899) r.setRepDate(ToOleDate(m.replied));
    r.setRoute(m.origin == Origin::Local ? "EOC:0" : "EOC:12");
    return s.NewMsg();
  }
  // Every cell of message `number`'s row, '|' between them.
  std::string Row(std::int32_t number) const {
    std::string out;
    for (int c = 0; c < kListColumnCount; ++c)
      out += (c ? "|" : "") + list.Cell(*list.RowOf(number), static_cast<ListColumn>(c));
    return out;
  }
  std::string Reply(std::int32_t number) const { return list.Cell(*list.RowOf(number), ListColumn::Reply); }
  Numbers Shown() const {
    Numbers out;
    for (std::size_t i = 0; i < list.size(); ++i) {
      if (list.Visible(i)) out.push_back(list.row(i).number);
    }
    return out;
  }
  Numbers Order(ListColumn c, bool ascending) const {
    Numbers out;
    for (std::size_t i : list.Sorted(c, ascending)) out.push_back(list.row(i).number);
    return out;
  }

  TempDir tmp;
  RecordingEventLog log;
  Settings settings;
  FixedClock clock;
  MsgList list;
};

TEST_F(MsgListTest, ColumnsAndReplyTracking) {
  const char* const expected[] = {
      "1|11/19/2026 09:05|Out|Message|OPS|EOC|Diesel|Sent|EOC:0|Answered: No. 4",
      "2|11/19/2026 11:30|Out|Message|OPS|EOC|Diesel|Sent|EOC:0|Answered: No. 10",
      "3|11/19/2026 12:00|Out|Message|OPS|Shelter 2|Shelter beds|Ready, but not sent|EOC:0|",
      "4|11/19/2026 09:40|In|Reply|eoc|ops|diesel|Unread|EOC:12|Reply to No. 1",
      "5|11/19/2026 10:00|In|Reply|Staging|OPS|Water|Read|EOC:12|Original not found",
      "6|11/18/2026 22:00|Out|Message|OPS|Comms|Radio relay|Draft|EOC:0|",
      "7|11/19/2026 08:00|Out|Message||||Abandoned|EOC:0|",
      "8|11/19/2026 13:00|In|Message|EOC|OPS|\xC9vacuation|Unread|EOC:12|",
      "9|11/19/2026 13:10|Out|Reply|OPS|EOC|Fuel|Sent|EOC:0|",
      "10|11/19/2026 00:00|In|Reply|EOC|OPS|Diesel|Read|EOC:12|Reply to No. 2",
      "11|11/19/2026 10:00|Out|Message|OPS|Logistics|Generator|Sent|EOC:0|Awaiting reply, 4 h 05 min"};
  ASSERT_EQ(list.size(), std::size(expected));
  for (const std::string row : expected) EXPECT_EQ(Row(std::stoi(row)), row);
  // Newest first by default, a reply by its own date; text columns ignore case, ties go by date.
  EXPECT_EQ(Order(ListColumn::Date, false), (Numbers{9, 8, 3, 2, 11, 5, 4, 1, 10, 6}));
  EXPECT_EQ(Order(ListColumn::Subject, true), (Numbers{10, 1, 4, 2, 9, 11, 6, 3, 5, 8}));
  EXPECT_EQ(Order(ListColumn::Kind, true), (Numbers{6, 1, 11, 2, 3, 8, 10, 4, 5, 9}));
  EXPECT_EQ(Order(ListColumn::Reply, true), (Numbers{11, 1, 2, 10, 4, 5, 6, 3, 8, 9}));

  // A second answer to the same message.
  Add({Status::Read, Origin::Received, Kind::Reply, "Diesel", "EOC", "OPS", {2026, 11, 19, 9, 5, 42}});
  list.Reload();
  EXPECT_EQ(Reply(1), "Answered: No. 4 and 1 more");
}

TEST(AgeText, MinutesHoursDays) {
  const std::pair<int, const char*> ages[] = {{0, "0 min"},       {59, "59 min"},        {60, "1 h 00 min"},
                                              {65, "1 h 05 min"}, {1439, "23 h 59 min"}, {1440, "1 d 0 h"},
                                              {3000, "2 d 2 h"}};
  for (const auto& [minutes, text] : ages) EXPECT_EQ(AgeText(minutes / 1440.0), text) << minutes;
  EXPECT_EQ(AgeText(8999.4 / 86400), "2 h 29 min");  // to the nearest second, then whole minutes
}

TEST_F(MsgListTest, FiltersSearchAndCounts) {
  struct Case {
    QuickFilter quick;
    const char* search;
    bool abandoned;
    std::optional<DayRange> days;
    Numbers shown;
  };
  const DayRange the18th{ToOleDate({2026, 11, 18}), ToOleDate({2026, 11, 18})};
  const Case cases[] = {
      {QuickFilter::All, "", false, {}, {1, 2, 3, 4, 5, 6, 8, 9, 10, 11}},
      {QuickFilter::All, "", true, {}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}},
      {QuickFilter::AwaitingReply, "", false, {}, {11}},
      // Any field, the body and the date included; case ignored for every Windows-1252 letter.
      {QuickFilter::All, "G\xC9N\xC9RAL", false, {}, {8}},
      {QuickFilter::All, "\xE9vac north", false, {}, {8}},
      {QuickFilter::All, "13:", false, {}, {8, 9}},
      {QuickFilter::Received, "diesel", false, {}, {4, 10}},
      {QuickFilter::All, "", false, the18th, {6}},
  };
  for (const Case& c : cases) {
    list.SetQuickFilter(c.quick);
    list.SetSearch(c.search);
    list.SetShowAbandoned(c.abandoned);
    list.SetDateRange(c.days);
    EXPECT_EQ(Shown(), c.shown) << static_cast<int>(c.quick) << " \"" << c.search << "\"";
    EXPECT_EQ(list.VisibleCount(), c.shown.size());
  }
  // Typing on narrows what was found; rubbing out finds again what was lost.
  list.SetQuickFilter(QuickFilter::All);
  list.SetDateRange(std::nullopt);
  list.SetShowAbandoned(false);
  for (const char* q : {"s", "sh", "she", "shel", "she", "sh", "s", "sx", ""}) list.SetSearch(q);
  EXPECT_EQ(Shown(), (Numbers{1, 2, 3, 4, 5, 6, 8, 9, 10, 11}));
  list.SetSearch("she");
  EXPECT_EQ(Shown(), (Numbers{3}));
  using Counts = std::array<std::size_t, kQuickFilterCount>;  // All, Unread, Queued, Drafts, Sent, ...
  EXPECT_EQ(list.Counts(), (Counts{10, 2, 1, 1, 4, 4, 1}));
}

class RecordingObserver : public RowsObserver {
 public:
  void beginReset() override { events += "reset "; }
  void endReset() override {}
  void beginInsert(std::size_t first, std::size_t) override { Note("insert", first); }
  void endInsert() override {}
  void beginRemove(std::size_t first, std::size_t) override { Note("remove", first); }
  void endRemove() override {}
  void rowsChanged(std::size_t first, std::size_t) override { Note("change", first); }
  void Note(const char* what, std::size_t first) { events += what + std::to_string(first) + " "; }
  std::string events;
};

TEST_F(MsgListTest, FollowsWritesItIsToldOfAndReadsAgainForOthers) {
  RecordingObserver seen;
  list.setObserver(&seen);
  list.SetSearch("generator");
  // Told of a message nobody wrote once the file's change time lies a tick back: nothing read.
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  list.Reload();
  list.Touched({11});
  EXPECT_EQ(seen.events, "reset ");
  seen.events.clear();
  EXPECT_FALSE(list.FileChanged());

  // A reply to the generator request is filed: one row in, the request answered.
  Msg answer = kTraffic[10];
  std::tie(answer.status, answer.origin, answer.kind) =
      std::tuple(Status::Unread, Origin::Received, Kind::Reply);
  const std::int32_t reply = Add(answer);
  EXPECT_TRUE(list.FileChanged());
  list.Touched({11, reply});
  EXPECT_EQ(seen.events, "change10 insert11 change10 change11 ");
  EXPECT_FALSE(list.FileChanged());
  EXPECT_EQ(Reply(11), "Answered: No. 12");
  EXPECT_EQ(Shown(), (Numbers{11, 12}));

  // Deleted here: its row goes, and the request awaits a reply again.
  seen.events.clear();
  IcsMsg(tmp.path(), log).DeleteOne(reply);
  list.Touched({reply});
  EXPECT_EQ(seen.events, "remove11 change10 ");
  EXPECT_EQ(Reply(11), "Awaiting reply, 4 h 05 min");

  // Another program deletes one and adds one while we file another: the size would pass
  // for ours, the file replaced does not, and the whole store is read again.
  seen.events.clear();
  IcsMsg(tmp.path(), log).DeleteOne(5);
  Add({Status::Read, Origin::Received, Kind::Message, "Theirs", "OPS", "EOC", {2026, 11, 19, 14, 0, 0}});
  Add({Status::Draft, Origin::Local, Kind::Message, "Mine", "EOC", "OPS", {2026, 11, 19, 14, 0, 0}});
  list.Touched({14});
  EXPECT_EQ(seen.events, "insert11 reset ");
  EXPECT_EQ(Shown(), (Numbers{11}));  // the search is kept
  list.setObserver(nullptr);
}

}  // namespace
}  // namespace velnor::testing
