// The agent registry, driven inside an agent process on the simulated LAN.
#include "registry/agent_host_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "messages/cls_msg_host_info.h"
#include "transport/cls_agent_info.h"
#include "transport/frm_client.h"

namespace launchagent {
namespace {

using testing::AgentOnSim;

std::shared_ptr<clsMsgHostInfo> Msg(Agent& agent, const std::string& sHostName) {
  auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
  objMsg->SetHostName(sHostName);
  return objMsg;
}

std::vector<std::string> Names(AgentHostInfo& registry) {
  std::vector<std::string> names;
  for (Long i = 1; i <= registry.GetAgentCount(); ++i) {
    std::shared_ptr<clsMsgHostInfo> objMsg;
    if (registry.GetAgentHostInfo(i, objMsg)) names.push_back(objMsg->GetHostName());
  }
  return names;
}

class AgentHostInfoTest : public ::testing::Test {
 protected:
  void SetUp() override {
    lan_.AddHost("PC1");
    ASSERT_NE(lan_.StartAgent("PC1"), 0);
  }
  // Runs fn inside the agent's process.
  void Run(const std::function<void(Agent&, AgentHostInfo&)>& fn) {
    ASSERT_TRUE(lan_.Call("PC1", [&](Agent& agent) { fn(agent, agent.agentHostInfo()); }));
  }
  AgentOnSim lan_;
};

TEST(AgentHostInfoOrder, AnyOrderOfRegistrationGivesAscendingLowerCasedNames) {
  const std::vector<std::vector<std::string>> orders = {
      {"Beta", "alpha", "Gamma"}, {"Beta", "Gamma", "alpha"}, {"alpha", "Beta", "Gamma"},
      {"alpha", "Gamma", "Beta"}, {"Gamma", "alpha", "Beta"}, {"Gamma", "Beta", "alpha"},
  };
  for (const auto& order : orders) {
    AgentOnSim lan;
    lan.AddHost("PC1");
    ASSERT_NE(lan.StartAgent("PC1"), 0);
    ASSERT_TRUE(lan.Call("PC1", [&](Agent& agent) {
      AgentHostInfo& registry = agent.agentHostInfo();
      for (const std::string& sName : order)
        EXPECT_EQ(registry.RegisterAgent(Msg(agent, sName)), -1);
      EXPECT_EQ(Names(registry), (std::vector<std::string>{"alpha", "Beta", "Gamma"}))
          << order[0] << "," << order[1] << "," << order[2];
      EXPECT_EQ(registry.FindAgentIndex("BETA"), 2);
      EXPECT_EQ(registry.FindAgentIndex("ALPHA"), 1);
      EXPECT_EQ(registry.FindAgentIndex("gamma"), 3);
      EXPECT_EQ(registry.FindAgentIndex("delta"), -1);
    }));
  }
}

TEST_F(AgentHostInfoTest, NamesAreComparedOrdinallyAfterLowerCasing) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    // After lower-casing, '-' (45) < '_' (95) < letters; a name sorts after its prefix.
    for (const char* sName : {"PCB", "pc1", "PC_A", "pc", "pc-c", "PC10"})
      registry.RegisterAgent(Msg(agent, sName));
    EXPECT_EQ(Names(registry),
              (std::vector<std::string>{"pc", "pc-c", "pc1", "PC10", "PC_A", "PCB"}));
  });
}

TEST_F(AgentHostInfoTest, RegisteringAKnownNameInAnyCaseAddsNothing) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    for (const char* sName : {"Beta", "alpha", "Gamma"}) registry.RegisterAgent(Msg(agent, sName));
    std::shared_ptr<clsMsgHostInfo> objBefore;
    ASSERT_TRUE(registry.GetAgentHostInfo(2, objBefore));
    for (const char* sName : {"Beta", "BETA", "beta", "bEtA"}) {
      EXPECT_EQ(registry.RegisterAgent(Msg(agent, sName)), 2) << sName;
    }
    EXPECT_EQ(registry.GetAgentCount(), 3);
    std::shared_ptr<clsMsgHostInfo> objAfter;
    ASSERT_TRUE(registry.GetAgentHostInfo(2, objAfter));
    EXPECT_EQ(objAfter, objBefore);
    EXPECT_EQ(objAfter->GetHostName(), "Beta");  // the spelling first seen stays
  });
}

