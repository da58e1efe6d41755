// The LAN host table: filled from the share search, one entry per computer, growing in
// steps of ten, and registered in the agent registry at start-up.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "../support/sim_desktops.h"

namespace launchagent::testing {
namespace {

std::vector<std::string> Table(LanHostTable& launcher) {
  std::vector<std::string> names;
  for (Integer i = 1; i <= launcher.nLANHostCnt; ++i) names.push_back(launcher.GetLANHost(i));
  return names;
}

TEST(LANHostTable, GrowsByTenAndFindsWithoutCase) {
  Pc07 pc;
  pc.Call([](LauncherParts& parts) {
    LanHostTable& launcher = parts.launcher.lanHosts();
    std::vector<std::string> added;
    // Room for ten more whenever the table is full: 10, 20, 30.
    for (int i = 0; i <= 21; ++i) {
      if (i > 0) launcher.AddLANHost(added.emplace_back("Host" + std::to_string(i)));
      EXPECT_EQ(launcher.nLANHostMax, (i + 9) / 10 * 10) << i;
    }
    EXPECT_EQ(Table(launcher), added);
    for (int i = 1; i <= 21; ++i) EXPECT_EQ(launcher.FindLANHost("HOST" + std::to_string(i)), i);
    for (const char* sName : {"host22", ""}) EXPECT_EQ(launcher.FindLANHost(sName), 0);
    for (Integer n : {0, 22, -1}) EXPECT_EQ(launcher.GetLANHost(n), "");
  });
}

TEST(LANHostTable, RefreshAddsEachNewComputerOfTheShareSearchOnce) {
  Pc07 pc;
  // Later searches only add: a computer that disappears stays, and a search that fails or
  // finds nothing changes nothing.
  using Names = std::vector<std::string>;
  const std::tuple<Names, bool, Names> steps[] = {
      {{"\\\\HOST\\A", "\\\\HOST\\B", "notashare", "\\\\host\\c", "\\\\PC12", "\\\\pc12\\data"},
       false,
       {"HOST", "PC12"}},
      {{"\\\\pc20\\x", "\\\\host\\a"}, false, {"HOST", "PC12", "pc20"}},
      {{"\\\\pc30\\x"}, true, {"HOST", "PC12", "pc20"}},
      {{}, false, {"HOST", "PC12", "pc20"}},
  };
  for (const auto& [visible, bError, table] : steps) {
    pc.world.Files().SetVisibleShares(pc.host, visible);
    pc.world.Files().SetShareSearchError(pc.host, bError);
    pc.Call([&](LauncherParts& parts) {
      parts.launcher.lanHosts().RefreshLANHosts();
      EXPECT_EQ(Table(parts.launcher.lanHosts()), table);
    });
  }
}

TEST(LANHostTable, RegisteringGivesEveryComputerOneRegistryEntryWithItsAddress) {
  Pc07 pc;
  pc.AddDesktop("pc12");
  // An unknown name still gets its entry, with no address.
  const std::pair<std::string, std::string> entries[] = {
      {"PC12", pc.world.Hosts().HostAddress(*pc.world.Hosts().FindHost("pc12"))},
      {"pc07", pc.world.Hosts().HostAddress(pc.host)},
      {"nowhere", ""}};
  pc.Call([&](LauncherParts& parts) {
    for (const auto& entry : entries) parts.launcher.lanHosts().AddLANHost(entry.first);
    // Registering again adds nothing.
    parts.launcher.lanHosts().RegisterLANHosts();
    parts.launcher.lanHosts().RegisterLANHosts();
    ASSERT_EQ(parts.registry.GetAgentCount(), 3);
    for (const auto& [sName, sAddress] : entries) {
      std::shared_ptr<clsMsgHostInfo> obj;
      ASSERT_TRUE(parts.registry.GetAgentHostInfoByName(sName, obj));
      EXPECT_EQ(obj->GetHostName(), sName);
      EXPECT_EQ(obj->GetIPAddress(), sAddress);
    }
  });
}

}  // namespace
}  // namespace launchagent::testing
