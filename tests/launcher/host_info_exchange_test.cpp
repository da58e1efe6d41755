// The host information exchange: the broadcast, and what the receiving side does with each
// image. What it stores and logs of a launch site, readable or not, and the local
// description behind it show in tests/scenarios/launcher-*.scn and launch-site.scn.
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

TEST(HostInfoExchange, ThreeHostsHearFromOneAnotherWithinAboutHalfAMinute) {
  AgentOnSim lan;
  const std::vector<std::string> hosts = {"Zeta", "alpha", "Mid"};
  for (const std::string& sHost : hosts) AddDesktop(lan, sHost, {.bMainApp = sHost == "alpha"});
  for (const std::string& sHost : hosts) lan.StartAgent(sHost, AgentStart::Full);
  // The first broadcast only opens the connections; the next one, 31 s on, arrives.
  lan.RunUntil(sim::Seconds(33));
  // Each offers a share, so each also stands in its own table and hears itself.
  for (const std::string& sHost : hosts)
    for (const std::string& sFrom : hosts)
      EXPECT_TRUE(Contains(lan.LogLines(sHost), "HostInfoFrom=" + sFrom)) << sHost << sFrom;

  lan.RunFor(sim::Seconds(40));
  for (const std::string& sHost : hosts) {
    EXPECT_EQ(LastSitesBlock(lan.LogLines(sHost)),
              (std::vector<std::string>{"alpha", "Mid", "Zeta"}))
        << sHost;
    EXPECT_TRUE(Contains(lan.LogLines(sHost), "Host=alpha LaunchSite=" + LaunchSiteOf("alpha")));
  }
}

TEST(HostInfoExchange, OtherMessagesAndForeignBytesChangeNothing) {
  Pc07 pc;
  EXPECT_TRUE(pc.Call([](Agent& agent) {
                  for (const Bytes& image :
                       {std::make_shared<clsMsgUserList>(agent)->GetObjectData(),
                        std::make_shared<clsMsgHello>(agent)->GetObjectData(), Bytes{},
                        Bytes{1, 2, 3, 4, 5}, Bytes(300, 0xff)})
                    agent.launcher().ProcessReceivedMessage(1, image);
                  EXPECT_EQ(agent.agentHostInfo().GetAgentCount(), 0);
                }).empty());
}

}  // namespace
}  // namespace launchagent::testing
