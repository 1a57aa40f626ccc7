#pragma once
// The File menu's "&Print..." and "Print Set&up..." commands, apart from the window.
//
// PrintMessage prints the fourteen texts the editor shows (unsaved edits included) on a
// printer the operator confirms in the print dialog, then puts the printer that was current
// before back, with its orientation and copies. A failure ends it; once the page is under
// way the "Status" panel tells how it ended: where the PDF file went, that the page went to
// the printer, or that it failed.
#include <cstdint>
#include <functional>
#include <string>

#include "store/FormField.h"

namespace velnor {

class IcsPrint;
class PrinterSystem;

struct PrintCommandContext {
  IcsPrint& form;
  PrinterSystem& printers;
  // Sets the "Status" panel of the status bar.
  std::function<void(const std::string&)> setStatus;
  // Reads the editor's text boxes; called only once the operator has confirmed.
  std::function<FormTexts()> readFields;
};

// msgNo is the store's current record's message number; 0 means nothing is loaded.
void PrintMessage(std::int32_t msgNo, const PrintCommandContext& ctx);

// Print setup: the choice stays current for the rest of the run.
void PrintSetup(PrinterSystem& printers);

}  // namespace velnor
