#include "msglist/qt/MsgListModel.h"

#include <QBrush>
#include <QColor>
#include <QFont>

#include "core/Cp1252.h"

namespace velnor {

namespace {

QString Q(const std::string& station) { return QString::fromStdString(Cp1252ToUtf8(station)); }

// Queued messages stand out: they go with the next session.
QColor QueuedBack() { return {255, 230, 160}; }
QColor LinkColour() { return {0, 70, 200}; }

}  // namespace

MsgListModel::MsgListModel(MsgList& list, QObject* parent) : QAbstractTableModel(parent), m_list(list) {
  m_list.setObserver(this);
}

MsgListModel::~MsgListModel() { m_list.setObserver(nullptr); }

int MsgListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_list.size());
}

int MsgListModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kListColumnCount;
}

QVariant MsgListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const auto i = static_cast<std::size_t>(index.row());
  const auto column = static_cast<ListColumn>(index.column());
  const MsgRow& r = m_list.row(i);
  const bool link = column == ListColumn::Reply && r.link != 0;
  switch (role) {
    case Qt::DisplayRole:
      return Q(m_list.Cell(i, column));
    case Qt::FontRole: {
      if (r.status != Status::Unread && !link) return {};
      QFont f;
      f.setBold(r.status == Status::Unread);
      f.setUnderline(link);
      return f;
    }
    case Qt::ForegroundRole:
      return link ? QVariant(QBrush(LinkColour())) : QVariant();
    case Qt::BackgroundRole:
      return r.status == Status::ReadyToSend ? QVariant(QBrush(QueuedBack())) : QVariant();
    case Qt::ToolTipRole:
      if (link) return QString("Double-click or Enter opens No. %1").arg(r.link);
      if (r.status == Status::ReadyToSend) return QString("Queued: goes with the next session");
      return {};
    case Qt::TextAlignmentRole:
      return column == ListColumn::No ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant();
    default:
      return {};
  }
}

QVariant MsgListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= kListColumnCount)
    return {};
  return QString(MsgList::Title(static_cast<ListColumn>(section)));
}

void MsgListModel::RefreshAges() {
  if (m_list.size() == 0) return;
  const int reply = static_cast<int>(ListColumn::Reply);
  emit dataChanged(index(0, reply), index(rowCount() - 1, reply), {Qt::DisplayRole});
}

void MsgListModel::beginInsert(std::size_t first, std::size_t last) {
  beginInsertRows({}, static_cast<int>(first), static_cast<int>(last));
}

void MsgListModel::beginRemove(std::size_t first, std::size_t last) {
  beginRemoveRows({}, static_cast<int>(first), static_cast<int>(last));
}

void MsgListModel::rowsChanged(std::size_t first, std::size_t last) {
  emit dataChanged(index(static_cast<int>(first), 0), index(static_cast<int>(last), kListColumnCount - 1));
}

MsgListProxy::MsgListProxy(MsgList& list, QObject* parent) : QSortFilterProxyModel(parent), m_list(list) {
  setDynamicSortFilter(true);
}

bool MsgListProxy::filterAcceptsRow(int sourceRow, const QModelIndex&) const {
  return sourceRow >= 0 && static_cast<std::size_t>(sourceRow) < m_list.size() &&
         m_list.Visible(static_cast<std::size_t>(sourceRow));
}

bool MsgListProxy::lessThan(const QModelIndex& left, const QModelIndex& right) const {
  return m_list.Less(static_cast<ListColumn>(left.column()), static_cast<std::size_t>(left.row()),
                     static_cast<std::size_t>(right.row()));
}

}  // namespace velnor
