// Scheduler, fibers, event loop, timers, process ends, Call, transcript determinism.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/sim/world.h"
#include "platform/ui/controls.h"
#include "platform/ui/form.h"

namespace launchagent::sim {
namespace {

using platform::Platform;

// A program that only serves events; tests drive it through Call.
ProcessId StartIdle(World& w, HostId h, const std::string& sPath = "C:\\App\\idle.exe") {
  if (!w.HasProgram("idle"))
    w.RegisterProgram("idle", [](Platform& p, const ProgramStart&) { p.loop.Run(); });
  const ProcessId pid = w.StartProcess(h, "idle", sPath);
  w.RunFor(0);
  return pid;
}

// The text of the transcript's lines of one kind, without time and host.
std::vector<std::string> Texts(const World& w, const std::string& sKind) {
  std::vector<std::string> out;
  for (auto& line : w.Transcript()) {
    const auto a = line.find(' ');
    const auto b = line.find(' ', a + 1);
    const auto c = line.find(' ', b + 1);
    if (line.substr(b + 1, c - b - 1) == sKind) out.push_back(line.substr(c + 1));
  }
  return out;
}

TEST(SimScheduler, FormatsElapsedTime) {
  EXPECT_EQ(FormatElapsed(0), "00:00:00.000");
  EXPECT_EQ(FormatElapsed(Seconds(3723) + Milliseconds(45) + 999), "01:02:03.045");
  EXPECT_EQ(FormatElapsed(Minutes(60 * 100)), "100:00:00.000");
}

TEST(SimScheduler, AtRunsInTimeThenSequenceOrder) {
  World w(1);
  std::vector<std::string> order;
  w.At(Seconds(2), [&] { order.push_back("b"); });
  w.At(Seconds(1), [&] { order.push_back("a"); });
  w.At(Seconds(2), [&] { order.push_back("c"); });
  w.At(Seconds(5), [&] { order.push_back("late"); });
  w.RunUntil(Seconds(2));
  EXPECT_EQ(order, (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(w.Now(), Seconds(2));
  w.RunFor(Seconds(10));
  EXPECT_EQ(order.back(), "late");
  EXPECT_EQ(w.Now(), Seconds(12));
}

TEST(SimScheduler, WaitForEventsAdvancesVirtualTime) {
  World w(1);
  const HostId h = *w.AddHost("PC1");
  const ProcessId pid = StartIdle(w, h);
  Platform* p = w.PlatformOf(pid);
  ASSERT_NE(p, nullptr);
  Nanos woke = 0;
  // Nothing to handle: the wait lasts its whole length.
  ASSERT_TRUE(w.Call(pid, [&] {
    p->loop.WaitForEvents(5);
    woke = w.Now();
  }));
  EXPECT_EQ(woke, Seconds(5));
  // An event of the process ends the wait early.
  ui::Timer timer("tmr", 2000, false);
  int ticks = 0;
  timer.OnTick = [&] {
    ++ticks;
    timer.SetTimerEnabled(false);
  };
  ASSERT_TRUE(w.Call(pid, [&] {
    timer.AttachDriver(&p->loop.Timers());
    timer.SetTimerEnabled(true);
    p->loop.WaitForEvents(60);
    woke = w.Now();
  }));
  EXPECT_EQ(ticks, 1);
  EXPECT_EQ(woke, Seconds(7));
}

TEST(SimScheduler, ProcessPendingEventsRunsOnlyDueEventsOfItsProcess) {
  World w(1);
  const HostId h = *w.AddHost("PC1");
  const ProcessId a = StartIdle(w, h);
  const ProcessId b = StartIdle(w, h);
  Platform* pa = w.PlatformOf(a);
  Platform* pb = w.PlatformOf(b);
  ui::Timer ta("ta", 1000, false), tb("tb", 1000, false);
  std::vector<std::string> order;
  ta.OnTick = [&] { order.push_back("a@" + FormatElapsed(w.Now())); };
  tb.OnTick = [&] { order.push_back("b@" + FormatElapsed(w.Now())); };
  w.Call(a, [&] {
    ta.AttachDriver(&pa->loop.Timers());
    ta.SetTimerEnabled(true);
  });
  w.Call(b, [&] {
    tb.AttachDriver(&pb->loop.Timers());
    tb.SetTimerEnabled(true);
  });
  // Not due yet: pumping does nothing and time stands still.
  w.Call(a, [&] { pa->loop.ProcessPendingEvents(); });
  EXPECT_TRUE(order.empty());
  EXPECT_EQ(w.Now(), 0);
  w.RunUntil(Milliseconds(2500));
  EXPECT_EQ(order, (std::vector<std::string>{"a@00:00:01.000", "b@00:00:01.000", "a@00:00:02.000",
                                             "b@00:00:02.000"}));
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
      {"disabled in the handler stops",
       nullptr,
       [](ui::Timer& t, int, Platform&) { t.SetTimerEnabled(false); },
       {1000}},
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
      {"zero interval never ticks", [](ui::Timer& t) { t.SetInterval(0); }, nullptr, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sName);
    World w(7);
    const HostId h = *w.AddHost("PC1");
    const ProcessId pid = StartIdle(w, h);
    Platform* p = w.PlatformOf(pid);
    ui::Timer timer("tmr", 1000, false);
    std::vector<std::int64_t> got;
    int n = 0;
    timer.OnTick = [&] {
      got.push_back(w.Now() / kMillisecond);
      if (c.onTick) c.onTick(timer, ++n, *p);
    };
    w.Call(pid, [&] {
      timer.AttachDriver(&p->loop.Timers());
      timer.SetTimerEnabled(true);
    });
    if (c.atHalf) w.At(Milliseconds(500), [&] { w.Call(pid, [&] { c.atHalf(timer); }); });
    w.RunUntil(Milliseconds(4500));
    EXPECT_EQ(got, c.wantMs);
  }
}

TEST(SimScheduler, NestedEventProcessingRunsOnTheProcessStack) {
  World w(3);
  const HostId h = *w.AddHost("PC1");
  const ProcessId pid = StartIdle(w, h);
  Platform* p = w.PlatformOf(pid);
  ui::Timer slow("slow", 1000, false), fast("fast", 200, false);
  std::vector<std::string> events;
  int depth = 0;
  slow.OnTick = [&] {
    slow.SetTimerEnabled(false);
    ++depth;
    events.push_back("slow begin");
    // A pause that pumps events: the fast timer's ticks run inside it.
    const Nanos until = w.Now() + Seconds(1);
    while (w.Now() < until) p->loop.WaitForEvents(static_cast<double>(until - w.Now()) / 1e9);
    events.push_back("slow end");
    --depth;
  };
  fast.OnTick = [&] {
    events.push_back(depth ? "fast nested" : "fast");
    if (w.Now() >= Milliseconds(1600)) fast.SetTimerEnabled(false);
  };
  w.Call(pid, [&] {
    slow.AttachDriver(&p->loop.Timers());
    fast.AttachDriver(&p->loop.Timers());
    slow.SetTimerEnabled(true);
    fast.SetTimerEnabled(true);
  });
  w.RunUntil(Seconds(3));
  // At 1 s both are due; the slow timer was armed first, so it runs first.
  const std::vector<std::string> want = {"fast",        "fast",        "fast",        "fast",
                                         "slow begin",  "fast nested", "fast nested", "fast nested",
                                         "fast nested", "slow end"};
  EXPECT_EQ(events, want);
}

// Records its destruction, so a test sees a process's stack unwind.
struct Witness {
  std::vector<std::string>* log;
  std::string sName;
  ~Witness() { log->push_back(sName + " destroyed"); }
};

TEST(SimScheduler, EndProcessUnwindsOnlyThatProcess) {
  World w(5);
  const HostId h = *w.AddHost("PC1");
  std::vector<std::string> log;
  int otherTicks = 0;
  w.RegisterProgram("ender", [&](Platform& p, const ProgramStart&) {
    Witness witness{&log, "ender"};
    ui::Form form("frmEnder", "Ender");
    p.windows.AttachForm(form);
    auto& t = form.Add<ui::Timer>("tmr", 3000, true);
    t.OnTick = [&] {
      log.push_back("ending");
      p.loop.EndProcess();
    };
    t.AttachDriver(&p.loop.Timers());
    p.loop.Run();
  });
  w.RegisterProgram("ticker", [&](Platform& p, const ProgramStart&) {
    ui::Timer t("tmr", 1000, true);
    t.OnTick = [&] { ++otherTicks; };
    t.AttachDriver(&p.loop.Timers());
    p.loop.Run();
  });
  const ProcessId ender = w.StartProcess(h, "ender");
  const ProcessId ticker = w.StartProcess(h, "ticker");
  w.RunFor(Seconds(2));
  EXPECT_TRUE(w.Alive(ender));
  ASSERT_EQ(w.Windows(h).size(), 1u);
  w.RunFor(Seconds(3));
  EXPECT_FALSE(w.Alive(ender));
  EXPECT_TRUE(w.Alive(ticker));
  EXPECT_EQ(log, (std::vector<std::string>{"ending", "ender destroyed"}));
  EXPECT_TRUE(w.Windows(h).empty());  // the form detached as it was destroyed
  EXPECT_EQ(otherTicks, 5);
  w.RunFor(Seconds(2));
  EXPECT_EQ(otherTicks, 7);
  EXPECT_FALSE(w.Process(ender)->bKilled);
}

TEST(SimScheduler, KillFromOutsideUnwindsTheWaitingProcess) {
  World w(5);
  const HostId h = *w.AddHost("PC1");
  std::vector<std::string> log;
  w.RegisterProgram("sleeper", [&](Platform& p, const ProgramStart&) {
    Witness witness{&log, "sleeper"};
    while (true) p.loop.WaitForEvents(10);
  });
  const ProcessId pid = w.StartProcess(h, "sleeper");
  w.RunFor(Seconds(25));
  EXPECT_TRUE(w.Kill(pid));
  EXPECT_FALSE(w.Alive(pid));
  EXPECT_EQ(log, (std::vector<std::string>{"sleeper destroyed"}));
  EXPECT_TRUE(w.Process(pid)->bKilled);
  EXPECT_FALSE(w.Kill(pid));
  EXPECT_FALSE(w.Call(pid, [] {}));
  auto lines = Texts(w, "process");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1], "#1 killed sleeper");
}

TEST(SimScheduler, CallReturnsAfterTheFunctionFinishedEvenWhenItWaits) {
  World w(1);
  const HostId h = *w.AddHost("PC1");
  const ProcessId pid = StartIdle(w, h);
  Platform* p = w.PlatformOf(pid);
  bool ran = false;
  EXPECT_TRUE(w.Call(pid, [&] {
    EXPECT_EQ(w.CurrentProcess(), pid);
    p->loop.WaitForEvents(3);
    ran = true;
  }));
  EXPECT_TRUE(ran);
  EXPECT_EQ(w.Now(), Seconds(3));
  EXPECT_EQ(w.CurrentProcess(), 0);
  // A call that ends the process does not finish.
  EXPECT_FALSE(w.Call(pid, [&] { p->loop.EndProcess(); }));
  EXPECT_FALSE(w.Alive(pid));
  EXPECT_EQ(w.PlatformOf(pid), nullptr);
}

TEST(SimScheduler, ProgramThatReturnsEndsItsProcess) {
  World w(1);
  const HostId h = *w.AddHost("PC1");
  w.RegisterProgram("brief",
                    [](Platform& p, const ProgramStart&) { p.trace.ActivityLine("hello"); });
  const ProcessId pid = w.StartProcess(h, "brief", "C:\\Brief\\brief.exe", "-x");
  w.RunFor(Seconds(1));
  EXPECT_FALSE(w.Alive(pid));
  const std::vector<std::string> want = {
      "00:00:00.000 PC1 process #1 started brief \"C:\\Brief\\brief.exe\" \"-x\"",
      "00:00:00.000 PC1 log hello", "00:00:00.000 PC1 process #1 ended brief"};
  EXPECT_EQ(w.Transcript(), want);
}

TEST(SimScheduler, UnknownProgramKindOrDownHostStartsNothing) {
  World w(1);
  const HostId h = *w.AddHost("PC1");
  EXPECT_EQ(w.StartProcess(h, "nope"), 0);
  w.CrashHost(h);
  EXPECT_EQ(w.StartProcess(h, "varno"), 0);
}

TEST(SimScheduler, TranscriptStreamsToTheSink) {
  World w(1);
  const HostId h = *w.AddHost("PC1");
  std::vector<std::string> streamed;
  w.SetTranscriptSink([&](const std::string& s) { streamed.push_back(s); });
  w.At(Milliseconds(1234), [&] { w.Note(h, "hello"); });
  w.At(Milliseconds(1500), [&] { w.Note(std::nullopt, "world"); });
  w.RunFor(Seconds(2));
  const std::vector<std::string> want = {"00:00:01.234 PC1 note hello",
                                         "00:00:01.500 - note world"};
  EXPECT_EQ(streamed, want);
  EXPECT_EQ(w.Transcript(), want);
}

// A small LAN where every host's program talks to every other with random latencies.
std::vector<std::string> Chatter(std::uint64_t seed) {
  World w(seed);
  w.SetNetTrace(true);
  std::vector<HostId> hosts;
  for (int i = 1; i <= 4; ++i) hosts.push_back(*w.AddHost("PC" + std::to_string(i)));
  w.RegisterProgram("chat", [&](Platform& p, const ProgramStart&) {
    auto server = p.network.CreateSocketArray("tcpServer");
    auto client = p.network.CreateSocketArray("tcpClient");
    Long nAccepted = 0;
    server->SetLocalPort(0, 1230);
    server->Listen(0);
    server->OnConnectionRequest = [&](Long, Long id) {
      ++nAccepted;
      server->Load(nAccepted);
      server->SetLocalPort(nAccepted, 0);
      server->Accept(nAccepted, id);
    };
    server->OnDataArrival = [&](Long i, Long) {
      auto data = server->GetData(i);
      p.trace.ActivityLine("got " + std::string(data->begin(), data->end()));
    };
    for (Long i = 1; i <= 4; ++i) {
      client->Load(i);
      client->SetRemoteHost(i, "PC" + std::to_string(i));
      client->SetRemotePort(i, 1230);
    }
    ui::Timer t("tmr", 1000, true);
    int n = 0;
    t.OnTick = [&] {
      ++n;
      for (Long i = 1; i <= 4; ++i) {
        if (client->State(i) == platform::kSckClosed) client->Connect(i);
        const std::string s = p.sockets.HostName().value() + " tick " + std::to_string(n);
        client->SendData(i, Bytes(s.begin(), s.end()));
      }
    };
    t.AttachDriver(&p.loop.Timers());
    p.loop.Run();
  });
  for (auto h : hosts) w.StartProcess(h, "chat");
  w.RunFor(Seconds(5));
  return w.Transcript();
}

TEST(SimScheduler, SameSeedGivesTheSameTranscript) {
  const auto a = Chatter(42);
  const auto b = Chatter(42);
  ASSERT_GT(a.size(), 50u);
  EXPECT_EQ(a, b);
  // Latencies come from the seed, so another seed shows other arrival times.
  EXPECT_NE(a, Chatter(43));
}

// Misuse of the scheduler is reported, never hung on.
TEST(SimSchedulerDeathTest, EndlessNestingIsReported) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        World w(1);
        const HostId h = *w.AddHost("PC1");
        w.RegisterProgram("nester", [](Platform& p, const ProgramStart&) {
          // The handler restarts its timer and then waits: every tick nests in the one
          // before.
          ui::Timer t("tmr", 1, true);
          t.OnTick = [&] {
            t.SetTimerEnabled(true);
            p.loop.WaitForEvents(1);
          };
          t.AttachDriver(&p.loop.Timers());
          p.loop.Run();
        });
        w.StartProcess(h, "nester");
        w.RunFor(Seconds(1));
      },
      "nests event processing too deep");
}

TEST(SimSchedulerDeathTest, WaitingOutsideTheProcessIsReported) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        World w(1);
        const HostId h = *w.AddHost("PC1");
        const ProcessId pid = StartIdle(w, h);
        w.PlatformOf(pid)->loop.WaitForEvents(1);
      },
      "outside its own process");
}

}  // namespace
}  // namespace launchagent::sim
