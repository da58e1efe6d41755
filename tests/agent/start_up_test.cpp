// Start-up, single instance, autostart, the timers' cadence and the socket library's
// fatal failures, on the simulated LAN.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "agent/agent.h"
#include "launcher/frm_launch.h"
#include "platform/sim/world.h"

namespace launchagent::testing {
namespace {

constexpr const char* kRunKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";

std::vector<std::string> TitlesOf(sim::World& world, sim::HostId host) {
  std::vector<std::string> titles;
  for (const sim::WindowInfo& w : world.Windows(host)) titles.push_back(w.sTitle);
  return titles;
}

TEST(StartUp, ShowsTheServiceWindowAndRegistersForEveryLogon) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("PC1");
  lan.StartAgent("PC1", AgentStart::Full);
  lan.RunFor(sim::Seconds(5));

  const auto titles = TitlesOf(lan.World(), host);
  EXPECT_NE(std::find(titles.begin(), titles.end(), "Launch Service for Varno"), titles.end());
  EXPECT_EQ(lan.World().RegistryValue(host, platform::RegistryRoot::LocalMachine, kRunKey, "1"),
            "C:\\Launch\\Launch.exe");
  ASSERT_NE(lan.AgentOf("PC1"), nullptr);
  EXPECT_TRUE(lan.AgentOf("PC1")->bActiveAgentServices);
  EXPECT_TRUE(lan.AgentOf("PC1")->LaunchForm().Visible());
}

TEST(StartUp, TheAutostartValueAlwaysNamesLaunchExe) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("PC1");
  lan.World().RegisterProgram("renamed", [&lan](platform::Platform& p, const sim::ProgramStart&) {
    Agent agent(p);
    agent.Main();
    p.loop.Run();
  });
  lan.World().StartProcess(host, "renamed", "D:\\Tools\\agent-copy.exe");
  lan.RunFor(sim::Seconds(2));
  EXPECT_EQ(lan.World().RegistryValue(host, platform::RegistryRoot::LocalMachine, kRunKey, "1"),
            "D:\\Tools\\Launch.exe");
}

TEST(StartUp, StartsWithoutAutostartWhenTheMachineKeyIsDenied) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("PC1");
  lan.World().DenyLocalMachine(host, true);
  const sim::ProcessId pid = lan.StartAgent("PC1", AgentStart::Full);
  lan.RunFor(sim::Seconds(40));
  EXPECT_TRUE(lan.World().Alive(pid));
  EXPECT_EQ(lan.World().RegistryValue(host, platform::RegistryRoot::LocalMachine, kRunKey, "1"),
            std::nullopt);
  const auto titles = TitlesOf(lan.World(), host);
  EXPECT_NE(std::find(titles.begin(), titles.end(), "Launch Service for Varno"), titles.end());
}

TEST(StartUp, ASecondAgentOnTheSameDesktopEndsBeforeDoingAnything) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("PC1");
  const sim::ProcessId first = lan.StartAgent("PC1", AgentStart::Full);
  lan.RunFor(sim::Seconds(3));
  // A value the second agent would overwrite if it got as far as registering.
  lan.World().SetRegistryValue(host, platform::RegistryRoot::LocalMachine, kRunKey, "1", "mark");
  const std::size_t nLogBefore = lan.LogMark("PC1");

  const sim::ProcessId second = lan.World().StartProcess(
      host, AgentOnSim::kProgramKind, AgentOnSim::kAgentPath, "full");
  lan.RunFor(sim::Milliseconds(100));
  EXPECT_FALSE(lan.World().Alive(second));
  EXPECT_TRUE(lan.World().Alive(first));
  EXPECT_EQ(lan.World().RegistryValue(host, platform::RegistryRoot::LocalMachine, kRunKey, "1"),
            "mark");
  // Silent: the only log lines since are the first agent's own.
  for (const std::string& s : lan.LogLinesSince("PC1", nLogBefore))
    EXPECT_EQ(s.find("Winsock"), std::string::npos) << s;
  // Its window is gone with it: one service window remains.
  const auto titles = TitlesOf(lan.World(), host);
  EXPECT_EQ(std::count(titles.begin(), titles.end(), "Launch Service for Varno"), 1);
}

// Records, for one of the agent's timers, the virtual time of each tick and whether the
// tick ran the timer's work (a counting timer's counter is back at 0 after it).
struct TickLog {
  std::vector<sim::Nanos> times;
  std::vector<bool> worked;
};

void Watch(AgentOnSim& lan, ui::Timer& timer, Integer* counter, TickLog& log) {
  auto original = timer.OnTick;
  timer.OnTick = [&lan, original, counter, &log] {
    log.times.push_back(lan.Now());
    original();
    log.worked.push_back(counter == nullptr || *counter == 0);
  };
}

TEST(StartUp, WatchTimersTickAfterOneSecondThenEveryThirty) {
  AgentOnSim lan;
  lan.AddHost("PC1");
  lan.StartAgent("PC1", AgentStart::Full);
  TickLog monitor, verify;
  lan.Call("PC1", [&](Agent& a) {
    Watch(lan, a.frmLaunch().TimerMonitor, nullptr, monitor);
    Watch(lan, a.frmLaunch().TimerVerifyCheckIn, nullptr, verify);
  });
  lan.RunFor(sim::Seconds(200));
  for (const TickLog* log : {&monitor, &verify}) {
    ASSERT_GE(log->times.size(), 6u);
    EXPECT_GE(log->times[0], sim::Milliseconds(1000));
    EXPECT_LT(log->times[0], sim::Milliseconds(1100));
    for (std::size_t i = 1; i < log->times.size(); ++i) {
      const sim::Nanos gap = log->times[i] - log->times[i - 1];
      EXPECT_GE(gap, sim::Seconds(30));
      EXPECT_LT(gap, sim::Seconds(31));
    }
  }
}

