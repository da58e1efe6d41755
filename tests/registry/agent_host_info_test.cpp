// The agent registry, driven inside an agent process on the simulated LAN.
#include "registry/agent_host_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "messages/cls_msg_host_info.h"
#include "transport/cls_agent_info.h"
#include "transport/frm_client.h"

namespace launchagent {
namespace {

using Names = std::vector<std::string>;

std::shared_ptr<clsMsgHostInfo> Msg(Agent& agent, const std::string& sHostName) {
  auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
  objMsg->SetHostName(sHostName);
  return objMsg;
}

class AgentHostInfoTest : public ::testing::Test {
 protected:
  void SetUp() override { Fresh(); }
  // A new agent, with an empty registry.
  void Fresh() {
    lan_.emplace();
    lan_->AddHost("PC1");
    ASSERT_NE(lan_->StartAgent("PC1"), 0);
  }
  // Runs fn inside the agent's process.
  void Run(const std::function<void(Agent&, AgentHostInfo&)>& fn) {
    ASSERT_TRUE(lan_->Call("PC1", [&](Agent& agent) { fn(agent, agent.agentHostInfo()); }));
  }
  static void Register(Agent& agent, AgentHostInfo& registry, const Names& names) {
    for (const std::string& sName : names) registry.RegisterAgent(Msg(agent, sName));
  }
  static Names NamesOf(AgentHostInfo& registry) {
    Names names;
    for (Long i = 1; i <= registry.GetAgentCount(); ++i) {
      std::shared_ptr<clsMsgHostInfo> objMsg;
      if (registry.GetAgentHostInfo(i, objMsg)) names.push_back(objMsg->GetHostName());
    }
    return names;
  }
  std::optional<testing::AgentOnSim> lan_;
};

TEST_F(AgentHostInfoTest, AnyOrderOfRegistrationGivesTheOrdinalOrderOfLowerCasedNames) {
  Names order = {"Beta", "Gamma", "alpha"};  // every permutation, from the sorted one
  do {
    Fresh();
    Run([&](Agent& agent, AgentHostInfo& registry) {
      for (const std::string& sName : order)
        EXPECT_EQ(registry.RegisterAgent(Msg(agent, sName)), -1);
      EXPECT_EQ(NamesOf(registry), (Names{"alpha", "Beta", "Gamma"}))
          << order[0] << "," << order[1] << "," << order[2];
      EXPECT_EQ(registry.FindAgentIndex("BETA"), 2);
      EXPECT_EQ(registry.FindAgentIndex("ALPHA"), 1);
      EXPECT_EQ(registry.FindAgentIndex("gamma"), 3);
      EXPECT_EQ(registry.FindAgentIndex("delta"), -1);
    });
  } while (std::next_permutation(order.begin(), order.end()));

  // A known name in any case adds nothing, and the spelling first seen stays.
  Run([](Agent& agent, AgentHostInfo& registry) {
    std::shared_ptr<clsMsgHostInfo> objBefore, objAfter;
    ASSERT_TRUE(registry.GetAgentHostInfo(2, objBefore));
    for (const char* sName : {"Beta", "BETA", "bEtA"})
      EXPECT_EQ(registry.RegisterAgent(Msg(agent, sName)), 2) << sName;
    EXPECT_EQ(registry.GetAgentCount(), 3);
    ASSERT_TRUE(registry.GetAgentHostInfo(2, objAfter));
    EXPECT_EQ(objAfter, objBefore);
    EXPECT_EQ(objAfter->GetHostName(), "Beta");
    // After lower-casing, '-' (45) < digits < '_' (95) < letters; a name sorts after its
    // prefix.
    Register(agent, registry, {"PCB", "pc1", "PC_A", "pc", "pc-c", "PC10"});
    EXPECT_EQ(NamesOf(registry),
              (Names{"alpha", "Beta", "Gamma", "pc", "pc-c", "pc1", "PC10", "PC_A", "PCB"}));
  });
}

TEST_F(AgentHostInfoTest, UpdateAgentReplacesTheStoredMessageOnlyWhenItDiffers) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    auto objFirst = Msg(agent, "PC7");
    EXPECT_EQ(registry.UpdateAgent(objFirst), -1);
    // Inserting stamps the receive time with the agent's clock.
    EXPECT_EQ(objFirst->GetDateReceived(), agent.Platform().clock.Now());
    EXPECT_NE(objFirst->GetDateReceived(), DateTime{});
    DateTime dtLater = objFirst->GetDateReceived();
    dtLater.lngSeconds += 1;
    auto objSame = Msg(agent, "PC7");
    objSame->SetDateReceived(objFirst->GetDateReceived());
    auto objLater = Msg(agent, "PC7");
    objLater->SetDateReceived(dtLater);
    auto objSite = Msg(agent, "pc7");
    objSite->SetDateReceived(dtLater);
    objSite->SetAppPath("\\\\pc7\\apps\\Varno2.exe");
    // Update -> the object stored after it: the same fields and receive time change
    // nothing; a later receive time alone, or another launch site, replaces it.
    const std::shared_ptr<clsMsgHostInfo> cases[][2] = {
        {objSame, objFirst}, {objLater, objLater}, {objSite, objSite}};
    for (const auto& c : cases) {
      EXPECT_EQ(registry.UpdateAgent(c[0]), 1);
      std::shared_ptr<clsMsgHostInfo> objStored;
      ASSERT_TRUE(registry.GetAgentHostInfo(1, objStored));
      EXPECT_EQ(objStored, c[1]);
    }
    EXPECT_EQ(registry.GetAgentCount(), 1);
  });
}

