// The message list beside the real main window through a morning over pmdirect-sim; with
// VELNOR_SHOTS_DIR set it also saves docs/message-list.png.
#include <QScrollBar>
#include <QSettings>
#include <QTableView>
#include <map>
#include <sstream>

#include "format/Encoder.h"
#include "link/PmLink.h"
#include "msglist/qt/FrmMsgList.h"
#include "tests/editor/WindowFixture.h"

namespace velnor::testing {
namespace {

// "hh:mm what STATION subject", '|' between events. We (OPS) send a message ('>') or answer a
// received one ('A'); the station hands in a message for us ('<'), answers our latest message
// of that subject ('R') or one the night shift sent from another store ('X').
const char kMorning[] =
    "08:10 < EOC Operational period briefing|08:25 > EOC Diesel for generators|"
    "08:40 > LOGISTICS Water tender|08:55 < LOGISTICS Cots delivered|09:00 < EOC Staging area|"
    "09:05 R EOC Diesel for generators|09:20 > EOC Road closure Hwy 9|09:35 < EOC Evacuation order zone 4|"
    "09:50 > LOGISTICS Shelter capacity|10:05 R LOGISTICS Water tender|10:20 > EOC Situation report 10:00|"
    "10:30 > LOGISTICS Fuel for engines|10:40 < LOGISTICS Fuel truck schedule|"
    "11:00 > EOC Medical supplies|11:05 A LOGISTICS Fuel truck schedule|11:10 < LOGISTICS Shelter 2 meals|"
    "11:15 R EOC Road closure Hwy 9|11:30 > EOC Diesel for generators|11:45 < EOC Weather update|"
    "12:00 R LOGISTICS Shelter capacity|12:10 > LOGISTICS Food delivery|12:20 R LOGISTICS Food delivery|"
    "12:30 < EOC Media briefing|12:45 > EOC Radio relay on Mt. Ash|12:50 A EOC Media briefing|"
    "13:00 R EOC Medical supplies|13:05 < EOC Helicopter at helibase|13:10 < LOGISTICS Generator repair crew|"
    "13:20 > LOGISTICS Portable toilets|13:30 < EOC Resource order 2231|13:40 R EOC Diesel for generators|"
    "13:45 < LOGISTICS Generator 2 parts|13:50 > EOC Situation report 14:00|13:55 < LOGISTICS Shift change|"
    "14:00 < EOC Red flag warning|14:02 X EOC Situation report 06:00";

class MsgListWindowTest : public WindowTest {
 protected:
  MsgListWindowTest() : sim(tmp.file("spool"), tmp.file("transcript")) {
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QString::fromStdString(tmp.file("config")));
  }

  void At(int hh, int mm) { clock.value = ToOleDate({2026, 11, 19, hh, mm, 0}); }
  static std::string Name(const std::string& station) { return station == "EOC" ? "EOC" : "Logistics"; }

  // Our operator writes a message and presses Send: a session that also collects.
  std::int32_t Send(const std::string& station, const std::string& subject, const std::string& text) {
    click("cmdNew");
    win->setText(Field::To, Name(station));
    win->setText(Field::Subject, subject);
    win->setText(Field::Message, text);
    win->setText(TextBox::Route, station);
    click("cmdSend");
    return ed->CurrentMsgNo();
  }
  // A new message from another station, or their answer to `answered`: it with the reply filled in.
  void HandInFrom(const std::string& station, const std::string& subject, const std::string& text,
                  std::optional<MsgRecord> answered = std::nullopt) {
    MsgRecord r = answered.value_or(Sample(Status::ReadyToSend, Origin::Local, Kind::Message, subject));
    if (answered) {
      r.setKind(Kind::Reply);
      r.setReply(text);
      r.setRepDate(clock.value);
    } else {
      r.setFr(Name(station));
      r.setSign("R. Okafor");  // answerable: the form is whole
      r.setSignPos("Duty Officer");
      r.setMsg(text);
      r.setMsgDate(clock.value);
    }
    r.setMsgNo(++theirNumber);
    r.setRoute("OPS");
    HandIn(sim.port(), station, {EncodeRecord(r, station)});
  }

  QTableView* grid() const { return list()->findChild<QTableView*>("grdMessages"); }
  FrmMsgList* list() const { return win->msgList(); }
  int GridRow(std::int32_t n) const {
    for (int r = 0; r < grid()->model()->rowCount(); ++r) {
      if (grid()->model()->index(r, 0).data().toInt() == n) return r;
    }
    return -1;
  }
  void OpenInList(std::int32_t n, ListColumn c = ListColumn::Subject) {
    ASSERT_GE(GridRow(n), 0) << n;
    grid()->setCurrentIndex(grid()->model()->index(GridRow(n), static_cast<int>(c)));
    QTest::keyClick(grid(), Qt::Key_Return);
  }
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
  Settings s = QuickSettings(sim.port());
  s.DefFr = "Operations";
  s.DefFrPos = "Section Chief";
  s.DEFDEST = "EOC";
  At(8, 0);
  start(s, "ops");
  QTest::keyClick(win.get(), Qt::Key_L, Qt::ControlModifier);
  QApplication::setActiveWindow(win.get());
  ASSERT_TRUE(list() && list()->isVisible());

