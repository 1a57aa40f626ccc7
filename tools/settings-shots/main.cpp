// Renders each tab of the settings dialog to settings-<tab>.png in the folder given as
// the first argument: scripts/screenshots makes the pictures under docs/ with it.
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>

#include "core/Clock.h"
#include "platform/Dialogs.h"
#include "platform/Sound.h"
#include "settings_ui/qt/frmProperties.h"

using namespace velnor;

namespace {

struct NoDialogs : Dialogs {
  MsgAnswer messageBox(const std::string&, const std::string&, MsgButtons, MsgIcon) override { return MsgAnswer::Ok; }
  int choose(const std::string&, const std::string&, const std::vector<std::string>&, int preferred, int,
             MsgIcon) override {
    return preferred;
  }
  std::optional<std::string> inputBox(const std::string&, const std::string&, const std::string&) override { return {}; }
  std::string openFileDialog(const FileDialogRequest&) override { return {}; }
  void beep() override {}
};

struct NoSound : Sound {
  bool playFileAsync(const std::string&) override { return true; }
  void beep() override {}
};

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  const QString outDir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
  Settings settings;
  settings.DefTo = "Planning Chief";
  settings.DefToPos = "Planning";
  settings.DefFr = "Radio Room";
  settings.DefFrPos = "Communications";
  settings.IcdName = "Ridge Fire";
  settings.POA = 1;
  settings.POAFile = "/home/operator/sounds/arrival.wav";
  NoDialogs dialogs;
  NoSound sound;
  FixedClock clock(46345.5868);  // 19 Nov 2026, 14:05
  PropertiesHooks hooks{.dialogs = &dialogs, .clock = &clock, .sound = &sound,
                        .pmdirectTest = [](const std::string&) { return true; }};
  frmProperties dlg(nullptr, settings, hooks);
  dlg.show();
  // The Formatting tab with a refused date, so the hint shows as the operator sees it.
  dlg.findChild<QLineEdit*>(QStringLiteral("txtFormat_0"))->setText(QStringLiteral("yyyy_mm"));
  dlg.findChild<QPushButton*>(QStringLiteral("cmdOK"))->click();
  auto* tabs = dlg.findChild<QTabWidget*>(QStringLiteral("SSTab1"));
  const char* names[5] = {"formatting", "remote-access", "receiving", "routes", "other"};
  for (int i = 0; i < 5; ++i) {
    tabs->setCurrentIndex(i);
    QApplication::processEvents();
    const QString file = QDir(outDir).filePath(QStringLiteral("settings-%1.png").arg(QLatin1String(names[i])));
    if (!dlg.grab().save(file)) return 1;
  }
  return 0;
}