TEST_F(AgentHostInfoTest, UpdateAgentReplacesTheStoredMessageOnlyWhenItDiffers) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    auto objFirst = Msg(agent, "PC7");
    EXPECT_EQ(registry.UpdateAgent(objFirst), -1);
    EXPECT_EQ(registry.GetAgentCount(), 1);

    // Same fields and the same receive time: the stored object stays.
    auto objSame = Msg(agent, "pc7");
    objSame->SetHostName("PC7");
    objSame->SetDateReceived(objFirst->GetDateReceived());
    EXPECT_EQ(registry.UpdateAgent(objSame), 1);
    std::shared_ptr<clsMsgHostInfo> objStored;
    ASSERT_TRUE(registry.GetAgentHostInfo(1, objStored));
    EXPECT_EQ(objStored, objFirst);

    // A later receive time alone is a difference.
    auto objLater = Msg(agent, "PC7");
    DateTime dtLater = objFirst->GetDateReceived();
    dtLater.lngSeconds += 1;
    objLater->SetDateReceived(dtLater);
    EXPECT_EQ(registry.UpdateAgent(objLater), 1);
    ASSERT_TRUE(registry.GetAgentHostInfo(1, objStored));
    EXPECT_EQ(objStored, objLater);

    // A different launch site with the same time also replaces it.
    auto objSite = Msg(agent, "pc7");
    objSite->SetDateReceived(dtLater);
    objSite->SetAppPath("\\\\pc7\\apps\\Varno2.exe");
    EXPECT_EQ(registry.UpdateAgent(objSite), 1);
    ASSERT_TRUE(registry.GetAgentHostInfo(1, objStored));
    EXPECT_EQ(objStored, objSite);
    EXPECT_EQ(registry.GetAgentCount(), 1);
  });
}

TEST_F(AgentHostInfoTest, EmptyRegistrySearchLeavesLowOneHighZeroAndFirstInsertIsMinusOne) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    Long lngLow = 99, lngHigh = 99;
    EXPECT_EQ(registry.SearchAgentByName("anything", lngLow, lngHigh), -1);
    EXPECT_EQ(lngLow, 1);
    EXPECT_EQ(lngHigh, 0);
    lngLow = 99;
    lngHigh = 99;
    auto objMsg = Msg(agent, "PC3");
    EXPECT_EQ(registry.SearchAgent(objMsg, lngLow, lngHigh), -1);
    EXPECT_EQ(lngLow, 1);
    EXPECT_EQ(lngHigh, 0);
    EXPECT_EQ(registry.InsertAgent(objMsg, lngLow, lngHigh), -1);
    EXPECT_EQ(registry.GetAgentCount(), 1);
  });
}

TEST_F(AgentHostInfoTest, InsertResultIsMinusTheNewPosition) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    for (const char* sName : {"b", "d", "f"}) registry.RegisterAgent(Msg(agent, sName));
    struct Case {
      const char* sName;
      Long lngLow, lngHigh, lngInsert;
    };
    // Each case inserts into the registry that the cases before it left.
    const Case cases[] = {
        {"a", 1, 0, -1},  // below every name
        {"z", 5, 4, -5},  // above every name: count + 1
        {"c", 3, 2, -3},
        {"e", 5, 4, -5},
    };
    for (const Case& c : cases) {
      Long lngLow = 0, lngHigh = 0;
      auto objMsg = Msg(agent, c.sName);
      EXPECT_EQ(registry.SearchAgent(objMsg, lngLow, lngHigh), -1) << c.sName;
      EXPECT_EQ(lngLow, c.lngLow) << c.sName;
      EXPECT_EQ(lngHigh, c.lngHigh) << c.sName;
      EXPECT_EQ(registry.InsertAgent(objMsg, lngLow, lngHigh), c.lngInsert) << c.sName;
      EXPECT_EQ(registry.FindAgentIndex(c.sName), -c.lngInsert) << c.sName;
    }
    EXPECT_EQ(Names(registry), (std::vector<std::string>{"a", "b", "c", "d", "e", "f", "z"}));
  });
}

