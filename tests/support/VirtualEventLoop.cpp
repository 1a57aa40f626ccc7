#include "tests/support/VirtualEventLoop.h"

#include <algorithm>
#include <limits>

namespace velnor::testing {

class VirtualEventLoop::VTimer : public Timer {
 public:
  explicit VTimer(VirtualEventLoop& loop) : m_loop(loop) { m_loop.m_timers.push_back(this); }
  ~VTimer() override { std::erase(m_loop.m_timers, this); }
  void setInterval(int ms) override {
    if (ms < 1 || ms > 65535) throw std::invalid_argument("timer interval out of range");
    m_interval = ms;
    if (m_enabled) restart();
  }
  int interval() const override { return m_interval; }
  void setEnabled(bool on) override {
    m_enabled = on;
    if (on) restart();
  }
  bool enabled() const override { return m_enabled; }

  void restart() {
    m_due = m_loop.m_now + m_interval;
    m_seq = ++m_loop.m_seq;
  }
  int m_interval = 1000;
  bool m_enabled = false;
  bool m_inTick = false;
  std::int64_t m_due = 0;
  std::uint64_t m_seq = 0;

 private:
  VirtualEventLoop& m_loop;
};

std::unique_ptr<Timer> VirtualEventLoop::createTimer() { return std::make_unique<VTimer>(*this); }

void VirtualEventLoop::post(std::function<void()> fn, std::int64_t delayMs) {
  m_posted.push_back({m_now + std::max<std::int64_t>(0, delayMs), ++m_seq, std::move(fn)});
}

bool VirtualEventLoop::fireNext(std::int64_t limit) {
  // Earliest due first; equal times in the order they were scheduled.
  std::int64_t bestDue = std::numeric_limits<std::int64_t>::max();
  std::uint64_t bestSeq = 0;
  VTimer* timer = nullptr;
  std::size_t postedAt = m_posted.size();
  for (std::size_t i = 0; i < m_posted.size(); ++i) {
    const Posted& p = m_posted[i];
    if (p.due < bestDue || (p.due == bestDue && p.seq < bestSeq)) {
      bestDue = p.due, bestSeq = p.seq, postedAt = i;
    }
  }
  for (VTimer* t : m_timers) {
    if (!t->m_enabled || t->m_inTick) continue;
    if (t->m_due < bestDue || (t->m_due == bestDue && t->m_seq < bestSeq)) {
      bestDue = t->m_due, bestSeq = t->m_seq, timer = t;
    }
  }
  if (bestDue == std::numeric_limits<std::int64_t>::max() || bestDue > limit) return false;
  m_now = std::max(m_now, bestDue);
  if (timer) {
    timer->m_due += timer->m_interval;
    timer->m_seq = ++m_seq;
    timer->m_inTick = true;
    // The handler may destroy the timer; look it up again before touching it.
    if (timer->onTick) {
      auto tick = timer->onTick;
      tick();
    }
    if (std::find(m_timers.begin(), m_timers.end(), timer) != m_timers.end())
      timer->m_inTick = false;
  } else {
    std::function<void()> fn = std::move(m_posted[postedAt].fn);
    m_posted.erase(m_posted.begin() + static_cast<std::ptrdiff_t>(postedAt));
    fn();
  }
  return true;
}

void VirtualEventLoop::waitForEvents() {
  ++m_waits;
  if (!fireNext(std::numeric_limits<std::int64_t>::max()))
    throw std::logic_error("waitForEvents: nothing can ever happen (the program would hang)");
}

void VirtualEventLoop::advance(std::int64_t ms) {
  const std::int64_t until = m_now + ms;
  while (fireNext(until)) {
  }
  m_now = until;
}

}  // namespace velnor::testing
