#pragma once
// The fixture of the transport tests: a fresh LAN of agents per case, one-line sends and
// the log lines they leave.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"
#include "registry/cls_agent_info.h"
#include "transport/frm_client.h"
#include "transport/frm_server.h"

namespace launchagent::testing {

using Lines = std::vector<std::string>;

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

// The host information image an agent sends about itself.
inline Bytes HostInfoImage(Agent& agent, const std::string& sHostName) {
  auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
  objMsg->SetHostName(sHostName);
  return objMsg->GetObjectData();
}

class TransportTest : public ::testing::Test {
 protected:
  // A new LAN: an agent (transport only) on each host of agents, none on the others.
  void NewLan(const Lines& agents, const Lines& others = {}) {
    lan_.emplace();
    for (const std::string& s : agents) lan_->AddHost(s);
    for (const std::string& s : others) lan_->AddHost(s);
    for (const std::string& s : agents) ASSERT_NE(lan_->StartAgent(s), 0) << s;
  }
  // PCA's first send to PCB, and the second that it takes for the connection to stand.
  void ConnectedPair() {
    NewLan({"PCA", "PCB"});
    SendEx("PCA", "PCB");
    Run();
  }
  void Run(sim::Nanos d = sim::Seconds(1)) { lan_->RunFor(d); }
  void Call(const std::string& sHost, const std::function<void(Agent&)>& fn) {
    EXPECT_TRUE(lan_->Call(sHost, fn)) << sHost;
  }
  void Services(const std::string& sHost, bool bOn) {
    Call(sHost, [=](Agent& agent) { agent.bActiveAgentServices = bOn; });
  }
  // A caller (not the agent) reads what waits on position 1 of sHost's client or server.
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
    const std::size_t nMark = lan_->LogMark(sFrom);
    Call(sFrom, [&](Agent& agent) {
      agent.frmClient().SendMessageEx(sTo, sAddress, HostInfoImage(agent, sFrom));
    });
    return lan_->LogLinesSince(sFrom, nMark);
  }
  // The host information lines of sHost's log after nMark.
  Lines HostInfoLines(const std::string& sHost, std::size_t nMark = 0) {
    Lines out;
    for (const std::string& s : lan_->LogLinesSince(sHost, nMark))
      if (s.rfind("HostInfoFrom=", 0) == 0) out.push_back(s);
    return out;
  }
  // sHost's record in the registry of sOn's agent; null when it has none.
  std::shared_ptr<clsAgentInfo> Record(const std::string& sOn, const std::string& sHost) {
    std::shared_ptr<clsAgentInfo> objRecord;
    Call(sOn, [&](Agent& agent) {
      AgentHostInfo& registry = agent.agentHostInfo();
      objRecord = registry.GetAgentRecord(registry.FindAgentIndex(sHost));
    });
    return objRecord;
  }
  static void Register(Agent& agent, const std::string& sHost) {
    auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
    objMsg->SetHostName(sHost);
    agent.agentHostInfo().RegisterAgent(objMsg);
  }

  std::optional<AgentOnSim> lan_;
};

}  // namespace launchagent::testing
