// The agent registry at LAN scale: look-ups and updates among 10,000 hosts.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "../tests/support/agent_on_sim.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"

namespace launchagent {
namespace {

using testing::AgentOnSim;

constexpr int kHosts = 10000;

std::string HostName(int i) { return "PC" + std::to_string((i * 7919) % kHosts); }

std::shared_ptr<clsMsgHostInfo> Msg(Agent& agent, const std::string& sHostName) {
  auto objMsg = std::make_shared<clsMsgHostInfo>(agent);
  objMsg->SetHostName(sHostName);
  return objMsg;
}

// Runs body inside an agent process whose registry holds kHosts hosts.
void WithFullRegistry(const std::function<void(Agent&, AgentHostInfo&)>& body) {
  AgentOnSim lan;
  lan.AddHost("PC1");
  lan.StartAgent("PC1");
  lan.Call("PC1", [&](Agent& agent) {
    AgentHostInfo& registry = agent.agentHostInfo();
    for (int i = 0; i < kHosts; ++i) registry.UpdateAgent(Msg(agent, HostName(i)));
    body(agent, registry);
  });
}

// A received message for a known host, as ProcessHostInfo stores it: each one newer than
// the stored one, so each update replaces the record's message.
void BM_UpdateAgent(benchmark::State& state) {
  WithFullRegistry([&](Agent& agent, AgentHostInfo& registry) {
    std::vector<std::shared_ptr<clsMsgHostInfo>> updates[2];
    for (int nSet = 0; nSet < 2; ++nSet) {
      for (int i = 0; i < kHosts; ++i) {
        auto objMsg = Msg(agent, HostName(i));
        objMsg->SetDateReceived(DateTime{1000 + nSet});
        updates[nSet].push_back(objMsg);
      }
    }
    std::size_t n = 0;
    for (auto _ : state) {
      const std::size_t i = n % kHosts;
      const int nSet = static_cast<int>((n / kHosts) % 2);
      benchmark::DoNotOptimize(registry.UpdateAgent(updates[nSet][i]));
      ++n;
    }
  });
}
BENCHMARK(BM_UpdateAgent);

void BM_GetAgentPort(benchmark::State& state) {
  WithFullRegistry([&](Agent&, AgentHostInfo& registry) {
    std::vector<std::string> names;
    for (int i = 0; i < kHosts; ++i) names.push_back(HostName(i));
    std::size_t n = 0;
    for (auto _ : state) {
      Integer nPort = 0;
      Long lngIndex = 0;
      benchmark::DoNotOptimize(registry.GetAgentPort(names[n % kHosts], nPort, lngIndex));
      ++n;
    }
  });
}
BENCHMARK(BM_GetAgentPort);

// Filling an empty registry with 10,000 hosts in scrambled order.
void BM_Register10000(benchmark::State& state) {
  AgentOnSim lan;
  lan.AddHost("PC1");
  lan.StartAgent("PC1");
  for (auto _ : state) {
    state.PauseTiming();
    lan.Call("PC1", [&](Agent& agent) {
      std::vector<std::shared_ptr<clsMsgHostInfo>> msgs;
      for (int i = 0; i < kHosts; ++i) msgs.push_back(Msg(agent, HostName(i)));
      // A fresh registry for each round.
      AgentHostInfo registry(
          agent.Platform().clock, agent, [](const std::string&, Integer) {}, [](Long, Long) {});
      state.ResumeTiming();
      for (const auto& objMsg : msgs) registry.RegisterAgent(objMsg);
      state.PauseTiming();
    });
    state.ResumeTiming();
  }
}
BENCHMARK(BM_Register10000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace launchagent
