// Typing into the form: field behaviours, defaults, the identifier, the clipboard and
// inserting a text file into the body.
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "app/FileLib.h"
#include "core/StringLib.h"
#include "core/VError.h"
#include "editor/MessageEditor.h"
#include "platform/Dialogs.h"

namespace velnor {

void MessageEditor::txtField_KeyPress(int index) {
  Trap("txtField_KeyPress", [&] {
    if (m_view.readOnly(index)) return;
    // Typing answers the required-field mark.
    m_view.setBackColour(index, kWindowColour);
    m_view.setCommandEnabled(Command::cmdSave, true);
    m_messageSaved = false;
  });
}

void MessageEditor::txtField_GotFocus(int index) {
  Trap("txtField_GotFocus", [&] {
    // The two bodies keep the cursor where the click put it.
    if (index != 6 && index != 10) m_view.selectAll(index);
  });
}

void MessageEditor::txtField_LostFocus(int index) {
  Trap("txtField_LostFocus", [&] {
    if (index != 2 && index != 3) return;
    // The sender signs the message.
    m_view.setText(7, Trim(m_view.text(2)));
    m_view.setText(8, Trim(m_view.text(3)));
  });
}

char MessageEditor::txtDefaultToRoute_KeyPress(char key) { return ToUpperCp1252(key); }

void MessageEditor::cmdSetFieldsAsDefault_Click() {
  Trap("cmdSetFieldsAsDefault_Click", [&] {
    Settings& s = m_ctx.settings;
    s.DefTo = Trim(m_view.text(0));
    s.DefToPos = Trim(m_view.text(1));
    s.DefFr = Trim(m_view.text(2));
    s.DefFrPos = Trim(m_view.text(3));
    s.IcdName = Trim(m_view.text(9));
    WriteSettings(m_ctx.settingsFile, s);
  });
}

void MessageEditor::mnuIdentifier_Click() {
  Trap("mnuIdentifier_Click", [&] {
    Settings& s = m_ctx.settings;
    const std::string previous = s.LoginName;
    const auto answer =
        m_ctx.dialogs.inputBox("Enter your Identifier (i.e.: name, callsign, etc)", "Identifier", s.LoginName);
    s.LoginName = answer && !answer->empty() ? ToUpperCp1252(*answer) : previous;
    m_view.setCaption(MainCaption());
    WriteSettings(m_ctx.settingsFile, s);
  });
}

void MessageEditor::mnuCopy_Click() {
  Trap("mnuCopy_Click", [&] {
    m_view.clearClipboard();
    const int box = m_view.focusedBox();
    if (box != kNoTextBox) m_view.setClipboardText(m_view.selectedText(box));
  });
}

void MessageEditor::MnuCut_Click() {
  Trap("MnuCut_Click", [&] {
    mnuCopy_Click();
    const int box = m_view.focusedBox();
    if (box != kNoTextBox) m_view.replaceSelection(box, "");
  });
}

void MessageEditor::mnuPaste_Click() {
  Trap("mnuPaste_Click", [&] {
    const int box = m_view.focusedBox();
    if (box == kNoTextBox) return;
    m_view.replaceSelection(box, m_view.clipboardText());
    m_messageSaved = false;
  });
}

void MessageEditor::mnuOpen_Click() {
  Trap("mnuOpen_Click", [&] {
    FileDialogRequest req;
    req.title = "Select the destination file name";
    req.filter = "All Files (*.*)|*.*|Text Files (*.txt)|*.txt|Script Files (*.osl)|*.osl";
    req.filterIndex = 2;
    req.defaultExt = "txt";
    req.initialDir = m_ctx.dataPath;
    req.pathMustExist = true;
    const std::string path = m_ctx.dialogs.openFileDialog(req);
    if (path.empty()) return;
    auto cannotRead = [&](const std::string& why) {
      m_ctx.dialogs.messageBox("The file could not be read:\r\n" + path + "\r\n" + why, kProgramTitle, MsgButtons::Ok,
                               MsgIcon::Exclamation);
    };
    // A folder is there but holds no text: say so rather than insert nothing silently.
    if (std::error_code ec; std::filesystem::is_directory(path, ec)) {
      cannotRead("It is a folder, not a file.");
      return;
    }
    std::string content;
    try {
      content = FileLib::ReadTextFileContents(path, m_ctx.eventLog);
    } catch (const VError& e) {
      cannotRead(e.description());
      return;
    }
    const Kind kind = m_rec.rec().Kind();
    if (kind != Kind::Message && kind != Kind::Reply) return;
    const int target = kind == Kind::Message ? 6 : 10;
    const std::string text = m_view.text(target);
    const std::size_t s = std::min(text.size(), static_cast<std::size_t>(std::max(0, m_view.selStart(target))));
    m_view.setText(target, text.substr(0, s) + content + text.substr(s));
    m_messageSaved = false;
  });
}

}  // namespace velnor
