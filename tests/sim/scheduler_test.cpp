// Scheduler, fibers, event loop, timers, process ends, Call, the transcript. Same-seed
// determinism is scenario.determinism's, and another seed's other latencies
// scenario.command_line's.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "desk.h"
#include "platform/shared_steps.h"
#include "platform/ui/controls.h"
#include "platform/ui/form.h"

namespace launchagent::sim {
namespace {

using platform::Platform;
using Strings = std::vector<std::string>;

// World actions and the timers of two processes run in time order, and at equal times
// in the order they were scheduled; every line streams to the sink, and is kept only
// when asked.
TEST(SimScheduler, RunsEventsInTimeThenSequenceOrder) {
  for (const bool bKeep : {true, false}) {
    Desk d;
    const ProcessId other = d.Idle();
    Strings streamed;
    d.w.SetTranscriptSink([&](const std::string& s) { streamed.push_back(s); });
    d.w.KeepTranscript(bKeep);
    d.w.At(Seconds(2), [&] { d.w.Note(d.h, "b"); });
    d.w.At(Seconds(1), [&] { d.w.Note(d.h, "a"); });
    d.w.At(Seconds(2), [&] { d.w.Note(std::nullopt, "c"); });
    ui::Timer t1("t1", 1000, false), t2("t2", 1000, false), t3("t3", 1000, false);
    t1.OnTick = [&] { d.w.Note(d.h, "t1"); };
    t2.OnTick = [&] { d.w.Note(d.h, "t2"); };
    t3.OnTick = [&] { d.w.Note(d.h, "t3"); };
    d.Arm(d.pid, t1);
    d.Arm(other, t2);
    d.Arm(d.pid, t3);
    d.w.RunUntil(Milliseconds(2500));
    EXPECT_EQ(d.w.Now(), Milliseconds(2500));
    // A process takes all its due events at once: t3 before the other process's t2.
    const Strings want = {
        "00:00:01.000 PC1 note a",  "00:00:01.000 PC1 note t1", "00:00:01.000 PC1 note t3",
        "00:00:01.000 PC1 note t2", "00:00:02.000 PC1 note b",  "00:00:02.000 - note c",
        "00:00:02.000 PC1 note t1", "00:00:02.000 PC1 note t3", "00:00:02.000 PC1 note t2"};
    EXPECT_EQ(streamed, want);
    // Kept before the switch: the two processes' start lines.
    EXPECT_EQ(d.w.TakeTranscript().size(), 2 + (bKeep ? streamed.size() : 0));
    EXPECT_TRUE(d.w.Transcript().empty());
  }
  EXPECT_EQ(FormatElapsed(Seconds(3723) + Milliseconds(45) + 999), "01:02:03.045");
  EXPECT_EQ(FormatElapsed(Minutes(60 * 100)), "100:00:00.000");
}

TEST(SimScheduler, WaitsAdvanceVirtualTimeAndCallReturnsWhenTheFunctionHasFinished) {
  Desk d;
  Platform& p = d.P();
  // Nothing to handle: the wait lasts its whole length.
  ASSERT_TRUE(d.w.Call(d.pid, [&] {
    EXPECT_EQ(d.w.Programs().CurrentProcess(), d.pid);
    p.loop.WaitForEvents(5);
  }));
  EXPECT_EQ(d.w.Now(), Seconds(5));
  EXPECT_EQ(d.w.Programs().CurrentProcess(), 0);
  ui::Timer timer("tmr", 2000, false);
  int ticks = 0;
  timer.OnTick = [&] { ++ticks; };
  d.Arm(d.pid, timer);
  // Not due yet: pumping runs nothing and time stands still.
  ASSERT_TRUE(d.w.Call(d.pid, [&] { p.loop.ProcessPendingEvents(); }));
  EXPECT_EQ(ticks, 0);
  EXPECT_EQ(d.w.Now(), Seconds(5));
  // An event of the process ends the wait early.
  ASSERT_TRUE(d.w.Call(d.pid, [&] { p.loop.WaitForEvents(60); }));
  EXPECT_EQ(ticks, 1);
  EXPECT_EQ(d.w.Now(), Seconds(7));
}

// The agent's pause (platform/shared_steps) on virtual time: it waits its seconds, returns
// at once for none, and ends just after midnight, where the clock starts again.
TEST(SimScheduler, ThePauseWaitsItsSecondsAndEndsAtMidnight) {
  struct Case {
    int nStartSecond;  // of the clock's day
    Long lngSeconds;
    Nanos atLeast, below;
  };
  const Case cases[] = {{36000, 0, 0, 1},
                        {36000, 3, Seconds(3), Milliseconds(3100)},
                        {86398, 10, Seconds(2), Seconds(4)}};
  for (const auto& c : cases) {
    Desk d;
    d.w.Hosts().SetClock(d.h, d.w.Now(),
                         DateTime::FromCivil(2026, 1, 5, c.nStartSecond / 3600,
                                             c.nStartSecond / 60 % 60, c.nStartSecond % 60));
    const Nanos start = d.w.Now();
    ASSERT_TRUE(d.w.Call(d.pid, [&] { Pause(d.P().clock, d.P().loop, c.lngSeconds); }));
    EXPECT_GE(d.w.Now() - start, c.atLeast) << c.lngSeconds;
    EXPECT_LT(d.w.Now() - start, c.below) << c.lngSeconds;
  }
}

// Timer semantics the agent relies on, as a table of scripted handlers.
TEST(SimScheduler, TimerRestartSemantics) {
  struct Case {
    const char* sName;
    // What happens at 500 ms, on the process, before the first tick.
    std::function<void(ui::Timer&)> atHalf;
    // The tick handler; gets the timer and the tick number (1-based).
    std::function<void(ui::Timer&, int, Platform&)> onTick;
    std::vector<std::int64_t> wantMs;  // tick times within the first 4.5 s
  };
  const std::vector<Case> cases = {
      {"untouched ticks every interval", nullptr, nullptr, {1000, 2000, 3000, 4000}},
      {"enabling again restarts the interval",
       [](ui::Timer& t) { t.SetTimerEnabled(true); },
       nullptr,
       {1500, 2500, 3500, 4500}},
      {"new interval while enabled restarts",
       [](ui::Timer& t) { t.SetInterval(2000); },
       nullptr,
       {2500, 4500}},
      {"disable, work 300 ms, enable: next one interval after the handler",
       nullptr,
       [](ui::Timer& t, int, Platform& p) {
         t.SetTimerEnabled(false);
         p.loop.WaitForEvents(0.3);
         t.SetTimerEnabled(true);
       },
       {1000, 2300, 3600}},
      {"interval set in the handler counts from the tick",
       nullptr,
       [](ui::Timer& t, int n, Platform&) {
         if (n == 1) t.SetInterval(500);
       },
       {1000, 1500, 2000, 2500, 3000, 3500, 4000, 4500}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sName);
    Desk d;
    ui::Timer timer("tmr", 1000, false);
    std::vector<std::int64_t> got;
    int n = 0;
    timer.OnTick = [&] {
      got.push_back(d.w.Now() / kMillisecond);
      if (c.onTick) c.onTick(timer, ++n, d.P());
    };
    d.Arm(d.pid, timer);
    if (c.atHalf) d.w.At(Milliseconds(500), [&] { d.w.Call(d.pid, [&] { c.atHalf(timer); }); });
    d.w.RunUntil(Milliseconds(4500));
    EXPECT_EQ(got, c.wantMs);
  }
}

// A process whose program returns, that ends on its own stack (here inside a Call, which
// then does not finish) or that is killed from outside while it waits: its stack
// unwinds, its form detaches, and the host's other process runs on.
TEST(SimScheduler, EndingAProcessUnwindsOnlyThatProcess) {
  enum How { kReturns, kEndsInCall, kKilled };
  for (const How how : {kReturns, kEndsInCall, kKilled}) {
    SCOPED_TRACE(how);
    Desk d;
    struct Witness {
      bool* bUnwound;
      ~Witness() { *bUnwound = true; }
    };
    bool bUnwound = false;
    d.w.Programs().RegisterProgram("ender", [&](Platform& p, const ProgramStart&) {
      Witness witness{&bUnwound};
      ui::Form form("frmEnder", "Ender");
      p.windows.AttachForm(form);
      if (how == kReturns) return p.loop.WaitForEvents(3);
      p.loop.Run();
    });
    ui::Timer ticker("tmr", 1000, false);
    int ticks = 0;
    ticker.OnTick = [&] { ++ticks; };
    d.Arm(d.pid, ticker);
    const ProcessId pid = d.w.Programs().StartProcess(d.h, "ender", "C:\\Ender\\ender.exe", "-x");
    EXPECT_EQ(d.w.Programs().StartProcess(d.h, "nope"), 0);  // an unknown kind starts nothing
    d.w.RunFor(Seconds(2));
    ASSERT_EQ(d.w.Programs().Windows(d.h).size(), 1u);
    d.w.RunFor(Seconds(1));
    Platform* p = d.w.Programs().PlatformOf(pid);
    if (how == kEndsInCall) {
      EXPECT_FALSE(d.w.Call(pid, [&] { p->loop.EndProcess(); }));
    } else if (how == kKilled) {
      EXPECT_TRUE(d.w.Programs().Kill(pid));
    }
    EXPECT_TRUE(bUnwound);
    EXPECT_FALSE(d.w.Programs().Alive(pid));
    EXPECT_EQ(d.w.Programs().PlatformOf(pid), nullptr);
    EXPECT_TRUE(d.w.Programs().Windows(d.h).empty());
    EXPECT_EQ(d.w.Programs().Process(pid)->bKilled, how == kKilled);
    EXPECT_FALSE(d.w.Programs().Kill(pid));
    EXPECT_FALSE(d.w.Call(pid, [] {}));
    d.w.RunFor(Seconds(2));
    EXPECT_EQ(ticks, 5);
    d.w.Hosts().CrashHost(d.h);
    EXPECT_EQ(d.w.Programs().StartProcess(d.h, "ender"), 0);  // nor does a down host
  }
}

// Misuse of the scheduler is reported, never hung on.
TEST(SimSchedulerDeathTest, MisuseIsReported) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        Desk d;
        d.P().loop.WaitForEvents(1);
      },
      "outside its own process");
  EXPECT_DEATH(
      {
        Desk d;
        // The handler restarts its timer and then waits: every tick nests in the one
        // before.
        ui::Timer t("tmr", 1, false);
        t.OnTick = [&] {
          t.SetTimerEnabled(true);
          d.P().loop.WaitForEvents(1);
        };
        d.Arm(d.pid, t);
        d.w.RunFor(Seconds(1));
      },
      "nests event processing too deep");
}

}  // namespace
}  // namespace launchagent::sim
