// The agent registry at LAN scale: look-ups and updates among 10,000 hosts, and
// insertion and look-up of N hosts beside a std::map keyed on the lower-cased name as
// the baseline in the same run.
#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "agent_on_sim.h"
#include "messages/cls_msg_host_info.h"
#include "platform/text.h"
#include "registry/agent_host_info.h"
#include "registry/cls_agent_info.h"

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

// ---- N hosts: the registry beside a std::map ---------------------------------------------
// The registry alone, outside any agent: a fixed clock and message context.
class FixedClock : public platform::Clock, public MessageContext {
 public:
  DateTime Now() const override { return DateTime{1000}; }
  double SecondsSinceMidnight() const override { return 36000.5; }
  double SecondsSinceMidnight() override { return 36000.5; }
  std::string LocalHostName() override { return "PC1"; }
};

// N distinct names in scrambled order, in mixed letter case as agents announce them.
std::vector<std::string> Names(int n) {
  std::vector<std::string> names;
  for (int i = 0; i < n; ++i) names.push_back("Desk-" + std::to_string((i * 7919) % n));
  return names;
}

std::vector<std::shared_ptr<clsMsgHostInfo>> Messages(MessageContext& ctx,
                                                      const std::vector<std::string>& names) {
  std::vector<std::shared_ptr<clsMsgHostInfo>> msgs;
  for (const std::string& sName : names) {
    auto objMsg = std::make_shared<clsMsgHostInfo>(ctx);
    objMsg->SetHostName(sName);
    msgs.push_back(objMsg);
  }
  return msgs;
}

// The baseline: the same records in a std::map keyed on the lower-cased name.
using MapRegistry = std::map<std::string, std::shared_ptr<clsAgentInfo>>;

void InsertInto(MapRegistry& map, const std::shared_ptr<clsMsgHostInfo>& objMsg) {
  auto [it, bNew] = map.try_emplace(AsciiLower(objMsg->GetHostName()));
  if (!bNew) return;
  it->second = std::make_shared<clsAgentInfo>();
  it->second->Init(objMsg);
}

void BM_RegistryInsert(benchmark::State& state) {
  FixedClock clock;
  const auto msgs = Messages(clock, Names(static_cast<int>(state.range(0))));
  for (auto _ : state) {
    AgentHostInfo registry(
        clock, clock, [](const std::string&, Integer) {}, [](Long, Long) {});
    for (const auto& objMsg : msgs) registry.RegisterAgent(objMsg);
    benchmark::DoNotOptimize(registry.GetAgentCount());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_RegistryInsert)->Arg(100)->Arg(1000)->Arg(10000);

void BM_MapInsert(benchmark::State& state) {
  FixedClock clock;
  const auto msgs = Messages(clock, Names(static_cast<int>(state.range(0))));
  for (auto _ : state) {
    MapRegistry map;
    for (const auto& objMsg : msgs) InsertInto(map, objMsg);
    benchmark::DoNotOptimize(map.size());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_MapInsert)->Arg(100)->Arg(1000)->Arg(10000);

// A look-up by a name in another letter case, as every send and arrival makes.
void BM_RegistryLookup(benchmark::State& state) {
  FixedClock clock;
  const auto names = Names(static_cast<int>(state.range(0)));
  AgentHostInfo registry(
      clock, clock, [](const std::string&, Integer) {}, [](Long, Long) {});
  for (const auto& objMsg : Messages(clock, names)) registry.RegisterAgent(objMsg);
  std::vector<std::string> queries;
  for (const std::string& sName : names) queries.push_back(AsciiUpper(sName));
  std::size_t n = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(registry.FindAgentIndex(queries[n++ % queries.size()]));
  }
}
BENCHMARK(BM_RegistryLookup)->Arg(100)->Arg(1000)->Arg(10000);

void BM_MapLookup(benchmark::State& state) {
  FixedClock clock;
  const auto names = Names(static_cast<int>(state.range(0)));
  MapRegistry map;
  for (const auto& objMsg : Messages(clock, names)) InsertInto(map, objMsg);
  std::vector<std::string> queries;
  for (const std::string& sName : names) queries.push_back(AsciiUpper(sName));
  std::size_t n = 0;
  for (auto _ : state) {
    const auto it = map.find(AsciiLower(queries[n++ % queries.size()]));
    benchmark::DoNotOptimize(it == map.end() ? nullptr : it->second.get());
  }
}
BENCHMARK(BM_MapLookup)->Arg(100)->Arg(1000)->Arg(10000);

}  // namespace
}  // namespace launchagent
