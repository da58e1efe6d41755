// The TCP server against real agents and raw peers of a simulated LAN.
#include "transport/frm_server.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "transport_lan.h"

namespace launchagent::testing {
namespace {

using Lines = std::vector<std::string>;

Lines HostInfoLines(AgentOnSim& lan, const std::string& sHost, std::size_t nMark = 0) {
  return LinesStartingWith(lan.LogLinesSince(sHost, nMark), "HostInfoFrom=");
}

// A host information image made by the agent of sMaker.
Bytes ImageFrom(AgentOnSim& lan, const std::string& sMaker, const std::string& sHostName) {
  Bytes image;
  lan.Call(sMaker, [&](Agent& agent) { image = HostInfoImage(agent, sHostName); });
  return image;
}

TEST(FrmServer, ListensOnTheDefaultAgentPort) {
  AgentOnSim lan;
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  lan.Call("PCB", [](Agent& agent) {
    platform::SocketArray& sockets = agent.frmServer().tcpServer();
    EXPECT_EQ(sockets.State(0), std::optional<Integer>(platform::kSckListening));
    EXPECT_EQ(sockets.UBound(), 0);
    EXPECT_EQ(agent.frmServer().AcceptedCount(), 0);
  });
}

TEST(FrmServer, AnImageFromAPeerThatStaysConnectedReachesTheReceiver) {
  AgentOnSim lan;
  lan.AddHost("PCB");
  lan.AddHost("RAW");
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  lan.World().RawSend(lan.Host("RAW"), "PCB", 1230, ImageFrom(lan, "PCB", "RAW"), false);
  lan.RunFor(sim::Seconds(1));
  EXPECT_EQ(HostInfoLines(lan, "PCB"), Lines{"HostInfoFrom=RAW"});
  lan.Call("PCB", [](Agent& agent) {
    EXPECT_EQ(agent.frmServer().AcceptedCount(), 1);
    EXPECT_EQ(agent.frmServer().tcpServer().State(1),
              std::optional<Integer>(platform::kSckConnected));
    EXPECT_EQ(agent.agentHostInfo().FindAgentIndex("RAW"), 1);
  });
}

TEST(FrmServer, EachConnectionGetsANewPositionAndOldOnesStay) {
  AgentOnSim lan;
  lan.AddHost("PCB");
  lan.AddHost("RAW");
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  const Bytes image = ImageFrom(lan, "PCB", "RAW");
  for (int nConnection = 1; nConnection <= 3; ++nConnection) {
    lan.World().RawSend(lan.Host("RAW"), "PCB", 1230, image, true);
    lan.RunFor(sim::Seconds(1));
    lan.Call("PCB", [&](Agent& agent) {
      platform::SocketArray& sockets = agent.frmServer().tcpServer();
      EXPECT_EQ(agent.frmServer().AcceptedCount(), nConnection);
      EXPECT_EQ(sockets.UBound(), nConnection);
      for (int i = 1; i <= nConnection; ++i) {
        // The peer has gone; the position is kept, in the closing state.
        EXPECT_EQ(sockets.State(i), std::optional<Integer>(platform::kSckClosing)) << i;
      }
    });
  }
}

TEST(FrmServer, AnAgentThatReconnectsGetsPositionTwo) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));
  ASSERT_TRUE(lan.Kill("PCA"));
  lan.RunFor(sim::Seconds(1));
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));
  EXPECT_EQ(SendEx(lan, "PCA", "PCB"), Lines{Connected("PCB")});
  lan.RunFor(sim::Seconds(1));
  lan.Call("PCB", [](Agent& agent) {
    platform::SocketArray& sockets = agent.frmServer().tcpServer();
    EXPECT_EQ(agent.frmServer().AcceptedCount(), 2);
    EXPECT_EQ(sockets.State(1), std::optional<Integer>(platform::kSckClosing));
    EXPECT_EQ(sockets.State(2), std::optional<Integer>(platform::kSckConnected));
  });
  EXPECT_EQ(HostInfoLines(lan, "PCB"), Lines{"HostInfoFrom=PCA"});
}

