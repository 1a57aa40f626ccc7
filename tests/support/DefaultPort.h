#pragma once
// Port 9334, Velnor's default Pmdirect port, is where a real Pmdirect or an operator's
// simulator on this machine listens. Every test process refuses its own connections
// there on the spot (tests/support/TestEnvironment.cpp), and such a connection fails the
// test, whether or not anything listens, unless a DefaultPortRefusals is alive.
namespace velnor::testing {

inline constexpr int kDefaultPmdirectPort = 9334;

// For a test of a start on default settings: the refusals are expected and counted.
class DefaultPortRefusals {
 public:
  DefaultPortRefusals();
  ~DefaultPortRefusals();
  DefaultPortRefusals(const DefaultPortRefusals&) = delete;
  DefaultPortRefusals& operator=(const DefaultPortRefusals&) = delete;
  int count() const;  // connections refused since this was made

 private:
  int m_before;
};

}  // namespace velnor::testing
