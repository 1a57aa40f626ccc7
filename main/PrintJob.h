#pragma once
// velnor --print N --pdf FILE: one stored message as its ICS 213 page, through the same
// page layout and Qt printing as File > Print, with no window and no display needed.
#include "app/FileLib.h"
#include "main/CommandLine.h"

namespace velnor {

class EventLog;

// Reads the store and the settings of the data directory env leads to and changes
// nothing in it. FILE is replaced only by a complete page. Returns the exit code; a
// failure has been told on stderr in one line.
int PrintMessageToPdf(int& argc, char** argv, const CommandLine& cl, const FileLib::Environment& env,
                      EventLog& eventLog);

}  // namespace velnor
