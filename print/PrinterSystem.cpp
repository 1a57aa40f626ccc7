#include "print/PrinterSystem.h"

namespace velnor {

bool PrinterSystem::SetPrinterByName(const std::string& name) {
  if (name.empty()) return false;
  try {
    const std::vector<std::string> names = InstalledPrinters();
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (names[i] == name) {
        MakeCurrent(i);
        return true;
      }
    }
  } catch (...) {
  }
  return false;
}

}  // namespace velnor
