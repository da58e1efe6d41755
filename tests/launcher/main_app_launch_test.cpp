// Launching the main application: finding the executable, copying its libraries, the
// start parameters, and the launch from another computer's launch site.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "desktop.h"
#include "launcher/launcher.h"

namespace launchagent::testing {
namespace {

TEST(FindMainAppFile, TakesTheFirstQualifyingExecutableInListingOrder) {
  const struct {
    std::vector<std::string> files;  // in creation order, which is the listing order
    std::string sExpected;
  } cases[] = {
      {{"Varno1.exe", "Varno3.exe"}, "Varno3.exe"},
      {{"Varno4.exe", "Varno2.exe"}, "Varno4.exe"},
      {{"Launch.exe", "VarnoSetup.exe", "hidden varno5.EXE"}, "varno5.EXE"},
      {{"Varno2.txt", "Varno.exe", "Varno1.exe"}, ""},
      {{}, ""},
  };
  for (const auto& c : cases) {
    Pc07 pc;
    // A folder with a qualifying name is not a file.
    pc.World().MakeFolder(pc.host, "C:\\Launch\\Varno6.exe");
    for (std::string sName : c.files) {
      const bool bHidden = sName.starts_with("hidden ");
      if (bHidden) sName.erase(0, 7);
      pc.World().WriteFile(pc.host, std::string(kAgentFolder) + "\\" + sName, "x", bHidden);
    }
    pc.Call([&](Agent& agent) { EXPECT_EQ(agent.launcher().FindMainAppFile(), c.sExpected); });
  }
}

TEST(LaunchMainApp, CopiesTheLibrariesAndStartsInTheWantedMode) {
  const struct {
    bool bMainApp, bSystemFolder, bIndexing;
    std::string sUserName, sParameters;
  } cases[] = {
      {true, true, false, "anna", "-default"},
      {true, true, true, "anna", "-ReindexVarno anna"},
      {true, true, true, "", "-ReindexVarno "},
      // Without a system folder the libraries stay beside the agent, copied onto themselves.
      {true, false, false, "", "-default"},
      {false, true, false, "", ""},  // nothing to start: reported, and false
  };
  for (const auto& c : cases) {
    Pc07 pc({.bMainApp = c.bMainApp});
    const std::string sSystem = c.bSystemFolder ? "C:\\Windows\\System32" : kAgentFolder;
    pc.World().SetSystemFolder(pc.host, c.bSystemFolder ? std::optional(sSystem) : std::nullopt);
    pc.World().MakeFolder(pc.host, "C:\\Windows\\System32");
    pc.World().WriteFile(pc.host, "C:\\Launch\\lib1.dll", "one");
    pc.World().WriteFile(pc.host, "C:\\Launch\\Lib2.DLL", "two", true);
    for (const char* sOther : {"C:\\Launch\\b.txt", "C:\\Launch\\.dll", "C:\\Launch\\d.dll.old"})
      pc.World().WriteFile(pc.host, sOther, "x");
    const auto lines = pc.Call([&](Agent& agent) {
      EXPECT_EQ(agent.launcher().GetSystemFolder(), sSystem);
      EXPECT_EQ(agent.launcher().GetLibraryFiles(kAgentFolder),
                (std::vector<std::string>{"lib1.dll", "Lib2.DLL"}));
      agent.bLaunchIndexing = c.bIndexing;
      agent.sLaunchUserName = c.sUserName;
      std::string sPath = kMainAppPath;
      EXPECT_EQ(agent.launcher().LaunchMainApp(sPath), c.bMainApp);
    });
    std::vector<std::string> expected = {"*** Launching Varno now ... ***",
                                         std::string("*** Launching From: ") + kMainAppPath};
    if (c.bIndexing) expected.push_back("*** User=" + c.sUserName + " ***");
    expected.push_back(c.bMainApp ? "*** Launch Successful ***" : "*** ERROR ***");
    EXPECT_EQ(lines, expected);
    const auto apps = MainApps(pc.World(), pc.host);
    ASSERT_EQ(apps.size(), c.bMainApp ? 1u : 0u);
    for (const auto& app : apps) EXPECT_EQ(app.sParameters, c.sParameters);
    EXPECT_EQ(pc.World().ReadFile(pc.host, sSystem + "\\lib1.dll"), Bytes({'o', 'n', 'e'}));
    EXPECT_EQ(pc.World().ReadFile(pc.host, sSystem + "\\Lib2.DLL"), Bytes({'t', 'w', 'o'}));
    EXPECT_FALSE(pc.World().ReadFile(pc.host, "C:\\Windows\\System32\\b.txt"));
  }
}

TEST(LaunchFromLaunchSite, LaunchesFromTheFirstSiteThatOpensAndKeepsACopy) {
  Pc07 pc;
  AddDesktop(pc.lan, "pc12", {.bMainApp = true});
  // Registry order is name order: pc05 (no site), pc09 (unreachable), pc12.
  std::string sFound;
  const auto lines = pc.Call([&](Agent& agent) {
    Register(agent, "pc05");
    Register(agent, "pc09", LaunchSiteOf("pc09"));
    Register(agent, "pc12", LaunchSiteOf("pc12"));
    agent.launcher().LaunchFromLaunchSite();
    sFound = agent.launcher().FindMainAppFile();
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
