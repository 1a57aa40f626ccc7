// One set of cases for each platform interface a window test replaces with a double, run
// on the double and on the Qt class it stands for: a double that answers otherwise would
// let the window tests pass on a program that fails at the operator's desk.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QSoundEffect>
#include <QTest>
#include <QTimer>
#include <deque>
#include <filesystem>
#include <fstream>

#include "core/Cp1252.h"
#include "platform/qt/QtDialogs.h"
#include "platform/qt/QtSound.h"
#include "tests/support/RecordingSound.h"
#include "tests/support/ScriptedDialogs.h"
#include "tests/support/TempDir.h"

namespace velnor::testing {
namespace {

// The application of one test, gone before the program ends: Qt Multimedia's loading
// thread must stop before the program's statics are destroyed.
struct App {
  int argc = 1;
  char name[17] = "test_platform_qt";
  char* argv[2] = {name, nullptr};
  QApplication app{argc, argv};
};

QString Q(const std::string& station) {
  return QString::fromStdString(Cp1252ToUtf8(station)).replace("\r\n", "\n");
}

// The operator at the desk, before the double or before the real dialogs (driven offscreen
// by a timer that finds the modal one): answers the next question of a kind ("message",
// "choice", "input", "file") whose text holds `fragment` by pressing the button captioned
// `act`, or by typing `act` and accepting; no act is Escape or Cancel.
class Desk {
 public:
  explicit Desk(bool real) : m_real(real) {
    QObject::connect(&m_driver, &QTimer::timeout, [this] { step(); });
    if (real) m_driver.start(10);
  }
  ~Desk() { EXPECT_TRUE(m_acts.empty()) << "a question was never asked"; }
  Dialogs& dialogs() { return m_real ? static_cast<Dialogs&>(m_qt) : m_scripted; }
  void answer(const std::string& kind, const std::string& fragment, std::optional<std::string> act) {
    if (m_real)
      m_acts.push_back({Q(fragment), std::move(act)});
    else if (kind == "message")
      m_scripted.expectMessage(fragment, act == "Yes"  ? MsgAnswer::Yes
                                         : act == "No" ? MsgAnswer::No
                                                       : MsgAnswer::Ok);
    else if (kind == "choice")
      m_scripted.expectChoice(fragment, act.value_or(""));
    else if (kind == "input")
      m_scripted.expectInput(fragment, act);
    else
      m_scripted.expectFile(fragment, act.value_or(""));
  }

 private:
  struct Act {
    QString fragment;
    std::optional<std::string> act;
  };
  std::optional<std::string> take(const QString& text) {
    if (m_acts.empty()) {
      ADD_FAILURE() << "unexpected question " << text.toStdString();
      return std::nullopt;
    }
    const Act a = m_acts.front();
    m_acts.pop_front();
    EXPECT_TRUE(text.contains(a.fragment)) << text.toStdString();
    return a.act;
  }
  void step() {
    QWidget* modal = QApplication::activeModalWidget();
    if (auto* file = qobject_cast<QFileDialog*>(modal)) {
      // Still open after a name was typed: it refused the name, and the operator gives up.
      if (file->property("typed").toBool()) return file->reject();
      const auto act = take(file->windowTitle());
      if (!act) return file->reject();
      file->setProperty("typed", true);
      file->findChild<QLineEdit*>("fileNameEdit")->setText(Q(*act));
      QMetaObject::invokeMethod(file, "accept", Qt::QueuedConnection);  // Open
    } else if (auto* box = qobject_cast<QMessageBox*>(modal)) {
      if (qobject_cast<QFileDialog*>(box->parentWidget())) return box->accept();  // the refusal
      const auto act = take(box->text());
      for (QAbstractButton* b : box->buttons()) {
        if (act && b->text().remove('&') == Q(*act)) return b->click();
      }
      EXPECT_FALSE(act) << "no button " << *act;
      QTest::keyClick(box, Qt::Key_Escape);
    } else if (auto* input = qobject_cast<QInputDialog*>(modal)) {
      const auto act = take(input->labelText());
      if (!act) return input->reject();
      input->setTextValue(Q(*act));
      input->accept();
    }
  }

  bool m_real;
  ScriptedDialogs m_scripted;
  QtDialogs m_qt;
  QTimer m_driver;
  std::deque<Act> m_acts;
};

// Each case runs on the double and on the Qt class.
class Contract : public ::testing::TestWithParam<const char*> {
 protected:
  Contract() {
    // Qt's file dialog keeps its history in the user's settings.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QString::fromStdString(settings.path()));
  }
  bool real() const { return GetParam() == std::string("qt"); }
  Dialogs& dialogs() { return desk.dialogs(); }

