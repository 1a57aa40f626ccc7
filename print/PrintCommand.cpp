#include "print/PrintCommand.h"

#include "print/IcsPrint.h"
#include "print/PrinterSystem.h"

namespace velnor {

void PrintMessage(std::int32_t msgNo, const PrintCommandContext& ctx) {
  if (msgNo == 0) return;
  // The menu handler reports nothing: whatever fails, the command just ends.
  try {
    const std::string previousName = ctx.printers.CurrentDeviceName();
    const short previousOrientation = ctx.printers.Orientation();
    const short previousCopies = ctx.printers.Copies();

    if (!ctx.printers.ShowPrinter(kPrintDialogFlags)) return;

    if (ctx.setStatus) ctx.setStatus("Printing message to " + ctx.printers.CurrentDeviceName());

    const FormTexts t = ctx.readFields ? ctx.readFields() : FormTexts{};
    ctx.form.PrintIcs(t);

    // The dialog's choice was for this page only.
    ctx.printers.SetPrinterByName(previousName);
    ctx.printers.SetOrientation(previousOrientation);
    ctx.printers.SetCopies(previousCopies);
  } catch (...) {
  }
}

void PrintSetup(PrinterSystem& printers) {
  try {
    printers.ShowPrinter(kPrintSetupFlags);
  } catch (...) {
  }
}

}  // namespace velnor
