#pragma once
// The Help menu's windows. Help > Operator's Guide shows docs/guide.md, built into the
// program as a resource; Help > Keyboard Shortcuts lists every key of the menus, read from
// the menus themselves when the window opens, and the keys of the form.
#include <QList>
#include <QString>

class QMainWindow;
class QWidget;

namespace velnor {

QWidget* NewGuideWindow(QWidget* owner);
QWidget* NewShortcutsWindow(QMainWindow* owner);

struct ShortcutRow {
  QString keys;
  QString command;
};
// The menus' shortcuts and access keys, then the form's own keys.
QList<ShortcutRow> ShortcutRows(const QMainWindow& window);

}  // namespace velnor
