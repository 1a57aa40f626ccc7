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
    ctx.form.PrintIcs(t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7], t[8], t[9], t[10], t[11],
                      t[12], t[13]);

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
