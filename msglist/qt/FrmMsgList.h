#pragma once
// The message list window, frmMsgList: every stored message as a row beside the main
// form, with a search box, quick filters, a date range and reply tracking. Non-modal; it
// follows the store while it is shown: the main window tells it what this process wrote
// (Touched), and a file watcher tells it of other programs' writes. Its size, place and
// columns are kept in the user's configuration (QSettings "velnor"/"velnor", group
// MessageList), never in velnor.ini.
#include <QWidget>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "msglist/MsgList.h"

class QCheckBox;
class QDateEdit;
class QFileSystemWatcher;
class QLabel;
class QLineEdit;
class QModelIndex;
class QPushButton;
class QTableView;
class QTimer;

namespace velnor {

class Clock;
class EventLog;
class MsgListModel;
class MsgListProxy;
struct Settings;

struct MsgListDeps {
  std::string dataPath;
  EventLog& eventLog;
  const Settings& settings;  // the date and time formats, read live
  const Clock& clock;
};

class FrmMsgList : public QWidget {
  Q_OBJECT
 public:
  FrmMsgList(MsgListDeps deps, QWidget* owner);
  ~FrmMsgList() override;

  // Shows the window in front, the list as the store holds it now.
  void ShowList();
  // This process has just written these messages.
  void Touched(const std::vector<std::int32_t>& numbers);
  std::vector<std::int32_t> BrowseNumbers() const { return m_list.BrowseNumbers(); }
  const MsgList& list() const { return m_list; }

 signals:
  // The operator asks to see this message in the main form.
  void openRequested(std::int32_t number);

 protected:
  void hideEvent(QHideEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Build();
  void Reload();
  void Run(const std::function<void()>& f);
  void Arm();
  void StoreEvent();
  void FiltersChanged();
  void QuickChosen(QuickFilter f);
  void DatesChanged();
  void UpdateCounts();
  void Open(const QModelIndex& index);
  std::int32_t SelectedNumber() const;
  void Select(std::int32_t number);
  void SaveState() const;
  void RestoreState();

  MsgListDeps m_deps;
  MsgList m_list;
  MsgListModel* m_model = nullptr;
  MsgListProxy* m_proxy = nullptr;
  QTableView* m_grid = nullptr;
  QLineEdit* m_search = nullptr;
  std::array<QPushButton*, kQuickFilterCount> m_quick{};
  QCheckBox* m_showAbandoned = nullptr;
  QCheckBox* m_dates = nullptr;
  QDateEdit* m_from = nullptr;
  QDateEdit* m_to = nullptr;
  QLabel* m_count = nullptr;
  QFileSystemWatcher* m_watcher = nullptr;
  QTimer* m_settle = nullptr;
  QTimer* m_ages = nullptr;
  std::uint64_t m_armedIno = 0;
  bool m_stale = true;
  bool m_unexplained = false;  // the file changed more than this process told
  std::string m_problem;  // the last failure to read the store, until a read succeeds
  // The order chosen before "Awaiting reply" put the oldest first.
  int m_sortColumn = static_cast<int>(ListColumn::Date);
  Qt::SortOrder m_sortOrder = Qt::DescendingOrder;
};

}  // namespace velnor
