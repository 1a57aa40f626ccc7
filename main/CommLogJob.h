#pragma once
// velnor --ics309: the communications log of a period as a PDF file, a CSV file or both,
// with no window and no display needed. The header is the one File > Communications Log
// would start from; messages not sent are left out.
#include "app/FileLib.h"
#include "main/CommandLine.h"

namespace velnor {

class Clock;
class EventLog;

// Reads the store and the settings of the data directory env leads to and changes nothing
// in it; each file is replaced only by a complete one. Returns the exit code; a failure
// has been told on stderr in one line.
int WriteCommLogFiles(int& argc, char** argv, const CommandLine& cl, const FileLib::Environment& env,
                      EventLog& eventLog, const Clock& clock);

}  // namespace velnor
