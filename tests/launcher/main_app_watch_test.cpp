// Watching the main application's window: which windows count, and the relaunch that
// follows a closed application.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "desktop.h"
#include "launcher/launcher.h"

namespace launchagent::testing {
namespace {

constexpr const char* kAppClass = "ThunderRT6FormDC";

struct WindowEntry {
  std::string sClass;
  std::string sTitle;
};

struct CountCase {
  std::vector<WindowEntry> windows;  // in the order they are opened
  Integer nExpected;
};

TEST(CountMainAppWindows, CountsOnlyTheApplicationsClassAndExactTitle) {
  const CountCase cases[] = {
      {{}, 0},
      {{{kAppClass, "Varno"}}, 1},
      {{{kAppClass, "Varno"}, {kAppClass, "Varno"}}, 2},
      {{{"CabinetWClass", "Varno"}}, 0},
      {{{kAppClass, "Varno - notes"}}, 0},
      {{{kAppClass, "VARNO"}}, 0},
      {{{kAppClass, "varno"}}, 0},
      {{{kAppClass, "Launch"}, {"CabinetWClass", "Varno"}}, 0},
      {{{kAppClass, "Varno"}, {"CabinetWClass", "Varno"}, {kAppClass, "Other"}}, 1},
      {{{"CabinetWClass", "Varno"}, {kAppClass, "Varno"}}, 1},
      // Beside a real window, in either stacking order.
      {{{kAppClass, "Varno - notes"}, {kAppClass, "Varno"}}, 1},
      {{{kAppClass, "Varno"}, {kAppClass, "Varno - notes"}}, 1},
      {{{kAppClass, "VARNO"}, {kAppClass, "Varno"}}, 1},
      {{{kAppClass, "Varno"}, {kAppClass, "VARNO"}}, 1},
      {{{"ThunderRT6FormDc", "Varno"}, {kAppClass, "Varno"}}, 1},
      {{{kAppClass, "Varno"}, {"ThunderRT6FormDc", "Varno"}}, 1},
  };
  for (const CountCase& c : cases) {
    AgentOnSim lan;
    const sim::HostId host = AddDesktop(lan, "pc07");
    for (const WindowEntry& w : c.windows) lan.World().AddWindow(host, w.sClass, w.sTitle);
    lan.StartAgent("pc07");
    Integer nCount = -5;
    ASSERT_TRUE(
        lan.Call("pc07", [&](Agent& agent) { nCount = agent.launcher().CountMainAppWindows(); }));
    EXPECT_EQ(nCount, c.nExpected) << c.windows.size() << " windows";
  }
}

TEST(MonitorMainApp, RelaunchesWithinAWatchAfterTheApplicationCloses) {
  AgentOnSim lan;
  const sim::HostId host = AddDesktop(lan, "pc07", {.bMainApp = true});
  lan.StartAgent("pc07", AgentStart::Full);
  lan.RunFor(sim::Seconds(90));
  // One launch: the window appears before the next watch.
  EXPECT_EQ(CountOf(lan.LogLines("pc07"), "*** Launch Successful ***"), 1u);
  EXPECT_TRUE(Contains(lan.LogLines("pc07"), "*** Launching From: C:\\Launch\\Varno2.exe"));
  ASSERT_EQ(MainApps(lan.World(), host).size(), 1u);

  const platform::WindowHandle hWnd = WindowTitled(lan.World(), host, "Varno");
  ASSERT_NE(hWnd, 0);
  ASSERT_TRUE(lan.World().CloseWindow(host, hWnd));
  const std::size_t nMark = lan.LogMark("pc07");
  lan.RunFor(sim::Seconds(31));
  EXPECT_EQ(CountOf(lan.LogLinesSince("pc07", nMark), "*** Launch Successful ***"), 1u);
  EXPECT_EQ(MainApps(lan.World(), host).size(), 1u);
}

TEST(MonitorMainApp, TwoApplicationWindowsLaunchNothing) {
  AgentOnSim lan;
  const sim::HostId host = AddDesktop(lan, "pc07", {.bMainApp = true});
  lan.World().AddWindow(host, kAppClass, "Varno");
  lan.World().AddWindow(host, kAppClass, "Varno");
  lan.StartAgent("pc07", AgentStart::Full);
  lan.RunFor(sim::Minutes(3));
  EXPECT_TRUE(StartingWith(lan.LogLines("pc07"), "*** Launch").empty());
  EXPECT_TRUE(MainApps(lan.World(), host).empty());
}

TEST(MonitorMainApp, WindowsOfAnotherClassOrTitleDoNotKeepItFromLaunching) {
  AgentOnSim lan;
  const sim::HostId host = AddDesktop(lan, "pc07", {.bMainApp = true});
  lan.World().AddWindow(host, "CabinetWClass", "Varno");
  lan.World().AddWindow(host, kAppClass, "Varno - notes");
  lan.World().AddWindow(host, kAppClass, "VARNO");
  lan.StartAgent("pc07", AgentStart::Full);
  lan.RunFor(sim::Seconds(10));
  EXPECT_EQ(CountOf(lan.LogLines("pc07"), "*** Launch Successful ***"), 1u);
  EXPECT_EQ(MainApps(lan.World(), host).size(), 1u);
}

TEST(MonitorMainApp, WithNoExecutableAndNoLaunchSiteNothingIsLaunchedOrLogged) {
  AgentOnSim lan;
  const sim::HostId pc07 = AddDesktop(lan, "pc07");
  const sim::HostId pc12 = AddDesktop(lan, "pc12");
  lan.StartAgent("pc07", AgentStart::Full);
  lan.StartAgent("pc12", AgentStart::Full);
  lan.RunFor(sim::Minutes(3));
  for (const char* sHost : {"pc07", "pc12"}) {
    EXPECT_TRUE(StartingWith(lan.LogLines(sHost), "*** ").empty()) << sHost;
    // The peers were heard from, and had no site to offer.
    EXPECT_TRUE(Contains(lan.LogLines(sHost), "LaunchSite=")) << sHost;
  }
  EXPECT_TRUE(MainApps(lan.World(), pc07).empty());
  EXPECT_TRUE(MainApps(lan.World(), pc12).empty());
}

}  // namespace
}  // namespace launchagent::testing
