// The event loop: form timers, waits, and pumping from inside a handler.
#include <memory>

#include "backend.h"
#include "platform/ui/controls.h"

namespace launchagent::contract {
namespace {

// True when no tick came during one short wait.
bool Quiet(platform::EventLoop& loop, const int& nTicks) {
  const int n = nTicks;
  loop.WaitForEvents(0.2);
  return nTicks == n;
}

TEST_P(Contract, TimersTickStopAndGo) {
  In([&] {
    auto& loop = P().loop;
    int nTicks = 0;
    auto timer = std::make_unique<ui::Timer>("TimerTest", 30, true);
    timer->OnTick = [&] { ++nTicks; };
    timer->AttachDriver(&loop.Timers());
    ASSERT_TRUE(Until([&] { return nTicks >= 3; }));
    timer->SetTimerEnabled(false);
    EXPECT_TRUE(Quiet(loop, nTicks)) << "a disabled timer ticked";
    timer->SetInterval(0);
    timer->SetTimerEnabled(true);
    EXPECT_TRUE(Quiet(loop, nTicks)) << "an interval of 0 ticked";
    timer->SetInterval(20);
    const int nBefore = nTicks;
    EXPECT_TRUE(Until([&] { return nTicks >= nBefore + 2; })) << "re-enabled timer silent";
    timer.reset();
    EXPECT_TRUE(Quiet(loop, nTicks)) << "a destroyed timer ticked";
  });
}

// A handler that pumps (a pause, a blocking wait in the agent) lets the other timers of
// the process run inside it; the timers go on after it returns.
TEST_P(Contract, PumpingInsideAHandlerRunsOtherEvents) {
  In([&] {
    auto& loop = P().loop;
    int nOuter = 0, nInner = 0, nInnerDuringOuter = 0;
    bool bInOuter = false;
    ui::Timer inner("TimerInner", 20, true);
    inner.OnTick = [&] {
      ++nInner;
      if (bInOuter) ++nInnerDuringOuter;
    };
    ui::Timer outer("TimerOuter", 40, true);
    outer.OnTick = [&] {
      if (++nOuter != 1) return;
      bInOuter = true;
      for (int i = 0; i < 400 && nInnerDuringOuter < 2; ++i) loop.ProcessPendingEvents();
      for (int i = 0; i < 200 && nInnerDuringOuter < 4; ++i) loop.WaitForEvents(0.05);
      bInOuter = false;
    };
    inner.AttachDriver(&loop.Timers());
    outer.AttachDriver(&loop.Timers());
    ASSERT_TRUE(Until([&] { return nOuter >= 3; }));
    EXPECT_GE(nInnerDuringOuter, 4);
    const int nAfter = nInner;
    EXPECT_TRUE(Until([&] { return nInner > nAfter + 1; }));
  });
}

// A wait ends when an event has been handled, long before its deadline.
TEST_P(Contract, AWaitEndsAtTheFirstEvent) {
  In([&] {
    int nTicks = 0;
    ui::Timer timer("TimerWake", 50, true);
    timer.OnTick = [&] { ++nTicks; };
    timer.AttachDriver(&P().loop.Timers());
    const double dStart = P().clock.SecondsSinceMidnight();
    // Other events of the backend may end a wait too; a few waits are still far
    // below one deadline.
    for (int i = 0; i < 5 && nTicks == 0; ++i) P().loop.WaitForEvents(600);
    EXPECT_GE(nTicks, 1);
    EXPECT_LT(Since(dStart), 60);
  });
}

// A handler that ends the process stops the loop: the wait it ran in and the main loop
// after it unwind.
TEST_P(Contract, AHandlerThatEndsTheProcessStopsTheLoop) {
  In([&] {
    auto& loop = P().loop;
    int nTicks = 0;
    ui::Timer end("TimerEnd", 10, true);
    end.OnTick = [&] {
      ++nTicks;
      loop.EndProcess();
    };
    end.AttachDriver(&loop.Timers());
    EXPECT_THROW(WaitOn(loop, [] { return false; }), platform::ProcessEnded);
    EXPECT_EQ(nTicks, 1);
    EXPECT_THROW(loop.Run(), platform::ProcessEnded);
  });
}

}  // namespace
}  // namespace launchagent::contract