TEST_F(AgentHostInfoTest, EverySizeFindsEveryNameAndEveryGap) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    // Names "h002", "h004", ...: the odd numbers fall into the gaps between them.
    auto Name = [](int n) {
      std::string s = std::to_string(n);
      return "h" + std::string(3 - s.size(), '0') + s;
    };
    for (int nSize = 1; nSize <= 40; ++nSize) {
      registry.RegisterAgent(Msg(agent, Name(2 * nSize)));
      ASSERT_EQ(registry.GetAgentCount(), nSize);
      for (int i = 1; i <= nSize; ++i) {
        EXPECT_EQ(registry.FindAgentIndex(Name(2 * i)), i) << nSize << " " << i;
        Long lngLow = 0, lngHigh = 0;
        EXPECT_EQ(registry.SearchAgentByName(Name(2 * i - 1), lngLow, lngHigh), -1);
        EXPECT_EQ(lngLow, i);
        EXPECT_EQ(lngHigh, i - 1);
      }
    }
  });
}

TEST(AgentHostInfoSearch, TheMiddleRoundsHalvesToTheEvenPosition) {
  // A name changed through a handed-out message is found only where the search looks,
  // which shows the positions it visits: (1 + 2) / 2 visits 2, (1 + 6) / 2 visits 4.
  const struct {
    int nCount, nRenamed;
    Long lngFound;
  } cases[] = {{2, 1, -1}, {2, 2, 2}, {6, 4, 4}, {6, 3, -1}, {3, 2, 2}, {5, 3, 3}};
  for (const auto& c : cases) {
    AgentOnSim lan;
    lan.AddHost("PC1");
    ASSERT_NE(lan.StartAgent("PC1"), 0);
    ASSERT_TRUE(lan.Call("PC1", [&](Agent& agent) {
      AgentHostInfo& registry = agent.agentHostInfo();
      for (int i = 0; i < c.nCount; ++i)
        registry.RegisterAgent(Msg(agent, std::string(1, static_cast<char>('a' + i))));
      std::shared_ptr<clsMsgHostInfo> objMsg;
      ASSERT_TRUE(registry.GetAgentHostInfo(c.nRenamed, objMsg));
      objMsg->SetHostName("zzz");
      EXPECT_EQ(registry.FindAgentIndex("zzz"), c.lngFound)
          << c.nCount << " records, " << c.nRenamed << " renamed";
    }));
  }
}

TEST_F(AgentHostInfoTest, InsertStampsTheReceiveTimeWithTheAgentsClock) {
  lan_.RunFor(sim::Seconds(75));
  Run([](Agent& agent, AgentHostInfo& registry) {
    auto objMsg = Msg(agent, "PC7");
    registry.RegisterAgent(objMsg);
    EXPECT_EQ(objMsg->GetDateReceived(), agent.Platform().clock.Now());
    EXPECT_NE(objMsg->GetDateReceived(), DateTime{});
  });
}

