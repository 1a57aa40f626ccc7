// The communications log from a store: which records give which lines across the edges of
// the period, the CSV of them byte for byte, the cells of the page and its paging.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "core/DateTime.h"
#include "core/EventLog.h"
#include "log309/CommLog.h"
#include "log309/CommLogPrint.h"
#include "store/IcsMsg.h"
#include "tests/print/RecordingSurface.h"
#include "tests/store/StoreFiles.h"

namespace velnor {
namespace {

double At(int hour, int minute, int second = 0) { return ToOleDate({2026, 11, 19, hour, minute, second}); }

const LogPeriod kShift{At(6, 0), At(18, 0)};
constexpr const char* kStation = "EOC-2";

// A record of the store, numbered in table order from 1. The lines they give are the
// golden files: every line, and the sent and received ones only.
struct Row {
  Origin origin;
  Kind kind;
  Status status;
  const char* route;
  double date, repDate;
  const char* subject;
};

constexpr auto L = Origin::Local, R = Origin::Received;
constexpr auto M = Kind::Message, Re = Kind::Reply;

// clang-format off
const Row kRows[] = {
    {L, M, Status::Sent, "LOGISTICS:0", At(6, 0), 0, "Water for shelter"},
    {L, M, Status::Sent, "LOGISTICS:0", At(5, 59, 59), 0, "Too early"},
    {R, M, Status::Unread, "STAGING : 17", At(17, 59, 59), 0, "Cots, \"large\" size"},
    {R, M, Status::Read, "STAGING:18", At(18, 0), 0, "Too late"},
    // No route: the sender's name from the form stands in.
    {R, M, Status::Read, "", At(9, 15), 0, "Caf\xE9 needs power"},
    // Our sent reply to a message received before the period: only the reply is in it.
    {L, Re, Status::Sent, "PLANNING:0", At(5, 30), At(10, 0), "Road closures"},
    // A reply still a draft: the message it answers was received all the same.
    {L, Re, Status::Draft, "MEDICAL:0", At(11, 0), At(11, 30), "Ambulance staging"},
    {L, M, Status::Draft, "LOGISTICS:0", At(12, 0), 0, "Fuel order"},
    {L, M, Status::Abandoned, "LOGISTICS:0", At(12, 30), 0, "@all never finished"},
    // A reply received: timed by the reply, though our message it answers is in the period too.
    {R, Re, Status::Unread, "LOGISTICS:4", At(6, 0), At(13, 0), "Water for shelter"},
    {L, M, Status::ReadyToSend, "OPS:0", At(14, 0), 0, "-3 cots short"},
    {L, M, Status::Read, "OPS:0", At(15, 0), 0, "+2 generators"},
    {R, M, Status::Deleted, "OPS:3", At(16, 0), 0, "Deleted"},
    // No route: the addressee's name stands in. The same second as #12: store order.
    {L, M, Status::Sent, "", At(15, 0), 0, "=SUM(A1)"},
    {L, M, Status::Sent, "OPS:0", 0, 0, "No date"},
    // A reply without a reply date keeps the message's; without a route it is named by its
    // replier, the addressee of the message it answers.
    {R, Re, Status::Read, "", At(17, 0), 0, "Status report"},
};
// clang-format on

class CommLogStore : public testing::StoreTest {
 protected:
  CommLogStore() {
    for (const Row& row : kRows) {
      IcsMsg m(dir.path(), log);
      MsgRecord& r = m.rec();
      r.setOrigin(row.origin);
      r.setKind(row.kind);
      r.setStatus(row.status);
      r.setRoute(row.route);
      r.setMsgDate(row.date);
      r.setRepDate(row.repDate);
      r.setSubj(row.subject);
      r.setTo("Finance Chief");
      r.setFr("Shelter Manager");
      m.NewMsg();
    }
    IcsMsg store(dir.path(), log);
    all = ReadLogLines(store, kStation);
  }
  std::vector<LogLine> all;
};

// The page's Time column shows the day only when the period runs past midnight.
TEST(CommLogTime, DayShownOnlyPastMidnight) {
  EXPECT_EQ(OleSeconds(-1.25), -64800);  // 29 Dec 1899, 06:00: the time of day counts forwards
  EXPECT_EQ(LogTimePattern({At(6, 0), At(24, 0)}), "hh:nn");
  EXPECT_EQ(LogTimePattern({At(18, 0), At(30, 0)}), "dd-mmm hh:nn");
}

// The lines in time order, the messages not sent only when asked for
// (VELNOR_WRITE_GOLDEN=<folder> writes both files anew).
TEST_F(CommLogStore, CsvIsTheGoldenFile) {
  const std::vector<LogLine> lines = SelectLogLines(all, kShift, true);
  if (const char* keep = std::getenv("VELNOR_WRITE_GOLDEN")) testing::WriteFile(keep, CommLogCsv(lines));
  EXPECT_EQ(CommLogCsv(lines), testing::ReadFile(VELNOR_LOG309_GOLDEN));
  // Without the unsent ones: the same lines less those the golden shows not sent, numbered anew.
  std::vector<LogLine> sent;
  std::copy_if(lines.begin(), lines.end(), std::back_inserter(sent),
               [](const LogLine& l) { return !l.unsent; });
  EXPECT_EQ(sent.size(), 9u);  // less the two drafts, the abandoned one and the one ready
  EXPECT_EQ(CommLogCsv(SelectLogLines(all, kShift, false)), CommLogCsv(sent));
  // The page's text of a line: a reply is named so, an unsent one says what it is.
  EXPECT_EQ(LogMessageText(SelectLogLines(all, {At(11, 30), At(11, 31)}, true).at(0)),
            "Reply: Ambulance staging [Draft]");
  // A line without a date is in no period, not even one around the date 0.
  EXPECT_TRUE(SelectLogLines(all, {-1, 1}, true).empty());
}

TEST(CommLogPage, CellsWrapAtWordsAndCutWhatIsLeft) {
  EXPECT_EQ(CellLines("Water for shelter", 17, 2), (std::vector<std::string>{"Water for shelter"}));
  EXPECT_EQ(CellLines("Water for shelter", 16, 2), (std::vector<std::string>{"Water for", "shelter"}));
  EXPECT_EQ(CellLines("Water  for   shelter now", 9, 2),
            (std::vector<std::string>{"Water for", "shelte..."}));
  EXPECT_EQ(CellLines("ABCDEFGHIJ", 5, 2), (std::vector<std::string>{"ABCDE", "FGHIJ"}));
  EXPECT_EQ(CellLines("ABCDEFGHIJK", 5, 2), (std::vector<std::string>{"ABCDE", "FG..."}));
}

// No lines, a page exactly full, one line over: each page its header and footer, and the
// line past a full page opens the next (the PDF test reads the numbers across pages).
TEST(CommLogPage, EveryPageHasTheHeaderAndLinesAreNumberedAcrossPages) {
  for (const std::size_t n : {std::size_t{0}, kLogLinesPerPage, kLogLinesPerPage + 1}) {
    SCOPED_TRACE(n);
    const long pages = n > kLogLinesPerPage ? 2 : 1;
    std::vector<LogLine> lines(n);
    // A subject too long for its cell goes on in the same row.
    if (n > 0) lines.back().subject = "Line 27 and a subject that runs on past its cell";
    test::FakePrinters printers;
    PrintCommLog(printers, {.period = kShift}, lines);
    const std::vector<std::string>& ops = printers.ops;
    ASSERT_EQ(ops.back(), "end");
    EXPECT_EQ(std::count(ops.begin(), ops.end(), "text COMMUNICATIONS LOG (ICS 309)"), pages);
    const auto at = [&](const std::string& op) {
      return std::find(ops.begin(), ops.end(), op) - ops.begin();
    };
    const auto pageBreak = at("page");
    EXPECT_EQ(pageBreak == static_cast<long>(ops.size()), pages == 1);
    EXPECT_LT(at("text Page 1 of " + std::to_string(pages)), pageBreak);
    if (pages == 2) EXPECT_GT(at("text Page 2 of 2"), pageBreak);
    if (n > 0) EXPECT_EQ(at("text " + std::to_string(n)) < pageBreak, n <= kLogLinesPerPage);
    EXPECT_EQ(std::count(ops.begin(), ops.end(), "text " + std::to_string(n + 1)), 0);
    if (n > 0) EXPECT_EQ(ops[static_cast<std::size_t>(at("text its cell")) - 1], "x 125");
  }
}

}  // namespace
}  // namespace velnor
