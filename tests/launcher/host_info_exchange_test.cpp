// The host information exchange: the local description, the broadcast, and what the
// receiving side does with each image.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "desktop.h"
#include "launcher/launcher.h"
#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_host_info.h"
#include "messages/cls_msg_user_list.h"
#include "registry/agent_host_info.h"

namespace launchagent::testing {
namespace {

// The host names of the last block of "Host=" lines (one LogAgentSites run).
std::vector<std::string> LastSitesBlock(const std::vector<std::string>& lines) {
  std::vector<std::string> names;
  std::size_t nEnd = lines.size();
  while (nEnd > 0 && lines[nEnd - 1].rfind("Host=", 0) != 0) --nEnd;
  std::size_t nBegin = nEnd;
  while (nBegin > 0 && lines[nBegin - 1].rfind("Host=", 0) == 0) --nBegin;
  for (std::size_t i = nBegin; i < nEnd; ++i) {
    const std::string& s = lines[i];
    names.push_back(s.substr(5, s.find(" LaunchSite=") - 5));
  }
  return names;
}

TEST(HostInfoExchange, ThreeHostsHearFromOneAnotherWithinAboutHalfAMinute) {
  AgentOnSim lan;
  const std::vector<std::string> hosts = {"Zeta", "alpha", "Mid"};
  AddDesktop(lan, "Zeta");
  const sim::HostId alpha = AddDesktop(lan, "alpha", {.bMainApp = true});
  AddDesktop(lan, "Mid");
  for (const std::string& sHost : hosts) lan.StartAgent(sHost, AgentStart::Full);
  // The first broadcast only opens the connections; the next one, 31 s on, arrives.
  lan.RunUntil(sim::Seconds(33));

  for (const std::string& sHost : hosts) {
    const std::vector<std::string> lines = lan.LogLines(sHost);
    for (const std::string& sOther : hosts) {
      if (sOther == sHost) continue;
      EXPECT_TRUE(Contains(lines, "HostInfoFrom=" + sOther)) << sHost << " from " << sOther;
    }
    EXPECT_TRUE(Contains(lines, "LaunchSite=" + LaunchSiteOf("alpha"))) << sHost;
  }

  lan.RunFor(sim::Seconds(40));
  for (const std::string& sHost : hosts) {
    std::vector<std::string> names = LastSitesBlock(lan.LogLines(sHost));
    // A description sent before the sender knew its own name names no host.
    names.erase(std::remove(names.begin(), names.end(), std::string()), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"alpha", "Mid", "Zeta"})) << sHost;
    EXPECT_TRUE(Contains(lan.LogLines(sHost), "Host=alpha LaunchSite=" + LaunchSiteOf("alpha")))
        << sHost;
  }

  // The description travels with the fields nothing sets at their first values.
  const std::string sAlphaAddress = lan.World().HostAddress(alpha);
  ASSERT_TRUE(lan.Call("Mid", [&](Agent& agent) {
    std::shared_ptr<clsMsgHostInfo> obj;
    ASSERT_TRUE(agent.agentHostInfo().GetAgentHostInfoByName("alpha", obj));
    EXPECT_EQ(obj->GetLocalPort(), 0);
    EXPECT_EQ(obj->GetUserName(), "");
    EXPECT_FALSE(obj->GetIndexing());
    EXPECT_FALSE(obj->GetProvideHostServices());
    EXPECT_FALSE(obj->GetProvideWeb());
    EXPECT_FALSE(obj->GetInternetReady());
    EXPECT_EQ(obj->GetIPAddress(), sAlphaAddress);
  }));
}

TEST(ProcessReceivedMessage, OtherMessagesAndForeignBytesChangeNothing) {
  AgentOnSim lan;
  AddDesktop(lan, "pc07");
  lan.StartAgent("pc07");
  const std::size_t nMark = lan.LogMark("pc07");
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
    const std::vector<Bytes> images = {
        std::make_shared<clsMsgUserList>(agent)->GetObjectData(),
        std::make_shared<clsMsgHello>(agent)->GetObjectData(),
        Bytes{},
        Bytes{1, 2, 3, 4, 5},
        Bytes(300, 0xff),
    };
    for (const Bytes& image : images) agent.launcher().ProcessReceivedMessage(1, image);
    EXPECT_EQ(agent.agentHostInfo().GetAgentCount(), 0);
  }));
  EXPECT_TRUE(lan.LogLinesSince("pc07", nMark).empty());
}

