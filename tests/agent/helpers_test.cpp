// The activity log and host name resolution as the agent wires them. The pause is in
// tests/sim, the path test in tests/contract.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "agent/agent.h"
#include "launcher/frm_launch.h"
#include "launcher/launcher.h"
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
