#pragma once
// The station's traffic as one list: a row per stored message, in file order, with the
// search, the quick filters, the date range, the sort order and the reply tracking of the
// message list window. Plain C++ over the store's own GetList and Load; the window binds
// it to a table (msglist/qt).
//
// Following the store: Reload reads every record; Touched(n) reads message n alone, for a
// change this process made and knows the number of (Save, Send, Delete, a read message, a
// filed or sent one). FileChanged tells whether the file is other than it was when last
// read or told of; only then does the caller need Reload. See docs/message-list.md.
//
// All texts are station text (Windows-1252).
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "msglist/MsgRow.h"
#include "msglist/StoreStamp.h"
#include "store/MsgRecord.h"

namespace velnor {

class Clock;
class EventLog;
struct Settings;

enum class ListColumn { No, Date, InOut, Kind, From, To, Subject, Status, Route, Reply };
inline constexpr int kListColumnCount = 10;

enum class QuickFilter { All, Unread, Queued, Drafts, Sent, Received, AwaitingReply };
inline constexpr int kQuickFilterCount = 7;

// Whole days, both included, as OLE dates of their midnights.
struct DayRange {
  double first = 0;
  double last = 0;
};

// What the list tells a table about its rows, in the order a Qt model needs it.
class RowsObserver {
 public:
  virtual ~RowsObserver() = default;
  virtual void beginReset() = 0;
  virtual void endReset() = 0;
  virtual void beginInsert(std::size_t first, std::size_t last) = 0;
  virtual void endInsert() = 0;
  virtual void beginRemove(std::size_t first, std::size_t last) = 0;
  virtual void endRemove() = 0;
  virtual void rowsChanged(std::size_t first, std::size_t last) = 0;
};

class MsgList {
 public:
  // settings and clock are read live: the date and time formats, the age of an open request.
  MsgList(std::string dataPath, EventLog& log, const Settings& settings, const Clock& clock);

  void setObserver(RowsObserver* observer) { m_observer = observer; }

  // Reads the whole store again. Store failures are thrown (VError) and leave the rows.
  void Reload();
  // This process has just written these messages: each is read again alone (Load), added
  // or dropped. When the file holds more change than that (another program wrote too), or
  // the store cannot find a record by number, it is read again whole.
  void Touched(const std::vector<std::int32_t>& numbers);
  // True when the store file is not as the list last read or was told of it.
  bool FileChanged() const;

  std::size_t size() const { return m_rows.size(); }
  const MsgRow& row(std::size_t i) const { return m_rows[i]; }
  std::optional<std::size_t> RowOf(std::int32_t number) const;

  static const char* Title(ListColumn c);
  std::string Cell(std::size_t i, ListColumn c) const;
  // The message the Reply cell points to (the reply, or the message a reply answers); 0: none.
  std::int32_t Link(std::size_t i) const { return m_rows[i].link; }

  void SetSearch(std::string_view query);
  void SetQuickFilter(QuickFilter f);
  void SetDateRange(std::optional<DayRange> range);
  void SetShowAbandoned(bool on);
  QuickFilter quickFilter() const { return m_quick; }
  bool Visible(std::size_t i) const { return m_visible[i] != 0; }
  std::size_t VisibleCount() const;
  // Messages per quick filter, whatever the search and the dates.
  std::array<std::size_t, kQuickFilterCount> Counts() const;

  // Row a before row b in the column's ascending order; ties go by date, then number.
  bool Less(ListColumn c, std::size_t a, std::size_t b) const;
  // The visible rows in the column's order.
  std::vector<std::size_t> Sorted(ListColumn c, bool ascending) const;

  // The numbers Browse steps through, as the store holds them now: all but the abandoned.
  std::vector<std::int32_t> BrowseNumbers() const;

 private:
  MsgRow MakeRow(const MsgRecord& rec) const;
  std::string DatePattern() const;
  void RefreshDateTexts();
  bool Hit(const MsgRow& r) const;
  bool Accepts(std::size_t i) const;
  void RecomputeVisible();
  // The search over every row again, the narrowing history started afresh.
  void Research();
  // Runs the reply matching and tells the observer of each row whose Reply cell changed.
  void Rematch();
  void Changed(std::size_t i);

  std::string m_dataPath;
  EventLog& m_log;
  const Settings& m_settings;
  const Clock& m_clock;
  RowsObserver* m_observer = nullptr;
  StoreStamp m_stamp;

  std::vector<MsgRow> m_rows;
  std::vector<char> m_hit;      // the search alone
  std::vector<char> m_visible;  // search, quick filter, dates and abandoned together
  std::string m_pattern;        // the date pattern of the rows' dateUpper

  // Each query on the way to the present one with its hits: typing on narrows the last
  // one's hits, and a backspace finds its answer here.
  struct SearchStep {
    std::string query;
    std::vector<char> hit;
  };
  std::vector<SearchStep> m_history;
  std::vector<std::string> m_terms;
  QuickFilter m_quick = QuickFilter::All;
  std::optional<DayRange> m_days;
  bool m_showAbandoned = false;
};

// "2 h 05 min": how long ago, from days.
std::string AgeText(double days);

}  // namespace velnor
