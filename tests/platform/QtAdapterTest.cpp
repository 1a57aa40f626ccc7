// The real Qt adapters where they differ from what a test double could pretend: the
// Multimedia player and the file dialog.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QSettings>
#include <QTimer>
#include <cstdint>
#include <fstream>
#include <string>

#include "platform/qt/QtDialogs.h"
#include "platform/qt/QtSound.h"
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

// A 0.1 s mono 8 kHz 16-bit wave file of silence.
std::string SilentWave() {
  const std::uint32_t samples = 800, dataBytes = samples * 2;
  std::string w = "RIFF";
  auto u32 = [&](std::uint32_t v) {
    for (int i = 0; i < 4; ++i) w += static_cast<char>(v >> (8 * i) & 0xFF);
  };
  auto u16 = [&](std::uint16_t v) {
    for (int i = 0; i < 2; ++i) w += static_cast<char>(v >> (8 * i) & 0xFF);
  };
  u32(36 + dataBytes);
  w += "WAVEfmt ";
  u32(16);
  u16(1);  // PCM
  u16(1);
  u32(8000);
  u32(16000);
  u16(2);
  u16(16);
  w += "data";
  u32(dataBytes);
  w.append(dataBytes, '\0');
  return w;
}

// A file that cannot be played must say so at once, every time, so the arrival still
// beeps; a playable one is started without waiting for it.
TEST(QtSound, UnplayableFilesFailAtOnceAndAWaveFileStarts) {
  App app;
  TempDir dir;
  QtSound sound;
  EXPECT_FALSE(sound.playFileAsync(""));
  EXPECT_FALSE(sound.playFileAsync(dir.file("missing.wav")));
  EXPECT_FALSE(sound.playFileAsync(dir.path()));  // a folder

  const std::string wav = dir.file("ding.wav");
  std::ofstream(wav, std::ios::binary) << SilentWave();
  EXPECT_TRUE(sound.playFileAsync(wav));
  EXPECT_TRUE(sound.playFileAsync(wav));  // again while it may still be loading or playing
  QApplication::processEvents();

  // Named like a wave file but not one, or cut off after its header: the player would stay
  // silent, so every call says so and every arrival beeps.
  const std::string text = dir.file("text.wav"), cut = dir.file("cut.wav");
  std::ofstream(text, std::ios::binary) << "This is a text file with a wave file's name, and no sound.";
  std::ofstream(cut, std::ios::binary) << SilentWave().substr(0, 44);
  for (const std::string& bad : {text, cut, text, cut}) EXPECT_FALSE(sound.playFileAsync(bad)) << bad;
  EXPECT_TRUE(sound.playFileAsync(wav));
}

// Types `name` into the next file dialog and presses Open, as an operator would. A dialog
// still open after that has refused the name and is cancelled; a box it shows is closed.
std::string TypeIntoFileDialog(QtDialogs& dialogs, const FileDialogRequest& request, const std::string& name,
                               bool& warned) {
  bool typed = false;
  QTimer driver;
  QObject::connect(&driver, &QTimer::timeout, [&] {
    QWidget* modal = QApplication::activeModalWidget();
    if (auto* box = qobject_cast<QMessageBox*>(modal)) {
      warned = true;
      box->accept();
    } else if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
      auto* edit = dialog->findChild<QLineEdit*>("fileNameEdit");
      if (typed || edit == nullptr) return dialog->reject();
      typed = true;
      edit->setText(QString::fromStdString(name));
      QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);  // Open
    }
  });
  driver.start(10);
  return dialogs.openFileDialog(request);
}

// A name with no file behind it is an answer; with pathMustExist, one in a missing folder
// is refused and the dialog stays open.
TEST(QtDialogs, FileDialogTakesANameWithNoFileButNotInAMissingFolder) {
  App app;
  TempDir dir, settings;  // Qt's dialog keeps its history in the user's settings
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromStdString(settings.path()));
  QtDialogs dialogs;
  struct Row {
    std::string typed;
    bool pathMustExist;
    std::string answer;
  };
  const std::string missingFolder = dir.file("gone/notes.txt");
  for (const Row& r : {Row{dir.file("notes.txt"), true, dir.file("notes.txt")}, Row{missingFolder, true, ""},
                       Row{missingFolder, false, missingFolder}}) {
    SCOPED_TRACE(r.typed + (r.pathMustExist ? " path must exist" : ""));
    const FileDialogRequest request{"Open",         "Text Files (*.txt)|*.txt", 1, "txt", dir.path(), "",
                                    r.pathMustExist};
    bool warned = false;
    EXPECT_EQ(TypeIntoFileDialog(dialogs, request, r.typed, warned), r.answer);
    EXPECT_EQ(warned, r.answer.empty());
  }
}

}  // namespace
}  // namespace velnor::testing
