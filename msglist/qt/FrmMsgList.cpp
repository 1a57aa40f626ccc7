#include "msglist/qt/FrmMsgList.h"

#include <sys/stat.h>

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QDateEdit>
#include <QFileSystemWatcher>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QShortcut>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>

#include "core/Clock.h"
#include "core/Cp1252.h"
#include "core/DateTime.h"
#include "core/VError.h"
#include "msglist/qt/MsgListModel.h"

namespace velnor {

namespace {

// Another program's writes come in bursts (a new message is a header and a record): one
// read once they have settled.
constexpr int kSettleMs = 150;
constexpr int kAgeRefreshMs = 60'000;

struct QuickButton {
  QuickFilter filter;
  const char* name;
  const char* caption;
};
constexpr QuickButton kQuickButtons[kQuickFilterCount] = {
    {QuickFilter::All, "optAll", "&All"},
    {QuickFilter::Unread, "optUnread", "&Unread"},
    {QuickFilter::Queued, "optQueued", "&Queued"},
    {QuickFilter::Drafts, "optDrafts", "D&rafts"},
    {QuickFilter::Sent, "optSent", "&Sent"},
    {QuickFilter::Received, "optReceived", "Recei&ved"},
    {QuickFilter::AwaitingReply, "optAwaiting", "A&waiting reply"},
};

const char* const kGroup = "MessageList";

double OleDay(const QDate& d) { return ToOleDate({d.year(), d.month(), d.day()}); }

}  // namespace

FrmMsgList::FrmMsgList(MsgListDeps deps, QWidget* owner)
    : QWidget(owner, Qt::Window),
      m_deps(std::move(deps)),
      m_list(m_deps.dataPath, m_deps.eventLog, m_deps.settings, m_deps.clock) {
  setObjectName("frmMsgList");
  setWindowTitle("Message List");
  Build();
  RestoreState();

  m_watcher = new QFileSystemWatcher(this);
  m_settle = new QTimer(this);
  m_settle->setSingleShot(true);
  m_settle->setInterval(kSettleMs);
  connect(m_watcher, &QFileSystemWatcher::fileChanged, this, [this] { StoreEvent(); });
  connect(m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] { StoreEvent(); });
  connect(m_settle, &QTimer::timeout, this, [this] {
    if (!isVisible()) return;
    Run([this] {
      if (m_stale || m_unexplained || m_list.FileChanged()) Reload();
      m_unexplained = false;
    });
  });
  m_ages = new QTimer(this);
  m_ages->setInterval(kAgeRefreshMs);
  connect(m_ages, &QTimer::timeout, this, [this] { m_model->RefreshAges(); });
  m_ages->start();
  Arm();
}

FrmMsgList::~FrmMsgList() {
  if (isVisible()) SaveState();
}

