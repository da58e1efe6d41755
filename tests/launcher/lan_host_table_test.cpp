// The LAN host table's ends. What the share search adds, once per computer, is in
// tests/scenarios/launch-lan-host-table.scn, its registration at start-up in
// launch-registered-hosts.scn.
#include <gtest/gtest.h>

#include <string>

#include "desktop.h"

namespace launchagent::testing {
namespace {

TEST(LANHostTable, OutsideTheTableThereIsNoHost) {
  Pc07 pc;
  pc.Call([](LauncherParts& parts) {
    LanHostTable& table = parts.launcher.lanHosts();
    table.AddLANHost("Host1");
    for (Integer n : {0, 2, -1}) EXPECT_EQ(table.GetLANHost(n), "") << n;
    EXPECT_EQ(table.FindLANHost(""), 0);
  });
}

}  // namespace
}  // namespace launchagent::testing
