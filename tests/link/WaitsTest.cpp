#include <gtest/gtest.h>

#include "link/Waits.h"
#include "tests/support/VirtualEventLoop.h"

namespace velnor::testing {
namespace {

TEST(Waits, PauseEndsAtItsTimeAndLetsOtherTimersTick) {
  VirtualEventLoop loop;
  Waits w(loop);
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

TEST(Waits, NestedPauseRestartsTheSharedTimerAndEndsBoth) {
  VirtualEventLoop loop;
  Waits w(loop);
  std::int64_t innerEnd = -1;
  loop.post([&] {
    w.Pause(50);
    innerEnd = loop.now();
  }, 10);
  w.Pause(2000);
  EXPECT_EQ(innerEnd, 60);
  EXPECT_EQ(loop.now(), 60);
}

TEST(Waits, ZeroAndNegativeWaitsEndAtOnce) {
  VirtualEventLoop loop;
  Waits w(loop);
  for (short ms : {short(0), short(-1), short(-32768)}) {
    w.Pause(ms);
    EXPECT_EQ(loop.now(), 0);
    EXPECT_EQ(loop.waits(), 0);
  }
  w.StartGpTimer(0);
  EXPECT_FALSE(w.GpTimerEnabled());
  w.StartGpTimer(-5);
  EXPECT_FALSE(w.GpTimerEnabled());
}

TEST(Waits, GpTimerIsCappedAt65535AndThenDisablesItself) {
  struct Row {
    std::int32_t asked;
    std::int64_t ends;
  };
  for (Row r : {Row{1, 1}, Row{65534, 65534}, Row{65535, 65535}, Row{65536, 65535},
                Row{100000, 65535}}) {
    VirtualEventLoop loop;
    Waits w(loop);
    w.StartGpTimer(r.asked);
    ASSERT_TRUE(w.GpTimerEnabled());
    EXPECT_EQ(w.GpTimer().interval(), r.ends);
    loop.runUntil([&] { return !w.GpTimerEnabled(); });
    EXPECT_EQ(loop.now(), r.ends) << r.asked;
  }
}

TEST(Waits, RestartingGpTimerCountsFromTheRestart) {
  VirtualEventLoop loop;
  Waits w(loop);
  w.StartGpTimer(100);
  loop.advance(80);
  w.StartGpTimer(100);
  loop.runUntil([&] { return !w.GpTimerEnabled(); });
  EXPECT_EQ(loop.now(), 180);
}

}  // namespace
}  // namespace velnor::testing
