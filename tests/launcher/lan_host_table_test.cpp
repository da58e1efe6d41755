// The LAN host table: its ends, and its registration in the agent registry at start-up.
// What the share search adds, once per computer, is in
// tests/scenarios/launch-lan-host-table.scn.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "../support/sim_desktops.h"

namespace launchagent::testing {
namespace {

TEST(LANHostTable, OutsideTheTableThereIsNoHost) {
  Pc07 pc;
  pc.Call([](Agent& agent) {
    LanHostTable& table = agent.launcher().lanHosts();
    table.AddLANHost("Host1");
    for (Integer n : {0, 2, -1}) EXPECT_EQ(table.GetLANHost(n), "") << n;
    EXPECT_EQ(table.FindLANHost(""), 0);
  });
}

TEST(LANHostTable, RegisteringGivesEveryComputerOneRegistryEntryWithItsAddress) {
  Pc07 pc;
  pc.AddDesktop("pc12");
  // An unknown name still gets its entry, with no address.
  const std::pair<std::string, std::string> entries[] = {
      {"PC12", pc.world.Hosts().HostAddress(*pc.world.Hosts().FindHost("pc12"))},
      {"pc07", pc.world.Hosts().HostAddress(pc.host)},
      {"nowhere", ""}};
  pc.Call([&](Agent& agent) {
    for (const auto& entry : entries) agent.launcher().lanHosts().AddLANHost(entry.first);
    // Registering again adds nothing.
    agent.launcher().lanHosts().RegisterLANHosts();
    agent.launcher().lanHosts().RegisterLANHosts();
    ASSERT_EQ(agent.agentHostInfo().GetAgentCount(), 3);
    for (const auto& [sName, sAddress] : entries) {
      std::shared_ptr<clsMsgHostInfo> obj;
      ASSERT_TRUE(agent.agentHostInfo().GetAgentHostInfoByName(sName, obj));
      EXPECT_EQ(obj->GetHostName(), sName);
      EXPECT_EQ(obj->GetIPAddress(), sAddress);
    }
  });
}

}  // namespace
}  // namespace launchagent::testing
