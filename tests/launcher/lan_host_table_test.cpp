// The LAN host table: filled from the share search, one entry per computer, growing in
// steps of ten, and registered in the agent registry at start-up.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "desktop.h"
#include "launcher/launcher.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"

namespace launchagent::testing {
namespace {

struct GrowthCase {
  int nAdded;
  Integer nExpectedMax;
};

TEST(LANHostTable, GrowsByTenKeepingItsEntries) {
  const GrowthCase cases[] = {{0, 0}, {1, 10}, {10, 10}, {11, 20}, {20, 20}, {21, 30}};
  for (const GrowthCase& c : cases) {
    AgentOnSim lan;
    lan.AddHost("pc07");
    lan.StartAgent("pc07");
    ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
      Launcher& launcher = agent.launcher();
      for (int i = 1; i <= c.nAdded; ++i) launcher.AddLANHost("host" + std::to_string(i));
      EXPECT_EQ(launcher.nLANHostCnt, c.nAdded);
      EXPECT_EQ(launcher.nLANHostMax, c.nExpectedMax) << c.nAdded << " hosts";
      for (int i = 1; i <= c.nAdded; ++i)
        EXPECT_EQ(launcher.GetLANHost(static_cast<Integer>(i)), "host" + std::to_string(i));
    }));
  }
}

TEST(LANHostTable, FindsWithoutCaseAndKeepsTheFirstSpelling) {
  AgentOnSim lan;
  lan.AddHost("pc07");
  lan.StartAgent("pc07");
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
    Launcher& launcher = agent.launcher();
    launcher.AddLANHost("HOST");
    launcher.AddLANHost("pc12");
    EXPECT_EQ(launcher.FindLANHost("host"), 1);
    EXPECT_EQ(launcher.FindLANHost("PC12"), 2);
    EXPECT_EQ(launcher.FindLANHost("pc13"), 0);
    EXPECT_EQ(launcher.FindLANHost(""), 0);
    EXPECT_EQ(launcher.GetLANHost(1), "HOST");
    EXPECT_EQ(launcher.GetLANHost(0), "");
    EXPECT_EQ(launcher.GetLANHost(3), "");
    EXPECT_EQ(launcher.GetLANHost(-1), "");
  }));
}

TEST(LANHostTable, RefreshAddsOneEntryPerComputerOfTheShareList) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("pc07");
  lan.World().SetVisibleShares(host, {"\\\\HOST\\A", "\\\\HOST\\B", "notashare", "\\\\host\\c",
                                      "\\\\PC12", "\\\\pc12\\data"});
  lan.StartAgent("pc07");
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
    Launcher& launcher = agent.launcher();
    launcher.RefreshLANHosts();
    ASSERT_EQ(launcher.nLANHostCnt, 2);
    EXPECT_EQ(launcher.GetLANHost(1), "HOST");
    EXPECT_EQ(launcher.GetLANHost(2), "PC12");
  }));

  // Later searches only add; a computer that disappears stays.
  lan.World().SetVisibleShares(host, {"\\\\pc20\\x", "\\\\host\\a"});
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
    Launcher& launcher = agent.launcher();
    launcher.RefreshLANHosts();
    ASSERT_EQ(launcher.nLANHostCnt, 3);
    EXPECT_EQ(launcher.GetLANHost(1), "HOST");
    EXPECT_EQ(launcher.GetLANHost(2), "PC12");
    EXPECT_EQ(launcher.GetLANHost(3), "pc20");
  }));
}

TEST(LANHostTable, AFailedOrEmptySearchLeavesTheTableAsItWas) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("pc07");
  lan.World().SetVisibleShares(host, {"\\\\pc12\\data"});
  lan.StartAgent("pc07");
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) { agent.launcher().RefreshLANHosts(); }));

  lan.World().SetShareSearchError(host, true);
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) { agent.launcher().RefreshLANHosts(); }));
  lan.World().SetShareSearchError(host, false);
  lan.World().SetVisibleShares(host, {});
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
    agent.launcher().RefreshLANHosts();
    EXPECT_EQ(agent.launcher().nLANHostCnt, 1);
    EXPECT_EQ(agent.launcher().GetLANHost(1), "pc12");
  }));
}

TEST(LANHostTable, RegisteringGivesEveryComputerARegistryEntryWithItsAddress) {
  AgentOnSim lan;
  lan.AddHost("pc07", "10.0.0.7");
  lan.AddHost("pc12", "10.0.0.12");
  lan.StartAgent("pc07");
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
    Launcher& launcher = agent.launcher();
    launcher.AddLANHost("PC12");
    launcher.AddLANHost("pc07");
    launcher.AddLANHost("nowhere");
    launcher.RegisterLANHosts();
    AgentHostInfo& registry = agent.agentHostInfo();
    ASSERT_EQ(registry.GetAgentCount(), 3);
    std::shared_ptr<clsMsgHostInfo> objHostInfo;
    ASSERT_TRUE(registry.GetAgentHostInfoByName("pc12", objHostInfo));
    EXPECT_EQ(objHostInfo->GetHostName(), "PC12");
    EXPECT_EQ(objHostInfo->GetIPAddress(), "10.0.0.12");
    ASSERT_TRUE(registry.GetAgentHostInfoByName("pc07", objHostInfo));
    EXPECT_EQ(objHostInfo->GetIPAddress(), "10.0.0.7");
    // An unknown name still gets its entry, with no address.
    ASSERT_TRUE(registry.GetAgentHostInfoByName("nowhere", objHostInfo));
    EXPECT_EQ(objHostInfo->GetIPAddress(), "");

    // Registering again adds nothing.
    launcher.RegisterLANHosts();
    EXPECT_EQ(registry.GetAgentCount(), 3);
  }));
}

}  // namespace
}  // namespace launchagent::testing
