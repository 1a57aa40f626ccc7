#pragma once
// What printing needs from the platform: the installed printers, the program-wide current
// printer with its orientation and copies, the print dialog, and a page to draw on.
//
// The current printer starts as the system's default and changes only through ShowPrinter,
// SetPrinterByName and MakeCurrent; nothing of it is written to any file. Besides the
// system's printers the list may hold printers of the program's own (output to a PDF
// file), so there is always a current printer to print on.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "print/DrawingSurface.h"

namespace velnor {

// Dialog flags. Print: hide print-to-file, copies and collation left to the printer's own
// settings. Setup: open the printer-setup form instead of the print form.
inline constexpr std::uint32_t kPrintDialogFlags = 0x140000;
inline constexpr std::uint32_t kPrintSetupFlags = 64;

// Orientation values as the print dialog reports them.
inline constexpr short kOrientationPortrait = 1;
inline constexpr short kOrientationLandscape = 2;

class PrinterSystem {
 public:
  virtual ~PrinterSystem() = default;

  // Device names of the installed printers, in the platform's order.
  virtual std::vector<std::string> InstalledPrinters() = 0;
  // Makes the installed printer at that index (of InstalledPrinters) current.
  virtual void MakeCurrent(std::size_t index) = 0;

  // The current printer.
  virtual std::string CurrentDeviceName() = 0;
  // The current printer's device name as other programs on the station know it; throws
  // when the current printer is one of the program's own, which they cannot print to.
  virtual std::string CurrentSystemPrinterName() = 0;
  virtual short Orientation() = 0;
  virtual void SetOrientation(short orientation) = 0;
  virtual short Copies() = 0;
  virtual void SetCopies(short copies) = 0;

  // Shows the print dialog (kPrintDialogFlags or kPrintSetupFlags) pre-filled from the
  // current printer and applies what the operator confirms: the chosen printer becomes
  // current, then its copies, duplex, orientation, paper size, quality, colour and paper
  // source are set from the dialog, each failure ignored. False when cancelled or when the
  // dialog fails; then nothing has changed.
  virtual bool ShowPrinter(std::uint32_t flags) = 0;

  // Starts one page on the current printer for a drawing whose content lies in `content`.
  virtual std::unique_ptr<DrawingSurface> OpenSurface(const PageContent& content) = 0;

  // The file the current printer writes its pages to; empty for a printer that prints.
  virtual std::string CurrentOutputFile() { return {}; }

  // Makes the first installed printer whose device name equals name exactly (case
  // matters) current. False when none matches, for an empty name, or on any failure.
  bool SetPrinterByName(const std::string& name);
};

}  // namespace velnor
