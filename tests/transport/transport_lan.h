#pragma once
// The fixture of the transport tests: a fresh LAN of simulated desktops per case, one-line
// sends of host information, and per host the lines logged and the host information that
// arrived.
#include <optional>

#include "../support/sim_desktops.h"
#include "registry/cls_agent_info.h"

namespace launchagent::testing {

// About the period of the agents' broadcasts.
constexpr sim::Nanos kBroadcastPeriod = sim::Seconds(31);

inline std::string Attempt(const std::string& sHost, int nPort, int nSocket) {
  return "Trying to connect to " + sHost + " via port  " + std::to_string(nPort) + " and Socket  " +
         std::to_string(nSocket);
}
inline std::string Warning(const std::string& sHost) {
  return "WARNING: No connection to host " + sHost;
}
inline std::string Connected(const std::string& sHost) { return "Connected to host " + sHost; }

// The host information image a host sends about itself.
inline Bytes HostInfoImage(Agent& agent, const std::string& sHostName) {
  auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
  objMsg->SetHostName(sHostName);
  return objMsg->GetObjectData();
}

class TransportTest : public ::testing::Test {
 protected:
  // A new LAN: an agent on each host of agents, none on the others.
  void NewLan(const Lines& agents, const Lines& others = {}) {
    lan_.reset();
    lan_.emplace();
    for (const std::string& s : agents) lan_->AddDesktop(s);
    for (const std::string& s : others) lan_->AddDesktop(s);
    for (const std::string& s : agents) ASSERT_NE(lan_->Start(s), 0) << s;
  }
  // PCA's first send to PCB, and the second that it takes for the connection to stand.
  void ConnectedPair() {
    NewLan({"PCA", "PCB"});
    SendEx("PCA", "PCB");
    Run();
  }
  void Run(sim::Nanos d = sim::Seconds(1)) { lan_->world.RunFor(d); }
  Lines Call(const std::string& sHost, const std::function<void(Agent&)>& fn) {
    return lan_->Call(sHost, fn);
  }
  void Services(const std::string& sHost, bool bOn) {
    Call(sHost, [=](Agent& agent) { agent.bActiveAgentServices = bOn; });
  }
  // A caller (not the transport) reads what waits on position 1 of sHost's client or server.
  void ReadWaiting(const std::string& sHost, bool bServer) {
    Call(sHost, [=](Agent& agent) {
      platform::SocketArray& sockets =
          bServer ? agent.frmServer().tcpServer() : agent.frmClient().tcpClient();
      ASSERT_EQ(sockets.State(1), platform::kSckClosing);
      sockets.OnDataArrival(1, 1);
    });
  }
  // One SendMessageEx from sFrom to sTo with sFrom's image; the log lines it wrote.
  Lines SendEx(const std::string& sFrom, const std::string& sTo, const std::string& sAddress = "") {
    return Call(sFrom, [&](Agent& agent) {
      agent.frmClient().SendMessageEx(sTo, sAddress, HostInfoImage(agent, sFrom));
    });
  }
  // The host information that reached sHost.
  Lines HostInfoLines(const std::string& sHost) {
    Lines out;
    for (const std::string& s : lan_->LogLines(sHost))
      if (s.rfind("HostInfoFrom=", 0) == 0) out.push_back(s);
    return out;
  }
  // sHost's record in the registry of sOn; null when it has none.
  std::shared_ptr<clsAgentInfo> Record(const std::string& sOn, const std::string& sHost) {
    std::shared_ptr<clsAgentInfo> objRecord;
    Call(sOn, [&](Agent& agent) {
      objRecord = agent.agentHostInfo().GetAgentRecord(agent.agentHostInfo().FindAgentIndex(sHost));
    });
    return objRecord;
  }
  static void Register(Agent& agent, const std::string& sHost) {
    auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
    objMsg->SetHostName(sHost);
    agent.agentHostInfo().RegisterAgent(objMsg);
  }

  std::optional<SimDesktops> lan_;
};

}  // namespace launchagent::testing
