// The activity log, the pause, the path test and host name resolution.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "agent/agent.h"
#include "launcher/frm_launch.h"
#include "launcher/launcher.h"
#include "platform/shared_steps.h"
#include "platform/sim/world.h"
#include "setup/frm_agent_setup.h"

namespace launchagent::testing {
namespace {

class AgentHelpers : public ::testing::Test {
 protected:
  void SetUp() override {
    host_ = lan_.AddHost("PC1", "10.0.0.1");
    lan_.AddHost("PC2", "10.0.0.12");
    lan_.StartAgent("PC1", AgentStart::Transport);
  }
  void InAgent(const std::function<void(Agent&)>& fn) { ASSERT_TRUE(lan_.Call("PC1", fn)); }

  AgentOnSim lan_;
  sim::HostId host_ = 0;
};

TEST_F(AgentHelpers, LogAppendsLinesAndSelectsTheNewOne) {
  InAgent([](Agent& a) {
    ui::TextBox& txt = a.frmLaunch().txtInfo;
    a.LogActivity("first", 1);
    a.LogActivity("first", 5);  // repeated lines are not merged
    EXPECT_EQ(txt.Text(), "first\r\nfirst\r\n");
    EXPECT_EQ(txt.SelStart(), 7);
    EXPECT_EQ(txt.SelLength(), 7);
    a.LogActivity("", 1);  // an empty line is just its line end, selected
    EXPECT_EQ(txt.Text(), "first\r\nfirst\r\n\r\n");
    EXPECT_EQ(txt.SelText(), "\r\n");
  });
  EXPECT_EQ(lan_.LogLines("PC1"), (std::vector<std::string>{"first", "first", ""}));
}

TEST_F(AgentHelpers, LogStartsAfreshOnlyOnceItIsLongerThan2048) {
  InAgent([](Agent& a) {
    ui::TextBox& txt = a.frmLaunch().txtInfo;
    txt.SetText(std::string(2048, 'x'));
    a.LogActivity("kept", 1);  // exactly 2048: appended
    EXPECT_EQ(txt.Text().size(), 2048u + 6u);
    EXPECT_EQ(txt.Text().substr(2048), "kept\r\n");
    a.LogActivity("fresh", 1);  // now above the limit: cleared first
    EXPECT_EQ(txt.Text(), "fresh\r\n");
    EXPECT_EQ(txt.SelStart(), 0);
    EXPECT_EQ(txt.SelLength(), 7);
  });
}

TEST_F(AgentHelpers, PauseWaitsInVirtualTimeAndZeroReturnsAtOnce) {
  sim::Nanos before = 0, afterZero = 0, afterThree = 0;
  InAgent([&](Agent& a) {
    before = lan_.Now();
    Pause(a.Platform().clock, a.Platform().loop, 0);
    afterZero = lan_.Now();
    Pause(a.Platform().clock, a.Platform().loop, 3);
    afterThree = lan_.Now();
  });
  EXPECT_EQ(afterZero, before);
  EXPECT_GE(afterThree - afterZero, sim::Seconds(3));
  EXPECT_LT(afterThree - afterZero, sim::Milliseconds(3100));
}

TEST_F(AgentHelpers, APauseOverMidnightEndsJustAfterMidnight) {
  lan_.World().SetClock(host_, lan_.Now(), DateTime::FromCivil(2026, 1, 5, 23, 59, 58));
  sim::Nanos start = 0, end = 0;
  InAgent([&](Agent& a) {
    start = lan_.Now();
    Pause(a.Platform().clock, a.Platform().loop, 10);
    end = lan_.Now();
  });
  EXPECT_GE(end - start, sim::Seconds(2));
  EXPECT_LT(end - start, sim::Seconds(4));
}

TEST_F(AgentHelpers, PathExistsForFilesFoldersAndPatterns) {
  lan_.World().WriteFile(host_, "C:\\Launch\\agent.dat", std::string("x"));
  lan_.World().MakeFolder(host_, "C:\\Data\\Sub");
  const std::vector<std::pair<std::string, bool>> cases = {
      {"C:\\Launch\\agent.dat", true},  {"c:\\launch\\AGENT.DAT", true},    {"C:\\Data\\Sub", true},
      {"C:\\Launch\\*.dat", true},      {"C:\\Launch\\missing.dat", false}, {"Q:\\anything", false},
      {"C:\\Data\\Sub\\nothing", false}};
  InAgent([&](Agent& a) {
    for (const auto& [sPath, bExists] : cases)
      EXPECT_EQ(PathExists(a.Platform().files, sPath), bExists) << sPath;
  });
}

TEST_F(AgentHelpers, ResolvesTheLocalHostAndOthersWithoutLeadingZeros) {
  InAgent([](Agent& a) {
    FrmAgentSetup& setup = a.frmAgentSetup();
    setup.Identity().GetHostInfo();
    EXPECT_EQ(setup.Identity().GetHostName(), "PC1");
    EXPECT_EQ(setup.Identity().GetIPAddress(), "10.0.0.1");
    EXPECT_EQ(setup.Identity().GetIPInfo("PC2"), "10.0.0.12");
    EXPECT_EQ(setup.Identity().GetIPInfo("pc2"), "10.0.0.12");
    EXPECT_EQ(setup.Identity().GetIPInfo("nowhere"), "");
  });
  // An unknown name is no failure worth a line.
  EXPECT_TRUE(lan_.LogLines("PC1").empty());
}

TEST_F(AgentHelpers, AFailingLocalLookupLogsAndKeepsThePreviousValues) {
  lan_.World().SocketsLibrary(host_).bHostNameFails = true;
  lan_.World().SocketsLibrary(host_).lngLastError = 10093;
  InAgent([](Agent& a) {
    FrmAgentSetup& setup = a.frmAgentSetup();
    setup.Identity().GetHostInfo();
    EXPECT_EQ(setup.Identity().GetHostName(), "");
    EXPECT_EQ(setup.Identity().GetIPAddress(), "");
  });
  EXPECT_EQ(lan_.LogLines("PC1"), std::vector<std::string>{"Windows Sockets error  10093"});

  lan_.World().SocketsLibrary(host_).bHostNameFails = false;
  lan_.World().SocketsLibrary(host_).bAllLookupsFail = true;
  InAgent([](Agent& a) {
    FrmAgentSetup& setup = a.frmAgentSetup();
    setup.Identity().GetHostInfo();
    EXPECT_EQ(setup.Identity().GetHostName(), "PC1");
    EXPECT_EQ(setup.Identity().GetIPAddress(), "");
  });
  EXPECT_EQ(lan_.LogLines("PC1").back(), "Winsock.dll is not responding.");
}

}  // namespace
}  // namespace launchagent::testing
