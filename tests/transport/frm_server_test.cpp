// The TCP server between agents of a simulated LAN, where the scenarios cannot reach it:
// reads after the peer has gone, answers on accepted connections, requests on the wrong
// position. Each accepted peer on a position of its own is in every scenario with two or
// more agents; arrivals left unread while the services are off in wire-services-off.scn.
#include "transport/frm_server.h"

#include "transport_lan.h"

namespace launchagent::testing {
namespace {

using FrmServerTest = TransportTest;

TEST_F(FrmServerTest, BytesLeftWaitingAreNotReadOnceTheirSenderHasGone) {
  ConnectedPair();
  Services("PCB", false);
  SendEx("PCA", "PCB");
  Run();
  ASSERT_TRUE(lan_->Kill("PCA"));
  Run();
  Services("PCB", true);
  ReadWaiting("PCB", true);
  EXPECT_TRUE(HostInfoLines("PCB").empty());
}

TEST_F(FrmServerTest, AnswersGoOutOnAConnectedSocketAndAreReadWhileServicesAreActive) {
  const struct {
    const char* sCase;
    bool bSenderActive, bReceiverActive;
    Integer nIndex;
    std::size_t nLines;
  } cases[] = {{"connected", true, true, 1, 1},
               {"sender inactive", false, true, 1, 0},
               {"listener", true, true, 0, 0},
               {"no such position", true, true, 7, 0},
               {"negative position", true, true, -3, 0},
               {"receiver inactive", true, false, 1, 0}};  // last: its bytes stay waiting
  for (const auto& c : cases) {
    ConnectedPair();
    Services("PCA", c.bReceiverActive);
    Services("PCB", c.bSenderActive);
    Call("PCB", [&](Node& node) {
      node.frmServer().SendOutMessage(c.nIndex, HostInfoImage(node, "PCB"));
    });
    Run();
    EXPECT_EQ(HostInfoLines("PCA").size(), c.nLines) << c.sCase;
  }
  // What waits on the outgoing connection is not read once the peer has closed it.
  ASSERT_TRUE(lan_->Kill("PCB"));
  Run();
  Services("PCA", true);
  ReadWaiting("PCA", false);
  EXPECT_TRUE(HostInfoLines("PCA").empty());
}

TEST_F(FrmServerTest, OnlyTheListenerAcceptsAndPositionsStopAt32767) {
  NewLan({"PCB"});
  Call("PCB", [](Node& node) {
    platform::SocketArray& sockets = node.frmServer().tcpServer();
    for (const Long lngIndex : {1, 5, -1, 40000}) sockets.OnConnectionRequest(lngIndex, 1);
    EXPECT_EQ(node.frmServer().AcceptedCount(), 0);
    // Arrivals for positions that do not exist read nothing.
    for (const Long lngIndex : {3, -2, 70000}) sockets.OnDataArrival(lngIndex, 10);
    // Requests nobody made: each takes a position, and the accept itself fails.
    for (Long i = 1; i <= 32768; ++i) sockets.OnConnectionRequest(0, i);
    EXPECT_EQ(node.frmServer().AcceptedCount(), 32768);
    EXPECT_EQ(sockets.UBound(), 32767);
  });
  EXPECT_TRUE(HostInfoLines("PCB").empty());
}

}  // namespace
}  // namespace launchagent::testing