TEST_F(AgentHostInfoTest, ReadOperationsHandOutTheStoredObject) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    for (const char* sName : {"pc07", "pc01", "pc09"}) registry.RegisterAgent(Msg(agent, sName));
    std::shared_ptr<clsMsgHostInfo> objByName;
    ASSERT_TRUE(registry.GetAgentHostInfoByName("PC07", objByName));
    objByName->SetAppPath("\\\\pc07\\apps\\main");
    std::shared_ptr<clsMsgHostInfo> objByPosition;
    ASSERT_TRUE(registry.GetAgentHostInfo(registry.FindAgentIndex("pc07"), objByPosition));
    EXPECT_EQ(objByPosition, objByName);
    EXPECT_EQ(objByPosition->GetAppPath(), "\\\\pc07\\apps\\main");
    // Outside the registry the out-argument stays as it was.
    for (Long lngIndex : {0, -1, 4, 100}) {
      std::shared_ptr<clsMsgHostInfo> objOut = objByName;
      EXPECT_FALSE(registry.GetAgentHostInfo(lngIndex, objOut)) << lngIndex;
      EXPECT_EQ(objOut, objByName);
    }
    std::shared_ptr<clsMsgHostInfo> objOut = objByName;
    EXPECT_FALSE(registry.GetAgentHostInfoByName("pc08", objOut));
    EXPECT_EQ(objOut, objByName);
  });
}

TEST_F(AgentHostInfoTest, UnknownHostsPortRegistersItAndAnswersTheDefault) {
  Run([](Agent&, AgentHostInfo& registry) {
    Integer nPort = 7;
    Long lngIndex = 7;
    EXPECT_FALSE(registry.GetAgentPort("PC7", nPort, lngIndex));
    EXPECT_EQ(nPort, 1230);
    EXPECT_EQ(lngIndex, -1);
    EXPECT_EQ(registry.GetAgentCount(), 1);
    std::shared_ptr<clsMsgHostInfo> objMsg;
    ASSERT_TRUE(registry.GetAgentHostInfo(1, objMsg));
    EXPECT_EQ(objMsg->GetHostName(), "PC7");
    EXPECT_EQ(registry.GetAgentRecord(1)->GetPort(), 0);  // stored only when asked again

    nPort = 7;
    EXPECT_TRUE(registry.GetAgentPort("pc7", nPort, lngIndex));
    EXPECT_EQ(nPort, 1230);
    EXPECT_EQ(lngIndex, 1);
    EXPECT_EQ(registry.GetAgentRecord(1)->GetPort(), 1230);
  });
}

TEST_F(AgentHostInfoTest, StoredPortsOutsideTheAgentRangeComeBackAsTheDefaultAndAreRewritten) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    registry.RegisterAgent(Msg(agent, "PC7"));
    struct Case {
      Integer nStored, nAnswered;
    };
    const Case cases[] = {{0, 1230},    {1229, 1230}, {1230, 1230}, {1231, 1231}, {1234, 1234},
                          {1235, 1235}, {1236, 1230}, {2000, 1230}, {-5, 1230},   {32767, 1230}};
    for (const Case& c : cases) {
      ASSERT_TRUE(registry.SetAgentPort("PC7", c.nStored));
      Integer nPort = 0;
      Long lngIndex = 0;
      EXPECT_TRUE(registry.GetAgentPort("PC7", nPort, lngIndex)) << c.nStored;
      EXPECT_EQ(nPort, c.nAnswered) << c.nStored;
      EXPECT_EQ(registry.GetAgentRecord(1)->GetPort(), c.nAnswered) << c.nStored;
    }
    EXPECT_FALSE(registry.SetAgentPort("PC8", 1231));
    EXPECT_EQ(registry.GetAgentCount(), 1);
  });
}

