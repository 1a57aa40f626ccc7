#include "platform/qt/QtEventLoop.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace velnor {

namespace {

class QtTimer : public Timer {
 public:
  QtTimer() {
    // Precise: Pause(10) between link-test pieces and short Pausev values should mean
    // what they say, not a 5% coarse slot.
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, [this] {
      if (onTick) onTick();
    });
  }
  void setInterval(int ms) override { m_timer.setInterval(ms); }
  int interval() const override { return m_timer.interval(); }
  void setEnabled(bool on) override {
    if (on)
      m_timer.start();
    else
      m_timer.stop();
  }
  bool enabled() const override { return m_timer.isActive(); }

 private:
  QTimer m_timer;
};

}  // namespace

std::unique_ptr<Timer> QtEventLoop::createTimer() { return std::make_unique<QtTimer>(); }

void QtEventLoop::waitForEvents() {
  QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

}  // namespace velnor