TEST(FrmServer, WhatArrivesTogetherIsOneImage) {
  // How the LAN delivers the sends -> host information lines at the receiver.
  const struct {
    const char* sCase;
    int nDelivery;  // 0 one at a time, 1 the two merged, 2 one split in two
    std::size_t nLines;
  } cases[] = {{"one at a time", 0, 2}, {"merged", 1, 0}, {"split", 2, 0}};
  for (const auto& c : cases) {
    AgentOnSim lan;
    lan.AddHost("PCA");
    lan.AddHost("PCB");
    ASSERT_NE(lan.StartAgent("PCA"), 0);
    ASSERT_NE(lan.StartAgent("PCB"), 0);
    SendEx(lan, "PCA", "PCB");
    lan.RunFor(sim::Seconds(1));
    const sim::HostId a = lan.Host("PCA"), b = lan.Host("PCB");
    switch (c.nDelivery) {
      case 0:
        SendEx(lan, "PCA", "PCB");
        lan.RunFor(sim::Seconds(1));
        SendEx(lan, "PCA", "PCB");
        break;
      case 1:
        lan.World().MergeNextSends(a, b);
        lan.Call("PCA", [](Agent& agent) {
          const Bytes image = HostInfoImage(agent, "PCA");
          agent.frmClient().SendMessageEx("PCB", "", image);
          agent.frmClient().SendMessageEx("PCB", "", image);
        });
        break;
      case 2:
        lan.World().SplitNextSend(a, b);
        SendEx(lan, "PCA", "PCB");
        break;
    }
    lan.RunFor(sim::Seconds(1));
    EXPECT_EQ(HostInfoLines(lan, "PCB").size(), c.nLines) << c.sCase;
  }
}

TEST(FrmServer, WithServicesInactiveArrivalsStayUnread) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));

  lan.Call("PCB", [](Agent& agent) { agent.bActiveAgentServices = false; });
  const std::size_t nMark = lan.LogMark("PCB");
  EXPECT_EQ(SendEx(lan, "PCA", "PCB"), Lines{Connected("PCB")});
  lan.RunFor(sim::Seconds(1));
  EXPECT_TRUE(lan.LogLinesSince("PCB", nMark).empty());
  lan.Call("PCB", [](Agent& agent) { EXPECT_EQ(agent.agentHostInfo().GetAgentCount(), 0); });

  // Back on: the waiting bytes come with the next image, and the two read as one.
  lan.Call("PCB", [](Agent& agent) { agent.bActiveAgentServices = true; });
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));
  EXPECT_TRUE(HostInfoLines(lan, "PCB", nMark).empty());
  // With nothing left waiting, the next image is whole again.
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));
  EXPECT_EQ(HostInfoLines(lan, "PCB", nMark), Lines{"HostInfoFrom=PCA"});
}

TEST(FrmServer, BytesWaitingOnAClosedConnectionAreNotRead) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));
  // The image waits unread while services are off; then its sender goes away.
  lan.Call("PCB", [](Agent& agent) { agent.bActiveAgentServices = false; });
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));
  ASSERT_TRUE(lan.Kill("PCA"));
  lan.RunFor(sim::Seconds(1));
  lan.Call("PCB", [](Agent& agent) {
    agent.bActiveAgentServices = true;
    platform::SocketArray& sockets = agent.frmServer().tcpServer();
    ASSERT_EQ(sockets.State(1), std::optional<Integer>(platform::kSckClosing));
    sockets.OnDataArrival(1, 1);
  });
  EXPECT_TRUE(HostInfoLines(lan, "PCB").empty());
}

