// One broadcast round of SendMessageEx over 10,000 hosts of the simulated LAN, none of
// which answers: sockets are made on the first round, then trials count and every third
// round reconnects on the next port.
#include <benchmark/benchmark.h>

#include <string>

#include "agent_on_sim.h"
#include "launcher/launcher.h"
#include "messages/cls_msg_host_info.h"
#include "transport/frm_client.h"

namespace launchagent {
namespace {

using testing::AgentOnSim;

constexpr int kHosts = 10000;

void BM_SendMessageExRound(benchmark::State& state) {
  AgentOnSim lan;
  lan.AddHost("PC0");
  for (int i = 1; i <= kHosts; ++i) lan.AddHost("PC" + std::to_string(i));
  lan.StartAgent("PC0");
  Bytes image;
  lan.Call("PC0", [&](Agent& agent) {
    auto objMsg = agent.launcher().exchange().objLocalHost();
    objMsg->SetHostName("PC0");
    image = objMsg->GetObjectData();
  });
  for (auto _ : state) {
    lan.Call("PC0", [&](Agent& agent) {
      FrmClient& client = agent.frmClient();
      for (int i = 1; i <= kHosts; ++i) client.SendMessageEx("PC" + std::to_string(i), "", image);
    });
    state.PauseTiming();
    lan.RunFor(sim::Seconds(31));  // the connection attempts fail meanwhile
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kHosts);
}
BENCHMARK(BM_SendMessageExRound)->Unit(benchmark::kMillisecond)->Iterations(6);

}  // namespace
}  // namespace launchagent
