// The TCP client against real agents and unreachable hosts of a simulated LAN.
#include "transport/frm_client.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "transport_lan.h"

namespace launchagent::testing {
namespace {

using Lines = std::vector<std::string>;

TEST(FrmClient, FirstSendToANewHostLogsTheAttemptThenTheWarningAndSendsNothing) {
  // Whether an agent listens there or not, a connection is never ready at once.
  for (const bool bAgentOnPC7 : {false, true}) {
    AgentOnSim lan;
    lan.AddHost("PC1");
    lan.AddHost("PC7");
    ASSERT_NE(lan.StartAgent("PC1"), 0);
    if (bAgentOnPC7) {
      ASSERT_NE(lan.StartAgent("PC7"), 0);
    }

    EXPECT_EQ(SendEx(lan, "PC1", "PC7"),
              (Lines{"Trying to connect to PC7 via port  1230 and Socket  1",
                     "WARNING: No connection to host PC7"}))
        << "agent on PC7: " << bAgentOnPC7;
    const RecordState record = RecordOf(lan, "PC1", "PC7");
    EXPECT_TRUE(record.bFound);
    EXPECT_EQ(record.nPort, 1230);
    EXPECT_EQ(record.lngSocket, 1);
    EXPECT_EQ(record.nTrials, 0);
    lan.Call("PC1", [](Agent& agent) {
      EXPECT_EQ(agent.frmClient().tcpClient().Tag(1), std::optional<std::string>("1"));
    });
    lan.RunFor(sim::Seconds(5));
    EXPECT_TRUE(LinesStartingWith(lan.LogLines("PC7"), "HostInfoFrom=").empty());
  }
}

// A host whose agent never answers: nothing listens, or the packets are lost on the way.
struct Silence {
  const char* sCase;
  std::function<void(AgentOnSim&)> setup;
};

TEST(FrmClient, AnUnansweredHostGetsANewAttemptEveryThirdSendOnTheNextPort) {
  const Silence cases[] = {
      {"nothing listens", [](AgentOnSim&) {}},
      {"partitioned",
       [](AgentOnSim& lan) {
         lan.World().Partition(lan.Host("PC1"), lan.Host("PC9"), 0);
         lan.World().Partition(lan.Host("PC9"), lan.Host("PC1"), 0);
       }},
      {"agent on the wrong side of a one-way partition",
       [](AgentOnSim& lan) {
         lan.StartAgent("PC9");
         lan.World().Partition(lan.Host("PC1"), lan.Host("PC9"), 0);
       }},
  };
  // Broadcast number -> port of the attempt it starts (0: only the warning).
  const int attempts[] = {1230, 0, 0,    1231, 0, 0,    1232, 0, 0,    1233,
                          0,    0, 1234, 0,    0, 1235, 0,    0, 1230, 0};
  for (const Silence& c : cases) {
    AgentOnSim lan;
    lan.AddHost("PC1");
    lan.AddHost("PC9");
    ASSERT_NE(lan.StartAgent("PC1"), 0);
    c.setup(lan);
    int nBroadcast = 0;
    for (const int nPort : attempts) {
      ++nBroadcast;
      Lines expected;
      if (nPort != 0) expected.push_back(Attempt("PC9", nPort, 1));
      expected.push_back(Warning("PC9"));
      EXPECT_EQ(SendEx(lan, "PC1", "PC9"), expected) << c.sCase << ", broadcast " << nBroadcast;
      const RecordState record = RecordOf(lan, "PC1", "PC9");
      EXPECT_EQ(record.nTrials, (nBroadcast - 1) % 3) << c.sCase << ", broadcast " << nBroadcast;
      EXPECT_EQ(record.lngSocket, 1);
      lan.RunFor(kBroadcastPeriod);
    }
  }
}

TEST(FrmClient, AConnectedHostReceivesEveryLaterSend) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);

  EXPECT_EQ(SendEx(lan, "PCA", "PCB"), (Lines{Attempt("PCB", 1230, 1), Warning("PCB")}));
  lan.RunFor(sim::Seconds(1));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(SendEx(lan, "PCA", "PCB"), Lines{Connected("PCB")}) << i;
    lan.RunFor(sim::Seconds(1));
  }
  EXPECT_EQ(LinesStartingWith(lan.LogLines("PCB"), "HostInfoFrom="),
            (Lines(3, "HostInfoFrom=PCA")));
  EXPECT_TRUE(RecordOf(lan, "PCB", "PCA").bFound);
  EXPECT_EQ(RecordOf(lan, "PCA", "PCB").nTrials, 0);
}