TEST(FrmServer, SendOutMessageSendsOnlyOnAConnectedSocketWithServicesActive) {
  const struct {
    const char* sCase;
    bool bActive;
    Integer nIndex;
    std::size_t nLines;
  } cases[] = {{"connected", true, 1, 1},
               {"inactive", false, 1, 0},
               {"listener", true, 0, 0},
               {"no such position", true, 7, 0},
               {"negative position", true, -3, 0}};
  for (const auto& c : cases) {
    AgentOnSim lan;
    lan.AddHost("PCA");
    lan.AddHost("PCB");
    ASSERT_NE(lan.StartAgent("PCA"), 0);
    ASSERT_NE(lan.StartAgent("PCB"), 0);
    SendEx(lan, "PCA", "PCB");
    lan.RunFor(sim::Seconds(1));
    lan.Call("PCB", [&](Agent& agent) {
      agent.bActiveAgentServices = c.bActive;
      agent.frmServer().SendOutMessage(c.nIndex, HostInfoImage(agent, "PCB"));
    });
    lan.RunFor(sim::Seconds(1));
    EXPECT_EQ(HostInfoLines(lan, "PCA").size(), c.nLines) << c.sCase;
  }
}

TEST(FrmServer, ARequestAtAnyOtherPositionIsIgnored) {
  AgentOnSim lan;
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  lan.Call("PCB", [](Agent& agent) {
    platform::SocketArray& sockets = agent.frmServer().tcpServer();
    for (const Long lngIndex : {1, 5, -1, 40000}) sockets.OnConnectionRequest(lngIndex, 1);
    EXPECT_EQ(agent.frmServer().AcceptedCount(), 0);
    EXPECT_EQ(sockets.UBound(), 0);
    // Arrivals for positions that do not exist read nothing.
    for (const Long lngIndex : {3, -2, 70000}) sockets.OnDataArrival(lngIndex, 10);
  });
  EXPECT_TRUE(HostInfoLines(lan, "PCB").empty());
}

TEST(FrmServer, PositionsStopAt32767) {
  AgentOnSim lan;
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  lan.Call("PCB", [](Agent& agent) {
    platform::SocketArray& sockets = agent.frmServer().tcpServer();
    // Requests nobody made: each takes a position, and the accept itself fails.
    for (Long i = 1; i <= 32767; ++i) sockets.OnConnectionRequest(0, i);
    EXPECT_EQ(sockets.UBound(), 32767);
    sockets.OnConnectionRequest(0, 40000);
    EXPECT_EQ(agent.frmServer().AcceptedCount(), 32768);
    EXPECT_EQ(sockets.UBound(), 32767);
  });
}

TEST(FrmServer, JunkFromThePeerIsDroppedWithoutALine) {
  const Bytes cases[] = {
      {},
      {0x00},
      {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff},
      Bytes(5000, 0x41),
      {'M', 's', 'g', 'T', 'y', 'p', 'e', '=', '4'},
  };
  AgentOnSim lan;
  lan.AddHost("PCB");
  lan.AddHost("RAW");
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  const std::size_t nMark = lan.LogMark("PCB");
  for (const Bytes& junk : cases) {
    lan.World().RawSend(lan.Host("RAW"), "PCB", 1230, junk, false);
    lan.RunFor(sim::Seconds(1));
  }
  EXPECT_TRUE(lan.LogLinesSince("PCB", nMark).empty());
  lan.Call("PCB", [](Agent& agent) { EXPECT_EQ(agent.agentHostInfo().GetAgentCount(), 0); });
}

TEST(FrmServer, UnloadingClosesTheAcceptedConnections) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));
  lan.Call("PCB", [](Agent& agent) { agent.UnloadTransport(); });
  lan.RunFor(sim::Seconds(1));
  lan.Call("PCA", [](Agent& agent) {
    EXPECT_EQ(agent.frmClient().tcpClient().State(1),
              std::optional<Integer>(platform::kSckClosing));
  });
  // The next three sends warn, then the client tries the next port.
  EXPECT_EQ(SendEx(lan, "PCA", "PCB"), Lines{Warning("PCB")});
}

}  // namespace
}  // namespace launchagent::testing