void FrmMsgList::Build() {
  auto* layout = new QVBoxLayout(this);

  auto* top = new QHBoxLayout();
  auto* searchLabel = new QLabel("Searc&h:", this);
  m_search = new QLineEdit(this);
  m_search->setObjectName("txtSearch");
  m_search->setAccessibleName("Search");
  m_search->setPlaceholderText("Words from any field, the message included");
  m_search->setClearButtonEnabled(true);
  m_search->installEventFilter(this);
  searchLabel->setBuddy(m_search);
  m_showAbandoned = new QCheckBox("Show a&bandoned", this);
  m_showAbandoned->setObjectName("chkShowAbandoned");
  top->addWidget(searchLabel);
  top->addWidget(m_search, 1);
  top->addWidget(m_showAbandoned);
  layout->addLayout(top);

  auto* quick = new QHBoxLayout();
  auto* group = new QButtonGroup(this);
  for (const QuickButton& q : kQuickButtons) {
    auto* b = new QPushButton(q.caption, this);
    b->setObjectName(q.name);
    b->setCheckable(true);
    b->setAutoDefault(false);
    group->addButton(b);
    quick->addWidget(b);
    m_quick[static_cast<std::size_t>(q.filter)] = b;
    connect(b, &QPushButton::clicked, this, [this, f = q.filter] { QuickChosen(f); });
  }
  m_quick[0]->setChecked(true);
  quick->addStretch(1);
  layout->addLayout(quick);

  auto* days = new QHBoxLayout();
  m_dates = new QCheckBox("&Dates from", this);
  m_dates->setObjectName("chkDates");
  const DateParts today = FromOleDate(m_deps.clock.now());
  m_from = new QDateEdit(QDate(today.year, today.month, today.day), this);
  m_from->setObjectName("dtpFrom");
  m_from->setAccessibleName("First day");
  auto* toLabel = new QLabel("to", this);
  m_to = new QDateEdit(QDate(today.year, today.month, today.day), this);
  m_to->setObjectName("dtpTo");
  m_to->setAccessibleName("Last day");
  toLabel->setBuddy(m_to);
  for (QDateEdit* d : {m_from, m_to}) {
    d->setCalendarPopup(true);
    d->setDisplayFormat("yyyy-MM-dd");
    d->setEnabled(false);
    connect(d, &QDateEdit::dateChanged, this, [this] { DatesChanged(); });
  }
  days->addWidget(m_dates);
  days->addWidget(m_from);
  days->addWidget(toLabel);
  days->addWidget(m_to);
  days->addStretch(1);
  layout->addLayout(days);

  m_model = new MsgListModel(m_list, this);
  m_proxy = new MsgListProxy(m_list, this);
  m_proxy->setSourceModel(m_model);
  m_grid = new QTableView(this);
  m_grid->setObjectName("grdMessages");
  m_grid->setAccessibleName("Messages");
  m_grid->setModel(m_proxy);
  m_grid->setSelectionBehavior(QAbstractItemView::SelectRows);
  m_grid->setSelectionMode(QAbstractItemView::SingleSelection);
  m_grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
  m_grid->setWordWrap(false);
  m_grid->verticalHeader()->hide();
  m_grid->verticalHeader()->setDefaultSectionSize(m_grid->fontMetrics().height() + 6);
  m_grid->horizontalHeader()->setSectionsMovable(true);
  m_grid->horizontalHeader()->setHighlightSections(false);
  const int widths[kListColumnCount] = {44, 130, 50, 68, 95, 95, 190, 130, 105, 175};
  for (int c = 0; c < kListColumnCount; ++c) m_grid->horizontalHeader()->resizeSection(c, widths[c]);
  m_grid->horizontalHeader()->setSortIndicator(m_sortColumn, m_sortOrder);
  m_grid->setSortingEnabled(true);
  layout->addWidget(m_grid, 1);

  auto* bottom = new QHBoxLayout();
  m_count = new QLabel(this);
  m_count->setObjectName("lblCount");
  auto* open = new QPushButton("&Open", this);
  open->setObjectName("cmdOpen");
  open->setAutoDefault(false);
  auto* closeButton = new QPushButton("&Close", this);
  closeButton->setObjectName("cmdClose");
  closeButton->setAutoDefault(false);
  bottom->addWidget(m_count, 1);
  bottom->addWidget(open);
  bottom->addWidget(closeButton);
  layout->addLayout(bottom);

  connect(m_search, &QLineEdit::textChanged, this, [this](const QString& text) {
    Run([&] { m_list.SetSearch(Utf8ToCp1252(text.toStdString())); });
    FiltersChanged();
  });
  connect(m_showAbandoned, &QCheckBox::toggled, this, [this](bool on) {
    m_list.SetShowAbandoned(on);
    FiltersChanged();
  });
  connect(m_dates, &QCheckBox::toggled, this, [this](bool on) {
    m_from->setEnabled(on);
    m_to->setEnabled(on);
    DatesChanged();
  });
  connect(m_grid, &QTableView::activated, this, [this](const QModelIndex& index) { Open(index); });
  connect(open, &QPushButton::clicked, this, [this] { Open(m_grid->currentIndex()); });
  connect(closeButton, &QPushButton::clicked, this, [this] { close(); });
  auto* find = new QShortcut(QKeySequence::Find, this);
  connect(find, &QShortcut::activated, this, [this] { m_search->setFocus(Qt::ShortcutFocusReason); });
  // Ctrl+L, which brings the list up from the form, goes back to the form.
  auto* back = new QShortcut(QKeySequence("Ctrl+L"), this);
  connect(back, &QShortcut::activated, this, [this] {
    if (QWidget* form = parentWidget()) {
      form->raise();
      form->activateWindow();
    }
  });
  // Escape empties the search first, and closes the window after.
  auto* escape = new QShortcut(Qt::Key_Escape, this);
  connect(escape, &QShortcut::activated, this, [this] {
    if (m_search->text().isEmpty())
      close();
    else
      m_search->clear();
  });
  resize(1000, 480);
}