  App app;
  TempDir dir, settings;
  Desk desk{real()};
};

TEST_P(Contract, ButtonsAnswerAndEscapeGivesTheEscapeButton) {
  struct Row {
    MsgButtons buttons;
    const char* press;
    MsgAnswer answer;
  };
  for (const Row& r :
       {Row{MsgButtons::Ok, "OK", MsgAnswer::Ok}, Row{MsgButtons::YesNo, "Yes", MsgAnswer::Yes},
        Row{MsgButtons::YesNo, "No", MsgAnswer::No}}) {
    desk.answer("message", "gel\xf6scht?", r.press);
    EXPECT_EQ(dialogs().messageBox("Message gel\xf6scht?\r\nReally?", "", r.buttons, MsgIcon::Exclamation),
              r.answer)
        << r.press;
  }
  const std::vector<std::string> buttons{"&Yes", "&Discard my changes", "&No"};
  for (const auto& [press, index] :
       {std::pair<std::optional<std::string>, int>{"Discard my changes", 1}, {"Yes", 0}, {std::nullopt, 2}}) {
    desk.answer("choice", "Delete message No. 1", press);
    EXPECT_EQ(dialogs().choose("Delete message No. 1, 'x'?", "", buttons, 2, 2, MsgIcon::Exclamation), index);
  }
}

TEST_P(Contract, InputBoxGivesStationTextOrNothingWhenCancelled) {
  for (const std::optional<std::string>& typed : {std::optional<std::string>(" j\xf6rg/p "), {""}, {}}) {
    desk.answer("input", "Identifier", typed);
    EXPECT_EQ(dialogs().inputBox("Enter your Identifier", "Identifier", "W1XYZ"), typed);
  }
}

// A name with no file behind it is an answer, with the default extension when it has
// none; with pathMustExist, one in a missing folder is refused and the operator cancels.
TEST_P(Contract, FileDialogTakesANameWithNoFileButNotInAMissingFolder) {
  struct Row {
    std::optional<std::string> typed;
    bool pathMustExist;
    std::string answer;
  };
  const std::string notes = dir.file("notes.txt"), missingFolder = dir.file("gone/notes.txt");
  for (const Row& r :
       {Row{notes, true, notes}, Row{dir.file("notes"), true, notes}, Row{missingFolder, true, ""},
        Row{missingFolder, false, missingFolder}, Row{std::nullopt, false, ""}}) {
    SCOPED_TRACE(r.typed.value_or("cancel") + (r.pathMustExist ? " path must exist" : ""));
    desk.answer("file", "Select", r.typed);
    EXPECT_EQ(dialogs().openFileDialog(
                  {"Select a file", "Text Files (*.txt)|*.txt", 1, "txt", dir.path(), "", r.pathMustExist}),
              r.answer);
  }
}

// A file that cannot be played says so at once, every time, so the arrival still beeps;
// a playable one is started without waiting for it, again while it may still be playing.
TEST_P(Contract, UnplayableSoundFilesFailOnEveryCallAndAWaveFileStarts) {
  RecordingSound recording;
  QtSound qt;
  Sound& sound = real() ? static_cast<Sound&>(qt) : recording;
  const std::string wav = dir.file("ding.wav"), text = dir.file("text.wav"), cut = dir.file("cut.wav");
  std::ofstream(wav, std::ios::binary) << SilentWave();
  std::ofstream(text, std::ios::binary) << "This is a text file with a wave file's name, and no sound.";
  std::ofstream(cut, std::ios::binary) << SilentWave().substr(0, 44);  // cut off after its header
  const std::pair<std::string, bool> rows[] = {{"", false},         {dir.file("missing.wav"), false},
                                               {dir.path(), false}, {wav, true},
                                               {wav, true},         {text, false},
                                               {cut, false},        {text, false},
                                               {cut, false},        {wav, true}};
  for (const auto& [path, plays] : rows) {
    EXPECT_EQ(sound.playFileAsync(path), plays) << path;
    QApplication::processEvents();
  }
  // The player loads on a thread of its own: let that load end before the player and the
  // application go, or what it still holds is left behind at exit.
  if (const auto* effect = qt.findChild<QSoundEffect*>()) {
    for (int i = 0; i < 200 && effect->status() == QSoundEffect::Loading; ++i) QTest::qWait(10);
    QTest::qWait(50);
  }
}

INSTANTIATE_TEST_SUITE_P(Doubles, Contract, ::testing::Values("double", "qt"));

}  // namespace
}  // namespace velnor::testing
