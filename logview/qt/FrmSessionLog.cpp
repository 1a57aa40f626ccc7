#include "logview/qt/FrmSessionLog.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QScrollBar>
#include <QSettings>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>

#include "core/Cp1252.h"
#include "logview/LogExplain.h"
#include "platform/qt/WindowState.h"

namespace velnor {

namespace {
constexpr const char* kGeometryKey = "SessionLog/geometry";
}

FrmSessionLog::FrmSessionLog(const std::string& logFile, QWidget* owner)
    : QWidget(owner, Qt::Window), m_follower(logFile) {
  setObjectName("frmSessionLog");
  setWindowTitle("Session Log");
  m_lblFile = new QLabel(this);
  m_lblFile->setObjectName("lblLogFile");
  m_lblFile->setWordWrap(true);
  m_lblFile->setTextInteractionFlags(Qt::TextSelectableByMouse);

  m_lstLog = new QTableWidget(0, 2, this);
  m_lstLog->setObjectName("lstLog");
  m_lstLog->setAccessibleName("Session log lines and what they mean");
  m_lstLog->setHorizontalHeaderLabels({"Log line", "In plain words"});
  m_lstLog->setEditTriggers(QAbstractItemView::NoEditTriggers);
  m_lstLog->setSelectionBehavior(QAbstractItemView::SelectRows);
  m_lstLog->setWordWrap(true);
  m_lstLog->setAlternatingRowColors(true);
  m_lstLog->verticalHeader()->hide();
  m_lstLog->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Interactive);
  m_lstLog->horizontalHeader()->setStretchLastSection(true);
  m_lstLog->setColumnWidth(0, 430);
  m_lblFile->setBuddy(m_lstLog);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  connect(buttons, &QDialogButtonBox::rejected, this, &QWidget::close);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(m_lblFile);
  layout->addWidget(m_lstLog, 1);
  layout->addWidget(buttons);
  resize(900, 420);
  restoreGeometry(QSettings(kStateOrganisation, kStateApplication).value(kGeometryKey).toByteArray());

  m_tmrFollow = new QTimer(this);
  m_tmrFollow->setObjectName("tmrFollow");
  m_tmrFollow->setInterval(500);
  connect(m_tmrFollow, &QTimer::timeout, this, [this] { FollowLog(); });
}

FrmSessionLog::~FrmSessionLog() = default;

void FrmSessionLog::showEvent(QShowEvent* event) {
  FollowLog();
  m_tmrFollow->start();
  QWidget::showEvent(event);
}

void FrmSessionLog::hideEvent(QHideEvent* event) {
  m_tmrFollow->stop();
  QSettings(kStateOrganisation, kStateApplication).setValue(kGeometryKey, saveGeometry());
  QWidget::hideEvent(event);
}

void FrmSessionLog::FollowLog() {
  LogFollower::News news = m_follower.Poll();
  if (news.missing != m_missing || m_lblFile->text().isEmpty()) {
    m_missing = news.missing;
    const QFileInfo file(QString::fromStdString(m_follower.path()));
    const QString where = QDir::toNativeSeparators(file.filePath());
    m_lblFile->setText(m_follower.path().empty() ? QString("Session logging has not started.")
                       : m_missing
                           ? QString("There is no session log at %1: session logging is off.").arg(where)
                           : QString("%1 in %2").arg(file.fileName(), QDir::toNativeSeparators(file.path())));
  }
  if (news.missing) return;
  if (news.restarted) m_lstLog->setRowCount(0);
  if (!news.lines.empty()) AddLines(news.lines);
}

void FrmSessionLog::AddLines(const std::vector<std::string>& lines) {
  QScrollBar* bar = m_lstLog->verticalScrollBar();
  const bool atEnd = bar->value() == bar->maximum();
  int row = m_lstLog->rowCount();
  m_lstLog->setRowCount(row + static_cast<int>(lines.size()));
  for (const std::string& line : lines) {
    const LogExplanation plain = ExplainLogLine(line);
    auto* words = new QTableWidgetItem(QString::fromStdString(Cp1252ToUtf8(plain.words)));
    if (plain.tone == LogTone::Problem) {
      words->setForeground(QColor(0xB0, 0x00, 0x00));
      QFont bold = words->font();
      bold.setBold(true);
      words->setFont(bold);
    } else if (plain.tone == LogTone::Good) {
      words->setForeground(QColor(0x00, 0x70, 0x20));
    }
    m_lstLog->setItem(row, 0, new QTableWidgetItem(QString::fromStdString(Cp1252ToUtf8(line))));
    m_lstLog->setItem(row, 1, words);
    m_lstLog->resizeRowToContents(row);
    ++row;
  }
  if (row > kMaxRows) m_lstLog->model()->removeRows(0, row - kMaxRows);
  if (atEnd) m_lstLog->scrollToBottom();
}

}  // namespace velnor