TEST(FrmClient, TheAddressIsWhereTheConnectionGoesWhileTheLogNamesTheHost) {
  AgentOnSim lan;
  lan.AddHost("PC1", "10.0.0.1");
  lan.AddHost("PC7", "10.0.0.8");
  lan.AddHost("OTHER", "10.0.0.7");
  ASSERT_NE(lan.StartAgent("PC1"), 0);
  ASSERT_NE(lan.StartAgent("PC7"), 0);
  ASSERT_NE(lan.StartAgent("OTHER"), 0);

  EXPECT_EQ(SendEx(lan, "PC1", "PC7", "10.0.0.7"),
            (Lines{Attempt("PC7", 1230, 1), Warning("PC7")}));
  lan.RunFor(sim::Seconds(1));
  EXPECT_EQ(SendEx(lan, "PC1", "PC7", "10.0.0.7"), Lines{Connected("PC7")});
  lan.RunFor(sim::Seconds(1));
  EXPECT_EQ(LinesStartingWith(lan.LogLines("OTHER"), "HostInfoFrom="), Lines{"HostInfoFrom=PC1"});
  EXPECT_TRUE(LinesStartingWith(lan.LogLines("PC7"), "HostInfoFrom=").empty());
}

TEST(FrmClient, APeerThatClosesGetsTwoWarningsThenANewAttemptAndComesBackOn1230) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));
  ASSERT_EQ(SendEx(lan, "PCA", "PCB"), Lines{Connected("PCB")});

  ASSERT_TRUE(lan.Kill("PCB"));
  lan.RunFor(sim::Seconds(1));
  ASSERT_NE(lan.StartAgent("PCB"), 0);  // listens on 1230 only
  lan.RunFor(sim::Seconds(1));

  // Send number after the close -> attempt port (0: only the warning); the agent answers
  // again once the cycle is back on 1230.
  const int attempts[] = {0, 0, 1231, 0, 0, 1232, 0, 0, 1233, 0, 0, 1234, 0, 0, 1235, 0, 0, 1230};
  int nSend = 0;
  for (const int nPort : attempts) {
    ++nSend;
    Lines expected;
    if (nPort != 0) expected.push_back(Attempt("PCB", nPort, 1));
    expected.push_back(Warning("PCB"));
    EXPECT_EQ(SendEx(lan, "PCA", "PCB"), expected) << "send " << nSend;
    lan.RunFor(kBroadcastPeriod);
  }
  const std::size_t nMark = lan.LogMark("PCB");
  EXPECT_EQ(SendEx(lan, "PCA", "PCB"), Lines{Connected("PCB")});
  lan.RunFor(sim::Seconds(1));
  EXPECT_EQ(LinesStartingWith(lan.LogLinesSince("PCB", nMark), "HostInfoFrom="),
            Lines{"HostInfoFrom=PCA"});
}

TEST(FrmClient, WithServicesInactiveNothingIsConnectedSentOrLogged) {
  AgentOnSim lan;
  lan.AddHost("PC1");
  lan.AddHost("PC7");
  ASSERT_NE(lan.StartAgent("PC1"), 0);
  ASSERT_NE(lan.StartAgent("PC7"), 0);
  const std::size_t nMark = lan.LogMark("PC1");
  lan.Call("PC1", [](Agent& agent) {
    agent.bActiveAgentServices = false;
    const Bytes image = HostInfoImage(agent, "PC1");
    agent.frmClient().SendMessageEx("PC7", "", image);
    Integer nPort = 0;
    agent.frmClient().SendMessage("PC7", "", nPort, image, true);
    EXPECT_EQ(nPort, 0);
    EXPECT_EQ(agent.agentHostInfo().GetAgentCount(), 0);
    EXPECT_EQ(agent.frmClient().tcpClient().UBound(), 0);
  });
  lan.RunFor(sim::Seconds(5));
  EXPECT_TRUE(lan.LogLinesSince("PC1", nMark).empty());
  EXPECT_TRUE(LinesStartingWith(lan.LogLines("PC7"), "HostInfoFrom=").empty());
}

TEST(FrmClient, AStoredPortOutsideTheAgentRangeIsTriedAs1230AndStored) {
  const struct {
    Integer nStored, nTried;
  } cases[] = {{0, 1230}, {2000, 1230}, {1236, 1230}, {1229, 1230}, {1233, 1233}, {1235, 1235}};
  for (const auto& c : cases) {
    AgentOnSim lan;
    lan.AddHost("PC1");
    lan.AddHost("PC7");
    ASSERT_NE(lan.StartAgent("PC1"), 0);
    lan.Call("PC1", [&](Agent& agent) {
      auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
      objMsg->SetHostName("PC7");
      agent.agentHostInfo().RegisterAgent(objMsg);
      agent.agentHostInfo().SetAgentPort("PC7", c.nStored);
    });
    EXPECT_EQ(SendEx(lan, "PC1", "PC7"), (Lines{Attempt("PC7", c.nTried, 1), Warning("PC7")}))
        << c.nStored;
    EXPECT_EQ(RecordOf(lan, "PC1", "PC7").nPort, c.nTried) << c.nStored;
  }
}

