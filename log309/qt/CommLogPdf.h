#pragma once
// The communications log as a PDF file, through Qt's PDF printer: the same pages that
// File > Communications Log prints. Needs a GUI application, never a screen.
#include <string>
#include <vector>

#include "log309/CommLogPrint.h"

namespace velnor {

// Replaces `path` (UTF-8) only with a complete document. Throws VError on failure.
void WriteCommLogPdf(const std::string& path, const LogHeader& header, const std::vector<LogLine>& lines);

}  // namespace velnor
