// How long the simulator needs for one agent's 24 virtual hours with nothing but its
// own timers at work (no other host, no shares, no main application).
#include <benchmark/benchmark.h>

#include "agent/agent.h"
#include "platform/sim/world.h"

namespace {

using namespace launchagent;

void BM_OneAgentOneVirtualDay(benchmark::State& state) {
  std::size_t nLines = 0;
  for (auto _ : state) {
    sim::World world(42);
    world.Programs().RegisterProgram("launch", [](platform::Platform& p, const sim::ProgramStart&) {
      Agent agent(p);
      agent.Main();
      p.loop.Run();
    });
    sim::HostSetup setup;
    setup.sWinsockName = "PC1";
    const auto host = world.Hosts().AddHost(setup);
    world.Programs().StartProcess(*host, "launch", "C:\\Launch\\Launch.exe");
    world.RunUntil(sim::kHour * 24);
    nLines = world.Transcript().size();
    benchmark::DoNotOptimize(nLines);
  }
  state.counters["transcript_lines"] = static_cast<double>(nLines);
  state.counters["virtual_s_per_wall_s"] = benchmark::Counter(
      86400.0 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_OneAgentOneVirtualDay)->Unit(benchmark::kMillisecond);

}  // namespace
