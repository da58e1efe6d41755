// The activity log as the agent wires it. Host name resolution is in tests/setup, the
// pause in tests/sim, the path test in tests/contract.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "agent/agent.h"
#include "launcher/frm_launch.h"

namespace launchagent::testing {
namespace {

class AgentHelpers : public ::testing::Test {
 protected:
  void SetUp() override {
    lan_.AddHost("PC1", "10.0.0.1");
    lan_.StartAgent("PC1", AgentStart::Transport);
  }
  void InAgent(const std::function<void(Agent&)>& fn) { ASSERT_TRUE(lan_.Call("PC1", fn)); }

  AgentOnSim lan_;
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

}  // namespace
}  // namespace launchagent::testing
