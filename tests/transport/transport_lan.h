#pragma once
// Helpers shared by the transport tests: a LAN of agents and the images they send.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"
#include "transport/cls_agent_info.h"
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

// The host information image an agent sends about itself.
inline Bytes HostInfoImage(Agent& agent, const std::string& sHostName,
                           const std::string& sAppPath = "") {
  auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
  objMsg->SetHostName(sHostName);
  objMsg->SetAppPath(sAppPath);
  return objMsg->GetObjectData();
}

// One SendMessageEx from sFrom to sTo with sFrom's image; the log lines it wrote.
inline std::vector<std::string> SendEx(AgentOnSim& lan, const std::string& sFrom,
                                       const std::string& sTo, const std::string& sAddress = "") {
  const std::size_t nMark = lan.LogMark(sFrom);
  EXPECT_TRUE(lan.Call(sFrom, [&](Agent& agent) {
    agent.frmClient().SendMessageEx(sTo, sAddress, HostInfoImage(agent, sFrom));
  }));
  return lan.LogLinesSince(sFrom, nMark);
}

// Log lines of a host that start with sPrefix.
inline std::vector<std::string> LinesStartingWith(const std::vector<std::string>& lines,
                                                  const std::string& sPrefix) {
  std::vector<std::string> out;
  for (const std::string& s : lines)
    if (s.compare(0, sPrefix.size(), sPrefix) == 0) out.push_back(s);
  return out;
}

// The registry record of sHost on the agent of sOn (a copy of its state).
struct RecordState {
  bool bFound = false;
  Integer nPort = 0;
  Long lngSocket = 0;
  Integer nTrials = 0;
};
inline RecordState RecordOf(AgentOnSim& lan, const std::string& sOn, const std::string& sHost) {
  RecordState state;
  lan.Call(sOn, [&](Agent& agent) {
    AgentHostInfo& registry = agent.agentHostInfo();
    const auto objRecord = registry.GetAgentRecord(registry.FindAgentIndex(sHost));
    if (!objRecord) return;
    state.bFound = true;
    state.nPort = objRecord->GetPort();
    state.lngSocket = objRecord->GetSocketIndex();
    state.nTrials = objRecord->GetConnectTrials();
  });
  return state;
}

}  // namespace launchagent::testing
