#include "editor/qt/FrmNewMsgPopup.h"

#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/Settings.h"
#include "core/Cp1252.h"
#include "platform/Dialogs.h"
#include "platform/Sound.h"

namespace velnor {

FrmNewMsgPopup::FrmNewMsgPopup(NoticeDeps deps, QWidget* owner)
    : QWidget(owner, Qt::Window), m_deps(std::move(deps)) {
  setObjectName("frmNewMsgPopup");
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle("New Incoming Message");
  m_txtNotice = new QPlainTextEdit(this);
  m_txtNotice->setObjectName("txtNotice");
  m_txtNotice->setReadOnly(true);
  m_cmdOpen = new QPushButton("Open", this);
  m_cmdOpen->setObjectName("cmdOpen");
  m_cmdClose = new QPushButton("Close", this);
  m_cmdClose->setObjectName("cmdClose");
  auto* buttons = new QHBoxLayout();
  buttons->addStretch(1);
  buttons->addWidget(m_cmdOpen);
  buttons->addWidget(m_cmdClose);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(m_txtNotice);
  layout->addLayout(buttons);
  resize(360, 200);
  connect(m_cmdOpen, &QPushButton::clicked, this, [this] { cmdOpen_Click(); });
  connect(m_cmdClose, &QPushButton::clicked, this, [this] { cmdClose_Click(); });
}

void FrmNewMsgPopup::ShowNotice(const std::string& text, std::int32_t number) {
  QString q = QString::fromStdString(Cp1252ToUtf8(text));
  q.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  m_txtNotice->setPlainText(q);
  m_number = number;
  show();
  raise();
  // The wave file only for POA exactly 1; a file that will not play still gives a sound.
  if (m_deps.settings.POA == 1) {
    if (!m_deps.sound.playFileAsync(m_deps.settings.POAFile)) m_deps.sound.beep();
  } else {
    m_deps.sound.beep();
  }
}

void FrmNewMsgPopup::cmdOpen_Click() {
  if (m_deps.editState() == 2) {
    m_deps.dialogs.messageBox("Press Save, Close, or Delete for your\r\ncurrent message before Opening this message.",
                              "New Incoming Message", MsgButtons::Ok);
    return;
  }
  m_deps.openFromNotice(m_number);
  close();
}

void FrmNewMsgPopup::cmdClose_Click() { close(); }

}  // namespace velnor
