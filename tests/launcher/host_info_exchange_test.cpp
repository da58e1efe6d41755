// The host information exchange: the order of the listed launch sites, and what the
// receiving side does with images that are no host information. Who hears whom and when,
// and what is stored and logged of a launch site, are in tests/scenarios/host-info-*.scn,
// launcher-*.scn and launch-site.scn.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "desktop.h"
#include "launcher/launcher.h"
#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_user_list.h"
#include "registry/agent_host_info.h"

namespace launchagent::testing {
namespace {

// The host names of the last block of "Host=" lines (one LogAgentSites run), without the
// empty name of a description sent before its sender knew its own name.
std::vector<std::string> LastSitesBlock(const std::vector<std::string>& lines) {
  auto it = std::find_if(lines.rbegin(), lines.rend(),
                         [](const std::string& s) { return s.starts_with("Host="); });
  std::vector<std::string> names;
  for (; it != lines.rend() && it->starts_with("Host="); ++it)
    if (it->find("Host= ") != 0) names.insert(names.begin(), it->substr(5, it->find(' ') - 5));
  return names;
}

TEST(HostInfoExchange, EveryHostListsTheLaunchSitesInNameOrder) {
  AgentOnSim lan;
  const std::vector<std::string> hosts = {"Zeta", "alpha", "Mid"};
  for (const std::string& sHost : hosts) AddDesktop(lan, sHost);
  for (const std::string& sHost : hosts) lan.StartAgent(sHost, AgentStart::Full);
  lan.RunUntil(sim::Seconds(73));
  for (const std::string& sHost : hosts)
    EXPECT_EQ(LastSitesBlock(lan.LogLines(sHost)),
              (std::vector<std::string>{"alpha", "Mid", "Zeta"}))
        << sHost;
}

TEST(HostInfoExchange, OtherMessagesAndForeignBytesChangeNothing) {
  Pc07 pc;
  EXPECT_TRUE(pc.Call([](Agent& agent) {
                  for (const Bytes& image :
                       {std::make_shared<clsMsgUserList>(agent)->GetObjectData(),
                        std::make_shared<clsMsgHello>(agent)->GetObjectData(), Bytes{},
                        Bytes{1, 2, 3, 4, 5}, Bytes(300, 0xff)})
                    agent.launcher().exchange().ProcessReceivedMessage(1, image);
                  EXPECT_EQ(agent.agentHostInfo().GetAgentCount(), 0);
                }).empty());
}

}  // namespace
}  // namespace launchagent::testing
