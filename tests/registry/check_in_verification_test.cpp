// Check-in verification: the age of this computer's own entry, the shutdown at 9 minutes,
// the launch globals, and the whole loop on the LAN (own broadcast back, cut off, close,
// relaunch).
#include "registry/check_in_verification.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "../launcher/desktop.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"
#include "transport/frm_server.h"

namespace launchagent::testing {
namespace {

constexpr const char* kAppClass = "ThunderRT6FormDC";

std::shared_ptr<clsMsgHostInfo> Register(Agent& agent, const std::string& sHost) {
  auto obj = std::make_shared<clsMsgHostInfo>(agent);
  obj->SetHostName(sHost);
  agent.agentHostInfo().UpdateAgent(obj);
  std::shared_ptr<clsMsgHostInfo> objStored;
  agent.agentHostInfo().GetAgentHostInfoByName(sHost, objStored);
  return objStored;
}

struct AgeCase {
  std::int64_t lngSecondsAgo;  // receive time before now
  std::string sAge;
  bool bShutdown;
};

TEST(VerifyCheckIn, ClosesTheApplicationWhenTheOwnEntryIsNineMinutesOld) {
  const AgeCase cases[] = {
      {0, "0", false},  {1, "1", false},  {60, "1", false},  {61, "2", false},  {480, "8", false},
      {539, "9", true}, {540, "9", true}, {600, "10", true}, {-30, "0", false}, {-61, "-1", false},
  };
  for (const AgeCase& c : cases) {
    AgentOnSim lan;
    const sim::HostId host = AddDesktop(lan, "pc07");
    lan.World().AddWindow(host, kAppClass, "Varno");
    lan.StartAgent("pc07");
    // On a whole minute, so the cut to minutes shows.
    lan.RunUntil(sim::Minutes(10));
    const std::size_t nMark = lan.LogMark("pc07");
    DateTime dtReceived;
    DateTime dtNow;
    ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
      dtNow = agent.Platform().clock.Now();
      ASSERT_EQ(dtNow.lngSeconds % 60, 0);
      Register(agent, "pc12");
      auto objOwn = Register(agent, "PC07");
      ASSERT_TRUE(objOwn);
      dtReceived = DateTime{dtNow.lngSeconds - c.lngSecondsAgo};
      objOwn->SetDateReceived(dtReceived);
      objOwn->SetUserName("anna");
      objOwn->SetIndexing(true);
      agent.checkInVerification().VerifyCheckIn();

      EXPECT_EQ(agent.sLaunchUserName, "anna");
      EXPECT_TRUE(agent.bLaunchIndexing);
      std::shared_ptr<clsMsgHostInfo> objAfter;
      ASSERT_TRUE(agent.agentHostInfo().GetAgentHostInfoByName("pc07", objAfter));
      // The shutdown restarts the nine minutes.
      EXPECT_EQ(objAfter->GetDateReceived(), c.bShutdown ? dtNow : dtReceived);
    }));

    std::vector<std::string> expected = {
        "Verifying Agent CheckIn (pc07) ...", "Verifying Agent  PC07",
        "Last Updated=" + dtReceived.ToText() + "(" + c.sAge + ")"};
    if (c.bShutdown) expected.push_back("Shutting Down Varno.");
    expected.push_back("Verifying Agent  pc12");
    expected.push_back("Verification completed.");
    EXPECT_EQ(lan.LogLinesSince("pc07", nMark), expected) << c.lngSecondsAgo;
    EXPECT_EQ(WindowTitled(lan.World(), host, "Varno") == 0, c.bShutdown) << c.lngSecondsAgo;
  }
}

TEST(VerifyCheckIn, AnAgeBeyondSixteenBitsEndsTheRunWithAnError) {
  AgentOnSim lan;
  const sim::HostId host = AddDesktop(lan, "pc07");
  lan.World().AddWindow(host, kAppClass, "Varno");
  lan.StartAgent("pc07");
  const std::size_t nMark = lan.LogMark("pc07");
  ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
    auto objOwn = Register(agent, "pc07");
    Register(agent, "zz");
    objOwn->SetDateReceived(DateTime{});  // never received: decades old
    objOwn->SetUserName("bob");
    agent.checkInVerification().VerifyCheckIn();
    // The globals were taken before the age.
    EXPECT_EQ(agent.sLaunchUserName, "bob");
  }));
  EXPECT_EQ(lan.LogLinesSince("pc07", nMark),
            (std::vector<std::string>{"Verifying Agent CheckIn (pc07) ...", "Verifying Agent  pc07",
                                      "ERROR: Verification."}));
  EXPECT_NE(WindowTitled(lan.World(), host, "Varno"), 0);
}

