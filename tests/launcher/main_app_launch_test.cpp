// Launching the main application from another computer's launch site, and where the
// libraries go without a system folder. Finding the executable, the start modes, the
// library copies and the lines logged are in tests/scenarios/launcher-find-main-app.scn,
// launcher-launch-modes.scn and check-in-age-9.scn.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "desktop.h"
#include "launcher/launcher.h"

namespace launchagent::testing {
namespace {

TEST(GetSystemFolder, IsTheAgentsOwnFolderWhenThereIsNone) {
  for (const std::optional<std::string>& sSystem :
       {std::optional<std::string>("D:\\Sys"), std::optional<std::string>()}) {
    Pc07 pc;
    pc.World().Files().SetSystemFolder(pc.host, sSystem);
    pc.Call([&](Agent& agent) {
      EXPECT_EQ(agent.launcher().mainApp().GetSystemFolder(), sSystem.value_or(kAgentFolder));
    });
  }
}

TEST(LaunchFromLaunchSite, LaunchesFromTheFirstSiteThatOpensAndKeepsACopy) {
  Pc07 pc;
  AddDesktop(pc.lan, "pc12", {.bMainApp = true});
  // Registry order is name order: pc05 (no site), pc09 (unreachable), pc12.
  std::string sFound;
  const auto lines = pc.Call([&](Agent& agent) {
    Register(agent, "pc12", LaunchSiteOf("pc12"));
    Register(agent, "pc09", LaunchSiteOf("pc09"));
    Register(agent, "pc05");
    agent.launcher().mainApp().LaunchFromLaunchSite();
    sFound = agent.launcher().mainApp().FindMainAppFile();
  });
  EXPECT_EQ(lines,
            (std::vector<std::string>{
                "*** Launching Varno now ... ***", "*** Launching From: " + LaunchSiteOf("pc09"),
                "*** ERROR ***", "*** Launching Varno now ... ***",
                "*** Launching From: " + LaunchSiteOf("pc12"), "*** Launch Successful ***"}));
  // The executable now lies in the agent's own folder under its own name.
  EXPECT_EQ(sFound, "Varno2.exe");
  const auto apps = MainApps(pc.World(), pc.host);
  ASSERT_EQ(apps.size(), 1u);
  EXPECT_EQ(apps[0].sPath, LaunchSiteOf("pc12"));
}

}  // namespace
}  // namespace launchagent::testing
