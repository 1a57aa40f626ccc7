#pragma once
// The new-message notice, frmNewMsgPopup: one small non-modal window per received
// message, with the notice text, the arrival sound, and Open / Close. Open shows the
// message in the editor unless a message is being edited there.
#include <QWidget>
#include <cstdint>
#include <functional>
#include <string>

class QPlainTextEdit;
class QPushButton;

namespace velnor {

class Dialogs;
class Sound;
struct Settings;

struct NoticeDeps {
  Dialogs& dialogs;
  Sound& sound;
  const Settings& settings;                          // POA and POAFile, read live
  std::function<short()> editState;                   // the editor's EditState
  std::function<void(std::int32_t)> openFromNotice;  // the main window's OpenFromNotice
};

class FrmNewMsgPopup : public QWidget {
  Q_OBJECT
 public:
  FrmNewMsgPopup(NoticeDeps deps, QWidget* owner);

  // Shows the text, remembers the number, sounds the arrival and returns at once.
  void ShowNotice(const std::string& text, std::int32_t number);

  void cmdOpen_Click();
  void cmdClose_Click();

  std::int32_t number() const { return m_number; }

 private:
  NoticeDeps m_deps;
  QPlainTextEdit* m_txtNotice = nullptr;
  QPushButton* m_cmdOpen = nullptr;
  QPushButton* m_cmdClose = nullptr;
  std::int32_t m_number = 0;
};

}  // namespace velnor
