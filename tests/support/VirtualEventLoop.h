#pragma once
// An event loop on a virtual clock: timers and scheduled work fire in time order, and
// waitForEvents() jumps straight to the next one, so a 60-second schedule runs in
// microseconds. Like the real loop, a timer is not fired again while its own tick
// handler is still running (a handler that waits does not see its own timer).
// waitForEvents() with nothing left to happen throws: the real program would hang there.
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "platform/EventLoop.h"

namespace velnor::testing {

class VirtualEventLoop : public EventLoop {
 public:
  std::unique_ptr<Timer> createTimer() override;
  void waitForEvents() override;

  // Runs fn at virtual time now() + delayMs (0: at the next waitForEvents, in order).
  void post(std::function<void()> fn, std::int64_t delayMs = 0);
  std::int64_t now() const { return m_now; }
  // Runs events until `until` is true; throws when nothing is left to happen.
  void runUntil(const std::function<bool()>& until) {
    while (!until()) waitForEvents();
  }
  // Runs everything due up to now() + ms, then sets the clock there.
  void advance(std::int64_t ms);
  std::int64_t waits() const { return m_waits; }

 private:
  class VTimer;
  struct Posted {
    std::int64_t due;
    std::uint64_t seq;
    std::function<void()> fn;
  };
  bool fireNext(std::int64_t limit);

  std::int64_t m_now = 0;
  std::uint64_t m_seq = 0;
  std::int64_t m_waits = 0;
  std::vector<Posted> m_posted;
  std::vector<VTimer*> m_timers;
  friend class VTimer;
};

}  // namespace velnor::testing