TEST(VerifyCheckIn, WithoutAnOwnEntryOnlyTheLinesAreWritten) {
  struct Case {
    std::vector<std::string> entries;
    std::string sComputerName;
    std::vector<std::string> lines;
  };
  const Case cases[] = {
      {{}, "pc07", {"Verifying Agent CheckIn (pc07) ...", "Verification completed."}},
      // The computer name, not the Winsock name, decides.
      {{"pc07", "pc12"},
       "DESK7",
       {"Verifying Agent CheckIn (desk7) ...", "Verifying Agent  pc07", "Verifying Agent  pc12",
        "Verification completed."}},
  };
  for (const Case& c : cases) {
    AgentOnSim lan;
    const sim::HostId host = AddDesktop(lan, "pc07");
    lan.World().SetComputerName(host, c.sComputerName);
    lan.World().AddWindow(host, kAppClass, "Varno");
    lan.StartAgent("pc07");
    lan.RunFor(sim::Minutes(30));
    const std::size_t nMark = lan.LogMark("pc07");
    ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
      for (const std::string& s : c.entries) Register(agent, s)->SetDateReceived(DateTime{});
      agent.checkInVerification().VerifyCheckIn();
      EXPECT_EQ(agent.sLaunchUserName, "");
      EXPECT_FALSE(agent.bLaunchIndexing);
    }));
    EXPECT_EQ(lan.LogLinesSince("pc07", nMark), c.lines);
    EXPECT_NE(WindowTitled(lan.World(), host, "Varno"), 0);
  }
}

TEST(CloseMainApplication, AsksUntilEveryWindowTitledVarnoIsGone) {
  struct Case {
    std::vector<std::pair<std::string, int>> windows;  // class, close requests refused
  };
  const Case cases[] = {
      {{}},
      {{{kAppClass, 0}}},
      {{{kAppClass, 3}}},
      {{{"CabinetWClass", 0}, {kAppClass, 1}}},
  };
  for (const Case& c : cases) {
    AgentOnSim lan;
    const sim::HostId host = AddDesktop(lan, "pc07");
    for (const auto& [sClass, nRefuse] : c.windows)
      lan.World().AddWindow(host, sClass, "Varno", nRefuse);
    lan.World().AddWindow(host, kAppClass, "Varno - notes");
    lan.StartAgent("pc07");
    const std::size_t nMark = lan.LogMark("pc07");
    ASSERT_TRUE(
        lan.Call("pc07", [](Agent& agent) { agent.checkInVerification().CloseMainApplication(); }));
    EXPECT_EQ(WindowTitled(lan.World(), host, "Varno"), 0);
    EXPECT_NE(WindowTitled(lan.World(), host, "Varno - notes"), 0);
    EXPECT_TRUE(lan.LogLinesSince("pc07", nMark).empty());
  }
}

// The index of the first line at or after nFrom that begins with sPrefix, or npos.
std::size_t FindFrom(const std::vector<std::string>& lines, std::size_t nFrom,
                     const std::string& sPrefix) {
  for (std::size_t i = nFrom; i < lines.size(); ++i)
    if (lines[i].rfind(sPrefix, 0) == 0) return i;
  return std::string::npos;
}

