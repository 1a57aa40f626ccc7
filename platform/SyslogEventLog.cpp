#include "platform/SyslogEventLog.h"

#include <syslog.h>

namespace velnor {

SyslogEventLog::SyslogEventLog() { openlog("velnor", LOG_PID, LOG_USER); }
SyslogEventLog::~SyslogEventLog() { closelog(); }
void SyslogEventLog::writeError(const std::string& text) { syslog(LOG_ERR, "%s", text.c_str()); }

}  // namespace velnor
