// The agent registry on its own: a fixed clock, a message context, and the socket
// positions it reports upward. The cycle through the agent ports is in
// tests/scenarios/connect-trials.scn, the order of the names in wire-registry-order.scn.
#include "registry/agent_host_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "messages/cls_msg_host_info.h"
#include "messages/message_context.h"
#include "registry/cls_agent_info.h"

namespace launchagent {
namespace {

using Names = std::vector<std::string>;

class FixedClock : public platform::Clock {
 public:
  DateTime Now() const override { return dtNow; }
  double SecondsSinceMidnight() const override { return dtNow.SecondsSinceMidnight(); }
  DateTime dtNow = DateTime::FromCivil(2026, 1, 5, 10, 0, 0);
};

class AgentHostInfoTest : public ::testing::Test, public MessageContext {
 protected:
  double SecondsSinceMidnight() override { return 0.5; }
  std::string LocalHostName() override { return "PC1"; }

  std::shared_ptr<clsMsgHostInfo> Msg(const std::string& sHostName) {
    auto objMsg = std::make_shared<clsMsgHostInfo>(*this);
    objMsg->SetHostName(sHostName);
    return objMsg;
  }
  void Register(const Names& names) {
    for (const std::string& sName : names) registry_.RegisterAgent(Msg(sName));
  }
  // The message stored at position lngIndex; null when none.
  std::shared_ptr<clsMsgHostInfo> At(Long lngIndex) {
    std::shared_ptr<clsMsgHostInfo> objMsg;
    return registry_.GetAgentHostInfo(lngIndex, objMsg) ? objMsg : nullptr;
  }
  Names NamesOf() {
    Names names;
    for (Long i = 1; i <= registry_.GetAgentCount(); ++i) names.push_back(At(i)->GetHostName());
    return names;
  }

