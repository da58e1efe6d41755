// Launching the main application: finding the executable, copying its libraries, the
// start parameters, and the launch from another computer's launch site.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "desktop.h"
#include "launcher/launcher.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"

namespace launchagent::testing {
namespace {

struct FileEntry {
  std::string sName;
  bool bHidden = false;
};

struct FindCase {
  std::vector<FileEntry> files;  // in creation order, which is the listing order
  std::string sExpected;
};

TEST(FindMainAppFile, TakesTheFirstQualifyingExecutableInListingOrder) {
  const FindCase cases[] = {
      {{{"Varno1.exe"}, {"Varno3.exe"}}, "Varno3.exe"},
      {{{"Varno4.exe"}, {"Varno2.exe"}}, "Varno4.exe"},
      {{{"Varno2.exe"}, {"Varno4.exe"}}, "Varno2.exe"},
      {{{"Launch.exe"}, {"VarnoSetup.exe"}, {"varno5.EXE", true}}, "varno5.EXE"},
      {{{"Varno2.txt"}, {"Varno.exe"}, {"Varno1.exe"}}, ""},
      {{}, ""},
  };
  for (const FindCase& c : cases) {
    AgentOnSim lan;
    const sim::HostId host = AddDesktop(lan, "pc07");
    // A folder with a qualifying name is not a file.
    lan.World().MakeFolder(host, "C:\\Launch\\Varno6.exe");
    for (const FileEntry& f : c.files)
      lan.World().WriteFile(host, std::string(kAgentFolder) + "\\" + f.sName, "x", f.bHidden);
    lan.StartAgent("pc07");
    std::string sFound = "unset";
    ASSERT_TRUE(
        lan.Call("pc07", [&](Agent& agent) { sFound = agent.launcher().FindMainAppFile(); }));
    EXPECT_EQ(sFound, c.sExpected);
  }
}

TEST(GetLibraryFiles, ListsEveryDllOfTheFolderHiddenOnesToo) {
  AgentOnSim lan;
  const sim::HostId host = AddDesktop(lan, "pc07");
  for (const FileEntry& f :
       std::vector<FileEntry>{{"a.dll"}, {"b.txt"}, {"C.DLL", true}, {".dll"}, {"d.dll.old"}})
    lan.World().WriteFile(host, "C:\\Apps\\" + f.sName, "x", f.bHidden);
  lan.StartAgent("pc07");
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
    EXPECT_EQ(agent.launcher().GetLibraryFiles("C:\\Apps"),
              (std::vector<std::string>{"a.dll", "C.DLL"}));
    EXPECT_TRUE(agent.launcher().GetLibraryFiles("C:\\Missing").empty());
    EXPECT_TRUE(agent.launcher().GetLibraryFiles("Q:\\Apps").empty());
  }));
}

TEST(GetSystemFolder, FallsBackToTheAgentsFolder) {
  AgentOnSim lan;
  const sim::HostId host = AddDesktop(lan, "pc07");
  lan.World().SetSystemFolder(host, std::string("C:\\Windows\\System32"));
  lan.StartAgent("pc07");
  std::string sFolder;
  ASSERT_TRUE(
      lan.Call("pc07", [&](Agent& agent) { sFolder = agent.launcher().GetSystemFolder(); }));
  EXPECT_EQ(sFolder, "C:\\Windows\\System32");
  lan.World().SetSystemFolder(host, std::nullopt);
  ASSERT_TRUE(
      lan.Call("pc07", [&](Agent& agent) { sFolder = agent.launcher().GetSystemFolder(); }));
  EXPECT_EQ(sFolder, kAgentFolder);
}

struct StartCase {
  bool bIndexing;
  std::string sUserName;
  std::string sParameters;
  std::vector<std::string> lines;
};

TEST(LaunchMainApp, CopiesTheLibrariesAndStartsInTheWantedMode) {
  const StartCase cases[] = {
      {false,
       "anna",
       "-default",
       {"*** Launching Varno now ... ***", "*** Launching From: C:\\Launch\\Varno2.exe",
        "*** Launch Successful ***"}},
      {true,
       "anna",
       "-ReindexVarno anna",
       {"*** Launching Varno now ... ***", "*** Launching From: C:\\Launch\\Varno2.exe",
        "*** User=anna ***", "*** Launch Successful ***"}},
      {true,
       "",
       "-ReindexVarno ",
       {"*** Launching Varno now ... ***", "*** Launching From: C:\\Launch\\Varno2.exe",
        "*** User= ***", "*** Launch Successful ***"}},
  };
  for (const StartCase& c : cases) {
    AgentOnSim lan;
    const sim::HostId host = AddDesktop(lan, "pc07", {.bMainApp = true});
    lan.World().SetSystemFolder(host, std::string("C:\\Windows\\System32"));
    lan.World().MakeFolder(host, "C:\\Windows\\System32");
    lan.World().WriteFile(host, "C:\\Launch\\lib1.dll", "one");
    lan.World().WriteFile(host, "C:\\Launch\\Lib2.DLL", "two", true);
    lan.StartAgent("pc07");
    const std::size_t nMark = lan.LogMark("pc07");
    bool bLaunched = false;
    ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
      agent.bLaunchIndexing = c.bIndexing;
      agent.sLaunchUserName = c.sUserName;
      std::string sPath = kMainAppPath;
      bLaunched = agent.launcher().LaunchMainApp(sPath);
    }));
    EXPECT_TRUE(bLaunched);
    EXPECT_EQ(lan.LogLinesSince("pc07", nMark), c.lines);
    const auto apps = MainApps(lan.World(), host);
    ASSERT_EQ(apps.size(), 1u);
    EXPECT_EQ(apps[0].sParameters, c.sParameters);
    EXPECT_EQ(lan.World().ReadFile(host, "C:\\Windows\\System32\\lib1.dll"),
              Bytes({'o', 'n', 'e'}));
    EXPECT_EQ(lan.World().ReadFile(host, "C:\\Windows\\System32\\Lib2.DLL"),
              Bytes({'t', 'w', 'o'}));
  }
}

