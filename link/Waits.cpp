#include "link/Waits.h"

namespace velnor {

Waits::Waits(EventLoop& loop)
    : m_loop(loop), m_tmrPause(loop.createTimer()), m_GpTimer(loop.createTimer()) {
  m_tmrPause->onTick = [this] { m_tmrPause->setEnabled(false); };
  m_GpTimer->onTick = [this] { m_GpTimer->setEnabled(false); };
}

void Waits::Pause(short ms) {
  m_tmrPause->setEnabled(false);
  if (ms <= 0) return;
  m_tmrPause->setInterval(ms);
  m_tmrPause->setEnabled(true);
  while (m_tmrPause->enabled()) m_loop.waitForEvents();
}

void Waits::StartGpTimer(std::int32_t ms) {
  m_GpTimer->setEnabled(false);
  if (ms <= 0) return;
  if (ms > kMaxInterval) ms = kMaxInterval;
  m_GpTimer->setInterval(static_cast<int>(ms));
  m_GpTimer->setEnabled(true);
}

}  // namespace velnor
