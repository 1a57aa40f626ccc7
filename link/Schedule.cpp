#include <exception>

#include "link/PmLink.h"

namespace velnor {

void PmLink::StartSRTimer() {
  m_tmrSRTimer->setInterval(1000);
  m_tmrSRTimer->setEnabled(true);
  m_SRCounter = 0;
  m_SRTimeStarted = m_settings.SRTime;
}

void PmLink::ClockTick() {
  // 16 bits; runs reset it long before, but a stopped schedule must not wrap negative.
  if (m_SRCounter < 32767) ++m_SRCounter;
}

void PmLink::tmrSRTimer_Timer() {
  // The link test has the socket: the run waits for the first check after it.
  if (m_TestRunning) return;
  if (m_SRCounter >= m_settings.SRTime) {
    m_SRCounter = 0;
    RunSession();
  }
}

bool PmLink::PmdirectTest(std::string inString) {
  // Closing the socket would break the session's dialogue.
  if (m_SessionRunning) return false;
  struct Running {
    bool& flag;
    explicit Running(bool& f) : flag(f) { flag = true; }
    ~Running() { flag = false; }
  } running(m_TestRunning);
  LinkState& s = state();
  bool result = false;
  try {
    s.TestStep = 801;
    m_WNS.close();
    m_WNS.setRemoteHost(m_settings.HostName);
    std::int32_t port = 0;
    if (!ParseSettingNumber(m_settings.Port, port) || port < 0 || port > 65535) return false;
    std::int32_t timeOut = 0;
    if (!ParseSettingNumber(m_settings.TimeOut, timeOut)) return false;
    m_WNS.setRemotePort(static_cast<int>(port));
    s.TestStep = 803;
    status("Passing Test message...");
    m_WNS.connect();
    StartGpTimer(timeOut);
    while (m_WNS.state() != Socket::Connected && m_WNS.state() != Socket::Error && m_waits.GpTimerEnabled()) {
      m_waits.loop().waitForEvents();
      s.TestStep = 804;
      m_WNS.checkHost();
    }
    if (m_WNS.state() == Socket::Connected) {
      s.TestStep = 805;
      while (!inString.empty()) {
        const std::string piece = m_transport.GetBuffer(75, inString);
        s.TestStep = 806;
        m_WNS.send(piece);
        Pause(10);
      }
      status("Passing message... sent");
      result = true;
    } else {
      status("Passing message... failed");
    }
    s.TestStep = 806;
    m_WNS.close();
    // Closing completes in the event loop; bounded so a stuck close cannot hang the dialog.
    StartGpTimer(timeOut);
    while (m_WNS.state() != Socket::Closed && m_waits.GpTimerEnabled())
      m_waits.loop().waitForEvents();
  } catch (const std::exception&) {
    return false;
  }
  return result;
}

}  // namespace velnor
