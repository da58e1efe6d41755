// Launch sites on the LAN: a desktop without the main application starts it from a peer's
// share, keeps a copy, and starts locally from then on.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "desktop.h"
#include "launcher/launcher.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"

namespace launchagent::testing {
namespace {

TEST(LaunchSite, ADesktopWithoutTheApplicationLaunchesFromAPeerThenLocally) {
  AgentOnSim lan;
  AddDesktop(lan, "alpha", {.bMainApp = true});
  const sim::HostId beta = AddDesktop(lan, "beta");
  lan.StartAgent("alpha", AgentStart::Full);
  lan.StartAgent("beta", AgentStart::Full);
  lan.RunFor(sim::Seconds(70));

  const std::vector<std::string> lines = lan.LogLines("beta");
  EXPECT_TRUE(Contains(lines, "*** Launching From: " + LaunchSiteOf("alpha")));
  EXPECT_EQ(CountOf(lines, "*** Launch Successful ***"), 1u);
  ASSERT_EQ(MainApps(lan.World(), beta).size(), 1u);
  EXPECT_EQ(MainApps(lan.World(), beta)[0].sPath, LaunchSiteOf("alpha"));
  // The executable was copied into the agent's own folder.
  EXPECT_EQ(lan.World().ReadFile(beta, kMainAppPath),
            lan.World().ReadFile(*lan.World().FindHost("alpha"), kMainAppPath));

  // The next launch starts the local copy.
  const platform::WindowHandle hWnd = WindowTitled(lan.World(), beta, "Varno");
  ASSERT_NE(hWnd, 0);
  ASSERT_TRUE(lan.World().CloseWindow(beta, hWnd));
  const std::size_t nMark = lan.LogMark("beta");
  lan.RunFor(sim::Seconds(31));
  const std::vector<std::string> later = lan.LogLinesSince("beta", nMark);
  EXPECT_TRUE(Contains(later, std::string("*** Launching From: ") + kMainAppPath));
  EXPECT_FALSE(Contains(later, "*** Launching From: " + LaunchSiteOf("alpha")));
  ASSERT_EQ(MainApps(lan.World(), beta).size(), 1u);
  EXPECT_EQ(MainApps(lan.World(), beta)[0].sPath, kMainAppPath);
}

TEST(LaunchSite, ASiteThatCannotBeReadIsLoggedThenErased) {
  AgentOnSim lan;
  const sim::HostId alpha = AddDesktop(lan, "alpha", {.bMainApp = true});
  const sim::HostId beta = AddDesktop(lan, "beta");
  lan.World().SetShareSearchTime(alpha, sim::Seconds(1));
  lan.World().SetShareSearchTime(beta, sim::Seconds(1));
  lan.StartAgent("alpha", AgentStart::Full);
  lan.StartAgent("beta", AgentStart::Full);
  // alpha has announced its site by now; from here on its share refuses every reader.
  lan.RunUntil(sim::Seconds(15));
  ASSERT_TRUE(lan.World().SetShareReadable(alpha, "c", false));
  const std::size_t nMark = lan.LogMark("beta");
  lan.RunFor(sim::Minutes(2));

  const std::vector<std::string> later = lan.LogLinesSince("beta", nMark);
  const auto it = std::find(later.begin(), later.end(), "LaunchSite=" + LaunchSiteOf("alpha"));
  ASSERT_NE(it, later.end());
  EXPECT_NE(std::find(it, later.end(), "Host=alpha LaunchSite="), later.end());
  ASSERT_TRUE(lan.Call("beta", [](Agent& agent) {
    std::shared_ptr<clsMsgHostInfo> obj;
    ASSERT_TRUE(agent.agentHostInfo().GetAgentHostInfoByName("alpha", obj));
    EXPECT_EQ(obj->GetAppPath(), "");
  }));
  EXPECT_FALSE(Contains(lan.LogLines("beta"), "*** Launch Successful ***"));
  EXPECT_TRUE(MainApps(lan.World(), beta).empty());
}

}  // namespace
}  // namespace launchagent::testing
