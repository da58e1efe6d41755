// The counting timers' cadence and the socket library versions the agent accepts. The
// rest of start-up (window, Run value, single instance, the watch timers, the fatal
// socket failures) is checked by the start-up scenarios in tests/scenarios/.
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

TEST(StartUp, LaterVersionsOfTheSocketsLibraryAreAccepted) {
  for (std::uint16_t wVersion :
       {std::uint16_t{0x0101}, std::uint16_t{0x0202}, std::uint16_t{0x0002}}) {
    AgentOnSim lan;
    const sim::HostId host = lan.AddHost("PC1");
    lan.World().Net().SocketsLibrary(host).wVersion = wVersion;
    const sim::ProcessId pid = lan.StartAgent("PC1", AgentStart::Full);
    lan.RunFor(sim::Seconds(5));
    EXPECT_TRUE(lan.World().Programs().Alive(pid)) << wVersion;
  }
}

}  // namespace
}  // namespace launchagent::testing