struct ReceiveCase {
  bool bSiteReadable;
  std::string sStoredSite;
};

TEST(ProcessHostInfo, StoresTheDescriptionAndErasesASiteThatCannotBeOpened) {
  const ReceiveCase cases[] = {
      {true, LaunchSiteOf("pc12")},
      {false, ""},
  };
  for (const ReceiveCase& c : cases) {
    AgentOnSim lan;
    AddDesktop(lan, "pc07");
    AddDesktop(lan, "pc12", {.bMainApp = c.bSiteReadable});
    lan.StartAgent("pc07");
    const std::size_t nMark = lan.LogMark("pc07");
    ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
      auto objSent = std::make_shared<clsMsgHostInfo>(agent);
      objSent->SetHostName("pc12");
      objSent->SetIPAddress("10.0.0.12");
      objSent->SetAppPath(LaunchSiteOf("pc12"));
      agent.launcher().ProcessReceivedMessage(3, objSent->GetObjectData());

      std::shared_ptr<clsMsgHostInfo> objStored;
      ASSERT_TRUE(agent.agentHostInfo().GetAgentHostInfoByName("PC12", objStored));
      EXPECT_EQ(objStored->GetIPAddress(), "10.0.0.12");
      EXPECT_EQ(objStored->GetAppPath(), c.sStoredSite);
      EXPECT_EQ(objStored->GetDateReceived(), agent.Platform().clock.Now());
    }));
    EXPECT_EQ(lan.LogLinesSince("pc07", nMark),
              (std::vector<std::string>{"HostInfoFrom=pc12", "LaunchSite=" + LaunchSiteOf("pc12"),
                                        "Host=pc12 LaunchSite=" + c.sStoredSite}))
        << c.bSiteReadable;
  }
}

TEST(ProcessHostInfo, AnEmptySiteIsLoggedAndErasesNothingNew) {
  AgentOnSim lan;
  AddDesktop(lan, "pc07");
  lan.StartAgent("pc07");
  const std::size_t nMark = lan.LogMark("pc07");
  ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
    auto objSent = std::make_shared<clsMsgHostInfo>(agent);
    objSent->SetHostName("pc12");
    agent.launcher().ProcessReceivedMessage(0, objSent->GetObjectData());
  }));
  EXPECT_EQ(
      lan.LogLinesSince("pc07", nMark),
      (std::vector<std::string>{"HostInfoFrom=pc12", "LaunchSite=", "Host=pc12 LaunchSite="}));
}

TEST(BroadcastLocalHostInfo, AnEmptyTableSendsNothing) {
  AgentOnSim lan;
  AddDesktop(lan, "pc07");
  lan.StartAgent("pc07");
  const std::size_t nMark = lan.LogMark("pc07");
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
    agent.launcher().BroadcastLocalHostInfo();
    // A send would have registered its host.
    EXPECT_EQ(agent.agentHostInfo().GetAgentCount(), 0);
  }));
  lan.RunFor(sim::Seconds(5));
  EXPECT_TRUE(lan.LogLinesSince("pc07", nMark).empty());
}

struct LocalCase {
  bool bShare;
  bool bMainApp;
  std::string sAppPath;
};

TEST(RefreshLocalHostInfo, DescribesThisComputerAndItsLaunchSite) {
  const LocalCase cases[] = {
      {true, true, LaunchSiteOf("pc07")},
      {true, false, ""},
      {false, true, ""},  // no share of its own: the executable cannot be reached
  };
  for (const LocalCase& c : cases) {
    AgentOnSim lan;
    const sim::HostId host = AddDesktop(lan, "pc07", {.bShare = c.bShare, .bMainApp = c.bMainApp});
    AddDesktop(lan, "pc12");
    lan.StartAgent("pc07");
    const std::string sAddress = lan.World().HostAddress(host);
    ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
      agent.launcher().RefreshLocalHostInfo();
      const auto objLocal = agent.objLocalHost();
      EXPECT_EQ(objLocal->GetHostName(), "pc07");
      EXPECT_EQ(objLocal->GetIPAddress(), sAddress);
      EXPECT_EQ(objLocal->GetAppPath(), c.sAppPath);
      // The table lists every computer with a share, this one too when it has one.
      EXPECT_EQ(agent.launcher().FindLANHost("pc12"), c.bShare ? 2 : 1);
      EXPECT_EQ(agent.launcher().FindLANHost("pc07") != 0, c.bShare);
    }));
  }
}

}  // namespace
}  // namespace launchagent::testing
