// LAN resource discovery: the share search, this computer's own shares, and local paths
// turned into network paths.
#include "lanresources/frm_lan_resources.h"
#include "setup/frm_agent_setup.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../launcher/desktop.h"

namespace launchagent::testing {
namespace {

using Keyed = std::vector<std::pair<std::string, std::string>>;

Keyed KeyedOf(const std::vector<FrmLANResources::KeyedText>& col) {
  Keyed out;
  for (const auto& e : col) out.emplace_back(e.sKey, e.sText);
  return out;
}

struct TrimCase {
  std::string sIn;
  std::string sOut;
};

TEST(TrimAtNull, KeepsTheTextBeforeTheFirstZero) {
  const TrimCase cases[] = {
      {std::string("abc\0def", 7), "abc"},
      {std::string("\0", 1), ""},
      {std::string("\\\\pc07\\c\0\0  ", 12), "\\\\pc07\\c"},
      {"abc", ""},  // no zero at all
      {"", ""},
  };
  for (const TrimCase& c : cases) EXPECT_EQ(FrmLANResources::TrimAtNull(c.sIn), c.sOut);
}

TEST(UpdateResources, KeepsNetworkPathsUnderTheirSearchPositions) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("PC07");
  lan.World().SetVisibleShares(
      host, {"\\\\pc07\\c", "pc12data", "\\\\pc12\\data", "\\\\pc070\\x", "\\\\PC07\\Docs"});
  lan.StartAgent("PC07");
  ASSERT_TRUE(lan.Call("PC07", [](Agent& agent) {
    agent.frmAgentSetup().SocketsInitialize();
    agent.frmAgentSetup().GetHostInfo();
    FrmLANResources& res = agent.frmLANResources();
    std::vector<std::string> sResources;
    res.UpdateResources(sResources);
    EXPECT_EQ(sResources, (std::vector<std::string>{"", "\\\\pc07\\c", "\\\\pc12\\data",
                                                    "\\\\pc070\\x", "\\\\PC07\\Docs"}));
    EXPECT_EQ(KeyedOf(res.colLANResources), (Keyed{{"1", "\\\\pc07\\c"},
                                                   {"3", "\\\\pc12\\data"},
                                                   {"4", "\\\\pc070\\x"},
                                                   {"5", "\\\\PC07\\Docs"}}));
    // A containment test on \\pc07: \\pc070 counts too.
    EXPECT_EQ(KeyedOf(res.colLocalShares),
              (Keyed{{"1", "\\\\pc07\\c"}, {"4", "\\\\pc070\\x"}, {"5", "\\\\PC07\\Docs"}}));
  }));
}

TEST(UpdateResources, NothingFoundLeavesTheListAndTheLocalSharesAsTheyWere) {
  struct Case {
    bool bError;
    std::vector<std::string> visible;
  };
  const Case cases[] = {
      {true, {"\\\\pc07\\c"}},
      {false, {}},
      {false, {"pc07c", "data"}},
  };
  for (const Case& c : cases) {
    AgentOnSim lan;
    const sim::HostId host = lan.AddHost("pc07");
    lan.World().SetVisibleShares(host, {"\\\\pc07\\old"});
    lan.StartAgent("pc07");
    ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
      agent.frmAgentSetup().SocketsInitialize();
      agent.frmAgentSetup().GetHostInfo();
      std::vector<std::string> sResources;
      agent.frmLANResources().UpdateResources(sResources);
    }));
    lan.World().SetVisibleShares(host, c.visible);
    lan.World().SetShareSearchError(host, c.bError);
    ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
      FrmLANResources& res = agent.frmLANResources();
      std::vector<std::string> sResources = {"", "kept"};
      res.UpdateResources(sResources);
      EXPECT_EQ(sResources, (std::vector<std::string>{"", "kept"}));
      EXPECT_TRUE(res.colLANResources.empty());
      EXPECT_EQ(KeyedOf(res.colLocalShares), (Keyed{{"1", "\\\\pc07\\old"}}));
    }));
  }
}

TEST(UpdateResources, WaitsInOneSecondStepsAtMostSixtyTimes) {
  struct Case {
    sim::Nanos searchTime;
    sim::Nanos minWait;
    sim::Nanos maxWait;
  };
  const Case cases[] = {
      {sim::Milliseconds(300), sim::Seconds(1), sim::Seconds(2)},
      {sim::Milliseconds(2500), sim::Seconds(3), sim::Seconds(4)},
      {sim::Seconds(100), sim::Seconds(60), sim::Seconds(61)},
  };
  for (const Case& c : cases) {
    AgentOnSim lan;
    const sim::HostId host = lan.AddHost("pc07");
    lan.World().SetVisibleShares(host, {"\\\\pc12\\data"});
    lan.World().SetShareSearchTime(host, c.searchTime);
    lan.StartAgent("pc07");
    sim::Nanos waited = 0;
    ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
      const sim::Nanos start = lan.World().Now();
      std::vector<std::string> sResources;
      agent.frmLANResources().UpdateResources(sResources);
      waited = lan.World().Now() - start;
    }));
    EXPECT_GE(waited, c.minWait) << sim::FormatElapsed(c.searchTime);
    EXPECT_LE(waited, c.maxWait) << sim::FormatElapsed(c.searchTime);
  }
}