TEST(LaunchMainApp, AFailedStartIsReportedAndReturnsFalse) {
  AgentOnSim lan;
  const sim::HostId host = AddDesktop(lan, "pc07");
  lan.StartAgent("pc07");
  const std::size_t nMark = lan.LogMark("pc07");
  bool bLaunched = true;
  ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
    std::string sPath = "C:\\Launch\\Varno9.exe";
    bLaunched = agent.launcher().LaunchMainApp(sPath);
  }));
  EXPECT_FALSE(bLaunched);
  EXPECT_EQ(
      lan.LogLinesSince("pc07", nMark),
      (std::vector<std::string>{"*** Launching Varno now ... ***",
                                "*** Launching From: C:\\Launch\\Varno9.exe", "*** ERROR ***"}));
  EXPECT_TRUE(MainApps(lan.World(), host).empty());
}

TEST(LaunchMainApp, WithoutASystemFolderTheLibrariesStayBesideTheAgent) {
  AgentOnSim lan;
  const sim::HostId host = AddDesktop(lan, "pc07", {.bMainApp = true});
  lan.World().WriteFile(host, "C:\\Launch\\lib1.dll", "one");
  lan.World().SetSystemFolder(host, std::nullopt);
  lan.StartAgent("pc07");
  bool bLaunched = false;
  ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
    std::string sPath = kMainAppPath;
    bLaunched = agent.launcher().LaunchMainApp(sPath);
  }));
  EXPECT_TRUE(bLaunched);
  // Copied onto itself: still whole.
  EXPECT_EQ(lan.World().ReadFile(host, "C:\\Launch\\lib1.dll"), Bytes({'o', 'n', 'e'}));
}

std::shared_ptr<clsMsgHostInfo> HostInfo(Agent& agent, const std::string& sHost,
                                         const std::string& sAppPath) {
  auto obj = std::make_shared<clsMsgHostInfo>(agent);
  obj->SetHostName(sHost);
  obj->SetAppPath(sAppPath);
  return obj;
}

TEST(LaunchFromLaunchSite, TriesTheNextSiteInTheSameRunAndCopiesTheExecutable) {
  AgentOnSim lan;
  const sim::HostId pc07 = AddDesktop(lan, "pc07");
  AddDesktop(lan, "pc12", {.bMainApp = true});
  lan.StartAgent("pc07");
  const std::size_t nMark = lan.LogMark("pc07");
  std::string sFound;
  ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
    AgentHostInfo& registry = agent.agentHostInfo();
    // Registry order is name order: pc05 (no site), pc09 (unreachable), pc12.
    registry.UpdateAgent(HostInfo(agent, "pc05", ""));
    registry.UpdateAgent(HostInfo(agent, "pc09", LaunchSiteOf("pc09")));
    registry.UpdateAgent(HostInfo(agent, "pc12", LaunchSiteOf("pc12")));
    agent.launcher().LaunchFromLaunchSite();
    sFound = agent.launcher().FindMainAppFile();
  }));
  EXPECT_EQ(lan.LogLinesSince("pc07", nMark),
            (std::vector<std::string>{
                "*** Launching Varno now ... ***", "*** Launching From: " + LaunchSiteOf("pc09"),
                "*** ERROR ***", "*** Launching Varno now ... ***",
                "*** Launching From: " + LaunchSiteOf("pc12"), "*** Launch Successful ***"}));
  // The executable now lies in the agent's own folder under its own name.
  EXPECT_EQ(sFound, "Varno2.exe");
  ASSERT_EQ(MainApps(lan.World(), pc07).size(), 1u);
  EXPECT_EQ(MainApps(lan.World(), pc07)[0].sPath, LaunchSiteOf("pc12"));
}

TEST(LaunchFromLaunchSite, WithoutAnySiteNothingHappens) {
  AgentOnSim lan;
  const sim::HostId pc07 = AddDesktop(lan, "pc07");
  lan.StartAgent("pc07");
  const std::size_t nMark = lan.LogMark("pc07");
  ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
    agent.agentHostInfo().UpdateAgent(HostInfo(agent, "pc05", ""));
    agent.launcher().LaunchFromLaunchSite();
  }));
  EXPECT_TRUE(lan.LogLinesSince("pc07", nMark).empty());
  EXPECT_TRUE(MainApps(lan.World(), pc07).empty());
}

}  // namespace
}  // namespace launchagent::testing
