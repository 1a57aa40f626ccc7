#pragma once
// The message list as a Qt table: a model over MsgList's rows in file order, and a proxy
// that filters and sorts them by the list's own rules.
#include <QAbstractTableModel>
#include <QSortFilterProxyModel>

#include "msglist/MsgList.h"

namespace velnor {

class MsgListModel : public QAbstractTableModel, public RowsObserver {
  Q_OBJECT
 public:
  explicit MsgListModel(MsgList& list, QObject* parent = nullptr);
  ~MsgListModel() override;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  // The Reply cells again: what awaits a reply has grown older.
  void RefreshAges();

  void beginReset() override { beginResetModel(); }
  void endReset() override { endResetModel(); }
  void beginInsert(std::size_t first, std::size_t last) override;
  void endInsert() override { endInsertRows(); }
  void beginRemove(std::size_t first, std::size_t last) override;
  void endRemove() override { endRemoveRows(); }
  void rowsChanged(std::size_t first, std::size_t last) override;

 private:
  MsgList& m_list;
};

class MsgListProxy : public QSortFilterProxyModel {
  Q_OBJECT
 public:
  MsgListProxy(MsgList& list, QObject* parent = nullptr);
  // The list's filters have changed: every row is asked again, in one layout change
  // (removing scattered rows one range at a time costs a large list far more).
  void FilterChanged() { invalidate(); }

 protected:
  bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
  bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

 private:
  MsgList& m_list;
};

}  // namespace velnor