TEST_F(AgentHostInfoTest, SearchBoundsAndInsertResultsFromEmptyToFull) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    // Each case inserts into the registry that the cases before it left; the result is
    // minus the new position.
    const struct {
      const char* sName;
      Long lngLow, lngHigh, lngInsert;
    } cases[] = {
        {"d", 1, 0, -1},                   // empty
        {"f", 2, 1, -2}, {"b", 1, 0, -1},  // below every name
        {"z", 4, 3, -4},                   // above every name: count + 1
        {"c", 2, 1, -2}, {"e", 4, 3, -4},
    };
    for (const auto& c : cases) {
      Long lngLow = 99, lngHigh = 99;
      auto objMsg = Msg(agent, c.sName);
      EXPECT_EQ(registry.SearchAgent(objMsg, lngLow, lngHigh), -1) << c.sName;
      EXPECT_EQ(lngLow, c.lngLow) << c.sName;
      EXPECT_EQ(lngHigh, c.lngHigh) << c.sName;
      EXPECT_EQ(registry.InsertAgent(objMsg, lngLow, lngHigh), c.lngInsert) << c.sName;
      EXPECT_EQ(registry.FindAgentIndex(c.sName), -c.lngInsert) << c.sName;
    }
    EXPECT_EQ(NamesOf(registry), (Names{"b", "c", "d", "e", "f", "z"}));
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

TEST_F(AgentHostInfoTest, ReadOperationsHandOutTheStoredObject) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    Register(agent, registry, {"pc07", "pc01", "pc09"});
    std::shared_ptr<clsMsgHostInfo> objByName, objByPosition;
    ASSERT_TRUE(registry.GetAgentHostInfoByName("PC07", objByName));
    objByName->SetAppPath("\\\\pc07\\apps\\main");
    ASSERT_TRUE(registry.GetAgentHostInfo(registry.FindAgentIndex("pc07"), objByPosition));
    EXPECT_EQ(objByPosition, objByName);
    EXPECT_EQ(objByPosition->GetAppPath(), "\\\\pc07\\apps\\main");
    EXPECT_EQ(registry.GetAgentRecord(2)->Message(), objByName);
    // Outside the registry the out-argument stays as it was.
    std::shared_ptr<clsMsgHostInfo> objOut = objByName;
    for (Long lngIndex : {0, -1, 4}) EXPECT_FALSE(registry.GetAgentHostInfo(lngIndex, objOut));
    EXPECT_FALSE(registry.GetAgentHostInfoByName("pc08", objOut));
    EXPECT_EQ(objOut, objByName);
  });
}

