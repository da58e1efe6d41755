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

TEST(LANHostTable, GrowsByTenAndFindsWithoutCase) {
  Pc07 pc;
  pc.Call([](Agent& agent) {
    Launcher& launcher = agent.launcher();
    // Room for ten more whenever the table is full: 10, 20, 30.
    for (int i = 0; i <= 21; ++i) {
      if (i > 0) launcher.AddLANHost("Host" + std::to_string(i));
      EXPECT_EQ(launcher.nLANHostCnt, i);
      EXPECT_EQ(launcher.nLANHostMax, (i + 9) / 10 * 10) << i;
    }
    for (int i = 1; i <= 21; ++i) {
      EXPECT_EQ(launcher.GetLANHost(static_cast<Integer>(i)), "Host" + std::to_string(i));
      EXPECT_EQ(launcher.FindLANHost("HOST" + std::to_string(i)), i);
    }
    EXPECT_EQ(launcher.FindLANHost("host22"), 0);
    EXPECT_EQ(launcher.FindLANHost(""), 0);
    for (Integer n : {0, 22, -1}) EXPECT_EQ(launcher.GetLANHost(n), "");
  });
}

TEST(LANHostTable, RefreshAddsEachNewComputerOfTheShareSearchOnce) {
  Pc07 pc;
  // Later searches only add: a computer that disappears stays, and a search that fails or
  // finds nothing changes nothing.
  const struct {
    std::vector<std::string> visible;
    bool bError;
    std::vector<std::string> table;
  } steps[] = {
      {{"\\\\HOST\\A", "\\\\HOST\\B", "notashare", "\\\\host\\c", "\\\\PC12", "\\\\pc12\\data"},
       false,
       {"HOST", "PC12"}},
      {{"\\\\pc20\\x", "\\\\host\\a"}, false, {"HOST", "PC12", "pc20"}},
      {{"\\\\pc30\\x"}, true, {"HOST", "PC12", "pc20"}},
      {{}, false, {"HOST", "PC12", "pc20"}},
  };
  for (const auto& step : steps) {
    pc.World().SetVisibleShares(pc.host, step.visible);
    pc.World().SetShareSearchError(pc.host, step.bError);
    pc.Call([&](Agent& agent) {
      agent.launcher().RefreshLANHosts();
      std::vector<std::string> table;
      for (Integer i = 1; i <= agent.launcher().nLANHostCnt; ++i)
        table.push_back(agent.launcher().GetLANHost(i));
      EXPECT_EQ(table, step.table);
    });
  }
}

TEST(LANHostTable, RegisteringGivesEveryComputerOneRegistryEntryWithItsAddress) {
  Pc07 pc;
  AddDesktop(pc.lan, "pc12");
  const std::string sAddress07 = pc.World().HostAddress(pc.host);
  const std::string sAddress12 = pc.World().HostAddress(*pc.World().FindHost("pc12"));
  pc.Call([&](Agent& agent) {
    for (const char* sHost : {"PC12", "pc07", "nowhere"}) agent.launcher().AddLANHost(sHost);
    // Registering again adds nothing.
    agent.launcher().RegisterLANHosts();
    agent.launcher().RegisterLANHosts();
    ASSERT_EQ(agent.agentHostInfo().GetAgentCount(), 3);
    // An unknown name still gets its entry, with no address.
    const std::pair<std::string, std::string> entries[] = {
        {"PC12", sAddress12}, {"pc07", sAddress07}, {"nowhere", ""}};
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
