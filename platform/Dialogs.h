#pragma once
// Modal questions to the operator: message boxes, the input box, the file-open dialog,
// and the system beep. All texts are station text (Windows-1252); the Qt implementation
// converts. Tests use a scripted implementation that fails on an unexpected question.
#include <optional>
#include <string>
#include <vector>

namespace velnor {

enum class MsgButtons { Ok, YesNo };
enum class MsgIcon { None, Exclamation, Information, Critical };
enum class MsgAnswer { Ok, Yes, No };

struct FileDialogRequest {
  std::string title;
  std::string filter;          // "Text Files (*.txt)|*.txt|All Files (*.*)|*.*"
  int filterIndex = 1;         // 1-based entry of the filter shown first
  std::string defaultExt;      // without the dot
  std::string initialDir;
  std::string fileName;        // proposed name
  bool pathMustExist = false;  // refuse a name in a folder that is not there; a missing file is fine
};

class Dialogs {
 public:
  virtual ~Dialogs() = default;
  // The caption is the program's title unless the caller names another.
  virtual MsgAnswer messageBox(const std::string& text, const std::string& caption,
                               MsgButtons buttons = MsgButtons::Ok, MsgIcon icon = MsgIcon::None) = 0;
  // A question answered with buttons of the caller's own ("&" marks a button's access
  // key): the index of the one pressed. `preferred` is the default button; Escape or
  // closing the box answers `escape`.
  virtual int choose(const std::string& text, const std::string& caption,
                     const std::vector<std::string>& buttons, int preferred, int escape,
                     MsgIcon icon = MsgIcon::None) = 0;
  // nullopt when cancelled.
  virtual std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                              const std::string& preset) = 0;
  // The chosen full path, or empty when cancelled.
  virtual std::string openFileDialog(const FileDialogRequest& request) = 0;
  virtual void beep() = 0;
};

inline constexpr const char* kProgramTitle = "Velnor";

}  // namespace velnor
