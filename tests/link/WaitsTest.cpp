#include <gtest/gtest.h>

#include "link/Waits.h"
#include "tests/support/VirtualEventLoop.h"

namespace velnor::testing {
namespace {

class WaitsTest : public ::testing::Test {
 protected:
  VirtualEventLoop loop;
  Waits w{loop};
};

TEST_F(WaitsTest, PauseEndsAtItsTimeAndLetsOtherTimersTick) {
  auto clock = loop.createTimer();
  std::vector<std::int64_t> ticks;
  clock->onTick = [&] { ticks.push_back(loop.now()); };
  clock->setInterval(200);
  clock->setEnabled(true);
  w.Pause(500);
  EXPECT_EQ(loop.now(), 500);
  EXPECT_EQ(ticks, (std::vector<std::int64_t>{200, 400}));
  EXPECT_FALSE(w.tmrPause().enabled());
}

TEST_F(WaitsTest, NestedPauseRestartsTheSharedTimerAndEndsBoth) {
  std::int64_t innerEnd = -1;
  loop.post([&] {
    w.Pause(50);
    innerEnd = loop.now();
  }, 10);
  w.Pause(2000);
  EXPECT_EQ(innerEnd, 60);
  EXPECT_EQ(loop.now(), 60);
}

TEST_F(WaitsTest, ZeroAndNegativeWaitsEndAtOnce) {
  for (short ms : {short(0), short(-1), short(-32768)}) {
    w.Pause(ms);
    EXPECT_EQ(loop.now(), 0);
    EXPECT_EQ(loop.waits(), 0);
  }
  for (std::int32_t ms : {0, -5}) {
    w.StartGpTimer(ms);
    EXPECT_FALSE(w.GpTimerEnabled()) << ms;
  }
}

TEST(Waits, GpTimerIsCappedAt65535AndThenDisablesItself) {
  for (auto [asked, ends] : {std::pair<std::int32_t, std::int64_t>{1, 1}, {65534, 65534}, {65535, 65535},
                             {65536, 65535}, {100000, 65535}}) {
    VirtualEventLoop loop;
    Waits w(loop);
    w.StartGpTimer(asked);
    ASSERT_TRUE(w.GpTimerEnabled());
    EXPECT_EQ(w.GpTimer().interval(), ends);
    loop.runUntil([&] { return !w.GpTimerEnabled(); });
    EXPECT_EQ(loop.now(), ends) << asked;
  }
}

TEST_F(WaitsTest, RestartingGpTimerCountsFromTheRestart) {
  w.StartGpTimer(100);
  loop.advance(80);
  w.StartGpTimer(100);
  loop.runUntil([&] { return !w.GpTimerEnabled(); });
  EXPECT_EQ(loop.now(), 180);
}

}  // namespace
}  // namespace velnor::testing
