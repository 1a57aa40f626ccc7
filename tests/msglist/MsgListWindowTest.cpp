// The message list beside the real main window through a morning of an exercise: our
// station OPS and two others, EOC and LOGISTICS, over pmdirect-sim. The list follows
// every session live, matches the replies, opens messages in the form as Browse shows
// them, follows another program's writes, and keeps its place out of velnor.ini. With
// VELNOR_SHOTS_DIR set it also saves docs/message-list.png.
#include <QAccessible>
#include <QHeaderView>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSettings>
#include <QTableView>
#include <set>

#include "format/Encoder.h"
#include "link/PmLink.h"
#include "msglist/qt/FrmMsgList.h"
#include "tests/editor/WindowFixture.h"

namespace velnor::testing {
namespace {

// One event of the morning: at hh:mm, we send a message ('>') or answer a received one
// ('A'), another station hands in a message for us ('<') or answers our latest message of
// that subject ('R').
struct Event {
  int hh, mm;
  char what;
  const char* station;
  const char* subject;
  const char* text;
};
const Event kMorning[] = {
    {8, 10, '<', "EOC", "Operational period briefing",
     "Briefing at 08:30 in the ICP tent. All unit leaders."},
    {8, 25, '>', "EOC", "Diesel for generators", "Need 400 L diesel at the ICP generators by 12:00."},
    {8, 40, '>', "LOGISTICS", "Water tender", "One water tender to gate 3, road from the north is open."},
    {8, 55, '<', "LOGISTICS", "Cots delivered", "120 cots delivered to Shelter 2. Signed for by M. Diaz."},
    {9, 0, '<', "EOC", "Staging area", "Staging moves to the fairgrounds at 10:00."},
    {9, 5, 'R', "EOC", "Diesel for generators", "Fuel truck 12 leaves the depot 09:30, ETA 10:45."},
    {9, 20, '>', "EOC", "Road closure Hwy 9", "Hwy 9 closed between mile 12 and 15, detour by Ash Road."},
    {9, 35, '<', "EOC", "Evacuation order zone 4", "Zone 4 evacuation order from 10:00. Shelter 2 opens."},
    {9, 50, '>', "LOGISTICS", "Shelter capacity", "Shelter 2 holds 120; expect 180 from zone 4. More cots?"},
    {10, 5, 'R', "LOGISTICS", "Water tender", "Tender 41 on its way, ETA 10:40 at gate 3."},
    {10, 20, '>', "EOC", "Situation report 10:00", "Fire 40 ha, 10 % contained. No injuries."},
    {10, 30, '>', "LOGISTICS", "Fuel for engines", "Engines 4 and 7 need fuel at staging by 13:00."},
    {10, 40, '<', "LOGISTICS", "Fuel truck schedule", "Fuel truck 12 at the ICP 10:45, then staging 11:30."},
    {11, 0, '>', "EOC", "Medical supplies", "Burn kits for the first aid post: 20, by 14:00."},
    {11, 5, 'A', "LOGISTICS", "Fuel truck schedule", "10:45 at the ICP suits us."},
    {11, 10, '<', "LOGISTICS", "Shelter 2 meals", "Dinner for 180 at Shelter 2 from 18:00."},
    {11, 15, 'R', "EOC", "Road closure Hwy 9", "Noted. Sheriff posts units at both ends."},
    {11, 30, '>', "EOC", "Diesel for generators", "Second 400 L needed by 16:00, generators run longer."},
    {11, 45, '<', "EOC", "Weather update", "Wind shifts to the west after 15:00, gusts 40 km/h."},
    {12, 0, 'R', "LOGISTICS", "Shelter capacity", "60 more cots from the depot, at Shelter 2 by 13:00."},
    {12, 10, '>', "LOGISTICS", "Food delivery", "Lunch for 85 at the ICP, 13:00."},
    {12, 20, 'R', "LOGISTICS", "Food delivery", "Lunch for 85 on its way, at the ICP 12:50."},
    {12, 30, '<', "EOC", "Media briefing", "Media briefing 15:00 at the EOC. Send a PIO."},
    {12, 45, '>', "EOC", "Radio relay on Mt. Ash", "Relay on Mt. Ash needs a battery change before dark."},
    {12, 50, 'A', "EOC", "Media briefing", "PIO J. Park attends."},
    {13, 0, 'R', "EOC", "Medical supplies", "20 burn kits with the 13:30 courier."},
    {13, 5, '<', "EOC", "Helicopter at helibase", "Helicopter 3 at the helibase from 13:30."},
    {13, 10, '<', "LOGISTICS", "Generator repair crew", "Repair crew at the ICP 14:00 for generator 2."},
    {13, 20, '>', "LOGISTICS", "Portable toilets", "Four portable toilets for Shelter 2."},
    {13, 30, '<', "EOC", "Resource order 2231", "Order 2231 approved: two engines from the county."},
    {13, 40, 'R', "EOC", "Diesel for generators", "Second load with truck 14 at 15:30."},
    {13, 45, '<', "LOGISTICS", "Generator 2 parts", "Parts for generator 2 arrive 15:00."},
    {13, 50, '>', "EOC", "Situation report 14:00", "Fire 55 ha, 25 % contained. Zone 4 empty."},
    {13, 55, '<', "LOGISTICS", "Shift change", "Night shift relieves at 19:00, briefing 18:30."},
    {14, 0, '<', "EOC", "Red flag warning", "Red flag warning from 16:00 to 22:00."},
};

class MsgListWindowTest : public WindowTest {
 protected:
  MsgListWindowTest() : sim(tmp.file("spool"), tmp.file("transcript")) {
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QString::fromStdString(tmp.file("config")));
  }

