// The activity log box of the agent's window. What is logged when is in the scenarios.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "desktop.h"

namespace launchagent::testing {
namespace {

TEST(ActivityLog, AppendsLinesAndSelectsTheNewOne) {
  Pc07 pc;
  pc.Call([](LauncherParts& parts) {
    ui::TextBox& txt = parts.frmLaunch().txtInfo;
    parts.launcher.LogActivity("first", 1);
    parts.launcher.LogActivity("first", 5);  // repeated lines are not merged
    EXPECT_EQ(txt.Text(), "first\r\nfirst\r\n");
    EXPECT_EQ(txt.SelStart(), 7);
    EXPECT_EQ(txt.SelLength(), 7);
    parts.launcher.LogActivity("", 1);  // an empty line is just its line end, selected
    EXPECT_EQ(txt.Text(), "first\r\nfirst\r\n\r\n");
    EXPECT_EQ(txt.SelText(), "\r\n");
  });
  EXPECT_EQ(pc.LogLines(), (std::vector<std::string>{"first", "first", ""}));
}

TEST(ActivityLog, StartsAfreshOnlyOnceItIsLongerThan2048) {
  Pc07 pc;
  pc.Call([](LauncherParts& parts) {
    ui::TextBox& txt = parts.frmLaunch().txtInfo;
    txt.SetText(std::string(2048, 'x'));
    parts.launcher.LogActivity("kept", 1);  // exactly 2048: appended
    EXPECT_EQ(txt.Text().size(), 2048u + 6u);
    EXPECT_EQ(txt.Text().substr(2048), "kept\r\n");
    parts.launcher.LogActivity("fresh", 1);  // now above the limit: cleared first
    EXPECT_EQ(txt.Text(), "fresh\r\n");
    EXPECT_EQ(txt.SelStart(), 0);
    EXPECT_EQ(txt.SelLength(), 7);
  });
}

}  // namespace
}  // namespace launchagent::testing
