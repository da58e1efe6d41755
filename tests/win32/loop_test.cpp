#include <gtest/gtest.h>

#include "platform/ui/controls.h"
#include "win32_test_support.h"

namespace launchagent::win32 {
namespace {

using LoopTest = Win32LoopTest;

TEST_F(LoopTest, TimersTickOnlyWhileEnabledAndStopWhenGone) {
  struct Case {
    const char* szName;
    bool bEnabled;
    Long lngInterval;
    bool bTicks;
  };
  const Case cases[] = {
      {"enabled", true, 20, true},
      {"disabled", false, 20, false},
      {"zero interval", true, 0, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.szName);
    int nTicks = 0;
    ui::Timer timer("t", c.lngInterval, c.bEnabled);
    timer.OnTick = [&] { ++nTicks; };
    timer.AttachDriver(&loop.Timers());
    // A second timer that always ticks bounds the wait for the one under test.
    int nProbe = 0;
    ui::Timer probe("probe", 20, true);
    probe.OnTick = [&] { ++nProbe; };
    probe.AttachDriver(&loop.Timers());
    ASSERT_TRUE(PumpUntil([&] { return nProbe >= 5; }));
    EXPECT_EQ(nTicks > 0, c.bTicks);
    timer.SetTimerEnabled(false);
    const int nBefore = nTicks;
    ASSERT_TRUE(PumpUntil([&] { return nProbe >= 10; }));
    EXPECT_EQ(nTicks, nBefore) << "ticked while disabled";
  }
}

TEST_F(LoopTest, PendingEventsRunReentrantlyFromInsideATick) {
  int nOuter = 0, nInner = 0, nDepth = 0, nMaxDepth = 0;
  ui::Timer inner("inner", 10, true);
  inner.OnTick = [&] { ++nInner; };
  ui::Timer outer("outer", 10, true);
  outer.OnTick = [&] {
    ++nOuter;
    ++nDepth;
    nMaxDepth = std::max(nMaxDepth, nDepth);
    // The handler pumps until the other timer has ticked twice more.
    const int nTarget = nInner + 2;
    outer.SetTimerEnabled(false);
    while (nInner < nTarget) loop.ProcessPendingEvents();
    outer.SetTimerEnabled(true);
    --nDepth;
  };
  inner.AttachDriver(&loop.Timers());
  outer.AttachDriver(&loop.Timers());
  ASSERT_TRUE(PumpUntil([&] { return nOuter >= 3; }));
  EXPECT_EQ(nMaxDepth, 1);
  EXPECT_GE(nInner, 6);
}

TEST_F(LoopTest, EndingTheProcessStopsEveryDelivery) {
  int nTicks = 0;
  ui::Timer timer("t", 10, true);
  timer.OnTick = [&] {
    ++nTicks;
    loop.EndProcess();
  };
  timer.AttachDriver(&loop.Timers());
  EXPECT_THROW(PumpUntil([&] { return false; }, 5), platform::ProcessEnded);
  EXPECT_TRUE(loop.Ended());
  EXPECT_EQ(nTicks, 1);
  EXPECT_THROW(loop.ProcessPendingEvents(), platform::ProcessEnded);
  EXPECT_THROW(loop.Run(), platform::ProcessEnded);
  bool bRan = false;
  loop.Deliver([&] { bRan = true; });
  EXPECT_FALSE(bRan);
}

}  // namespace
}  // namespace launchagent::win32
