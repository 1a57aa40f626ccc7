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

void MessageEditor::txtField_KeyPress(Field field) {
  Trap("txtField_KeyPress", [&] {
    if (m_view.readOnly(field)) return;
    // Typing answers the required-field mark.
    m_view.setBackColour(field, kWindowColour);
    m_view.setCommandEnabled(Command::cmdSave, true);
    m_messageSaved = false;
  });
}

void MessageEditor::txtField_GotFocus(Field field) {
  Trap("txtField_GotFocus", [&] {
    // The two bodies keep the cursor where the click put it.
    if (field != Field::Message && field != Field::Reply) m_view.selectAll(field);
  });
}

void MessageEditor::txtField_LostFocus(Field field) {
  Trap("txtField_LostFocus", [&] {
    if (field != Field::From && field != Field::FromPos) return;
    // The sender signs the message.
    m_view.setText(Field::Signature, Trim(m_view.text(Field::From)));
    m_view.setText(Field::SignaturePos, Trim(m_view.text(Field::FromPos)));
  });
}

char MessageEditor::txtDefaultToRoute_KeyPress(char key) { return ToUpperCp1252(key); }

void MessageEditor::cmdSetFieldsAsDefault_Click() {
  Trap("cmdSetFieldsAsDefault_Click", [&] {
    Settings& s = m_ctx.settings;
    s.DefTo = Trim(m_view.text(Field::To));
    s.DefToPos = Trim(m_view.text(Field::ToPos));
    s.DefFr = Trim(m_view.text(Field::From));
    s.DefFrPos = Trim(m_view.text(Field::FromPos));
    s.IcdName = Trim(m_view.text(Field::IncidentName));
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
    if (const auto box = m_view.focusedBox()) m_view.setClipboardText(m_view.selectedText(*box));
  });
}

void MessageEditor::MnuCut_Click() {
  Trap("MnuCut_Click", [&] {
    mnuCopy_Click();
    if (const auto box = m_view.focusedBox()) m_view.replaceSelection(*box, "");
  });
}

void MessageEditor::mnuPaste_Click() {
  Trap("mnuPaste_Click", [&] {
    const auto box = m_view.focusedBox();
    if (!box) return;
    m_view.replaceSelection(*box, m_view.clipboardText());
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
    const Field target = kind == Kind::Message ? Field::Message : Field::Reply;
    const std::string text = m_view.text(target);
    const std::size_t s = std::min(text.size(), static_cast<std::size_t>(std::max(0, m_view.selStart(target))));
    m_view.setText(target, text.substr(0, s) + content + text.substr(s));
    m_messageSaved = false;
  });
}

}  // namespace velnor
