// Launching the main application from another computer's launch site, and where the
// libraries go without a system folder. Finding the executable, the start modes, the
// library copies and the lines logged are in tests/scenarios/launcher-find-main-app.scn,
// launcher-launch-modes.scn and check-in-age-9.scn.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "desktop.h"

namespace launchagent::testing {
namespace {

TEST(GetSystemFolder, IsTheAgentsOwnFolderWhenThereIsNone) {
  for (const std::optional<std::string>& sSystem :
       {std::optional<std::string>("D:\\Sys"), std::optional<std::string>()}) {
    Pc07 pc;
    pc.world.Files().SetSystemFolder(pc.host, sSystem);
    pc.Call([&](LauncherParts& parts) {
      EXPECT_EQ(parts.launcher.mainApp().GetSystemFolder(), sSystem.value_or(kAgentFolder));
    });
  }
}

TEST(LaunchFromLaunchSite, LaunchesFromTheFirstSiteThatOpensAndKeepsACopy) {
  Pc07 pc;
  AddDesktop(pc.world, "pc12", /*bMainApp=*/true);
  // Registry order is name order: pc05 (no site), pc09 (unreachable), pc12.
  std::string sFound;
  const auto lines = pc.Call([&](LauncherParts& parts) {
    Register(parts, "pc12", LaunchSiteOf("pc12"));
    Register(parts, "pc09", LaunchSiteOf("pc09"));
    Register(parts, "pc05");
    parts.launcher.mainApp().LaunchFromLaunchSite();
    sFound = parts.launcher.mainApp().FindMainAppFile();
  });
  EXPECT_EQ(lines,
            (std::vector<std::string>{
                "*** Launching Varno now ... ***", "*** Launching From: " + LaunchSiteOf("pc09"),
                "*** ERROR ***", "*** Launching Varno now ... ***",
                "*** Launching From: " + LaunchSiteOf("pc12"), "*** Launch Successful ***"}));
  // The executable now lies in the agent's own folder under its own name.
  EXPECT_EQ(sFound, "Varno2.exe");
  std::vector<std::string> running;
  for (const sim::ProcessInfo& info : pc.world.Programs().Processes(pc.host))
    if (info.sKind == kMainAppKind) running.push_back(info.sPath);
  EXPECT_EQ(running, std::vector<std::string>{LaunchSiteOf("pc12")});
}

}  // namespace
}  // namespace launchagent::testing