  void At(int hh, int mm) { clock.value = ToOleDate({2026, 11, 19, hh, mm, 0}); }

  // Our operator writes a message and presses Send: a session that also collects.
  std::int32_t Send(const Event& e) {
    click("cmdNew");
    win->setText(Field::To, e.station == std::string("EOC") ? "EOC" : "Logistics");
    win->setText(Field::Subject, e.subject);
    win->setText(Field::Message, e.text);
    win->setText(TextBox::Route, e.station);
    click("cmdSend");
    return ed->CurrentMsgNo();
  }
  // A message from another station as its own Velnor encodes it: a new one, or with `answered`
  // their answer to a message of ours, the message itself with the reply filled in.
  void HandInFrom(const Event& e, std::optional<MsgRecord> answered = std::nullopt) {
    MsgRecord r = answered.value_or(Sample(Status::ReadyToSend, Origin::Local, Kind::Message, e.subject));
    if (answered) {
      r.setKind(Kind::Reply);
      r.setReply(e.text);
      r.setRepSign("M. Chen");
      r.setRepDate(clock.value);
    } else {
      r.setFr(e.station == std::string("EOC") ? "EOC" : "Logistics");
      r.setSign("R. Okafor");  // answerable: the form is whole
      r.setSignPos("Duty Officer");
      r.setMsg(e.text);
      r.setMsgDate(clock.value);
    }
    r.setMsgNo(++theirNumber);
    r.setRoute("OPS");
    HandIn(sim.port(), e.station, {EncodeRecord(r, e.station)});
  }

  QTableView* grid() const { return list()->findChild<QTableView*>("grdMessages"); }
  FrmMsgList* list() const { return win->msgList(); }
  // The grid's row of message n, or -1.
  int GridRow(std::int32_t n) const {
    for (int r = 0; r < grid()->model()->rowCount(); ++r) {
      if (grid()->model()->index(r, 0).data().toInt() == n) return r;
    }
    return -1;
  }
  QVariant Cell(std::int32_t n, ListColumn c, int role = Qt::DisplayRole) const {
    return grid()->model()->index(GridRow(n), static_cast<int>(c)).data(role);
  }
  void OpenInList(std::int32_t n, ListColumn c = ListColumn::Subject) {
    ASSERT_GE(GridRow(n), 0) << n;
    grid()->setCurrentIndex(grid()->model()->index(GridRow(n), static_cast<int>(c)));
    QTest::keyClick(grid(), Qt::Key_Return);
  }
  // Every cell as a fresh read of the store gives it: the live list missed nothing.
  void ExpectSameAsFreshRead() {
    MsgList fresh(dataPath, eventLog, win->settings(), clock);
    fresh.Reload();
    const MsgList& live = list()->list();
    ASSERT_EQ(live.size(), fresh.size());
    for (std::size_t i = 0; i < fresh.size(); ++i) {
      for (int c = 0; c < kListColumnCount; ++c)
        EXPECT_EQ(live.Cell(i, ListColumn(c)), fresh.Cell(i, ListColumn(c)))
            << "row " << i << " column " << c;
    }
  }

  // The received message of that subject.
  std::int32_t Received(const std::string& subject) const {
    const MsgList& l = list()->list();
    for (std::size_t i = 0; i < l.size(); ++i) {
      if (l.row(i).subject == subject && l.row(i).origin == Origin::Received) return l.row(i).number;
    }
    return 0;
  }

