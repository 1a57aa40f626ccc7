#pragma once
// velnor --print N --pdf FILE: one stored message as its ICS 213 page, through the same
// page layout and Qt printing as File > Print, with no window and no display needed.
#include <QtGlobal>

#include "app/FileLib.h"
#include "app/Settings.h"
#include "main/CommandLine.h"

namespace velnor {

class EventLog;

// The operator's settings; the window's defaults when the file is missing or unreadable
// (it is not created: a job writes nothing into the data directory).
Settings ReadSettingsOnly(const std::string& file, EventLog& eventLog);

// Qt's own warnings (a missing runtime folder, say) are not a job's failures: only its
// critical messages reach stderr.
void QuietQt(QtMsgType type, const QMessageLogContext& context, const QString& text);

// Reads the store and the settings of the data directory env leads to and changes
// nothing in it. FILE is replaced only by a complete page. Returns the exit code; a
// failure has been told on stderr in one line.
int PrintMessageToPdf(int& argc, char** argv, const CommandLine& cl, const FileLib::Environment& env,
                      EventLog& eventLog);

}  // namespace velnor
