// Typing into the form: field behaviours, the limits of the fields, defaults, the
// identifier, the clipboard and inserting a text file into the body.
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "app/FileLib.h"
#include "core/StringLib.h"
#include "core/VError.h"
#include "editor/MessageEditor.h"
#include "platform/Dialogs.h"

namespace velnor {

namespace {

bool IsBody(TextBox box) { return box == TextBox(Field::Message) || box == TextBox(Field::Reply); }

// 4000 -> "4,000"
std::string Grouped(std::size_t n) {
  const std::string digits = std::to_string(n);
  std::string out;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return out;
}

std::string PlaceName(TextBox box) {
  if (box == TextBox(Field::Message)) return "the message";
  if (box == TextBox(Field::Reply)) return "the reply";
  return "this field";
}

}  // namespace

std::size_t MessageEditor::Width(TextBox box) {
  if (box == TextBox::Route) return MsgRecord::kRouteWidth - 2;  // ":0" follows
  return IsBody(box) ? MsgRecord::kBodyWidth : MsgRecord::kLineWidth;
}

std::size_t MessageEditor::LengthIn(TextBox box, const std::string& text) {
  if (!IsBody(box)) return text.size();
  // A lone CR or LF becomes CR LF as well.
  std::size_t n = text.size();
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
      ++i;
    else if (text[i] == '\r' || text[i] == '\n')
      ++n;
  }
  return n;
}

std::size_t MessageEditor::Room(TextBox box, bool overSelection) const {
  std::size_t used = m_view.text(box).size();
  if (overSelection) used -= std::min(used, m_view.selectedText(box).size());
  return used < Width(box) ? Width(box) - used : 0;
}

bool MessageEditor::Fits(TextBox box, std::size_t length, bool overSelection, const std::string& refused) {
  const std::size_t room = Room(box, overSelection);
  if (length <= room) return true;
  m_ctx.dialogs.messageBox(refused + Grouped(length) + " characters, and " + Grouped(room) + " more fit in " +
                               PlaceName(box) + " (" + Grouped(Width(box)) + " at most).",
                           kProgramTitle, MsgButtons::Ok, MsgIcon::Exclamation);
  return false;
}

bool MessageEditor::FormFitsRecord() {
  for (std::size_t i = 0; i < kTextBoxCount; ++i) {
    const TextBox box = i < kFieldCount ? TextBox(kAllFields[i]) : TextBox::Route;
    if (box == TextBox(Field::Date) || box == TextBox(Field::ReplyDate)) continue;
    // The record drops leading and trailing blanks before it counts.
    const std::size_t n = TrimSpaces(m_view.text(box)).size();
    if (n <= Width(box)) continue;
    std::string where = PlaceName(box);
    where[0] = 'T';
    m_ctx.dialogs.messageBox(where + " holds " + Grouped(n) + " characters; " + Grouped(Width(box)) +
                                 " can be kept. Shorten it, then save again.",
                             kProgramTitle, MsgButtons::Ok, MsgIcon::Exclamation);
    m_view.focusBox(box);
    return false;
  }
  return true;
}

bool MessageEditor::txtField_KeyPress(Field field, std::size_t typed) {
  bool accepted = true;
  Trap("txtField_KeyPress", [&] {
    if (m_view.readOnly(field)) return;
    if (typed > 0 && typed > Room(field, true)) {
      m_ctx.dialogs.beep();
      accepted = false;
      return;
    }
    // Typing answers the required-field mark.
    m_view.setBackColour(field, kWindowColour);
    m_view.setCommandEnabled(Command::cmdSave, true);
    m_messageSaved = false;
  });
  return accepted;
}

void MessageEditor::txtField_Change(Field field) {
  if (!IsBody(field)) return;
  Trap("txtField_Change", [&] {
    const std::size_t n = m_view.text(field).size();
    m_view.setLengthCounter(field, Grouped(n) + " / " + Grouped(Width(field)), n >= Width(field));
  });
}

void MessageEditor::PasteInto(TextBox box, const std::string& text) {
  Trap("mnuPaste_Click", [&] {
    if (!Fits(box, LengthIn(box, text), true, "Nothing was pasted: the clipboard holds ")) return;
    m_view.replaceSelection(box, text);
    m_messageSaved = false;
  });
}

bool MessageEditor::AcceptInsert(TextBox box, const std::string& text, bool pasted) {
  bool accepted = false;
  Trap("AcceptInsert", [&] {
    const char* refused =
        pasted ? "Nothing was pasted: the clipboard holds " : "Nothing was dropped: the text holds ";
    if (!Fits(box, LengthIn(box, text), true, refused)) return;
    if (box.isField()) txtField_KeyPress(box.field());
    accepted = true;
  });
  return accepted;
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
    if (const auto box = m_view.focusedBox()) PasteInto(*box, m_view.clipboardText());
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
    // The content goes in before the selection, which stays.
    if (!Fits(target, LengthIn(target, content), false, "Nothing was inserted: the file holds ")) return;
    const std::string text = m_view.text(target);
    const std::size_t s = std::min(text.size(), static_cast<std::size_t>(std::max(0, m_view.selStart(target))));
    m_view.setText(target, text.substr(0, s) + content + text.substr(s));
    m_messageSaved = false;
  });
}

}  // namespace velnor