TEST(FrmClient, EachNewHostGetsTheNextSocketPosition) {
  AgentOnSim lan;
  lan.AddHost("PC1");
  for (const char* sHost : {"PC2", "PC3", "PC4"}) lan.AddHost(sHost);
  ASSERT_NE(lan.StartAgent("PC1"), 0);
  int nSocket = 0;
  for (const char* sHost : {"PC4", "PC2", "PC3"}) {
    ++nSocket;
    EXPECT_EQ(SendEx(lan, "PC1", sHost), (Lines{Attempt(sHost, 1230, nSocket), Warning(sHost)}));
  }
  // Tags carry the registry positions at the time each socket was handed out.
  lan.Call("PC1", [](Agent& agent) {
    platform::SocketArray& sockets = agent.frmClient().tcpClient();
    EXPECT_EQ(sockets.Tag(1), std::optional<std::string>("1"));
    EXPECT_EQ(sockets.Tag(2), std::optional<std::string>("1"));
    EXPECT_EQ(sockets.Tag(3), std::optional<std::string>("2"));
  });
}

struct SendMessageCase {
  const char* sCase;
  bool bUseAgentPort;
  Integer nPortIn;
  // Port of the attempt of each send (0: none) and the port handed back.
  std::vector<int> attempts;
  Integer nPortOut;
  Integer nStoredPort;
};

TEST(FrmClient, SendMessageUsesTheCallersPortUnlessAskedForTheAgentPort) {
  const SendMessageCase cases[] = {
      {"default port", false, 0, {1230, 0, 0, 1230, 0, 0, 1230}, 1230, 0},
      {"own port", false, 1232, {1232, 0, 0, 1232, 0, 0, 1232}, 1232, 0},
      {"agent port", true, 5, {1230, 0, 0, 1231, 0, 0, 1232}, 1232, 1232},
  };
  for (const SendMessageCase& c : cases) {
    AgentOnSim lan;
    lan.AddHost("PC1");
    lan.AddHost("PC9");
    ASSERT_NE(lan.StartAgent("PC1"), 0);
    lan.Call("PC1", [](Agent& agent) {
      auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
      objMsg->SetHostName("PC9");
      agent.agentHostInfo().RegisterAgent(objMsg);
    });
    Integer nPort = c.nPortIn;
    int nSend = 0;
    for (const int nAttempt : c.attempts) {
      ++nSend;
      const std::size_t nMark = lan.LogMark("PC1");
      lan.Call("PC1", [&](Agent& agent) {
        agent.frmClient().SendMessage("PC9", "", nPort, HostInfoImage(agent, "PC1"),
                                      c.bUseAgentPort);
      });
      Lines expected;
      if (nAttempt != 0) expected.push_back(Attempt("PC9", nAttempt, 1));
      expected.push_back("WARNING: No connection to host PC9 via port  " + std::to_string(nPort) +
                         " and Socket  1");
      EXPECT_EQ(lan.LogLinesSince("PC1", nMark), expected) << c.sCase << ", send " << nSend;
      EXPECT_EQ(RecordOf(lan, "PC1", "PC9").nTrials, (nSend - 1) % 3) << c.sCase;
      lan.RunFor(kBroadcastPeriod);
    }
    EXPECT_EQ(nPort, c.nPortOut) << c.sCase;
    // Without the agent port the record's port is never written.
    EXPECT_EQ(RecordOf(lan, "PC1", "PC9").nPort, c.nStoredPort) << c.sCase;
  }
}

TEST(FrmClient, SendMessageWithoutTheAgentPortNeverRegistersTheHost) {
  // Nothing keeps the socket of an unknown host, so each send starts on a new one.
  AgentOnSim lan;
  lan.AddHost("PC1");
  lan.AddHost("PC9");
  ASSERT_NE(lan.StartAgent("PC1"), 0);
  Integer nPort = 0;
  for (int nSocket = 1; nSocket <= 3; ++nSocket) {
    const std::size_t nMark = lan.LogMark("PC1");
    lan.Call("PC1", [&](Agent& agent) {
      agent.frmClient().SendMessage("PC9", "", nPort, HostInfoImage(agent, "PC1"), false);
    });
    EXPECT_EQ(lan.LogLinesSince("PC1", nMark),
              (Lines{Attempt("PC9", 1230, nSocket),
                     "WARNING: No connection to host PC9 via port  1230 and Socket  " +
                         std::to_string(nSocket)}));
    lan.RunFor(kBroadcastPeriod);
  }
  EXPECT_FALSE(RecordOf(lan, "PC1", "PC9").bFound);
}

