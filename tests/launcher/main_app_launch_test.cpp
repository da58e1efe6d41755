// Where the main application's libraries go without a system folder. Finding the
// executable, the start modes, the library copies, launching from other computers' launch
// sites and the lines logged are in tests/scenarios/launcher-find-main-app.scn,
// launcher-launch-modes.scn, launch-first-open-site.scn and check-in-age-9.scn.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "../support/sim_desktops.h"

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

}  // namespace
}  // namespace launchagent::testing
