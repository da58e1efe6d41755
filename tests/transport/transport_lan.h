#pragma once
// The fixture of the transport tests: a fresh simulated LAN per case whose hosts run the
// transport alone (a registry, the client and the server, services on), one-line sends,
// and per host the lines the transport logged and the host information that arrived.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "messages/cls_msg.h"
#include "messages/cls_msg_host_info.h"
#include "messages/message_context.h"
#include "platform/sim/world.h"
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

// One host's transport, wired as the agent wires it; arrivals of host information are
// logged as "HostInfoFrom=<name>", as the exchange logs them.
class Node : public MessageContext {
 public:
  Node(platform::Platform& p, std::string sName, Lines& log)
      : platform_(p),
        sName_(std::move(sName)),
        log_(log),
        registry_(p.clock, *this, Log(), [this](Long lngSocket, Long lngAgent) {
          frmClient().SetAgentIndex(lngSocket, lngAgent);
        }) {
    frmClient();
    frmServer();
  }
  double SecondsSinceMidnight() override { return platform_.clock.SecondsSinceMidnight(); }
  std::string LocalHostName() override { return sName_; }

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
    return [this](const std::string& sText, Integer) { log_.push_back(sText); };
  }
  MessageReceiverFn Receiver() {
    return [this](Long, const Bytes& byteArray) {
      clsMsgHostInfo objIn(*this);
      if (clsMsg(*this).GetMsgType(byteArray) != clsMsg::kMsgTypeHostInfo) return;
      objIn.SetObjectData(byteArray);
      log_.push_back("HostInfoFrom=" + objIn.GetHostName());
    };
  }

  platform::Platform& platform_;
  std::string sName_;
  Lines& log_;
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

// A fresh LAN per case: hosts by name, each transport on a process of its own.
class TransportTest : public ::testing::Test {
 protected:
  // A new LAN: a transport on each host of agents, none on the others.
  void NewLan(const Lines& agents, const Lines& others = {}) {
    world_.reset();  // first: its processes still find the tables below
    logs_.clear();
    hosts_.clear();
    processes_.clear();
    world_.emplace(1);
    world_->Programs().RegisterProgram("transport",
                                       [this](platform::Platform& p, const sim::ProgramStart& s) {
                                         Node node(p, s.sParameters, logs_[s.sParameters]);
                                         nodes_[s.pid] = &node;
                                         struct Leave {
                                           std::map<sim::ProcessId, Node*>& nodes;
                                           sim::ProcessId pid;
                                           ~Leave() { nodes.erase(pid); }
                                         } leave{nodes_, s.pid};
                                         p.loop.Run();
                                       });
    for (const std::string& s : agents) AddHost(s);
    for (const std::string& s : others) AddHost(s);
    for (const std::string& s : agents) ASSERT_NE(StartAgent(s), 0) << s;
  }
  void AddHost(const std::string& sName, const std::string& sAddress = "") {
    sim::HostSetup host;
    host.sWinsockName = sName;
    host.sAddress = sAddress;
    hosts_[sName] = *world_->Hosts().AddHost(host);
  }
  sim::ProcessId StartAgent(const std::string& sName) {
    const sim::ProcessId pid = world_->Programs().StartProcess(hosts_.at(sName), "transport",
                                                               "C:\\Launch\\Launch.exe", sName);
    processes_[sName] = pid;
    world_->RunFor(0);
    return pid;
  }
  bool Kill(const std::string& sName) { return world_->Programs().Kill(processes_[sName]); }
  std::size_t LogMark(const std::string& sName) { return logs_[sName].size(); }
  Lines LogLinesSince(const std::string& sName, std::size_t nMark) {
    const Lines& log = logs_[sName];
    return nMark >= log.size() ? Lines{} : Lines(log.begin() + static_cast<long>(nMark), log.end());
  }
  // PCA's first send to PCB, and the second that it takes for the connection to stand.
  void ConnectedPair() {
    NewLan({"PCA", "PCB"});
    SendEx("PCA", "PCB");
    Run();
  }
  void Run(sim::Nanos d = sim::Seconds(1)) { world_->RunFor(d); }
  void Call(const std::string& sHost, const std::function<void(Node&)>& fn) {
    const sim::ProcessId pid = processes_[sHost];
    EXPECT_TRUE(pid != 0 && world_->Call(pid, [&] {
      if (auto it = nodes_.find(pid); it != nodes_.end()) fn(*it->second);
    })) << sHost;
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
    const std::size_t nMark = LogMark(sFrom);
    Call(sFrom, [&](Node& node) {
      node.frmClient().SendMessageEx(sTo, sAddress, HostInfoImage(node, sFrom));
    });
    return LogLinesSince(sFrom, nMark);
  }
  // The host information that reached sHost after nMark.
  Lines HostInfoLines(const std::string& sHost, std::size_t nMark = 0) {
    Lines out;
    for (const std::string& s : LogLinesSince(sHost, nMark))
      if (s.rfind("HostInfoFrom=", 0) == 0) out.push_back(s);
    return out;
  }
  // sHost's record in the registry of sOn; null when it has none.
  std::shared_ptr<clsAgentInfo> Record(const std::string& sOn, const std::string& sHost) {
    std::shared_ptr<clsAgentInfo> objRecord;
    Call(sOn, [&](Node& node) {
      AgentHostInfo& registry = node.agentHostInfo();
      objRecord = registry.GetAgentRecord(registry.FindAgentIndex(sHost));
    });
    return objRecord;
  }
  static void Register(Node& node, const std::string& sHost) {
    auto objMsg = std::make_shared<clsMsgHostInfo>(node);
    objMsg->SetHostName(sHost);
    node.agentHostInfo().RegisterAgent(objMsg);
  }

  std::map<std::string, Lines> logs_;
  std::map<std::string, sim::HostId> hosts_;
  std::map<std::string, sim::ProcessId> processes_;
  std::map<sim::ProcessId, Node*> nodes_;
  // Last, so it goes first: ending its processes still finds the tables above.
  std::optional<sim::World> world_;
};

}  // namespace launchagent::testing
