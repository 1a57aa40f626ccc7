#include "editor/Trap.h"

#include <exception>

#include "core/VError.h"

namespace velnor {

void TrapFailure(const char* routine, const std::function<void()>& handler,
                 const std::function<void(const std::string& text)>& report) {
  std::string what;
  try {
    handler();
    return;
  } catch (const VError& e) {
    what = e.description();
  } catch (const std::exception& e) {
    what = e.what();
  } catch (...) {
    what = "unknown failure";
  }
  try {
    report(std::string(routine) + " failed: " + what);
  } catch (...) {
    // Reporting itself failed (a full disk, say); the window still goes on.
  }
}

}  // namespace velnor