  FixedClock clock_;
  std::vector<std::pair<Long, Long>> positions_;
  AgentHostInfo registry_{
      clock_, *this, [](const std::string&, Integer) {},
      [this](Long lngSocket, Long lngAgent) { positions_.emplace_back(lngSocket, lngAgent); }};
};

TEST_F(AgentHostInfoTest, RegisteringAKnownNameInAnyCaseKeepsTheFirstSpelling) {
  Register({"Beta"});
  const auto objBefore = At(1);
  for (const char* sName : {"Beta", "BETA", "bEtA"})
    EXPECT_EQ(registry_.RegisterAgent(Msg(sName)), 1) << sName;
  EXPECT_EQ(registry_.GetAgentCount(), 1);
  EXPECT_EQ(At(1), objBefore);
  EXPECT_EQ(objBefore->GetHostName(), "Beta");
}

TEST_F(AgentHostInfoTest, UpdateAgentReplacesTheStoredMessageOnlyWhenItDiffers) {
  auto objFirst = Msg("PC7");
  EXPECT_EQ(registry_.UpdateAgent(objFirst), -1);
  // Inserting stamps the receive time with the agent's clock.
  EXPECT_EQ(objFirst->GetDateReceived(), clock_.Now());
  DateTime dtLater = objFirst->GetDateReceived();
  dtLater.lngSeconds += 1;
  auto objSame = Msg("PC7");
  objSame->SetDateReceived(objFirst->GetDateReceived());
  auto objLater = Msg("PC7");
  objLater->SetDateReceived(dtLater);
  auto objSite = Msg("pc7");
  objSite->SetDateReceived(dtLater);
  objSite->SetAppPath("\\\\pc7\\apps\\Varno2.exe");
  // Update -> the object stored after it: the same fields and receive time change
  // nothing; a later receive time alone, or another launch site, replaces it.
  const std::shared_ptr<clsMsgHostInfo> cases[][2] = {
      {objSame, objFirst}, {objLater, objLater}, {objSite, objSite}};
  for (const auto& c : cases) {
    EXPECT_EQ(registry_.UpdateAgent(c[0]), 1);
    EXPECT_EQ(At(1), c[1]);
  }
  EXPECT_EQ(registry_.GetAgentCount(), 1);
}

TEST_F(AgentHostInfoTest, SearchAndInsertFindEveryNameAndEveryGapAtEverySize) {
  // Names "h002" ... "h080" go in scrambled (17 * n mod 41); the odd numbers fall into
  // the gaps. A search that misses gives low = the gap's position, high = low - 1, and
  // the insert answers minus the new position.
  auto Name = [](int n) { return "h" + std::string(n < 10 ? 2 : 1, '0') + std::to_string(n); };
  std::vector<int> present;
  for (int n = 1; n <= 40; ++n) {
    const int k = 17 * n % 41;
    const auto at = present.insert(std::upper_bound(present.begin(), present.end(), k), k);
    const Long lngPos = at - present.begin() + 1;
    auto objMsg = Msg(Name(2 * k));
    Long lngLow = 0, lngHigh = 0;
    EXPECT_EQ(registry_.SearchAgent(objMsg, lngLow, lngHigh), -1);
    EXPECT_EQ(lngLow, lngPos);
    EXPECT_EQ(lngHigh, lngPos - 1);
    EXPECT_EQ(registry_.InsertAgent(objMsg, lngLow, lngHigh), -lngPos) << k;
    ASSERT_EQ(registry_.GetAgentCount(), n);
    for (int i = 0; i < n; ++i) EXPECT_EQ(registry_.FindAgentIndex(Name(2 * present[i])), i + 1);
    for (int i = 0; i <= n; ++i) {
      EXPECT_EQ(registry_.SearchAgentByName(Name(i < n ? 2 * present[i] - 1 : 81), lngLow, lngHigh),
                -1);
      EXPECT_EQ(lngLow, i + 1) << n << " " << i;
      EXPECT_EQ(lngHigh, i) << n << " " << i;
    }
  }
}

TEST_F(AgentHostInfoTest, AnInsertAfterAPositionOutsideTheRegistryStoresNothing) {
  // Bound -> answer; nothing is stored, yet the message is stamped and the registry
  // goes on finding, inserting and listing its records in order.
  Register({"PC5", "PC7"});
  for (const Long lngHigh : {-2, -1, 3, 9}) {
    auto objMsg = Msg("PC6");
    EXPECT_EQ(registry_.InsertAgent(objMsg, 1, lngHigh), -(lngHigh + 1)) << lngHigh;
    EXPECT_EQ(objMsg->GetDateReceived(), clock_.Now());
    EXPECT_EQ(registry_.FindAgentIndex("pc6"), -1) << lngHigh;
  }
  EXPECT_EQ(registry_.InsertAgent(Msg("PC3"), 1, 0), -1);
  Register({"PC6", "PC9"});
  EXPECT_EQ(NamesOf(), (Names{"PC3", "PC5", "PC6", "PC7", "PC9"}));
  for (const auto& [sName, lngAt] :
       {std::pair<const char*, Long>{"pc3", 1}, {"pc6", 3}, {"pc9", 5}})
    EXPECT_EQ(registry_.FindAgentIndex(sName), lngAt) << sName;
}

TEST_F(AgentHostInfoTest, ReadOperationsHandOutTheStoredObject) {
  Register({"pc07", "pc01", "pc09"});
  std::shared_ptr<clsMsgHostInfo> objByName;
  ASSERT_TRUE(registry_.GetAgentHostInfoByName("PC07", objByName));
  EXPECT_EQ(At(registry_.FindAgentIndex("pc07")), objByName);
  EXPECT_EQ(registry_.GetAgentRecord(2)->Message(), objByName);
  // Outside the registry the out-argument stays as it was.
  std::shared_ptr<clsMsgHostInfo> objOut = objByName;
  for (Long lngIndex : {0, -1, 4}) EXPECT_FALSE(registry_.GetAgentHostInfo(lngIndex, objOut));
  EXPECT_FALSE(registry_.GetAgentHostInfoByName("pc08", objOut));
  EXPECT_EQ(objOut, objByName);
}

TEST_F(AgentHostInfoTest, PortsOutsideTheAgentRangeComeBackAsTheDefaultAndAreRewritten) {
  // An unknown host is registered with its name only and answers 1230.
  Integer nPort = 7;
  Long lngIndex = 7;
  EXPECT_FALSE(registry_.GetAgentPort("PC7", nPort, lngIndex));
  EXPECT_EQ(nPort, 1230);
  EXPECT_EQ(lngIndex, -1);
  EXPECT_EQ(NamesOf(), Names{"PC7"});
  EXPECT_EQ(registry_.GetAgentRecord(1)->GetPort(), 0);  // stored only when asked again
  const struct {
    Integer nStored, nAnswered;
  } cases[] = {{0, 1230},    {1229, 1230}, {1230, 1230}, {1231, 1231},
               {1235, 1235}, {1236, 1230}, {-5, 1230},   {32767, 1230}};
  for (const auto& c : cases) {
    ASSERT_TRUE(registry_.SetAgentPort("PC7", c.nStored));
    EXPECT_TRUE(registry_.GetAgentPort("pc7", nPort, lngIndex)) << c.nStored;
    EXPECT_EQ(lngIndex, 1);
    EXPECT_EQ(nPort, c.nAnswered) << c.nStored;
    EXPECT_EQ(registry_.GetAgentRecord(1)->GetPort(), c.nAnswered) << c.nStored;
  }
}

TEST_F(AgentHostInfoTest, SocketIndexAndTrialsOfKnownHostsOnly) {
  // Unknown hosts and missing messages are refused and change nothing.
  Long lngSocket = 77, lngIndex = 77;
  Integer nTrials = 9;
  EXPECT_FALSE(registry_.GetAgentSocketIndex("PC7", lngSocket, lngIndex));
  EXPECT_EQ(lngIndex, -1);
  EXPECT_EQ(lngSocket, 77);
  EXPECT_FALSE(registry_.GetAgentConnectTrials("PC7", nTrials));
  EXPECT_EQ(nTrials, 9);
  EXPECT_FALSE(registry_.SetAgentSocketIndex("PC7", 3) ||
               registry_.SetAgentConnectTrials("PC7", 1) || registry_.SetAgentPort("PC7", 1231));
  EXPECT_EQ(registry_.SearchAgent(nullptr, lngSocket, lngIndex), 0);
  EXPECT_EQ(registry_.RegisterAgent(nullptr), 0);
  EXPECT_EQ(registry_.UpdateAgent(nullptr), 0);
  EXPECT_EQ(registry_.InsertAgent(nullptr, 1, 0), 0);
  EXPECT_EQ(registry_.GetAgentCount(), 0);

  Register({"PC5", "PC7", "PC9"});
  EXPECT_TRUE(registry_.GetAgentSocketIndex("pc7", lngSocket, lngIndex));
  EXPECT_EQ(lngSocket, -1);
  EXPECT_EQ(lngIndex, 2);
  // The client hears which registry position a socket serves; refusals tell it nothing.
  EXPECT_TRUE(registry_.SetAgentSocketIndex("PC9", 4));
  EXPECT_EQ(positions_, (std::vector<std::pair<Long, Long>>{{4, 3}}));
  EXPECT_TRUE(registry_.GetAgentSocketIndex("PC9", lngSocket, lngIndex));
  EXPECT_EQ(lngSocket, 4);
  EXPECT_TRUE(registry_.SetAgentConnectTrials("PC7", 2));
  EXPECT_TRUE(registry_.GetAgentConnectTrials("pc7", nTrials));
  EXPECT_EQ(nTrials, 2);
}

// The registry's record per computer.
TEST(ClsAgentInfo, ConnectTrialsKeepTheOldCountWhenTheNewOneDoesNotFitSixteenBits) {
  const struct {
    Long lngIn;
    Integer nExpected;
  } cases[] = {
      {0, 0},     {2, 2},      {-1, -1},   {32767, 32767},  {-32768, -32768},
      {32768, 1}, {-32769, 1}, {40000, 1}, {2147483647, 1}, {-2147483647 - 1, 1},
  };
  for (const auto& c : cases) {
    clsAgentInfo objRecord;
    objRecord.SetConnectTrials(1);
    objRecord.SetConnectTrials(c.lngIn);
    EXPECT_EQ(objRecord.GetConnectTrials(), c.nExpected) << "count " << c.lngIn;
  }
}

}  // namespace
}  // namespace launchagent
