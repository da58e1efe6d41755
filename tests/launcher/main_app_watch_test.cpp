// Watching the main application's window: which windows count. The relaunch that follows
// a closed application is in tests/scenarios/launcher-watch.scn.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "desktop.h"
#include "launcher/launcher.h"

namespace launchagent::testing {
namespace {

TEST(CountMainAppWindows, CountsOnlyTheApplicationsClassAndExactTitle) {
  using Windows = std::vector<std::pair<std::string, std::string>>;  // class, title
  const struct {
    Windows windows;  // in the order they are opened
    Integer nExpected;
  } cases[] = {
      {{}, 0},
      {{{kAppClass, "Varno"}}, 1},
      {{{kAppClass, "Varno"}, {kAppClass, "Varno"}}, 2},
      {{{"CabinetWClass", "Varno"}, {kAppClass, "Varno - notes"}, {kAppClass, "VARNO"}}, 0},
      {{{kAppClass, "Varno"}, {"CabinetWClass", "Varno"}, {kAppClass, "Other"}}, 1},
      // Beside a real window, in either stacking order.
      {{{"CabinetWClass", "Varno"}, {kAppClass, "Varno"}}, 1},
      {{{kAppClass, "Varno - notes"}, {kAppClass, "Varno"}}, 1},
      {{{kAppClass, "Varno"}, {kAppClass, "VARNO"}}, 1},
      {{{"ThunderRT6FormDc", "Varno"}, {kAppClass, "Varno"}}, 1},
      {{{kAppClass, "Varno"}, {"ThunderRT6FormDc", "Varno"}}, 1},
  };
  for (const auto& c : cases) {
    Pc07 pc;
    for (const auto& [sClass, sTitle] : c.windows) pc.World().AddWindow(pc.host, sClass, sTitle);
    pc.Call([&](Agent& agent) {
      EXPECT_EQ(agent.launcher().CountMainAppWindows(), c.nExpected) << c.windows.size();
    });
  }
}

}  // namespace
}  // namespace launchagent::testing