TEST(FrmClient, SendMessageWritesNoLineWhenItSends) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  Integer nPort = 0;
  auto Send = [&] {
    const std::size_t nMark = lan.LogMark("PCA");
    lan.Call("PCA", [&](Agent& agent) {
      agent.frmClient().SendMessage("PCB", "", nPort, HostInfoImage(agent, "PCA"), true);
    });
    return lan.LogLinesSince("PCA", nMark);
  };
  EXPECT_EQ(Send(), (Lines{Attempt("PCB", 1230, 1),
                           "WARNING: No connection to host PCB via port  1230 and Socket  1"}));
  lan.RunFor(sim::Seconds(1));
  EXPECT_TRUE(Send().empty());
  lan.RunFor(sim::Seconds(1));
  EXPECT_EQ(LinesStartingWith(lan.LogLines("PCB"), "HostInfoFrom="), Lines{"HostInfoFrom=PCA"});
}

TEST(FrmClient, SendsToAPositionTheTableCannotHoldEndSilently) {
  AgentOnSim lan;
  lan.AddHost("PC1");
  lan.AddHost("FAR");
  ASSERT_NE(lan.StartAgent("PC1"), 0);
  const std::size_t nMark = lan.LogMark("PC1");
  lan.Call("PC1", [](Agent& agent) {
    auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
    objMsg->SetHostName("FAR");
    agent.agentHostInfo().RegisterAgent(objMsg);
    agent.agentHostInfo().SetAgentSocketIndex("FAR", 40000);
    for (int i = 0; i < 4; ++i)
      agent.frmClient().SendMessageEx("FAR", "", HostInfoImage(agent, "PC1"));
    EXPECT_EQ(agent.frmClient().tcpClient().UBound(), 0);
  });
  EXPECT_TRUE(lan.LogLinesSince("PC1", nMark).empty());
}

TEST(FrmClient, PositionsStopAt32767) {
  AgentOnSim lan;
  lan.AddHost("PC1");
  lan.AddHost("PC7");
  ASSERT_NE(lan.StartAgent("PC1"), 0);
  lan.Call("PC1", [](Agent& agent) {
    FrmClient& client = agent.frmClient();
    Long lngLast = 0;
    for (int i = 1; i <= 32767; ++i) lngLast = client.AddSocket();
    EXPECT_EQ(lngLast, 32767);
    EXPECT_TRUE(client.tcpClient().Exists(32767));
    EXPECT_EQ(client.AddSocket(), 32768);
    EXPECT_FALSE(client.tcpClient().Exists(32768));
    EXPECT_EQ(client.tcpClient().UBound(), 32767);
  });
  // A new host gets a number with no socket behind it: the attempt is announced, then the
  // send ends without a warning, and every later send ends silently.
  EXPECT_EQ(SendEx(lan, "PC1", "PC7"),
            Lines{"Trying to connect to PC7 via port  1230 and Socket  32769"});
  EXPECT_EQ(RecordOf(lan, "PC1", "PC7").lngSocket, 32769);
  lan.RunFor(kBroadcastPeriod);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(SendEx(lan, "PC1", "PC7").empty()) << i;
}

TEST(FrmClient, IsSocketDisconnectedOnlyForExistingPositionsNotConnected) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  SendEx(lan, "PCA", "PCB");     // socket 1 connects to the agent
  SendEx(lan, "PCA", "NOBODY");  // socket 2 fails
  lan.RunFor(sim::Seconds(5));
  lan.Call("PCA", [](Agent& agent) {
    FrmClient& client = agent.frmClient();
    const Long lngFresh = client.AddSocket();  // socket 3, closed
    const struct {
      Long lngIndex;
      bool bExpected;
    } cases[] = {{0, false}, {-1, false}, {500, false},    {40000, false},
                 {1, false}, {2, true},   {lngFresh, true}};
    for (const auto& c : cases)
      EXPECT_EQ(client.IsSocketDisconnected(c.lngIndex), c.bExpected) << c.lngIndex;
    EXPECT_EQ(client.tcpClient().State(1), std::optional<Integer>(platform::kSckConnected));
    EXPECT_EQ(client.tcpClient().State(2), std::optional<Integer>(platform::kSckError));
  });
}