TEST_F(AgentHostInfoTest, SocketIndexOfAnUnknownHostWritesMinusOneAndLeavesTheIndex) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    Long lngSocket = 77, lngIndex = 77;
    EXPECT_FALSE(registry.GetAgentSocketIndex("PC7", lngSocket, lngIndex));
    EXPECT_EQ(lngIndex, -1);
    EXPECT_EQ(lngSocket, 77);
    EXPECT_EQ(registry.GetAgentCount(), 0);

    registry.RegisterAgent(Msg(agent, "PC5"));
    registry.RegisterAgent(Msg(agent, "PC7"));
    EXPECT_TRUE(registry.GetAgentSocketIndex("pc7", lngSocket, lngIndex));
    EXPECT_EQ(lngSocket, -1);
    EXPECT_EQ(lngIndex, 2);
    EXPECT_FALSE(registry.SetAgentSocketIndex("PC8", 3));
  });
}

TEST_F(AgentHostInfoTest, SettingTheSocketIndexTagsTheClientSocketWithThePosition) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    for (const char* sName : {"PC5", "PC7", "PC9"}) registry.RegisterAgent(Msg(agent, sName));
    FrmClient& client = agent.frmClient();
    const Long lngSocket = client.AddSocket();
    ASSERT_EQ(lngSocket, 1);
    EXPECT_TRUE(registry.SetAgentSocketIndex("PC9", lngSocket));
    EXPECT_EQ(client.tcpClient().Tag(lngSocket), std::optional<std::string>("3"));
    Long lngOut = 0, lngIndex = 0;
    EXPECT_TRUE(registry.GetAgentSocketIndex("PC9", lngOut, lngIndex));
    EXPECT_EQ(lngOut, 1);
    EXPECT_EQ(lngIndex, 3);
  });
}

TEST_F(AgentHostInfoTest, ConnectTrialsAreStoredPerHostWithinSixteenBits) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    registry.RegisterAgent(Msg(agent, "PC7"));
    Integer nTrials = 9;
    EXPECT_TRUE(registry.GetAgentConnectTrials("PC7", nTrials));
    EXPECT_EQ(nTrials, 0);
    EXPECT_TRUE(registry.SetAgentConnectTrials("PC7", 2));
    EXPECT_TRUE(registry.SetAgentConnectTrials("PC7", 40000));  // found, but not stored
    EXPECT_TRUE(registry.GetAgentConnectTrials("pc7", nTrials));
    EXPECT_EQ(nTrials, 2);
    nTrials = 9;
    EXPECT_FALSE(registry.GetAgentConnectTrials("PC8", nTrials));
    EXPECT_EQ(nTrials, 9);
    EXPECT_FALSE(registry.SetAgentConnectTrials("PC8", 1));
  });
}

TEST_F(AgentHostInfoTest, LogAgentSitesWritesOneLinePerRecordInOrder) {
  const std::size_t nMark = lan_.LogMark("PC1");
  Run([](Agent& agent, AgentHostInfo& registry) {
    auto objSeven = Msg(agent, "pc07");
    objSeven->SetAppPath("\\\\pc07\\apps\\main");
    registry.RegisterAgent(objSeven);
    registry.RegisterAgent(Msg(agent, "PC02"));
    registry.LogAgentSites();
  });
  EXPECT_EQ(lan_.LogLinesSince("PC1", nMark),
            (std::vector<std::string>{"Host=PC02 LaunchSite=",
                                      "Host=pc07 LaunchSite=\\\\pc07\\apps\\main"}));
}

TEST_F(AgentHostInfoTest, MissingMessagesAreRefused) {
  Run([](Agent&, AgentHostInfo& registry) {
    Long lngLow = 5, lngHigh = 5;
    EXPECT_EQ(registry.SearchAgent(nullptr, lngLow, lngHigh), 0);
    EXPECT_EQ(registry.RegisterAgent(nullptr), 0);
    EXPECT_EQ(registry.UpdateAgent(nullptr), 0);
    EXPECT_EQ(registry.InsertAgent(nullptr, 1, 0), 0);
    EXPECT_EQ(registry.GetAgentCount(), 0);
    EXPECT_EQ(registry.GetAgentRecord(1), nullptr);
  });
}

}  // namespace
}  // namespace launchagent