TEST(UpdateResources, ANameThatFillsTheBufferIsKeptWhole) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("pc07");
  const std::string sLong = "\\\\pc12\\" + std::string(255 - 7, 's');
  lan.World().SetVisibleShares(host, {sLong});
  lan.StartAgent("pc07");
  ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
    std::vector<std::string> sResources;
    agent.frmLANResources().UpdateResources(sResources);
    EXPECT_EQ(sResources, (std::vector<std::string>{"", sLong}));
  }));
}

struct UncCase {
  std::string sPath;
  std::string sExpected;
};

TEST(GetUNC, ReachesALocalPathThroughTheFirstShareThatOpensIt) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("pc07");
  sim::World& world = lan.World();
  world.WriteFile(host, "C:\\Apps\\main.exe", "x");
  world.WriteFile(host, "C:\\Docs\\Apps\\only.txt", "x");
  world.WriteFile(host, "D:\\Data\\d.txt", "x");
  world.AddShare(host, "docs", "C:\\Docs");
  world.AddShare(host, "c", "C:\\");
  world.AddShare(host, "locked", "D:\\", false);
  world.SetVisibleShares(host, {"\\\\pc07\\docs", "\\\\pc07\\c", "\\\\pc07\\locked"});
  lan.StartAgent("pc07");
  const UncCase cases[] = {
      {"C:\\Apps\\main.exe", "\\\\pc07\\c\\Apps\\main.exe"},
      // Through the first share whose root holds the tail, whatever the drive was.
      {"C:\\Apps\\only.txt", "\\\\pc07\\docs\\Apps\\only.txt"},
      {"C:\\Apps", "\\\\pc07\\docs\\Apps"},
      {"C:\\Apps\\missing.exe", ""},
      {"D:\\Data\\d.txt", ""},  // only an unreadable share reaches it
      {"\\\\pc07\\c\\Apps\\main.exe", ""},
      {"main.exe", ""},
      {"", ""},
  };
  ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
    agent.frmAgentSetup().SocketsInitialize();
    agent.frmAgentSetup().GetHostInfo();
    std::vector<std::string> sResources;
    agent.frmLANResources().UpdateResources(sResources);
    for (const UncCase& c : cases)
      EXPECT_EQ(agent.frmLANResources().GetUNC(c.sPath), c.sExpected) << c.sPath;
  }));
}

TEST(GetUNC, BeforeAnySearchNothingIsReachable) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("pc07");
  lan.World().WriteFile(host, "C:\\Apps\\main.exe", "x");
  lan.World().AddShare(host, "c", "C:\\");
  lan.StartAgent("pc07");
  ASSERT_TRUE(lan.Call("pc07", [](Agent& agent) {
    EXPECT_EQ(agent.frmLANResources().GetUNC("C:\\Apps\\main.exe"), "");
  }));
}

struct AccessCase {
  std::string sPath;
  bool bFile;
  bool bFolder;
};

TEST(CanAccess, FilesOpenForReadingAndFoldersOpenAsFolders) {
  AgentOnSim lan;
  const sim::HostId host = lan.AddHost("pc07");
  lan.World().WriteFile(host, "C:\\Apps\\main.exe", "x");
  lan.World().AddShare(host, "c", "C:\\");
  lan.StartAgent("pc07");
  const AccessCase cases[] = {
      {"C:\\Apps\\main.exe", true, false},
      {"C:\\Apps", false, true},
      {"\\\\pc07\\c\\Apps\\main.exe", true, false},
      {"\\\\pc07\\c\\Apps", false, true},
      {"C:\\Apps\\none.exe", false, false},
      {"Q:\\Apps", false, false},
      {"", false, false},
  };
  ASSERT_TRUE(lan.Call("pc07", [&](Agent& agent) {
    for (const AccessCase& c : cases) {
      EXPECT_EQ(agent.frmLANResources().CanAccessFile(c.sPath), c.bFile) << c.sPath;
      EXPECT_EQ(agent.frmLANResources().CanAccessFolder(c.sPath), c.bFolder) << c.sPath;
    }
  }));
}

}  // namespace
}  // namespace launchagent::testing
