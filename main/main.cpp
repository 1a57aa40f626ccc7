// The only place that builds the real platform pieces and hands them to the main window,
// or to a job the command line asks for.
#include <QApplication>
#include <QIcon>
#include <cstdio>

#include "app/FileLib.h"
#include "core/Clock.h"
#include "editor/qt/FrmMessage.h"
#include "main/CommLogJob.h"
#include "main/CommandLine.h"
#include "main/PrintJob.h"
#include "platform/SyslogEventLog.h"
#include "platform/qt/QtDialogs.h"
#include "platform/qt/QtEventLoop.h"
#include "platform/qt/QtSocket.h"
#include "platform/qt/QtSound.h"
#include "print/qt/QtPrinterSystem.h"

int main(int argc, char** argv) {
  using Action = velnor::CommandLine::Action;
  const velnor::CommandLine cl = velnor::ParseCommandLine(velnor::ArgumentList(argc, argv));
  switch (cl.action) {
    case Action::Help:
    case Action::Version:
      std::fputs(cl.text.c_str(), stdout);
      return velnor::kExitDone;
    case Action::BadArguments:
      std::fprintf(stderr, "velnor: %s\n", cl.text.c_str());
      return velnor::kExitBadArguments;
    case Action::PrintMessage:
    case Action::CommLog:
    case Action::Window:
      break;
  }
  velnor::SyslogEventLog eventLog;
  velnor::FileLib::Environment env = velnor::FileLib::Environment::FromProcess();
  env.dataDir = cl.dataDir;
  if (cl.action == Action::PrintMessage) return velnor::PrintMessageToPdf(argc, argv, cl, env, eventLog);
  if (cl.action == Action::CommLog) {
    const velnor::SystemClock clock;
    return velnor::WriteCommLogFiles(argc, argv, cl, env, eventLog, clock);
  }

  QApplication app(argc, argv);
  QApplication::setApplicationName("Velnor");
  // Lets the desktop match the window to velnor.desktop and its icon.
  QGuiApplication::setDesktopFileName("velnor");
  QApplication::setWindowIcon(QIcon::fromTheme("velnor"));

  velnor::SystemClock clock;
  velnor::QtDialogs dialogs;
  velnor::QtSound sound;
  velnor::QtEventLoop loop;
  velnor::QtSocket socket;
  velnor::QtPrinterSystem printers;

  velnor::FrmMessage window(
      velnor::FrmMessageDeps{dialogs, sound, clock, eventLog, loop, socket, printers, std::move(env)});
  dialogs.setOwner(&window);
  printers.setOwner(&window);
  // Closed during start-up: ended by the operator, not by a failure.
  if (!window.Form_Load()) return window.Unloaded() ? velnor::kExitDone : velnor::kExitFailed;
  return QApplication::exec();
}
