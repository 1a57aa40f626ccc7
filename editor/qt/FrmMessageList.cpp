// The main window's side of the message list: View > Message List, opening a message
// from the list, and telling the list what this process wrote to the store.
#include "editor/qt/FrmMessage.h"
#include "msglist/qt/FrmMsgList.h"

namespace velnor {

FrmMsgList* FrmMessage::msgList() const { return m_msgList; }

void FrmMessage::mnuMsgList_Click() {
  Guard("mnuMsgList_Click", [&] {
    if (!m_editor) return;
    if (!m_msgList) {
      m_msgList = new FrmMsgList(MsgListDeps{m_dataPath, m_deps.eventLog, m_settings, m_deps.clock}, this);
      connect(m_msgList, &FrmMsgList::openRequested, this, [this](std::int32_t n) { OpenFromList(n); });
    }
    m_msgList->ShowList();
  });
}

void FrmMessage::OpenFromList(std::int32_t number) {
  Guard("OpenFromList", [&] {
    if (!m_editor || !m_msgList) return;
    // Send shows its own message again when its session is over, and start-up ends on
    // an empty form.
    if (m_sendSession || m_editor->EditorMode() == EditorMode::Startup) {
      setStatus("Busy... open the message when the session is over");
      return;
    }
    if (m_editor->OpenFromList(number, m_msgList->BrowseNumbers())) StoreTouched({number});
  });
}

void FrmMessage::StoreTouched(const std::vector<std::int32_t>& numbers) {
  if (m_msgList) m_msgList->Touched(numbers);
}

}  // namespace velnor