TEST(StartUp, CountingTimersWorkOnTheFirstTickThenEvery601stAnd31st) {
  AgentOnSim lan;
  lan.AddHost("PC1");
  lan.StartAgent("PC1", AgentStart::Full);
  TickLog resources, send;
  lan.Call("PC1", [&](Agent& a) {
    FrmLaunch& frm = a.frmLaunch();
    Watch(lan, frm.TimerCheckResources, &frm.nCheckResourcesTicks, resources);
    Watch(lan, frm.TimerSendMessages, &frm.nSendMessagesTicks, send);
  });
  lan.RunFor(sim::Minutes(25));

  auto workingTicks = [](const TickLog& log) {
    std::vector<std::size_t> ticks;
    for (std::size_t i = 0; i < log.worked.size(); ++i)
      if (log.worked[i]) ticks.push_back(i + 1);
    return ticks;
  };
  const auto r = workingTicks(resources);
  ASSERT_GE(r.size(), 3u);
  EXPECT_EQ(std::vector<std::size_t>(r.begin(), r.begin() + 3),
            (std::vector<std::size_t>{1, 602, 1203}));
  const auto s = workingTicks(send);
  ASSERT_GE(s.size(), 4u);
  EXPECT_EQ(std::vector<std::size_t>(s.begin(), s.begin() + 4),
            (std::vector<std::size_t>{1, 32, 63, 94}));
  // The first work comes about a second after Init, not after the initial 10 and 5 s.
  EXPECT_LT(resources.times.front(), sim::Seconds(10));
  EXPECT_LT(send.times.front(), sim::Seconds(5));
}

struct FatalCase {
  const char* name;
  void (*inject)(sim::SocketsLibrarySettings&);
  const char* line;
};

class SocketsLibraryFailure : public ::testing::TestWithParam<FatalCase> {};

TEST_P(SocketsLibraryFailure, WritesItsOneLineAndEndsTheAgent) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("PC1");
  GetParam().inject(lan.World().SocketsLibrary(host));
  const sim::ProcessId pid = lan.StartAgent("PC1", AgentStart::Full);
  lan.RunFor(sim::Seconds(5));
  EXPECT_FALSE(lan.World().Alive(pid));
  EXPECT_EQ(lan.LogLines("PC1"), std::vector<std::string>{GetParam().line});
}

INSTANTIATE_TEST_SUITE_P(
    StartUp, SocketsLibraryFailure,
    ::testing::Values(
        FatalCase{"NotResponding", [](sim::SocketsLibrarySettings& s) { s.lngStartupResult = 10091; },
                  "Winsock.dll is not responding."},
        FatalCase{"Version10", [](sim::SocketsLibrarySettings& s) { s.wVersion = 0x0001; },
                  "Windows Sockets version 1.0 is not supported by winsock.dll "},
        FatalCase{"Version02", [](sim::SocketsLibrarySettings& s) { s.wVersion = 0x0200; },
                  "Windows Sockets version 0.2 is not supported by winsock.dll "},
        FatalCase{"NoSockets", [](sim::SocketsLibrarySettings& s) { s.lngMaxSockets = 0; },
                  "This application requires a minimum of 1 supported sockets."}),
    [](const ::testing::TestParamInfo<FatalCase>& info) { return info.param.name; });

TEST(StartUp, LaterVersionsOfTheSocketsLibraryAreAccepted) {
  for (std::uint16_t wVersion : {std::uint16_t{0x0101}, std::uint16_t{0x0202}, std::uint16_t{0x0002}}) {
    AgentOnSim lan;
    const sim::HostId host = lan.AddHost("PC1");
    lan.World().SocketsLibrary(host).wVersion = wVersion;
    const sim::ProcessId pid = lan.StartAgent("PC1", AgentStart::Full);
    lan.RunFor(sim::Seconds(5));
    EXPECT_TRUE(lan.World().Alive(pid)) << wVersion;
  }
}

TEST(StartUp, AFailingCleanupWhenTheSetupWindowIsClosedEndsTheAgent) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("PC1");
  lan.World().SocketsLibrary(host).lngCleanupResult = -1;
  const sim::ProcessId pid = lan.StartAgent("PC1", AgentStart::Full);
  lan.RunFor(sim::Seconds(5));
  lan.Call("PC1", [](Agent& a) { a.OpenAgentSetup(); });
  const auto setup = lan.World().FindForm(host, "frmAgentSetup");
  ASSERT_TRUE(setup.has_value());
  lan.World().CloseWindow(host, setup->hWnd);
  lan.RunFor(sim::Seconds(1));
  EXPECT_FALSE(lan.World().Alive(pid));
  const auto lines = lan.LogLines("PC1");
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "Socket error -1 occurred in Cleanup");
}

}  // namespace
}  // namespace launchagent::testing
