#pragma once
// Dialogs on Qt's standard message box, input dialog and file dialog. The owner window
// (may be null) parents every dialog so it stays modal to it.
#include <QPointer>
#include <QWidget>

#include "platform/Dialogs.h"

namespace velnor {

class QtDialogs : public Dialogs {
 public:
  explicit QtDialogs(QWidget* owner = nullptr) : m_owner(owner) {}
  void setOwner(QWidget* owner) { m_owner = owner; }

  MsgAnswer messageBox(const std::string& text, const std::string& caption, MsgButtons buttons,
                       MsgIcon icon) override;
  int choose(const std::string& text, const std::string& caption, const std::vector<std::string>& buttons,
             int preferred, int escape, MsgIcon icon) override;
  std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                      const std::string& preset) override;
  std::string openFileDialog(const FileDialogRequest& request) override;
  void beep() override;

  // "All Files (*.*)|*.*|Text Files (*.txt)|*.txt" -> Qt's ";;"-separated filter list.
  static QStringList FilterList(const std::string& filter);

 private:
  QPointer<QWidget> m_owner;
};

}  // namespace velnor
