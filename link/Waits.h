#pragma once
// The two one-shot waits everything in the link is built on. Both sleep in the event
// loop, so clicks, clock ticks and socket data are handled while they wait.
//
// Pause: there is one pause timer. A Pause started from a handler while another Pause
// waits restarts that timer, and both return at its next tick. Pause(0) or less returns
// at once (a zero interval would never tick).
//
// StartGpTimer: arms the connect time-out and returns; callers poll GpTimerEnabled().
// The interval is capped at 65535 ms, the longest a timer takes; 0 or less means
// "already expired".
#include <cstdint>
#include <memory>

#include "platform/EventLoop.h"

namespace velnor {

class Waits {
 public:
  static constexpr std::int32_t kMaxInterval = 65535;

  explicit Waits(EventLoop& loop);

  void Pause(short ms);
  void StartGpTimer(std::int32_t ms);
  bool GpTimerEnabled() const { return m_GpTimer->enabled(); }

  Timer& tmrPause() { return *m_tmrPause; }
  Timer& GpTimer() { return *m_GpTimer; }
  EventLoop& loop() { return m_loop; }

 private:
  EventLoop& m_loop;
  std::unique_ptr<Timer> m_tmrPause;
  std::unique_ptr<Timer> m_GpTimer;
};

}  // namespace velnor
