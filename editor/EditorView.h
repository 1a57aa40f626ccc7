#pragma once
// What the editor logic needs of the main window, so the commands run as plain C++ and
// the window stays a thin binding of widgets. All texts are station text; line breaks in
// the two bodies are CR LF, and positions count them as two characters.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "store/FormField.h"

namespace velnor {

// The commands whose availability follows the editor.
enum class Command {
  mnuPrint, mnuSave, mnuOpen, cmdNew, cmdSend, cmdSave, cmdDelete, cmdClose, cmdBrowse,
  cmdBLeft, cmdBRight, cmdEdit, cmdReply, cmdSetFieldsAsDefault
};
inline constexpr int kCommandCount = 14;

// Colours as 0x00BBGGRR. kWindowColour stands for the system's window background.
inline constexpr std::uint32_t kBlack = 0x000000;
inline constexpr std::uint32_t kBlue = 0xFF0000;
inline constexpr std::uint32_t kLightYellow = 0x80FFFF;
inline constexpr std::uint32_t kWindowColour = 0x80000005;

// A text box of the window: one of the form's fields, or TextBox::Route, the
// destination-route box txtDefaultToRoute.
class TextBox {
 public:
  static const TextBox Route;

  constexpr TextBox(Field f) : m_index(FieldIndex(f)) {}  // every field is a text box

  constexpr bool isField() const { return m_index < kFieldCount; }
  // Only for a box that isField().
  constexpr Field field() const { return static_cast<Field>(m_index); }
  // The box's place in a table of all boxes: the fields in the form's order, then the route box.
  constexpr std::size_t index() const { return m_index; }
  constexpr bool operator==(const TextBox&) const = default;

 private:
  constexpr explicit TextBox(std::size_t index) : m_index(index) {}
  std::size_t m_index;
};
inline constexpr TextBox TextBox::Route{kFieldCount};
inline constexpr std::size_t kTextBoxCount = kFieldCount + 1;

class EditorView {
 public:
  virtual ~EditorView() = default;

  // Text boxes (fields and the route box).
  virtual std::string text(TextBox box) const = 0;
  virtual void setText(TextBox box, const std::string& text) = 0;
  virtual bool readOnly(TextBox box) const = 0;
  virtual void setReadOnly(TextBox box, bool on) = 0;
  virtual void setTabStop(TextBox box, bool on) = 0;
  virtual void setEnabled(TextBox box, bool on) = 0;
  virtual std::uint32_t backColour(TextBox box) const = 0;
  virtual void setBackColour(TextBox box, std::uint32_t colour) = 0;
  virtual void setForeColour(TextBox box, std::uint32_t colour) = 0;
  virtual int selStart(TextBox box) const = 0;
  virtual std::string selectedText(TextBox box) const = 0;
  virtual void replaceSelection(TextBox box, const std::string& text) = 0;
  virtual void selectAll(TextBox box) = 0;

  virtual bool keepLocal() const = 0;
  virtual void setKeepLocal(bool on) = 0;
  virtual void setKeepLocalEnabled(bool on) = 0;
  virtual void setReplyLabelsEnabled(bool on) = 0;

  virtual void setCommandEnabled(Command c, bool on) = 0;
  virtual bool commandEnabled(Command c) const = 0;

  // Focus: a text box, or a command button.
  virtual void focusBox(TextBox box) = 0;
  virtual void focusCommand(Command c) = 0;
  // The text box that has the focus, if one has.
  virtual std::optional<TextBox> focusedBox() const = 0;

  virtual void setMsgInfo(const std::string& text) = 0;
  // The length counter under a body (Field::Message or Field::Reply); `full` when it is
  // at its limit.
  virtual void setLengthCounter(Field body, const std::string& text, bool full) = 0;
  virtual void setBrowsePtr(const std::string& text) = 0;
  virtual void setStatus(const std::string& text) = 0;
  virtual std::string status() const = 0;
  virtual void setCaption(const std::string& text) = 0;

  virtual void clearClipboard() = 0;
  virtual void setClipboardText(const std::string& text) = 0;
  virtual std::string clipboardText() const = 0;
};

}  // namespace velnor
