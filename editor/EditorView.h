#pragma once
// What the editor logic needs of the main window, so the commands run as plain C++ and
// the window stays a thin binding of widgets. All texts are station text; line breaks in
// the two bodies are CR LF, and positions count them as two characters.
//
// Text boxes are numbered: 0..13 the form's fields txtField(0)..txtField(13), kRouteBox
// the destination-route box txtDefaultToRoute.
#include <cstdint>
#include <string>

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

inline constexpr int kFieldCount = 14;
inline constexpr int kRouteBox = 14;
inline constexpr int kNoTextBox = -1;

class EditorView {
 public:
  virtual ~EditorView() = default;

  // Text boxes (fields and the route box).
  virtual std::string text(int box) const = 0;
  virtual void setText(int box, const std::string& text) = 0;
  virtual bool readOnly(int box) const = 0;
  virtual void setReadOnly(int box, bool on) = 0;
  virtual void setTabStop(int box, bool on) = 0;
  virtual void setEnabled(int box, bool on) = 0;
  virtual std::uint32_t backColour(int box) const = 0;
  virtual void setBackColour(int box, std::uint32_t colour) = 0;
  virtual void setForeColour(int box, std::uint32_t colour) = 0;
  virtual int selStart(int box) const = 0;
  virtual std::string selectedText(int box) const = 0;
  virtual void replaceSelection(int box, const std::string& text) = 0;
  virtual void selectAll(int box) = 0;

  virtual bool keepLocal() const = 0;
  virtual void setKeepLocal(bool on) = 0;
  virtual void setKeepLocalEnabled(bool on) = 0;
  virtual void setReplyLabelsEnabled(bool on) = 0;

  virtual void setCommandEnabled(Command c, bool on) = 0;
  virtual bool commandEnabled(Command c) const = 0;

  // Focus: a text box, or a command button.
  virtual void focusBox(int box) = 0;
  virtual void focusCommand(Command c) = 0;
  // The text box that has the focus, or kNoTextBox.
  virtual int focusedBox() const = 0;

  virtual void setMsgInfo(const std::string& text) = 0;
  virtual void setBrowsePtr(const std::string& text) = 0;
  virtual void setStatus(const std::string& text) = 0;
  virtual std::string status() const = 0;
  virtual void setCaption(const std::string& text) = 0;

  virtual void clearClipboard() = 0;
  virtual void setClipboardText(const std::string& text) = 0;
  virtual std::string clipboardText() const = 0;
};

}  // namespace velnor
