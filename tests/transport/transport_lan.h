#pragma once
// The fixture of the transport tests: a fresh LAN of simulated desktops per case whose
// hosts run the transport alone (a registry, the client and the server, services on),
// one-line sends of host information, and per host the lines logged and the host
// information that arrived.
#include <memory>
#include <optional>

#include "../support/sim_desktops.h"
#include "messages/cls_msg.h"
#include "messages/cls_msg_host_info.h"
#include "messages/message_context.h"
#include "registry/agent_host_info.h"
#include "registry/cls_agent_info.h"
#include "transport/frm_client.h"
#include "transport/frm_server.h"

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

// One host's transport, wired as the agent wires it; arrivals of host information are
// logged as "HostInfoFrom=<name>", as the exchange logs them.
class Node : public MessageContext {
 public:
  explicit Node(platform::Platform& p)
      : platform_(p), registry_(p.clock, *this, Log(), [this](Long lngSocket, Long lngAgent) {
          frmClient().SetAgentIndex(lngSocket, lngAgent);
        }) {
    frmClient();
    frmServer();
  }
  double SecondsSinceMidnight() override { return platform_.clock.SecondsSinceMidnight(); }
  std::string LocalHostName() override { return platform_.sockets.HostName().value_or(""); }

  AgentHostInfo& agentHostInfo() { return registry_; }
  FrmClient& frmClient() {
    if (!client_)
      client_ = std::make_unique<FrmClient>(platform_.network, registry_, bActiveAgentServices,
                                            Log(), Receiver());
    return *client_;
  }
  FrmServer& frmServer() {
    if (!server_)
      server_ = std::make_unique<FrmServer>(platform_.network, platform_.loop, bActiveAgentServices,
                                            Receiver());
    return *server_;
  }
  void UnloadTransport() {
    server_.reset();
    client_.reset();
  }
  bool bActiveAgentServices = true;

 private:
  LogActivityFn Log() {
    return [this](const std::string& sText, Integer) { platform_.trace.ActivityLine(sText); };
  }
  MessageReceiverFn Receiver() {
    return [this](Long, const Bytes& byteArray) {
      clsMsgHostInfo objIn(*this);
      if (clsMsg(*this).GetMsgType(byteArray) != clsMsg::kMsgTypeHostInfo) return;
      objIn.SetObjectData(byteArray);
      platform_.trace.ActivityLine("HostInfoFrom=" + objIn.GetHostName());
    };
  }

  platform::Platform& platform_;
  AgentHostInfo registry_;
  std::unique_ptr<FrmClient> client_;
  std::unique_ptr<FrmServer> server_;
};

// The host information image a host sends about itself.
inline Bytes HostInfoImage(Node& node, const std::string& sHostName) {
  auto objMsg = std::make_shared<clsMsgHostInfo>(node);
  objMsg->SetHostName(sHostName);
  return objMsg->GetObjectData();
}

class TransportTest : public ::testing::Test {
 protected:
  // A new LAN: a transport on each host of agents, none on the others.
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
  Lines Call(const std::string& sHost, const std::function<void(Node&)>& fn) {
    return lan_->Call(sHost, fn);
  }
  void Services(const std::string& sHost, bool bOn) {
    Call(sHost, [=](Node& node) { node.bActiveAgentServices = bOn; });
  }
  // A caller (not the transport) reads what waits on position 1 of sHost's client or server.
  void ReadWaiting(const std::string& sHost, bool bServer) {
    Call(sHost, [=](Node& node) {
      platform::SocketArray& sockets =
          bServer ? node.frmServer().tcpServer() : node.frmClient().tcpClient();
      ASSERT_EQ(sockets.State(1), platform::kSckClosing);
      sockets.OnDataArrival(1, 1);
    });
  }
  // One SendMessageEx from sFrom to sTo with sFrom's image; the log lines it wrote.
  Lines SendEx(const std::string& sFrom, const std::string& sTo, const std::string& sAddress = "") {
    return Call(sFrom, [&](Node& node) {
      node.frmClient().SendMessageEx(sTo, sAddress, HostInfoImage(node, sFrom));
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
    Call(sOn, [&](Node& node) {
      objRecord = node.agentHostInfo().GetAgentRecord(node.agentHostInfo().FindAgentIndex(sHost));
    });
    return objRecord;
  }
  static void Register(Node& node, const std::string& sHost) {
    auto objMsg = std::make_shared<clsMsgHostInfo>(node);
    objMsg->SetHostName(sHost);
    node.agentHostInfo().RegisterAgent(objMsg);
  }

  std::optional<SimDesktops<Node>> lan_;
};

}  // namespace launchagent::testing
