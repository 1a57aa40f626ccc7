#include "print/PrintCommand.h"

#include "print/IcsPrint.h"
#include "print/PrinterSystem.h"

namespace velnor {

void PrintMessage(std::int32_t msgNo, const PrintCommandContext& ctx) {
  if (msgNo == 0) return;
  // Before the dialog a failure ends the command quietly: nothing has been asked or done.
  // Once the page is under way the status panel says how it ended.
  std::string printing;
  try {
    const std::string previousName = ctx.printers.CurrentDeviceName();
    const short previousOrientation = ctx.printers.Orientation();
    const short previousCopies = ctx.printers.Copies();

    if (!ctx.printers.ShowPrinter(kPrintDialogFlags)) return;

    printing = "Printing message to " + ctx.printers.CurrentDeviceName();
    if (ctx.setStatus) ctx.setStatus(printing);

    const FormTexts t = ctx.readFields ? ctx.readFields() : FormTexts{};
    const std::string file = ctx.printers.CurrentOutputFile();
    ctx.form.PrintIcs(t);
    if (ctx.setStatus)
      ctx.setStatus(printing + (file.empty() ? "... sent to the printer" : "... saved as " + file));
    printing.clear();  // the page is out; putting the printer back is no part of it

    // The dialog's choice was for this page only.
    ctx.printers.SetPrinterByName(previousName);
    ctx.printers.SetOrientation(previousOrientation);
    ctx.printers.SetCopies(previousCopies);
  } catch (const std::exception& e) {
    if (!printing.empty() && ctx.setStatus) ctx.setStatus(printing + "... failed: " + e.what());
  } catch (...) {
    if (!printing.empty() && ctx.setStatus) ctx.setStatus(printing + "... failed");
  }
}

void PrintSetup(PrinterSystem& printers) {
  try {
    printers.ShowPrinter(kPrintSetupFlags);
  } catch (...) {
  }
}

}  // namespace velnor
