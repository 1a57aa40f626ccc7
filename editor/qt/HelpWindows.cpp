#include "editor/qt/HelpWindows.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QFile>
#include <QHeaderView>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTableWidget>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace velnor {

namespace {

// A window with a body and a Close button.
QWidget* NewHelpWindow(QWidget* owner, const char* name, const QString& title, QWidget* body) {
  auto* window = new QWidget(owner, Qt::Window);
  window->setObjectName(name);
  window->setWindowTitle(title);
  body->setParent(window);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, window);
  QObject::connect(buttons, &QDialogButtonBox::rejected, window, &QWidget::close);
  auto* layout = new QVBoxLayout(window);
  layout->addWidget(body, 1);
  layout->addWidget(buttons);
  return window;
}

// "&Open..." as the menu shows it: "Open...".
QString Caption(QString text) {
  text.replace("&&", QChar(0x1));
  text.remove('&');
  text.replace(QChar(0x1), '&');
  return text;
}

// The letter marked by "&", as a key; empty when there is none.
QString AccessKey(const QString& text) {
  const QKeySequence key = QKeySequence::mnemonic(text);
  if (key.isEmpty()) return {};
  return QKeySequence(key[0].key()).toString(QKeySequence::NativeText);
}

void AddMenu(const QMenu& menu, const QString& path, const QString& openKeys, QList<ShortcutRow>& rows) {
  for (QAction* a : menu.actions()) {
    if (a->isSeparator() || !a->isVisible()) continue;
    const QString name = path + " > " + Caption(a->text());
    const QString letter = AccessKey(a->text());
    const QString byLetter = letter.isEmpty() || openKeys.isEmpty() ? QString() : openKeys + ", " + letter;
    if (a->menu()) {
      AddMenu(*a->menu(), name, byLetter, rows);
      continue;
    }
    QStringList keys;
    for (const QKeySequence& k : a->shortcuts()) keys << k.toString(QKeySequence::NativeText);
    if (!byLetter.isEmpty()) keys << byLetter;
    if (!keys.isEmpty()) rows.push_back({keys.join("  or  "), name});
  }
}

}  // namespace

QList<ShortcutRow> ShortcutRows(const QMainWindow& window) {
  QList<ShortcutRow> rows;
  for (QAction* top : window.menuBar()->actions()) {
    if (!top->menu() || !top->isVisible()) continue;
    const QString title = Caption(top->text());
    const QString letter = AccessKey(top->text());
    const QString open = letter.isEmpty() ? QString() : "Alt+" + letter;
    if (!open.isEmpty()) rows.push_back({open, "Open the " + title + " menu"});
    AddMenu(*top->menu(), title, open, rows);
  }
  rows.push_back(
      {"Tab", "Next field, in the order of the paper form; then the routing box and the command buttons"});
  rows.push_back({"Shift+Tab", "Previous field"});
  rows.push_back({"Space",
                  "Presses the command button you clicked, or moved to from another button; "
                  "a Tab from a field onto a button leaves it unpressed"});
  return rows;
}

QWidget* NewGuideWindow(QWidget* owner) {
  auto* text = new QTextBrowser();
  text->setObjectName("txtGuide");
  text->setAccessibleName("Operator's Guide");
  text->setOpenExternalLinks(true);
  QFile guide(":/help/guide.md");
  text->setMarkdown(guide.open(QIODevice::ReadOnly) ? QString::fromUtf8(guide.readAll())
                                                    : QString("The guide is missing from this build."));
  QWidget* window = NewHelpWindow(owner, "frmGuide", "Operator's Guide", text);
  window->resize(760, 680);
  return window;
}

QWidget* NewShortcutsWindow(QMainWindow* owner) {
  const QList<ShortcutRow> rows = ShortcutRows(*owner);
  auto* table = new QTableWidget(static_cast<int>(rows.size()), 2);
  table->setObjectName("lstShortcuts");
  table->setAccessibleName("Keyboard shortcuts");
  table->setHorizontalHeaderLabels({"Keys", "Command"});
  table->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table->setSelectionBehavior(QAbstractItemView::SelectRows);
  table->setWordWrap(true);
  table->verticalHeader()->hide();
  for (int i = 0; i < rows.size(); ++i) {
    table->setItem(i, 0, new QTableWidgetItem(rows[i].keys));
    table->setItem(i, 1, new QTableWidgetItem(rows[i].command));
  }
  table->resizeColumnToContents(0);
  table->horizontalHeader()->setStretchLastSection(true);
  table->resizeRowsToContents();
  QWidget* window = NewHelpWindow(owner, "frmShortcuts", "Keyboard Shortcuts", table);
  window->resize(620, 560);
  return window;
}

}  // namespace velnor
