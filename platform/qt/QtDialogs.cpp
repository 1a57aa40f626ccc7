#include "platform/qt/QtDialogs.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

#include "core/Cp1252.h"

namespace velnor {

namespace {
QString Q(const std::string& station) {
  QString q = QString::fromStdString(Cp1252ToUtf8(station));
  q.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  return q;
}
std::string S(const QString& q) { return Utf8ToCp1252(q.toStdString()); }

// Refuses a name whose folder is not there while the dialog stays open, as the operator
// expects of a dialog that asks for an existing path.
class OpenDialog : public QFileDialog {
 public:
  using QFileDialog::QFileDialog;
  bool pathMustExist = false;

 protected:
  void accept() override {
    const QStringList chosen = selectedFiles();
    if (pathMustExist && !chosen.isEmpty() && !QFileInfo(chosen.front()).dir().exists()) {
      QMessageBox::warning(
          this, windowTitle(),
          chosen.front() + QStringLiteral("\nThis folder does not exist.\nCheck the path and try again."));
      return;
    }
    QFileDialog::accept();
  }
};
}  // namespace

namespace {
void Dress(QMessageBox& box, const std::string& text, const std::string& caption, MsgIcon icon) {
  box.setWindowTitle(Q(caption.empty() ? std::string(kProgramTitle) : caption));
  box.setText(Q(text));
  switch (icon) {
    case MsgIcon::Exclamation: box.setIcon(QMessageBox::Warning); break;
    case MsgIcon::Information: box.setIcon(QMessageBox::Information); break;
    case MsgIcon::Critical: box.setIcon(QMessageBox::Critical); break;
    case MsgIcon::None: break;
  }
}
}  // namespace

int QtDialogs::choose(const std::string& text, const std::string& caption,
                      const std::vector<std::string>& buttons, int preferred, int escape, MsgIcon icon) {
  QMessageBox box(m_owner);
  Dress(box, text, caption, icon);
  std::vector<QPushButton*> added;
  for (const std::string& b : buttons) added.push_back(box.addButton(Q(b), QMessageBox::ActionRole));
  const auto at = [&](int i) { return i >= 0 && i < static_cast<int>(added.size()) ? added[i] : nullptr; };
  if (QPushButton* p = at(preferred)) box.setDefaultButton(p);
  if (QPushButton* e = at(escape)) box.setEscapeButton(e);
  box.exec();
  for (std::size_t i = 0; i < added.size(); ++i) {
    if (box.clickedButton() == added[i]) return static_cast<int>(i);
  }
  return escape;
}

MsgAnswer QtDialogs::messageBox(const std::string& text, const std::string& caption, MsgButtons buttons,
                                MsgIcon icon) {
  QMessageBox box(m_owner);
  Dress(box, text, caption, icon);
  if (buttons == MsgButtons::YesNo) {
    box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
    box.setDefaultButton(QMessageBox::Yes);
    return box.exec() == QMessageBox::Yes ? MsgAnswer::Yes : MsgAnswer::No;
  }
  box.setStandardButtons(QMessageBox::Ok);
  box.exec();
  return MsgAnswer::Ok;
}

std::optional<std::string> QtDialogs::inputBox(const std::string& prompt, const std::string& title,
                                               const std::string& preset) {
  bool ok = false;
  const QString answer = QInputDialog::getText(m_owner, Q(title), Q(prompt), QLineEdit::Normal, Q(preset), &ok);
  if (!ok) return std::nullopt;
  return S(answer);
}

QStringList QtDialogs::FilterList(const std::string& filter) {
  const QStringList parts = Q(filter).split('|');
  QStringList out;
  for (int i = 0; i + 1 < parts.size(); i += 2) {
    QString patterns = parts[i + 1];
    patterns.replace(';', ' ');
    // Qt reads the patterns from the parentheses of the description.
    out << (parts[i].contains('(') ? parts[i] : parts[i] + " (" + patterns + ")");
  }
  return out;
}

std::string QtDialogs::openFileDialog(const FileDialogRequest& request) {
  OpenDialog dialog(m_owner, Q(request.title), Q(request.initialDir));
  dialog.pathMustExist = request.pathMustExist;
  dialog.setAcceptMode(QFileDialog::AcceptOpen);
  // A name with no file behind it is an answer too (the caller decides what it means);
  // a desktop's own open dialog may refuse one, so Qt's dialog is used everywhere.
  dialog.setFileMode(QFileDialog::AnyFile);
  dialog.setOption(QFileDialog::DontUseNativeDialog);
  const QStringList filters = FilterList(request.filter);
  if (!filters.isEmpty()) {
    dialog.setNameFilters(filters);
    const int index = request.filterIndex - 1;
    if (index >= 0 && index < filters.size()) dialog.selectNameFilter(filters[index]);
  }
  if (!request.defaultExt.empty()) dialog.setDefaultSuffix(Q(request.defaultExt));
  if (!request.fileName.empty()) dialog.selectFile(Q(request.fileName));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
  return S(dialog.selectedFiles().front());
}

void QtDialogs::beep() { QApplication::beep(); }

}  // namespace velnor
