// Check-in verification: the age of this computer's own entry, the shutdown at 9 minutes,
// the launch globals, and the loop on the LAN once the own broadcast stops coming back.
// A computer that hears its own broadcast, or never lists itself, is never closed:
// tests/scenarios/check-in-own-broadcast.scn.
#include "registry/check_in_verification.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "../launcher/desktop.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"
#include "transport/frm_server.h"

namespace launchagent::testing {
namespace {

using Lines = std::vector<std::string>;

// pc07 with the main application's window open.
struct Desk : Pc07 {
  Desk() { World().AddWindow(host, kAppClass, "Varno"); }
  bool VarnoOpen() { return WindowTitled(World(), host, "Varno") != 0; }
};

TEST(VerifyCheckIn, ClosesTheApplicationWhenTheOwnEntryIsNineMinutesOld) {
  // An age beyond 16 bits (32768 minutes, the last row) ends the run with an error, the
  // globals already taken.
  struct Case {
    std::int64_t lngSecondsAgo;  // receive time before now
    std::string sAge;
    bool bShutdown;
  };
  const Case cases[] = {
      {0, "0", false},   {1, "1", false},    {60, "1", false},         {61, "2", false},
      {480, "8", false}, {539, "9", true},   {540, "9", true},         {600, "10", true},
      {-30, "0", false}, {-61, "-1", false}, {1966020, "32767", true}, {1966080, "", false},
  };
  for (const auto& c : cases) {
    Desk pc;
    pc.lan.StartAgent("pc07");
    // On a whole minute, so the cut to minutes shows.
    pc.lan.RunUntil(sim::Minutes(10));
    DateTime dtReceived;
    const Lines lines = pc.Call([&](Agent& agent) {
      const DateTime dtNow = agent.Platform().clock.Now();
      Register(agent, "pc12");
      auto objOwn = Register(agent, "PC07", "", "anna");
      dtReceived = DateTime{dtNow.lngSeconds - c.lngSecondsAgo};
      objOwn->SetDateReceived(dtReceived);
      agent.checkInVerification().VerifyCheckIn();
      EXPECT_EQ(agent.sLaunchUserName, "anna");
      EXPECT_TRUE(agent.bLaunchIndexing);
      std::shared_ptr<clsMsgHostInfo> objAfter;
      ASSERT_TRUE(agent.agentHostInfo().GetAgentHostInfoByName("pc07", objAfter));
      // The shutdown restarts the nine minutes.
      EXPECT_EQ(objAfter->GetDateReceived(), c.bShutdown ? dtNow : dtReceived);
    });
    Lines expected = {"Verifying Agent CheckIn (pc07) ...", "Verifying Agent  PC07",
                      "Last Updated=" + dtReceived.ToText() + "(" + c.sAge + ")"};
    if (c.bShutdown) expected.push_back("Shutting Down Varno.");
    expected.insert(expected.end(), {"Verifying Agent  pc12", "Verification completed."});
    if (c.sAge.empty()) expected = {expected[0], expected[1], "ERROR: Verification."};
    EXPECT_EQ(lines, expected) << c.lngSecondsAgo;
    EXPECT_EQ(pc.VarnoOpen(), !c.bShutdown) << c.lngSecondsAgo;
  }
}

TEST(VerifyCheckIn, TheComputerNameNotTheWinsockNameFindsTheOwnEntry) {
  Desk pc;
  pc.World().SetComputerName(pc.host, "DESK7");
  EXPECT_EQ(pc.Call([](Agent& agent) {
    for (const char* sHost : {"pc07", "pc12"}) Register(agent, sHost, "", "anna");
    agent.checkInVerification().VerifyCheckIn();
    EXPECT_EQ(agent.sLaunchUserName, "");
    EXPECT_FALSE(agent.bLaunchIndexing);
  }),
            (Lines{"Verifying Agent CheckIn (desk7) ...", "Verifying Agent  pc07",
                   "Verifying Agent  pc12", "Verification completed."}));
  EXPECT_TRUE(pc.VarnoOpen());
}

TEST(CloseMainApplication, AsksUntilEveryWindowTitledVarnoIsGone) {
  Desk pc;
  pc.World().AddWindow(pc.host, kAppClass, "Varno", 3);  // refuses three close requests
  pc.World().AddWindow(pc.host, "CabinetWClass", "Varno", 1);
  pc.World().AddWindow(pc.host, kAppClass, "Varno - notes");
  EXPECT_TRUE(
      pc.Call([](Agent& agent) { agent.checkInVerification().CloseMainApplication(); }).empty());
  EXPECT_FALSE(pc.VarnoOpen());
  EXPECT_NE(WindowTitled(pc.World(), pc.host, "Varno - notes"), 0);
}

TEST(CheckIn, WhenTheOwnBroadcastStopsTheApplicationIsClosedAtNineAndStartedAgain) {
  AgentOnSim lan;
  const sim::HostId pc1 = AddDesktop(lan, "pc1", {.bMainApp = true});
  AddDesktop(lan, "pc2");
  lan.StartAgent("pc1", AgentStart::Full);
  lan.StartAgent("pc2", AgentStart::Full);
  // pc1 offers a share, so it lists itself and its own description comes back.
  lan.RunUntil(sim::Minutes(2));
  ASSERT_TRUE(Contains(lan.LogLines("pc1"), "HostInfoFrom=pc1"));
  ASSERT_EQ(MainApps(lan.World(), pc1).size(), 1u);

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
  lan.RunFor(sim::Minutes(11));

  const Lines lines = lan.LogLinesSince("pc1", nMark);
  const auto shutdown = std::find(lines.begin(), lines.end(), "Shutting Down Varno.");
  ASSERT_TRUE(shutdown != lines.begin() && shutdown != lines.end());
  EXPECT_TRUE(shutdown[-1].ends_with("(9)")) << shutdown[-1];
  // Age 8 was seen and let pass.
  EXPECT_TRUE(std::any_of(lines.begin(), shutdown,
                          [](const std::string& s) { return s.ends_with("(8)"); }));
  // The next watch starts it again, for the entry's user and in its mode.
  EXPECT_NE(std::find(shutdown, lines.end(), "*** User=anna ***"), lines.end());
  const auto apps = MainApps(lan.World(), pc1);
  ASSERT_EQ(apps.size(), 1u);
  EXPECT_EQ(apps[0].sParameters, "-ReindexVarno anna");
}

}  // namespace
}  // namespace launchagent::testing
