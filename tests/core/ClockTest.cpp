// What every caller of a Clock relies on, checked on the real clock and on the test double.
#include <gtest/gtest.h>

#include <ctime>

#include "core/Clock.h"

namespace velnor {
namespace {

// The current instant in OLE days from the Unix time (1 Jan 1970 is day 25569), in UTC:
// local time is less than a day away from it.
double UtcNowOle() { return 25569.0 + static_cast<double>(std::time(nullptr)) / 86400.0; }

// Each clock as a test gets it: the real one, and the double set to the current instant.
SystemClock Make(const SystemClock*) { return {}; }
FixedClock Make(const FixedClock*) { return FixedClock(UtcNowOle()); }

template <typename C>
class ClockContract : public ::testing::Test {
 protected:
  C made = Make(static_cast<const C*>(nullptr));
  const Clock& clock = made;
};
using Clocks = ::testing::Types<SystemClock, FixedClock>;
TYPED_TEST_SUITE(ClockContract, Clocks);

TYPED_TEST(ClockContract, NowIsTheCurrentInstantInOleDays) {
  EXPECT_NEAR(this->clock.now(), UtcNowOle(), 1.0);
}

}  // namespace
}  // namespace velnor
