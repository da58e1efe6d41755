// The TCP client against transports and unreachable hosts of a simulated LAN. The first
// send to a host (an attempt on the next socket at the registry's port, then a warning even
// where an agent listens) and the trial cycle are in tests/scenarios/connect-trials.scn,
// host-info-exchange.scn and start-up-timers.scn.
#include "transport/frm_client.h"

#include "transport_lan.h"

namespace launchagent::testing {
namespace {

class FrmClientTest : public TransportTest {
 protected:
  // One SendMessage from PC1 to PC9; the log lines it wrote.
  Lines SendMessage(Integer& nPort, bool bUseAgentPort) {
    return Call("PC1", [&](Node& node) {
      node.frmClient().SendMessage("PC9", "", nPort, HostInfoImage(node, "PC1"), bUseAgentPort);
    });
  }
  // The attempt (when nAttemptPort is not 0) and the warning of one SendMessage to PC9.
  static Lines PortLines(int nAttemptPort, int nWarnPort, int nSocket) {
    Lines out;
    if (nAttemptPort != 0) out.push_back(Attempt("PC9", nAttemptPort, nSocket));
    out.push_back("WARNING: No connection to host PC9 via port  " + std::to_string(nWarnPort) +
                  " and Socket  " + std::to_string(nSocket));
    return out;
  }
};

TEST_F(FrmClientTest, TheAddressIsWhereTheConnectionGoesWhileTheLogNamesTheHost) {
  NewLan({"PC1", "PC7"});
  lan_->AddDesktop("OTHER", "10.0.0.77");
  ASSERT_NE(lan_->Start("OTHER"), 0);
  EXPECT_EQ(SendEx("PC1", "PC7", "10.0.0.77"), (Lines{Attempt("PC7", 1230, 1), Warning("PC7")}));
  Run();
  // Once connected, every send goes through.
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(SendEx("PC1", "PC7", "10.0.0.77"), Lines{Connected("PC7")}) << i;
    Run();
  }
  EXPECT_EQ(HostInfoLines("OTHER"), Lines(3, "HostInfoFrom=PC1"));
  EXPECT_TRUE(HostInfoLines("PC7").empty());
  EXPECT_EQ(Record("PC1", "PC7")->GetConnectTrials(), 0);
}

TEST_F(FrmClientTest, WithServicesInactiveNothingIsConnectedSentOrLogged) {
  NewLan({"PC1", "PC7"});
  Services("PC1", false);
  const std::size_t nMark = lan_->LogLines("PC1").size();
  Call("PC1", [](Node& node) {
    const Bytes image = HostInfoImage(node, "PC1");
    node.frmClient().SendMessageEx("PC7", "", image);
    Integer nPort = 0;
    node.frmClient().SendMessage("PC7", "", nPort, image, true);
    EXPECT_EQ(nPort, 0);
    EXPECT_EQ(node.agentHostInfo().GetAgentCount(), 0);
    EXPECT_EQ(node.frmClient().tcpClient().UBound(), 0);
  });
  Run(sim::Seconds(5));
  EXPECT_TRUE(lan_->LogLinesSince("PC1", nMark).empty());
  EXPECT_TRUE(HostInfoLines("PC7").empty());
}

TEST_F(FrmClientTest, UnloadingEitherSideClosesTheConnection) {
  for (const bool bClientSide : {true, false}) {
    ConnectedPair();
    Call(bClientSide ? "PCA" : "PCB", [](Node& node) { node.UnloadTransport(); });
    Run();
    Call(bClientSide ? "PCB" : "PCA", [&](Node& node) {
      platform::SocketArray& sockets =
          bClientSide ? node.frmServer().tcpServer() : node.frmClient().tcpClient();
      EXPECT_EQ(sockets.State(1), platform::kSckClosing) << "client side " << bClientSide;
    });
  }
}

TEST_F(FrmClientTest, SendMessageUsesTheCallersPortUnlessAskedForTheAgentPort) {
  const struct {
    const char* sCase;
    bool bUseAgentPort;
    Integer nPortIn;
    int attempts[4];  // port of the attempt of each send (0: none)
    Integer nPortOut;
    Integer nStoredPort;  // the record's port is written only for the agent port
  } cases[] = {
      {"default port", false, 0, {1230, 0, 0, 1230}, 1230, 0},
      {"own port", false, 1232, {1232, 0, 0, 1232}, 1232, 0},
      {"agent port", true, 5, {1230, 0, 0, 1231}, 1231, 1231},
  };
  for (const auto& c : cases) {
    NewLan({"PC1"}, {"PC9"});
    Call("PC1", [](Node& node) { Register(node, "PC9"); });
    Integer nPort = c.nPortIn;
    for (int i = 0; i < 4; ++i) {
      const int nAttempt = c.attempts[i];
      EXPECT_EQ(SendMessage(nPort, c.bUseAgentPort),
                PortLines(nAttempt, nAttempt != 0 ? nAttempt : nPort, 1))
          << c.sCase << ", send " << i + 1;
      EXPECT_EQ(Record("PC1", "PC9")->GetConnectTrials(), i % 3) << c.sCase;
      Run(kBroadcastPeriod);
    }
    EXPECT_EQ(nPort, c.nPortOut) << c.sCase;
    EXPECT_EQ(Record("PC1", "PC9")->GetPort(), c.nStoredPort) << c.sCase;
  }
}

TEST_F(FrmClientTest, SendMessageNeverRegistersAHostAndSendsWithoutALine) {
  // Nothing keeps the socket of an unknown host, so each send starts on a new one, and
  // none of them is ever connected when its send comes.
  NewLan({"PC1", "PC9"});
  Integer nPort = 0;
  for (int nSocket = 1; nSocket <= 4; ++nSocket) {
    EXPECT_EQ(SendMessage(nPort, nSocket == 4), PortLines(1230, 1230, nSocket));
    EXPECT_EQ(Record("PC1", "PC9") != nullptr, nSocket == 4);
    Run();
  }
  // With the agent port the host was registered, and a connected send writes nothing.
  EXPECT_TRUE(SendMessage(nPort, true).empty());
  Run();
  EXPECT_EQ(HostInfoLines("PC9"), Lines{"HostInfoFrom=PC1"});
}

TEST_F(FrmClientTest, PositionsStopAt32767) {
  NewLan({"PC1"}, {"PC7"});
  Call("PC1", [](Node& node) {
    FrmClient& client = node.frmClient();
    for (int i = 1; i < 32767; ++i) client.AddSocket();
    EXPECT_EQ(client.AddSocket(), 32767);
    EXPECT_EQ(client.AddSocket(), 32768);
    EXPECT_FALSE(client.tcpClient().Exists(32768));
    EXPECT_EQ(client.tcpClient().UBound(), 32767);
  });
  // A new host gets a number with no socket behind it: the attempt is announced, then the
  // send ends without a warning, and every later send ends silently.
  EXPECT_EQ(SendEx("PC1", "PC7"), Lines{Attempt("PC7", 1230, 32769)});
  EXPECT_EQ(Record("PC1", "PC7")->GetSocketIndex(), 32769);
  Run(kBroadcastPeriod);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(SendEx("PC1", "PC7").empty()) << i;
}

}  // namespace
}  // namespace launchagent::testing
