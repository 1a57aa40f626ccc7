#pragma once
// Dialogs answered from a script. Each expected question names a fragment of its text
// and the answer to give; a question nobody scripted fails the test, and so does an
// answer left unused when the object is destroyed (call verify() or let it go out of
// scope inside the test).
#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/Dialogs.h"

namespace velnor::testing {

class ScriptedDialogs : public Dialogs {
 public:
  struct Shown {
    std::string kind;  // "message", "choice", "input", "file"
    std::string text;
    std::string caption;
    MsgButtons buttons = MsgButtons::Ok;
    MsgIcon icon = MsgIcon::None;
    std::vector<std::string> choices;  // a choice's buttons, without their "&"
    int preferred = -1;
  };

  ~ScriptedDialogs() override { verify(); }

  // Answer the next message box whose text contains `fragment`.
  ScriptedDialogs& expectMessage(std::string fragment, MsgAnswer answer = MsgAnswer::Ok) {
    m_script.push_back({"message", std::move(fragment), answer, std::nullopt, {}});
    return *this;
  }
  // Answer the next choice whose text contains `fragment` with the button captioned
  // `button` ("&" left out).
  ScriptedDialogs& expectChoice(std::string fragment, std::string button) {
    m_script.push_back({"choice", std::move(fragment), MsgAnswer::Ok, std::nullopt, std::move(button)});
    return *this;
  }
  ScriptedDialogs& expectInput(std::string promptFragment, std::optional<std::string> answer) {
    m_script.push_back({"input", std::move(promptFragment), MsgAnswer::Ok, std::move(answer), {}});
    return *this;
  }
  ScriptedDialogs& expectFile(std::string titleFragment, std::string path) {
    m_script.push_back({"file", std::move(titleFragment), MsgAnswer::Ok, std::nullopt, std::move(path)});
    return *this;
  }

  MsgAnswer messageBox(const std::string& text, const std::string& caption, MsgButtons buttons,
                       MsgIcon icon) override {
    shown.push_back({"message", text, caption, buttons, icon, {}, -1});
    return take("message", text).answer;
  }
  int choose(const std::string& text, const std::string& caption, const std::vector<std::string>& buttons,
             int preferred, int escape, MsgIcon icon) override {
    Shown s{"choice", text, caption, MsgButtons::Ok, icon, {}, preferred};
    for (std::string b : buttons) {
      std::erase(b, '&');
      s.choices.push_back(std::move(b));
    }
    shown.push_back(s);
    const std::string answer = take("choice", text).path;
    for (std::size_t i = 0; i < s.choices.size(); ++i) {
      if (s.choices[i] == answer) return static_cast<int>(i);
    }
    if (!answer.empty()) ADD_FAILURE() << "no button \"" << answer << "\" in \"" << text << "\"";
    return escape;
  }
  std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                      const std::string& preset) override {
    shown.push_back({"input", prompt, title, MsgButtons::Ok, MsgIcon::None, {}, -1});
    lastInputPreset = preset;
    return take("input", prompt).input;
  }
  std::string openFileDialog(const FileDialogRequest& request) override {
    shown.push_back({"file", request.title, request.filter, MsgButtons::Ok, MsgIcon::None, {}, -1});
    lastFileRequest = request;
    std::filesystem::path path = take("file", request.title).path;
    // As the real dialog: a name with no file is an answer, given the default extension
    // when it has none; one in a missing folder is refused, and the operator can only cancel.
    std::error_code ec;
    if (path.empty() || (request.pathMustExist && !std::filesystem::is_directory(path.parent_path(), ec)))
      return {};
    if (!path.has_extension() && !request.defaultExt.empty()) path += "." + request.defaultExt;
    return path.string();
  }
  void beep() override { ++beeps; }

  void verify() {
    if (!m_script.empty()) {
      ADD_FAILURE() << "scripted " << m_script.front().kind << " \"" << m_script.front().fragment
                    << "\" was never asked";
      m_script.clear();
    }
  }

  std::vector<Shown> shown;
  int beeps = 0;
  std::string lastInputPreset;
  FileDialogRequest lastFileRequest;

 private:
  struct Step {
    std::string kind;
    std::string fragment;
    MsgAnswer answer;
    std::optional<std::string> input;
    std::string path;  // the file chosen, or the button pressed
  };
  Step take(const std::string& kind, const std::string& text) {
    if (m_script.empty() || m_script.front().kind != kind ||
        text.find(m_script.front().fragment) == std::string::npos) {
      ADD_FAILURE() << "unexpected " << kind << ": \"" << text << "\"";
      return {kind, "", MsgAnswer::Ok, std::nullopt, {}};
    }
    Step s = m_script.front();
    m_script.pop_front();
    return s;
  }
  std::deque<Step> m_script;
};

}  // namespace velnor::testing