TEST_F(AgentHostInfoTest, PortsOutsideTheAgentRangeComeBackAsTheDefaultAndAreRewritten) {
  Run([](Agent&, AgentHostInfo& registry) {
    // An unknown host is registered with its name only and answers 1230.
    Integer nPort = 7;
    Long lngIndex = 7;
    EXPECT_FALSE(registry.GetAgentPort("PC7", nPort, lngIndex));
    EXPECT_EQ(nPort, 1230);
    EXPECT_EQ(lngIndex, -1);
    std::shared_ptr<clsMsgHostInfo> objMsg;
    ASSERT_TRUE(registry.GetAgentHostInfo(1, objMsg));
    EXPECT_EQ(objMsg->GetHostName(), "PC7");
    EXPECT_EQ(registry.GetAgentRecord(1)->GetPort(), 0);  // stored only when asked again
    const struct {
      Integer nStored, nAnswered;
    } cases[] = {{0, 1230},    {1229, 1230}, {1230, 1230}, {1231, 1231},
                 {1235, 1235}, {1236, 1230}, {-5, 1230},   {32767, 1230}};
    for (const auto& c : cases) {
      ASSERT_TRUE(registry.SetAgentPort("PC7", c.nStored));
      EXPECT_TRUE(registry.GetAgentPort("pc7", nPort, lngIndex)) << c.nStored;
      EXPECT_EQ(lngIndex, 1);
      EXPECT_EQ(nPort, c.nAnswered) << c.nStored;
      EXPECT_EQ(registry.GetAgentRecord(1)->GetPort(), c.nAnswered) << c.nStored;
    }
  });
}

TEST_F(AgentHostInfoTest, UnknownHostsAndMissingMessagesAreRefusedWithoutAChange) {
  Run([](Agent&, AgentHostInfo& registry) {
    Long lngSocket = 77, lngIndex = 77;
    Integer nTrials = 9;
    EXPECT_FALSE(registry.GetAgentSocketIndex("PC7", lngSocket, lngIndex));
    EXPECT_EQ(lngIndex, -1);
    EXPECT_EQ(lngSocket, 77);
    EXPECT_FALSE(registry.GetAgentConnectTrials("PC7", nTrials));
    EXPECT_EQ(nTrials, 9);
    EXPECT_FALSE(registry.SetAgentSocketIndex("PC7", 3));
    EXPECT_FALSE(registry.SetAgentConnectTrials("PC7", 1));
    EXPECT_FALSE(registry.SetAgentPort("PC7", 1231));
    EXPECT_EQ(registry.SearchAgent(nullptr, lngSocket, lngIndex), 0);
    EXPECT_EQ(registry.RegisterAgent(nullptr), 0);
    EXPECT_EQ(registry.UpdateAgent(nullptr), 0);
    EXPECT_EQ(registry.InsertAgent(nullptr, 1, 0), 0);
    EXPECT_EQ(registry.GetAgentCount(), 0);
    EXPECT_EQ(registry.GetAgentRecord(1), nullptr);
  });
}

TEST_F(AgentHostInfoTest, SocketIndexAndTrialsOfAKnownHost) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    Register(agent, registry, {"PC5", "PC7", "PC9"});
    Long lngSocket = 0, lngIndex = 0;
    EXPECT_TRUE(registry.GetAgentSocketIndex("pc7", lngSocket, lngIndex));
    EXPECT_EQ(lngSocket, -1);
    EXPECT_EQ(lngIndex, 2);
    // The client socket's tag names the registry position it serves.
    const Long lngNew = agent.frmClient().AddSocket();
    EXPECT_TRUE(registry.SetAgentSocketIndex("PC9", lngNew));
    EXPECT_EQ(agent.frmClient().tcpClient().Tag(lngNew), std::optional<std::string>("3"));
    EXPECT_TRUE(registry.GetAgentSocketIndex("PC9", lngSocket, lngIndex));
    EXPECT_EQ(lngSocket, lngNew);

    Integer nTrials = 9;
    EXPECT_TRUE(registry.GetAgentConnectTrials("PC7", nTrials));
    EXPECT_EQ(nTrials, 0);
    EXPECT_TRUE(registry.SetAgentConnectTrials("PC7", 2));
    EXPECT_TRUE(registry.SetAgentConnectTrials("PC7", 40000));  // found, but not stored
    EXPECT_TRUE(registry.GetAgentConnectTrials("pc7", nTrials));
    EXPECT_EQ(nTrials, 2);
  });
}

TEST_F(AgentHostInfoTest, LogAgentSitesWritesOneLinePerRecordInOrder) {
  const std::size_t nMark = lan_->LogMark("PC1");
  Run([](Agent& agent, AgentHostInfo& registry) {
    auto objSeven = Msg(agent, "pc07");
    objSeven->SetAppPath("\\\\pc07\\apps\\main");
    registry.RegisterAgent(objSeven);
    registry.RegisterAgent(Msg(agent, "PC02"));
    registry.LogAgentSites();
  });
  EXPECT_EQ(lan_->LogLinesSince("PC1", nMark),
            (Names{"Host=PC02 LaunchSite=", "Host=pc07 LaunchSite=\\\\pc07\\apps\\main"}));
}

}  // namespace
}  // namespace launchagent
