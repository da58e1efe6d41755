#pragma once
// The network at the connection level: name look-ups, endpoints, connects, sends,
// closes, the partitions and reordered sends of the links, and the network events of
// the transcript. The sockets tables of the processes and the scenario's own
// connections drive it.
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/services.h"
#include "platform/sim/host_state.h"
#include "platform/sim/host_table.h"
#include "platform/sim/links.h"
#include "platform/sim/process_table.h"
#include "platform/sim/raw_connections.h"
#include "platform/sim/scheduler.h"
#include "platform/sim/transcript_writer.h"
#include "platform/sim/world.h"

namespace launchagent::sim {

class NetModel {
 public:
  NetModel(WorldImpl& w, HostTable& hosts, const Nanos& now, Scheduler& sched,
           ProcessTable& processes, const TranscriptWriter& transcript)
      : raw(w),
        w_(w),
        hosts(hosts),
        now(now),
        sched(sched),
        processes(processes),
        transcript_(transcript) {}

  // A name as this host resolves it: its name table, then every host's Winsock name.
  std::optional<Address> Lookup(HostState& h, const std::string& sName, Long* pError);
  Long EphemeralPort(HostState& h);
  std::shared_ptr<Endpoint> NewEndpoint(HostId host, ProcessId pid);
  void StartConnect(const std::shared_ptr<Endpoint>& ep, const std::string& sRemote, Long lngPort);
  bool AcceptRequest(const std::shared_ptr<Endpoint>& client,
                     const std::shared_ptr<Endpoint>& server);
  void Send(const std::shared_ptr<Endpoint>& ep, const Bytes& data);
  void CloseEndpoint(const std::shared_ptr<Endpoint>& ep, bool bGraceful);
  void SetState(const std::shared_ptr<Endpoint>& ep, Integer state);
  std::string EndpointText(const Endpoint& ep) const;
  // The host with this address as `from` sees it (127.x is `from` itself).
  HostState* HostByAddress(const HostState& from, const Address& a);
  // Callers test NetTracing first: composing a line nobody reads is most of its cost.
  bool NetTracing() const { return bNetTrace && transcript_.Wanted(); }
  void NetLine(HostId host, const std::string& sText);

  Links links;
  bool bNetTrace = false;
  std::function<std::string(const Bytes&)> describeSend;
  RawConnections raw;

 private:
  Nanos Latency(HostId from, HostId to);
  Nanos Arrival(Endpoint& from, Nanos t);
  void SendSyn(const std::shared_ptr<Endpoint>& ep, const Address& a, Long lngPort);
  void SynArrives(std::weak_ptr<Endpoint> client, HostId target, Long lngPort);
  void HalfOpenSend(const std::shared_ptr<Endpoint>& ep);
  void BreakConnection(std::weak_ptr<Endpoint> ep);
  // "send A -> B " and what describeSend makes of the bytes.
  void SendLine(const Endpoint& ep, const Bytes& data);
  void PostEndpoint(const std::shared_ptr<Endpoint>& ep, Nanos t, std::function<void()> fn) {
    sched.PostEndpoint(ep, t, std::move(fn));
  }
  void PostWorld(Nanos t, std::function<void()> fn) { sched.PostWorld(t, std::move(fn)); }
  ProcessState* Proc(ProcessId pid) { return processes.Find(pid); }

  WorldImpl& w_;
  HostTable& hosts;
  const Nanos& now;
  Scheduler& sched;
  ProcessTable& processes;
  const TranscriptWriter& transcript_;
  std::uint64_t nextEndpoint = 0;
};

}  // namespace launchagent::sim