  SimProcess sim;
  std::int32_t theirNumber = 200;
};

TEST_F(MsgListWindowTest, AMorningOfTrafficFollowedLiveOpenedAndMatched) {
  Settings s = WithDefaults();
  s.Port = std::to_string(sim.port());
  s.IcdName = "Ridge Fire";
  s.DefFr = "Operations";
  s.DefFrPos = "Section Chief";
  s.DEFDEST = "EOC";
  At(8, 0);
  start(s, "ops");
  const std::string ini = Slurp(dataPath + "/velnor.ini");
  QTest::keyClick(win.get(), Qt::Key_L, Qt::ControlModifier);
  QApplication::setActiveWindow(win.get());
  ASSERT_NE(list(), nullptr);
  ASSERT_TRUE(list()->isVisible());

  std::vector<std::pair<std::string, std::int32_t>> sent;  // our messages by subject, in order
  auto latest = [&](const std::string& subject) {
    std::int32_t n = 0;
    for (const auto& [subj, number] : sent) n = subj == subject ? number : n;
    return n;
  };
  for (const Event& e : kMorning) {
    SCOPED_TRACE(std::string(1, e.what) + e.subject);
    At(e.hh, e.mm);
    if (e.what == '>')
      sent.emplace_back(e.subject, Send(e));
    else if (e.what == '<')
      HandInFrom(e);
    else if (e.what == 'R')
      HandInFrom(e, Stored(latest(e.subject)));
    else {  // our operator opens a received message from the list and answers it
      OpenInList(Received(e.subject));
      click("cmdReply");
      win->setText(Field::Reply, e.text);
      click("cmdSend");
    }
  }
  // An answer to a message the night shift sent from another store: it matches nothing here.
  At(14, 2);
  MsgRecord night = Sample(Status::Sent, Origin::Local, Kind::Message, "Situation report 06:00");
  night.setTo("EOC");
  night.setFr("Operations");
  night.setMsgDate(ToOleDate({2026, 11, 19, 6, 0, 0}));
  HandInFrom({14, 2, 'R', "EOC", "", "Generator 1 fuel confirmed."}, night);
  At(14, 5);
  win->link()->RunSession();
  // One message waits for the link, which is down; one is half written.
  At(14, 10);
  const std::string port = win->settings().Port;
  win->settings().Port = std::to_string(DeadPort());
  Send({14, 10, '>', "EOC", "Helicopter landing zone", "LZ at the school field, marked with orange panels."});
  win->settings().Port = port;
  At(14, 15);
  click("cmdNew");
  win->setText(Field::Subject, "Night shift handover");
  click("cmdSave");
  ExpectSameAsFreshRead();

  // Two requests share a subject; each reply answers its own.
  const MsgList& l = list()->list();
  const std::int32_t diesel1 = sent[0].second, diesel2 = latest("Diesel for generators");
  EXPECT_EQ(Stored(l.Link(*l.RowOf(diesel1))).Reply(), "Fuel truck 12 leaves the depot 09:30, ETA 10:45.");
  EXPECT_EQ(Stored(l.Link(*l.RowOf(diesel2))).Reply(), "Second load with truck 14 at 15:30.");
  EXPECT_EQ(l.Cell(*l.RowOf(latest("Situation report 14:00")), ListColumn::Reply), "Awaiting reply, 25 min");
  EXPECT_EQ(l.Cell(l.size() - 3, ListColumn::Reply), "Original not found");
  EXPECT_EQ(l.Cell(l.size() - 2, ListColumn::Status), "Ready, but not sent");
  EXPECT_EQ(l.size(), 36u);

  // Open an unread message from the list: shown as Browse shows it, and read from then on.
  const std::int32_t briefing = Received("Operational period briefing");
  const std::vector<std::int32_t> browse = list()->BrowseNumbers();
  const auto at = std::find(browse.begin(), browse.end(), briefing) - browse.begin();
  EXPECT_TRUE(Cell(briefing, ListColumn::Subject, Qt::FontRole).value<QFont>().bold());
  OpenInList(briefing);
  EXPECT_EQ(fieldText(Field::Subject), "Operational period briefing");
  EXPECT_EQ(State(), "BROWSE 1 LLLLLLLLLLLLLL");
  EXPECT_EQ(MsgInfo(),
            "Msg# " + std::to_string(briefing) + ",  Received message; Read");  // read as soon as it is shown
  EXPECT_EQ(StoredStatus(briefing), Status::Read);
  EXPECT_EQ(Cell(briefing, ListColumn::Status).toString(), "Read");
  EXPECT_FALSE(Cell(briefing, ListColumn::Subject, Qt::FontRole).value<QFont>().bold());
  EXPECT_EQ(BrowsePtr(), "( " + std::to_string(at + 1) + "/" + std::to_string(browse.size()) + " )");
  click("cmdBRight");  // the arrows go on from it
  EXPECT_EQ(ed->CurrentMsgNo(), browse[static_cast<std::size_t>(at + 1)]);

  // The link in the Reply cell opens the reply.
  OpenInList(diesel1, ListColumn::Reply);
  EXPECT_EQ(Texts({Field::Subject, Field::Reply}),
            (Names{"Diesel for generators", "Fuel truck 12 leaves the depot 09:30, ETA 10:45."}));

  if (const char* dir = std::getenv("VELNOR_SHOTS_DIR"); dir && *dir) {
    list()->resize(1120, 700);
    grid()->clearSelection();
    grid()->scrollToTop();
    grid()->horizontalScrollBar()->setValue(0);
    QApplication::processEvents();
    EXPECT_TRUE(list()->grab().save(QString(dir) + "/message-list.png"));
  }

  // Unsaved typing is asked about first; No keeps it.
  QApplication::setActiveWindow(win.get());
  QTest::keyClick(win.get(), Qt::Key_N, Qt::ControlModifier);
  type(Field::Subject, "Half written");
  const std::int32_t draft = ed->CurrentMsgNo();
  EXPECT_EQ(Cell(draft, ListColumn::Status).toString(), "Draft");
  dialogs.expectMessage("Message was not saved.", MsgAnswer::No);
  OpenInList(briefing);
  EXPECT_EQ(fieldText(Field::Subject), "Half written");
  EXPECT_EQ(ed->EditState(), 2);
  dialogs.expectMessage("Message was not saved.", MsgAnswer::Yes);
  OpenInList(briefing);
  EXPECT_EQ(fieldText(Field::Subject), "Operational period briefing");
  EXPECT_EQ(dialogs.shown.back().caption, "Message List");

  // Another program's writes: a message added, one deleted (the file replaced), another added.
  auto settled = [&](std::size_t rows) { return QTest::qWaitFor([&] { return l.size() == rows; }, 3000); };
  const std::size_t before = l.size();
  StoreRecord(Status::Unread, Origin::Received, Kind::Message, "From another program");
  EXPECT_TRUE(settled(before + 1));
  IcsMsg(dataPath, eventLog).DeleteOne(draft);
  EXPECT_TRUE(settled(before));
  StoreRecord(Status::Unread, Origin::Received, Kind::Message, "After the rename");
  EXPECT_TRUE(settled(before + 1));
  ExpectSameAsFreshRead();

  // Search and the awaiting filter, as the operator types.
  QTest::keyClicks(list()->findChild<QLineEdit*>("txtSearch"), "diesel");
  EXPECT_EQ(grid()->model()->rowCount(), 4);  // two requests and their replies
  list()->findChild<QLineEdit*>("txtSearch")->clear();
  list()->findChild<QPushButton*>("optAwaiting")->click();
  EXPECT_EQ(grid()->model()->index(0, static_cast<int>(ListColumn::Subject)).data().toString(),
            "Situation report 10:00");  // oldest first

  // Every control has a name a screen reader says; the form's boxes each one of their own.
  auto spoken = [](QWidget* w) { return QAccessible::queryAccessibleInterface(w)->text(QAccessible::Name); };
  for (QWidget* w : list()->findChildren<QWidget*>(QRegularExpression("^(txt|opt|chk|dtp|grd|cmd)")))
    EXPECT_FALSE(spoken(w).isEmpty()) << w->objectName().toStdString();
  std::set<QString> names;
  for (const Field f : kAllFields) names.insert(spoken(field(f)));
  names.insert(spoken(find("txtDefaultToRoute")));
  EXPECT_EQ(names.size(), kFieldCount + 1);
  EXPECT_EQ(spoken(button("cmdBLeft")), "Previous message");

  // Its place is kept in the user's configuration, and velnor.ini stays as it was.
  list()->close();
  QSettings kept("velnor", "velnor");
  EXPECT_FALSE(kept.value("MessageList/geometry").toByteArray().isEmpty());
  EXPECT_FALSE(kept.value("MessageList/columns").toByteArray().isEmpty());
  EXPECT_EQ(Slurp(dataPath + "/velnor.ini"), ini);
}

}  // namespace
}  // namespace velnor::testing
