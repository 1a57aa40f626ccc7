#include "msglist/MsgList.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>

#include "app/Settings.h"
#include "core/Clock.h"
#include "core/DateTime.h"
#include "core/StringLib.h"
#include "msglist/ReplyMatch.h"
#include "store/IcsMsg.h"

namespace velnor {

namespace {

const char* const kTitles[kListColumnCount] = {"No.", "Date/Time", "In/Out", "Kind",  "From",
                                               "To",  "Subject",   "Status", "Route", "Reply"};

const char* InOutWord(Origin o) { return o == Origin::Local ? "Out" : "In"; }
const char* KindWord(Kind k) { return k == Kind::Message ? "Message" : "Reply"; }

// ToUpperCp1252 as a table: a full store runs a quarter of a gigabyte of text through it.
struct UpperTable {
  UpperTable() {
    for (int c = 0; c < 256; ++c) upper[c] = ToUpperCp1252(static_cast<char>(c));
  }
  char operator()(char c) const { return upper[static_cast<unsigned char>(c)]; }
  char upper[256];
};

char Upper(char c) {
  static const UpperTable table;
  return table(c);
}

void UpperInPlace(std::string& s) {
  static const UpperTable table;
  for (char& c : s) c = table(c);
}

// Case-insensitive order of two station texts.
int CompareNoCase(std::string_view a, std::string_view b) {
  const std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    const auto x = static_cast<unsigned char>(Upper(a[i]));
    const auto y = static_cast<unsigned char>(Upper(b[i]));
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

// The Reply column's groups, in its ascending order: what still waits comes first.
int ReplyRank(ReplyState s) {
  switch (s) {
    case ReplyState::Awaiting:
      return 0;
    case ReplyState::Answered:
      return 1;
    case ReplyState::AnswersMessage:
      return 2;
    case ReplyState::Unmatched:
      return 3;
    case ReplyState::None:
      break;
  }
  return 4;
}

std::vector<std::string> Terms(std::string_view upper) {
  std::vector<std::string> terms;
  while (!upper.empty()) {
    std::string word = GetWord(upper);
    if (!word.empty()) terms.push_back(std::move(word));
  }
  return terms;
}

}  // namespace

std::string AgeText(double days) {
  // Whole seconds first: a quarter of an hour in days is not exact in binary.
  const long minutes = days > 0 ? std::lround(days * 86400) / 60 : 0;
  if (minutes < 60) return std::to_string(minutes) + " min";
  const long hours = minutes / 60;
  if (hours < 24) {
    const long m = minutes % 60;
    return std::to_string(hours) + " h " + (m < 10 ? "0" : "") + std::to_string(m) + " min";
  }
  return std::to_string(hours / 24) + " d " + std::to_string(hours % 24) + " h";
}

MsgList::MsgList(std::string dataPath, EventLog& log, const Settings& settings, const Clock& clock)
    : m_dataPath(std::move(dataPath)), m_log(log), m_settings(settings), m_clock(clock) {}

std::string MsgList::DatePattern() const { return m_settings.DateFormat + " " + m_settings.TimeFormat; }

MsgRow MsgList::MakeRow(const MsgRecord& rec) const {
  MsgRow r;
  r.number = rec.MsgNo();
  r.status = rec.Status();
  r.origin = rec.Origin();
  r.kind = rec.Kind();
  r.msgDate = rec.MsgDate();
  r.date = r.kind != Kind::Message && rec.RepDate() != 0 ? rec.RepDate() : r.msgDate;
  // A reply is written by the addressee of the message it answers and goes back to its
  // sender, as its notice tells it.
  r.from = r.kind == Kind::Message ? rec.Fr() : rec.To();
  r.to = r.kind == Kind::Message ? rec.To() : rec.Fr();
  r.subject = rec.Subj();
  r.route = rec.Route();
  if (r.date != 0) r.dateUpper = FormatDate(r.date, m_pattern);
  UpperInPlace(r.dateUpper);

  // Body lines are separate words already: a term never holds a space or a line break.
  std::string& h = r.haystack;
  for (const std::string& part :
       {std::to_string(r.number), std::string(InOutWord(r.origin)), std::string(KindWord(r.kind)),
        MsgRecord::StatusWord(r.status), r.from, r.to, r.subject, r.route, rec.IcdName(), rec.ToPos(),
        rec.FrPos(), rec.Msg(), rec.Sign(), rec.SignPos(), rec.Reply(), rec.RepSign(), rec.RepPos()}) {
    h += part;
    h += '\n';
  }
  UpperInPlace(h);
  r.matchKey = r.subject + '\x1f' + rec.To() + '\x1f' + rec.Fr();
  UpperInPlace(r.matchKey);
  return r;
}

void MsgList::RefreshDateTexts() {
  const std::string pattern = DatePattern();
  if (pattern == m_pattern) return;
  m_pattern = pattern;
  for (MsgRow& r : m_rows) {
    r.dateUpper = r.date != 0 ? FormatDate(r.date, m_pattern) : std::string();
    UpperInPlace(r.dateUpper);
  }
}

void MsgList::Reload() {
  m_pattern = DatePattern();
  const StoreStamp stamp = StampOf(m_dataPath + "/velnor.odb");
  std::vector<MsgRow> rows;
  IcsMsg store(m_dataPath, m_log);
  store.ResetList();
  while (store.GetList()) rows.push_back(MakeRow(store.rec()));
  MatchReplies(rows);

  if (m_observer) m_observer->beginReset();
  m_rows = std::move(rows);
  m_stamp = stamp;
  Research();
  if (m_observer) m_observer->endReset();
}

bool MsgList::FileChanged() const { return !(StampOf(m_dataPath + "/velnor.odb") == m_stamp); }

void MsgList::Touched(const std::vector<std::int32_t>& numbers) {
  RefreshDateTexts();
  const StoreStamp before = m_stamp;
  const StoreStamp stamp = StampOf(m_dataPath + "/velnor.odb");
  // A command that wrote nothing (Close, Edit, a read message browsed to) costs no read.
  if (stamp == before && before.settled) return;
  std::int64_t added = 0, removed = 0;
  std::vector<std::int32_t> done;
  for (std::int32_t number : numbers) {
    if (number <= 0 || std::find(done.begin(), done.end(), number) != done.end()) continue;
    done.push_back(number);
    IcsMsg store(m_dataPath, m_log);
    bool found = false;
    try {
      found = store.Load(number);
    } catch (const std::exception&) {
      // Load walks with a 16-bit counter and gives up on a full store; GetList does not.
      Reload();
      return;
    }
    const std::optional<std::size_t> at = RowOf(number);
    if (found && at) {
      m_rows[*at] = MakeRow(store.rec());
      m_hit[*at] = Hit(m_rows[*at]);
      Changed(*at);
    } else if (found) {
      const std::size_t i = m_rows.size();
      if (m_observer) m_observer->beginInsert(i, i);
      m_rows.push_back(MakeRow(store.rec()));
      m_hit.push_back(Hit(m_rows.back()));
      m_visible.push_back(0);
      m_visible[i] = Accepts(i);
      if (m_observer) m_observer->endInsert();
      ++added;
    } else {
      // Every record with the number goes, as DeleteOne drops them all.
      for (std::size_t i = m_rows.size(); i-- > 0;) {
        if (m_rows[i].number != number) continue;
        if (m_observer) m_observer->beginRemove(i, i);
        m_rows.erase(m_rows.begin() + static_cast<std::ptrdiff_t>(i));
        m_hit.erase(m_hit.begin() + static_cast<std::ptrdiff_t>(i));
        m_visible.erase(m_visible.begin() + static_cast<std::ptrdiff_t>(i));
        if (m_observer) m_observer->endRemove();
        ++removed;
      }
    }
  }
  // A file that these changes alone do not explain was also written by someone else.
  const bool replaced = stamp.ino != before.ino || stamp.dev != before.dev;
  if (!before.exists || replaced != (removed > 0) ||
      stamp.size != before.size + (added - removed) * static_cast<std::int64_t>(MsgRecord::kSize)) {
    Reload();
    return;
  }
  m_stamp = stamp;
  // The hits on the way to the present query no longer fit the rows.
  m_history.assign(1, SearchStep{m_history.empty() ? std::string() : m_history.back().query, m_hit});
  Rematch();
}

void MsgList::Changed(std::size_t i) {
  m_visible[i] = Accepts(i);
  if (m_observer) m_observer->rowsChanged(i, i);
}

void MsgList::Rematch() {
  std::vector<std::pair<ReplyState, std::int32_t>> was(m_rows.size());
  std::vector<int> replies(m_rows.size());
  for (std::size_t i = 0; i < m_rows.size(); ++i) {
    was[i] = {m_rows[i].reply, m_rows[i].link};
    replies[i] = m_rows[i].replies;
  }
  MatchReplies(m_rows);
  for (std::size_t i = 0; i < m_rows.size(); ++i) {
    if (was[i] != std::pair{m_rows[i].reply, m_rows[i].link} || replies[i] != m_rows[i].replies) Changed(i);
  }
}

std::optional<std::size_t> MsgList::RowOf(std::int32_t number) const {
  for (std::size_t i = 0; i < m_rows.size(); ++i) {
    if (m_rows[i].number == number) return i;
  }
  return std::nullopt;
}

const char* MsgList::Title(ListColumn c) { return kTitles[static_cast<int>(c)]; }

std::string MsgList::Cell(std::size_t i, ListColumn c) const {
  const MsgRow& r = m_rows[i];
  switch (c) {
    case ListColumn::No:
      return std::to_string(r.number);
    case ListColumn::Date:
      return r.date != 0 ? FormatDate(r.date, DatePattern()) : std::string();
    case ListColumn::InOut:
      return InOutWord(r.origin);
    case ListColumn::Kind:
      return KindWord(r.kind);
    case ListColumn::From:
      return r.from;
    case ListColumn::To:
      return r.to;
    case ListColumn::Subject:
      return r.subject;
    case ListColumn::Status:
      return MsgRecord::StatusWord(r.status);
    case ListColumn::Route:
      return r.route;
    case ListColumn::Reply:
      switch (r.reply) {
        case ReplyState::Awaiting:
          return "Awaiting reply, " + AgeText(m_clock.now() - r.msgDate);
        case ReplyState::Answered:
          return "Answered: No. " + std::to_string(r.link) +
                 (r.replies > 1 ? " and " + std::to_string(r.replies - 1) + " more" : std::string());
        case ReplyState::AnswersMessage:
          return "Reply to No. " + std::to_string(r.link);
        case ReplyState::Unmatched:
          return "Original not found";
        case ReplyState::None:
          break;
      }
      return {};
  }
  return {};
}

// ---- filters ----

namespace {

// glibc's memmem outruns std::string::find several times over on long bodies.
bool Contains(const std::string& haystack, const std::string& term) {
  return ::memmem(haystack.data(), haystack.size(), term.data(), term.size()) != nullptr;
}

}  // namespace

bool MsgList::Hit(const MsgRow& r) const {
  for (const std::string& t : m_terms) {
    if (!Contains(r.haystack, t) && !Contains(r.dateUpper, t)) return false;
  }
  return true;
}

namespace {

bool QuickMatch(const MsgRow& r, QuickFilter f) {
  switch (f) {
    case QuickFilter::All:
      return true;
    case QuickFilter::Unread:
      return r.status == Status::Unread;
    case QuickFilter::Queued:
      return r.status == Status::ReadyToSend;
    case QuickFilter::Drafts:
      return r.status == Status::Draft;
    case QuickFilter::Sent:
      return r.status == Status::Sent;
    case QuickFilter::Received:
      return r.origin != Origin::Local;
    case QuickFilter::AwaitingReply:
      return r.reply == ReplyState::Awaiting;
  }
  return false;
}

}  // namespace

bool MsgList::Accepts(std::size_t i) const {
  const MsgRow& r = m_rows[i];
  if (!m_showAbandoned && r.status == Status::Abandoned) return false;
  if (!m_hit[i] || !QuickMatch(r, m_quick)) return false;
  return !m_days || (r.date >= m_days->first && r.date < m_days->last + 1);
}

void MsgList::RecomputeVisible() {
  m_visible.resize(m_rows.size());
  for (std::size_t i = 0; i < m_rows.size(); ++i) m_visible[i] = Accepts(i);
}

void MsgList::Research() {
  const std::string query = m_history.empty() ? std::string() : m_history.back().query;
  m_hit.resize(m_rows.size());
  for (std::size_t i = 0; i < m_rows.size(); ++i) m_hit[i] = Hit(m_rows[i]);
  m_history.assign(1, SearchStep{query, m_hit});
  RecomputeVisible();
}

void MsgList::SetSearch(std::string_view query) {
  RefreshDateTexts();
  const std::string q = ToUpperCp1252(query);
  while (!m_history.empty() && q.compare(0, m_history.back().query.size(), m_history.back().query) != 0)
    m_history.pop_back();
  m_terms = Terms(q);
  if (!m_history.empty() && m_history.back().query == q) {
    m_hit = m_history.back().hit;
  } else {
    // A query that goes on from an earlier one can only lose hits, never gain them.
    const std::vector<char>* base = m_history.empty() ? nullptr : &m_history.back().hit;
    m_hit.resize(m_rows.size());
    for (std::size_t i = 0; i < m_rows.size(); ++i) m_hit[i] = (!base || (*base)[i]) && Hit(m_rows[i]);
    m_history.push_back({q, m_hit});
  }
  RecomputeVisible();
}

void MsgList::SetQuickFilter(QuickFilter f) {
  m_quick = f;
  RecomputeVisible();
}

void MsgList::SetDateRange(std::optional<DayRange> range) {
  m_days = range;
  RecomputeVisible();
}

void MsgList::SetShowAbandoned(bool on) {
  m_showAbandoned = on;
  RecomputeVisible();
}

std::size_t MsgList::VisibleCount() const {
  return static_cast<std::size_t>(std::count(m_visible.begin(), m_visible.end(), 1));
}

std::array<std::size_t, kQuickFilterCount> MsgList::Counts() const {
  std::array<std::size_t, kQuickFilterCount> n{};
  for (const MsgRow& r : m_rows) {
    if (!m_showAbandoned && r.status == Status::Abandoned) continue;
    for (int f = 0; f < kQuickFilterCount; ++f)
      n[static_cast<std::size_t>(f)] += QuickMatch(r, QuickFilter(f));
  }
  return n;
}

// ---- order ----

bool MsgList::Less(ListColumn c, std::size_t a, std::size_t b) const {
  const MsgRow& x = m_rows[a];
  const MsgRow& y = m_rows[b];
  int cmp = 0;
  auto by = [](auto u, auto v) { return u < v ? -1 : (v < u ? 1 : 0); };
  switch (c) {
    case ListColumn::No:
      cmp = by(x.number, y.number);
      break;
    case ListColumn::Date:
      break;
    case ListColumn::InOut:
      cmp = by(x.origin == Origin::Local, y.origin == Origin::Local);
      break;
    case ListColumn::Kind:
      cmp = by(x.kind != Kind::Message, y.kind != Kind::Message);
      break;
    case ListColumn::From:
      cmp = CompareNoCase(x.from, y.from);
      break;
    case ListColumn::To:
      cmp = CompareNoCase(x.to, y.to);
      break;
    case ListColumn::Subject:
      cmp = CompareNoCase(x.subject, y.subject);
      break;
    case ListColumn::Status:
      cmp = by(x.status, y.status);
      break;
    case ListColumn::Route:
      cmp = CompareNoCase(x.route, y.route);
      break;
    case ListColumn::Reply:
      cmp = by(ReplyRank(x.reply), ReplyRank(y.reply));
      break;
  }
  if (cmp == 0) cmp = by(x.date, y.date);
  if (cmp == 0) cmp = by(x.number, y.number);
  if (cmp == 0) cmp = by(a, b);
  return cmp < 0;
}

std::vector<std::size_t> MsgList::Sorted(ListColumn c, bool ascending) const {
  std::vector<std::size_t> out;
  out.reserve(m_rows.size());
  for (std::size_t i = 0; i < m_rows.size(); ++i) {
    if (m_visible[i]) out.push_back(i);
  }
  std::sort(out.begin(), out.end(),
            [&](std::size_t a, std::size_t b) { return ascending ? Less(c, a, b) : Less(c, b, a); });
  return out;
}

std::vector<std::int32_t> MsgList::BrowseNumbers() const {
  std::vector<std::int32_t> out;
  for (const MsgRow& r : m_rows) {
    // Browse counts in 16 bits; a store cannot give more numbers than that anyway.
    if (r.status != Status::Abandoned && out.size() < 32767) out.push_back(r.number);
  }
  return out;
}

}  // namespace velnor
