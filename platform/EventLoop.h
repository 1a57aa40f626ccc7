#pragma once
// Timers and the event pump that every wait of the program runs on. There is one thread:
// a wait is a loop that hands control to the event loop and tests its condition again.
// waitForEvents() sleeps in the event loop until at least one event (timer tick, socket
// data, input) has been handled, so a wait never spins a core. The Qt implementation
// uses QTimer and QEventLoop; tests use a virtual clock that jumps to the next due timer.
#include <functional>
#include <memory>

namespace velnor {

class Timer {
 public:
  virtual ~Timer() = default;
  virtual void setInterval(int ms) = 0;  // 1 to 65535
  virtual int interval() const = 0;
  virtual void setEnabled(bool on) = 0;  // enabling (again) restarts the interval
  virtual bool enabled() const = 0;
  std::function<void()> onTick;          // raised every interval while enabled
};

class EventLoop {
 public:
  virtual ~EventLoop() = default;
  virtual std::unique_ptr<Timer> createTimer() = 0;
  // Handles pending events; when there are none, sleeps until the next one arrives.
  virtual void waitForEvents() = 0;
};

}  // namespace velnor