TEST(FrmClient, ConnectSocketClosesAFailedSocketFirstAndIgnoresABusyOne) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  lan.Call("PCA", [](Agent& agent) {
    FrmClient& client = agent.frmClient();
    ASSERT_EQ(client.AddSocket(), 1);
    client.ConnectSocket(1, "NOBODY", 1230);
  });
  lan.RunFor(sim::Seconds(5));
  lan.Call("PCA", [](Agent& agent) {
    FrmClient& client = agent.frmClient();
    ASSERT_EQ(client.tcpClient().State(1), std::optional<Integer>(platform::kSckError));
    client.ConnectSocket(1, "PCB", 1230);     // the error is closed away before connecting
    client.ConnectSocket(1, "NOBODY", 1231);  // busy connecting: no effect
  });
  lan.RunFor(sim::Seconds(5));
  lan.Call("PCA", [](Agent& agent) {
    EXPECT_EQ(agent.frmClient().tcpClient().State(1),
              std::optional<Integer>(platform::kSckConnected));
    agent.frmClient().CloseSocket(1);
    EXPECT_EQ(agent.frmClient().tcpClient().State(1), std::optional<Integer>(platform::kSckClosed));
    // Positions that do not exist are skipped.
    agent.frmClient().CloseSocket(9);
    agent.frmClient().ConnectSocket(9, "PCB", 1230);
    agent.frmClient().SetAgentIndex(9, 3);
    EXPECT_FALSE(agent.frmClient().tcpClient().Exists(9));
  });
}

TEST(FrmClient, BytesArrivingOnAnOutgoingConnectionGoToTheReceiver) {
  for (const bool bActive : {true, false}) {
    AgentOnSim lan;
    lan.AddHost("PCA");
    lan.AddHost("PCB");
    ASSERT_NE(lan.StartAgent("PCA"), 0);
    ASSERT_NE(lan.StartAgent("PCB"), 0);
    SendEx(lan, "PCA", "PCB");
    lan.RunFor(sim::Seconds(1));
    lan.Call("PCA", [&](Agent& agent) { agent.bActiveAgentServices = bActive; });
    // The server side answers on its accepted connection, position 1.
    lan.Call("PCB", [](Agent& agent) {
      agent.frmServer().SendOutMessage(1, HostInfoImage(agent, "PCB"));
    });
    lan.RunFor(sim::Seconds(1));
    EXPECT_EQ(LinesStartingWith(lan.LogLines("PCA"), "HostInfoFrom=").size(), bActive ? 1u : 0u)
        << "active " << bActive;
  }
}

TEST(FrmClient, BytesWaitingOnAClosedConnectionAreNotRead) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));
  lan.Call("PCA", [](Agent& agent) { agent.bActiveAgentServices = false; });
  lan.Call("PCB",
           [](Agent& agent) { agent.frmServer().SendOutMessage(1, HostInfoImage(agent, "PCB")); });
  lan.RunFor(sim::Seconds(1));
  ASSERT_TRUE(lan.Kill("PCB"));
  lan.RunFor(sim::Seconds(1));
  lan.Call("PCA", [](Agent& agent) {
    agent.bActiveAgentServices = true;
    platform::SocketArray& sockets = agent.frmClient().tcpClient();
    ASSERT_EQ(sockets.State(1), std::optional<Integer>(platform::kSckClosing));
    sockets.OnDataArrival(1, 1);
  });
  EXPECT_TRUE(LinesStartingWith(lan.LogLines("PCA"), "HostInfoFrom=").empty());
}

TEST(FrmClient, UnloadingClosesEveryConnection) {
  AgentOnSim lan;
  lan.AddHost("PCA");
  lan.AddHost("PCB");
  ASSERT_NE(lan.StartAgent("PCA"), 0);
  ASSERT_NE(lan.StartAgent("PCB"), 0);
  SendEx(lan, "PCA", "PCB");
  lan.RunFor(sim::Seconds(1));
  lan.Call("PCB", [](Agent& agent) {
    EXPECT_EQ(agent.frmServer().tcpServer().State(1),
              std::optional<Integer>(platform::kSckConnected));
  });
  lan.Call("PCA", [](Agent& agent) { agent.UnloadTransport(); });
  lan.RunFor(sim::Seconds(1));
  lan.Call("PCB", [](Agent& agent) {
    EXPECT_EQ(agent.frmServer().tcpServer().State(1),
              std::optional<Integer>(platform::kSckClosing));
  });
}

}  // namespace
}  // namespace launchagent::testing
