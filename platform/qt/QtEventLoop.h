#pragma once
// Timers on QTimer and a wait that sleeps in Qt's event loop until something happens.
#include <memory>

#include "platform/EventLoop.h"

namespace velnor {

class QtEventLoop : public EventLoop {
 public:
  std::unique_ptr<Timer> createTimer() override;
  // Handles what is pending, or sleeps until the next event (timer, socket, input).
  void waitForEvents() override;
};

}  // namespace velnor
