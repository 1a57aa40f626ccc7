// The only place that builds the real platform pieces and hands them to the main window.
#include <QApplication>

#include "app/FileLib.h"
#include "core/Clock.h"
#include "editor/qt/FrmMessage.h"
#include "platform/SyslogEventLog.h"
#include "platform/qt/QtDialogs.h"
#include "platform/qt/QtEventLoop.h"
#include "platform/qt/QtSocket.h"
#include "platform/qt/QtSound.h"
#include "print/qt/QtPrinterSystem.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("Velnor");

  velnor::SyslogEventLog eventLog;
  velnor::SystemClock clock;
  velnor::QtDialogs dialogs;
  velnor::QtSound sound;
  velnor::QtEventLoop loop;
  velnor::QtSocket socket;
  velnor::QtPrinterSystem printers;

  velnor::FrmMessage window(velnor::FrmMessageDeps{dialogs, sound, clock, eventLog, loop, socket, printers,
                                                   velnor::FileLib::Environment::FromProcess()});
  dialogs.setOwner(&window);
  if (!window.Form_Load()) return 1;
  return QApplication::exec();
}
