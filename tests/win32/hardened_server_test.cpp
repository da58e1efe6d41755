// The hardened mode's connection rules on Windows sockets: the server knows where each
// connection came from, and positions of ended connections are taken again, while the
// default server still takes a new position for every connection.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "hardening/hardening_policy.h"
#include "platform/win32/sockets.h"
#include "transport/frm_server.h"
#include "win32_test_support.h"

namespace launchagent::win32 {
namespace {

class HardenedServerTest : public Win32LoopTest {
 protected:
  // Forty connections one after the other from sClient to a server on sServer (port
  // 1230, so each test has addresses of its own), each sending a few bytes and closing;
  // the positions and senders the server saw.
  void Churn(const std::string& sServer, const std::string& sClient, ConnectionRules* rules,
             const HardeningPolicy* policy) {
    Win32Network serverNet(loop, hosts, sServer);
    FrmServer server(
        serverNet, loop, bActive,
        [&](Long lngIndex, const Bytes&) {
          positions.push_back(lngIndex);
          if (policy) senders.push_back(policy->SenderOf(lngIndex).value_or("?"));
        },
        rules);
    ASSERT_EQ(server.tcpServer().State(0), platform::kSckListening);
    Win32SocketArray client(loop, hosts, sClient);
    ASSERT_TRUE(client.SetRemoteHost(0, sServer));
    ASSERT_TRUE(client.SetRemotePort(0, 1230));
    for (size_t n = 0; n < 40; ++n) {
      ASSERT_TRUE(client.Connect(0));
      ASSERT_TRUE(PumpUntil([&] { return client.State(0) == platform::kSckConnected; })) << n;
      ASSERT_TRUE(client.SendData(0, Bytes{'h', 'i'}));
      ASSERT_TRUE(PumpUntil([&] { return positions.size() > n; })) << n;
      ASSERT_TRUE(client.Close(0));
      // The server sees the close before the next connection comes.
      const Long lngLast = positions.back();
      ASSERT_TRUE(PumpUntil([&] {
        return server.tcpServer().State(lngLast) != platform::kSckConnected;
      })) << n;
    }
  }

  HostsFile hosts{""};
  bool bActive = true;
  std::vector<Long> positions;
  std::vector<std::string> senders;
};

TEST_F(HardenedServerTest, OnlyTheHardenedServerTakesEndedPositionsAgainAndKnowsTheSender) {
  HardeningHooks hooks;
  hooks.secondsNow = [this] { return time.ElapsedAgentSeconds(); };
  HardeningPolicy policy(HardeningRules{}, hooks);
  for (HardeningPolicy* pPolicy : {static_cast<HardeningPolicy*>(nullptr), &policy}) {
    SCOPED_TRACE(pPolicy ? "hardened" : "default");
    const std::string sClient = pPolicy ? "127.0.0.52" : "127.0.0.54";
    positions.clear();
    Churn(pPolicy ? "127.0.0.51" : "127.0.0.53", sClient, pPolicy, pPolicy);
    ASSERT_EQ(positions.size(), 40u);
    EXPECT_EQ(positions.front(), 1);
    EXPECT_EQ(*std::max_element(positions.begin(), positions.end()), pPolicy ? 1 : 40);
    EXPECT_EQ(senders, std::vector<std::string>(pPolicy ? 40 : 0, sClient));
  }
}

}  // namespace
}  // namespace launchagent::win32