bool FrmMsgList::eventFilter(QObject* watched, QEvent* event) {
  // From the search box: Down goes into the list, Enter opens what is selected there (or
  // the first message found).
  if (watched == m_search && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Down || key == Qt::Key_Return || key == Qt::Key_Enter) {
      QModelIndex current = m_grid->currentIndex();
      if (!current.isValid() && m_proxy->rowCount() > 0) current = m_proxy->index(0, 0);
      if (key == Qt::Key_Down) {
        m_grid->setFocus(Qt::TabFocusReason);
        if (current.isValid()) m_grid->setCurrentIndex(current);
      } else if (current.isValid()) {
        Open(m_proxy->index(current.row(), static_cast<int>(ListColumn::No)));
      }
      return true;
    }
  }
  return QWidget::eventFilter(watched, event);
}

void FrmMsgList::Run(const std::function<void()>& f) {
  try {
    f();
    m_problem.clear();
  } catch (const VError& e) {
    m_problem = "The store could not be read: " + e.description();
  } catch (const std::exception& e) {
    m_problem = std::string("The store could not be read: ") + e.what();
  }
  UpdateCounts();
}

void FrmMsgList::ShowList() {
  show();
  raise();
  activateWindow();
  if (m_stale) Run([this] { Reload(); });
  m_search->setFocus(Qt::OtherFocusReason);
}

void FrmMsgList::Reload() {
  const std::int32_t selected = SelectedNumber();
  QApplication::setOverrideCursor(Qt::WaitCursor);
  try {
    m_stale = true;
    m_list.Reload();
    m_stale = false;
  } catch (...) {
    QApplication::restoreOverrideCursor();
    throw;
  }
  QApplication::restoreOverrideCursor();
  Select(selected);
}

void FrmMsgList::Touched(const std::vector<std::int32_t>& numbers) {
  // A hidden list is read again when it is shown.
  if (!isVisible() || m_stale) {
    m_stale = true;
    return;
  }
  Run([&] { m_list.Touched(numbers); });
  Arm();
}

void FrmMsgList::Arm() {
  // The file watch is on the file itself: DeleteOne's rename puts another file under the
  // name, and the watch must follow it. The directory's watch sees that rename.
  const QString dir = QString::fromStdString(m_deps.dataPath);
  const QString store = dir + "/velnor.odb";
  if (!m_watcher->directories().contains(dir)) m_watcher->addPath(dir);
  struct stat st {};
  const bool exists = ::stat(store.toLocal8Bit().constData(), &st) == 0;
  const std::uint64_t ino = exists ? static_cast<std::uint64_t>(st.st_ino) : 0;
  if (m_watcher->files().contains(store) && ino == m_armedIno) return;
  m_watcher->removePath(store);
  m_armedIno = 0;
  if (exists && m_watcher->addPath(store)) m_armedIno = ino;
}

void FrmMsgList::StoreEvent() {
  Arm();
  // Velnor tells the list of its own writes before it comes back to the event loop, so a
  // file that differs now was written by someone else, even if Velnor writes again
  // before the settling time is over.
  if (m_list.FileChanged()) m_unexplained = true;
  m_settle->start();
}

void FrmMsgList::FiltersChanged() {
  m_proxy->FilterChanged();
  UpdateCounts();
}