TEST(CheckIn, OwnBroadcastKeepsTheApplicationUpAndItsLossClosesItAtNineMinutes) {
  AgentOnSim lan;
  const sim::HostId pc1 = AddDesktop(lan, "pc1", {.bMainApp = true});
  AddDesktop(lan, "pc2");
  lan.StartAgent("pc1", AgentStart::Full);
  lan.StartAgent("pc2", AgentStart::Full);

  // pc1 offers a share, so it lists itself and its own description comes back.
  lan.RunUntil(sim::Minutes(20));
  {
    const std::vector<std::string> lines = lan.LogLines("pc1");
    EXPECT_TRUE(Contains(lines, "HostInfoFrom=pc1"));
    EXPECT_FALSE(Contains(lines, "Shutting Down Varno."));
    EXPECT_EQ(CountOf(lines, "*** Launch Successful ***"), 1u);
    const auto updated = StartingWith(lines, "Last Updated=");
    ASSERT_FALSE(updated.empty());
    EXPECT_TRUE(updated.back().ends_with("(0)") || updated.back().ends_with("(1)"))
        << updated.back();
  }
  ASSERT_EQ(MainApps(lan.World(), pc1).size(), 1u);
  const sim::ProcessId firstApp = MainApps(lan.World(), pc1)[0].pid;

  // Its server is cut off: the listener and every accepted connection close, so nothing
  // reaches it any more, not even its own description.
  const std::size_t nMark = lan.LogMark("pc1");
  ASSERT_TRUE(lan.Call("pc1", [](Agent& agent) {
    platform::SocketArray& tcpServer = agent.frmServer().tcpServer();
    for (Long i = 0; i <= tcpServer.UBound(); ++i) tcpServer.Close(i);
  }));
  lan.RunFor(sim::Seconds(1));
  ASSERT_TRUE(lan.Call("pc1", [](Agent& agent) {
    std::shared_ptr<clsMsgHostInfo> objOwn;
    ASSERT_TRUE(agent.agentHostInfo().GetAgentHostInfoByName("pc1", objOwn));
    objOwn->SetUserName("anna");
    objOwn->SetIndexing(true);
  }));

  std::vector<std::string> lines;
  for (int i = 0; i < 12 * 12; ++i) {
    lan.RunFor(sim::Seconds(5));
    lines = lan.LogLinesSince("pc1", nMark);
    if (Contains(lines, "Shutting Down Varno.")) break;
  }
  const std::size_t nShutdown = FindFrom(lines, 0, "Shutting Down Varno.");
  ASSERT_NE(nShutdown, std::string::npos);
  ASSERT_GT(nShutdown, 0u);
  EXPECT_TRUE(lines[nShutdown - 1].ends_with("(9)")) << lines[nShutdown - 1];
  // Age 8 was seen and let pass.
  bool bSawEight = false;
  for (std::size_t i = 0; i < nShutdown; ++i) bSawEight |= lines[i].ends_with("(8)");
  EXPECT_TRUE(bSawEight);

  // The next watch starts it again, for the entry's user and in its mode.
  lan.RunFor(sim::Seconds(31));
  lines = lan.LogLinesSince("pc1", nMark);
  const std::size_t nUser = FindFrom(lines, nShutdown, "*** User=");
  ASSERT_NE(nUser, std::string::npos);
  EXPECT_EQ(lines[nUser], "*** User=anna ***");
  EXPECT_FALSE(lan.World().Alive(firstApp));
  const auto apps = MainApps(lan.World(), pc1);
  ASSERT_EQ(apps.size(), 1u);
  EXPECT_EQ(apps[0].sParameters, "-ReindexVarno anna");

  // The receive time was reset: the next run counts from the shutdown.
  const std::size_t nNext = FindFrom(lines, nShutdown, "Last Updated=");
  ASSERT_NE(nNext, std::string::npos);
  EXPECT_TRUE(lines[nNext].ends_with("(0)") || lines[nNext].ends_with("(1)")) << lines[nNext];
}

TEST(CheckIn, AComputerThatDoesNotListItselfIsNeverClosed) {
  AgentOnSim lan;
  const sim::HostId pc1 = AddDesktop(lan, "pc1", {.bShare = false, .bMainApp = true});
  AddDesktop(lan, "pc2");
  lan.StartAgent("pc1", AgentStart::Full);
  lan.StartAgent("pc2", AgentStart::Full);
  lan.RunUntil(sim::Minutes(25));
  const std::vector<std::string> lines = lan.LogLines("pc1");
  EXPECT_FALSE(Contains(lines, "HostInfoFrom=pc1"));
  EXPECT_TRUE(StartingWith(lines, "Last Updated=").empty());
  EXPECT_FALSE(Contains(lines, "Shutting Down Varno."));
  EXPECT_EQ(MainApps(lan.World(), pc1).size(), 1u);
}

}  // namespace
}  // namespace launchagent::testing