  std::map<std::string, std::int32_t> first, latest;  // our messages by subject
  std::istringstream morning(kMorning);
  for (std::string e; std::getline(morning, e, '|');) {
    SCOPED_TRACE(e);
    At(std::stoi(e.substr(0, 2)), std::stoi(e.substr(3, 2)));
    const std::size_t blank = e.find(' ', 8);
    const std::string station = e.substr(8, blank - 8), subject = e.substr(blank + 1);
    const std::string text = "At " + e.substr(0, 5) + ".";
    if (e[6] == '>') {
      latest[subject] = Send(station, subject, text);
      first.emplace(subject, latest[subject]);
    } else if (e[6] == '<') {
      HandInFrom(station, subject, text);
    } else if (e[6] == 'R') {
      HandInFrom(station, subject, text, Stored(latest[subject]));
    } else if (e[6] == 'X') {
      MsgRecord night = Sample(Status::Sent, Origin::Local, Kind::Message, subject);
      night.setTo(Name(station));
      night.setFr("Operations");
      HandInFrom(station, subject, text, night);
    } else {  // our operator opens a received message from the list and answers it
      OpenInList(Received(subject));
      click("cmdReply");
      win->setText(Field::Reply, text);
      click("cmdSend");
    }
  }
  At(14, 5);
  win->link()->RunSession();
  // One message waits for the link, which is down; one is half written.
  At(14, 10);
  const std::string port = win->settings().Port;
  win->settings().Port = std::to_string(DeadPort());
  Send("EOC", "Helicopter landing zone", "LZ at the school field, marked with orange panels.");
  win->settings().Port = port;
  At(14, 15);
  click("cmdNew");
  win->setText(Field::Subject, "Night shift handover");
  click("cmdSave");
  // Every cell as a fresh read of the store gives it: the live list missed nothing.
  const MsgList& l = list()->list();
  MsgList fresh(dataPath, eventLog, win->settings(), clock);
  fresh.Reload();
  ASSERT_EQ(l.size(), fresh.size());
  for (std::size_t i = 0; i < fresh.size(); ++i) {
    for (int c = 0; c < kListColumnCount; ++c)
      EXPECT_EQ(l.Cell(i, ListColumn(c)), fresh.Cell(i, ListColumn(c))) << "row " << i << " column " << c;
  }

  // Two requests share a subject; each reply answers its own.
  const std::int32_t diesel1 = first["Diesel for generators"], diesel2 = latest["Diesel for generators"];
  EXPECT_EQ(Stored(l.Link(*l.RowOf(diesel1))).Reply(), "At 09:05.");
  EXPECT_EQ(Stored(l.Link(*l.RowOf(diesel2))).Reply(), "At 13:40.");
  EXPECT_EQ(l.Cell(*l.RowOf(latest["Situation report 14:00"]), ListColumn::Reply), "Awaiting reply, 25 min");
  EXPECT_EQ(l.Cell(l.size() - 3, ListColumn::Reply), "Original not found");

  // Open an unread message from the list: shown as Browse shows it, and read from then on.
  const std::int32_t briefing = Received("Operational period briefing");
  const std::vector<std::int32_t> browse = list()->BrowseNumbers();
  const auto at = std::find(browse.begin(), browse.end(), briefing) - browse.begin();
  OpenInList(briefing);
  EXPECT_EQ(State(), "BROWSE 1 LLLLLLLLLLLLLL");
  EXPECT_EQ(MsgInfo(), "Msg# " + std::to_string(briefing) + ",  Received message; Read");
  EXPECT_EQ(grid()->model()->index(GridRow(briefing), static_cast<int>(ListColumn::Status)).data().toString(),
            "Read");
  EXPECT_EQ(BrowsePtr(), "( " + std::to_string(at + 1) + "/" + std::to_string(browse.size()) + " )");

  // The link in the Reply cell opens the reply.
  OpenInList(diesel1, ListColumn::Reply);
  EXPECT_EQ(win->text(Field::Reply), "At 09:05.");  // the first request's

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
  dialogs.expectMessage("Message was not saved.", MsgAnswer::No);
  OpenInList(briefing);
  EXPECT_EQ(win->text(Field::Subject), "Half written");

  // Another program deletes a message: the file is replaced, and the list reads it again.
  IcsMsg(dataPath, eventLog).DeleteOne(draft);
  EXPECT_TRUE(QTest::qWaitFor([&] { return l.size() == 36; }, 3000));

  // Search and the awaiting filter, as the operator types.
  QTest::keyClicks(list()->findChild<QLineEdit*>("txtSearch"), "diesel");
  EXPECT_EQ(grid()->model()->rowCount(), 4);  // two requests and their replies
  list()->findChild<QLineEdit*>("txtSearch")->clear();
  list()->findChild<QPushButton*>("optAwaiting")->click();
  EXPECT_EQ(grid()->model()->index(0, static_cast<int>(ListColumn::Subject)).data().toString(),
            "Situation report 10:00");  // oldest first
}

}  // namespace
}  // namespace velnor::testing