void FrmMsgList::QuickChosen(QuickFilter f) {
  const bool wasAwaiting = m_list.quickFilter() == QuickFilter::AwaitingReply;
  auto* header = m_grid->horizontalHeader();
  // What is still open, oldest first; the order chosen before comes back after.
  if (f == QuickFilter::AwaitingReply && !wasAwaiting) {
    m_sortColumn = header->sortIndicatorSection();
    m_sortOrder = header->sortIndicatorOrder();
    m_grid->sortByColumn(static_cast<int>(ListColumn::Date), Qt::AscendingOrder);
  } else if (f != QuickFilter::AwaitingReply && wasAwaiting) {
    m_grid->sortByColumn(m_sortColumn, m_sortOrder);
  }
  m_quick[static_cast<std::size_t>(f)]->setChecked(true);
  m_list.SetQuickFilter(f);
  FiltersChanged();
}

void FrmMsgList::DatesChanged() {
  if (m_dates->isChecked()) {
    m_list.SetDateRange(DayRange{OleDay(m_from->date()), OleDay(m_to->date())});
  } else {
    m_list.SetDateRange(std::nullopt);
  }
  FiltersChanged();
}

void FrmMsgList::UpdateCounts() {
  const auto counts = m_list.Counts();
  for (const QuickButton& q : kQuickButtons) {
    const auto f = static_cast<std::size_t>(q.filter);
    m_quick[f]->setText(QString("%1 (%2)").arg(q.caption).arg(counts[f]));
  }
  QString text = QString("%1 of %2 messages").arg(m_proxy->rowCount()).arg(counts[0]);
  if (!m_problem.empty()) text += " - " + QString::fromStdString(Cp1252ToUtf8(m_problem));
  m_count->setText(text);
}

void FrmMsgList::Open(const QModelIndex& index) {
  if (!index.isValid()) return;
  const auto row = static_cast<std::size_t>(m_proxy->mapToSource(index).row());
  if (row >= m_list.size()) return;
  const std::int32_t link = m_list.Link(row);
  // The Reply cell is a link: to the reply, or to the message a reply answers.
  emit openRequested(
      index.column() == static_cast<int>(ListColumn::Reply) && link != 0 ? link : m_list.row(row).number);
}

std::int32_t FrmMsgList::SelectedNumber() const {
  const QModelIndex current = m_grid->currentIndex();
  if (!current.isValid()) return 0;
  const int row = m_proxy->mapToSource(current).row();
  return row >= 0 && static_cast<std::size_t>(row) < m_list.size()
             ? m_list.row(static_cast<std::size_t>(row)).number
             : 0;
}

void FrmMsgList::Select(std::int32_t number) {
  const auto row = m_list.RowOf(number);
  if (!row) return;
  const QModelIndex index = m_proxy->mapFromSource(m_model->index(static_cast<int>(*row), 0));
  if (index.isValid()) m_grid->setCurrentIndex(index);
}

void FrmMsgList::hideEvent(QHideEvent* event) {
  SaveState();
  // Minimised it still follows the store; closed it is read again when shown.
  if (!event->spontaneous()) m_stale = true;
  QWidget::hideEvent(event);
}

void FrmMsgList::SaveState() const {
  QSettings s("velnor", "velnor");
  s.beginGroup(kGroup);
  s.setValue("geometry", saveGeometry());
  s.setValue("columns", m_grid->horizontalHeader()->saveState());
}

void FrmMsgList::RestoreState() {
  QSettings s("velnor", "velnor");
  s.beginGroup(kGroup);
  const QByteArray columns = s.value("columns").toByteArray();
  if (!columns.isEmpty()) m_grid->horizontalHeader()->restoreState(columns);
  const QByteArray geometry = s.value("geometry").toByteArray();
  if (!geometry.isEmpty() && restoreGeometry(geometry)) return;
  // The first time: beside the main form, as far as the screen allows.
  if (QWidget* owner = parentWidget()) {
    const QRect screen = owner->screen() ? owner->screen()->availableGeometry() : QRect();
    QPoint at = owner->frameGeometry().topRight() + QPoint(8, 0);
    if (screen.isValid() && at.x() + width() > screen.right())
      at.setX(std::max(screen.left(), screen.right() - width()));
    move(at);
  }
}

}  // namespace velnor
