#pragma once
// Runs a window handler so that no failure escapes into the event loop: whatever it
// throws is turned into "<routine> failed: <why>" and handed to `report` (the session
// log and the status panel), and the window goes on.
#include <functional>
#include <string>

namespace velnor {

void TrapFailure(const char* routine, const std::function<void()>& handler,
                 const std::function<void(const std::string& text)>& report);

}  // namespace velnor
