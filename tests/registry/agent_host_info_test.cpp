// The agent registry, driven inside an agent process on the simulated LAN.
#include "registry/agent_host_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "../support/agent_on_sim.h"
#include "messages/cls_msg_host_info.h"
#include "registry/cls_agent_info.h"
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
  void Fresh() {  // a new agent, with an empty registry
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
  // The message stored at position lngIndex; null when none.
  static std::shared_ptr<clsMsgHostInfo> At(AgentHostInfo& registry, Long lngIndex) {
    std::shared_ptr<clsMsgHostInfo> objMsg;
    return registry.GetAgentHostInfo(lngIndex, objMsg) ? objMsg : nullptr;
  }
  static Names NamesOf(AgentHostInfo& registry) {
    Names names;
    for (Long i = 1; i <= registry.GetAgentCount(); ++i)
      names.push_back(At(registry, i)->GetHostName());
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
      for (const auto& [sName, lngAt] :
           {std::pair<const char*, Long>{"ALPHA", 1}, {"BETA", 2}, {"gamma", 3}, {"delta", -1}})
        EXPECT_EQ(registry.FindAgentIndex(sName), lngAt) << sName;
    });
  } while (std::next_permutation(order.begin(), order.end()));

  // A known name in any case adds nothing, and the spelling first seen stays.
  Run([](Agent& agent, AgentHostInfo& registry) {
    const auto objBefore = At(registry, 2);
    for (const char* sName : {"Beta", "BETA", "bEtA"})
      EXPECT_EQ(registry.RegisterAgent(Msg(agent, sName)), 2) << sName;
    EXPECT_EQ(registry.GetAgentCount(), 3);
    EXPECT_EQ(At(registry, 2), objBefore);
    EXPECT_EQ(objBefore->GetHostName(), "Beta");
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
      EXPECT_EQ(At(registry, 1), c[1]);
    }
    EXPECT_EQ(registry.GetAgentCount(), 1);
  });
}

TEST_F(AgentHostInfoTest, SearchAndInsertFindEveryNameAndEveryGapAtEverySize) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    // Names "h002" ... "h080" go in scrambled (17 * n mod 41); the odd numbers fall into
    // the gaps. A search that misses gives low = the gap's position, high = low - 1, and
    // the insert answers minus the new position.
    auto Name = [](int n) { return "h" + std::string(n < 10 ? 2 : 1, '0') + std::to_string(n); };
    std::vector<int> present;
    for (int n = 1; n <= 40; ++n) {
      const int k = 17 * n % 41;
      const auto at = present.insert(std::upper_bound(present.begin(), present.end(), k), k);
      const Long lngPos = at - present.begin() + 1;
      auto objMsg = Msg(agent, Name(2 * k));
      Long lngLow = 0, lngHigh = 0;
      EXPECT_EQ(registry.SearchAgent(objMsg, lngLow, lngHigh), -1);
      EXPECT_EQ(lngLow, lngPos);
      EXPECT_EQ(lngHigh, lngPos - 1);
      EXPECT_EQ(registry.InsertAgent(objMsg, lngLow, lngHigh), -lngPos) << k;
      ASSERT_EQ(registry.GetAgentCount(), n);
      for (int i = 0; i < n; ++i) EXPECT_EQ(registry.FindAgentIndex(Name(2 * present[i])), i + 1);
      for (int i = 0; i <= n; ++i) {
        EXPECT_EQ(
            registry.SearchAgentByName(Name(i < n ? 2 * present[i] - 1 : 81), lngLow, lngHigh), -1);
        EXPECT_EQ(lngLow, i + 1) << n << " " << i;
        EXPECT_EQ(lngHigh, i) << n << " " << i;
      }
    }
  });
}

TEST_F(AgentHostInfoTest, ReadOperationsHandOutTheStoredObject) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    Register(agent, registry, {"pc07", "pc01", "pc09"});
    std::shared_ptr<clsMsgHostInfo> objByName;
    ASSERT_TRUE(registry.GetAgentHostInfoByName("PC07", objByName));
    EXPECT_EQ(At(registry, registry.FindAgentIndex("pc07")), objByName);
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
    EXPECT_EQ(NamesOf(registry), Names{"PC7"});
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

TEST_F(AgentHostInfoTest, SocketIndexAndTrialsOfKnownHostsOnly) {
  Run([](Agent& agent, AgentHostInfo& registry) {
    // Unknown hosts and missing messages are refused and change nothing.
    Long lngSocket = 77, lngIndex = 77;
    Integer nTrials = 9;
    EXPECT_FALSE(registry.GetAgentSocketIndex("PC7", lngSocket, lngIndex));
    EXPECT_EQ(lngIndex, -1);
    EXPECT_EQ(lngSocket, 77);
    EXPECT_FALSE(registry.GetAgentConnectTrials("PC7", nTrials));
    EXPECT_EQ(nTrials, 9);
    EXPECT_FALSE(registry.SetAgentSocketIndex("PC7", 3) ||
                 registry.SetAgentConnectTrials("PC7", 1) || registry.SetAgentPort("PC7", 1231));
    EXPECT_EQ(registry.SearchAgent(nullptr, lngSocket, lngIndex), 0);
    EXPECT_EQ(registry.RegisterAgent(nullptr), 0);
    EXPECT_EQ(registry.UpdateAgent(nullptr), 0);
    EXPECT_EQ(registry.InsertAgent(nullptr, 1, 0), 0);
    EXPECT_EQ(registry.GetAgentCount(), 0);

    Register(agent, registry, {"PC5", "PC7", "PC9"});
    EXPECT_TRUE(registry.GetAgentSocketIndex("pc7", lngSocket, lngIndex));
    EXPECT_EQ(lngSocket, -1);
    EXPECT_EQ(lngIndex, 2);
    // The client socket's tag names the registry position it serves.
    const Long lngNew = agent.frmClient().AddSocket();
    EXPECT_TRUE(registry.SetAgentSocketIndex("PC9", lngNew));
    EXPECT_EQ(agent.frmClient().tcpClient().Tag(lngNew), std::optional<std::string>("3"));
    EXPECT_TRUE(registry.GetAgentSocketIndex("PC9", lngSocket, lngIndex));
    EXPECT_EQ(lngSocket, lngNew);
    EXPECT_TRUE(registry.SetAgentConnectTrials("PC7", 2));
    EXPECT_TRUE(registry.GetAgentConnectTrials("pc7", nTrials));
    EXPECT_EQ(nTrials, 2);
  });
}

}  // namespace
}  // namespace launchagent
