// A 200-desktop LAN for one virtual hour: every agent broadcasts its description about
// every half minute to the computers whose shares it sees, stores what arrives, checks
// in, and launches the main application from a peer when it has none of its own. Every
// tenth desktop holds the main application.
//
// Each desktop sees its own share and those of its nearest neighbours on a ring (the
// benchmark's argument). A full mesh of 200 would log a line per registry entry for each
// of about 4.6 million arrivals an hour; bench/lan-curve runs the meshes.
//
// Reports the wall time of the run and the host information messages handled (arrivals
// that reached ProcessHostInfo) per wall-clock second.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "agent/agent.h"
#include "platform/sim/world.h"

namespace {

using namespace launchagent;

constexpr int kHosts = 200;
constexpr int kMainAppEvery = 10;

std::string HostName(int i) { return "pc" + std::to_string(i + 1); }

void BM_LanOneVirtualHour(benchmark::State& state) {
  const int nNeighbours = static_cast<int>(state.range(0));
  std::uint64_t lngHandled = 0;
  std::size_t nLines = 0;
  for (auto _ : state) {
    sim::World world(2026);
    world.Programs().RegisterProgram("launch", [](platform::Platform& p, const sim::ProgramStart&) {
      Agent agent(p);
      agent.Main();
      p.loop.Run();
    });
    std::uint64_t lngArrivals = 0;
    std::size_t nSeen = 0;
    // Counted as they stream by: nobody reads the whole transcript afterwards.
    world.KeepTranscript(false);
    world.SetTranscriptSink([&lngArrivals, &nSeen](const std::string& sLine) {
      ++nSeen;
      if (sLine.find(" log HostInfoFrom=") != std::string::npos) ++lngArrivals;
    });

    std::vector<sim::HostId> hosts;
    for (int i = 0; i < kHosts; ++i) {
      sim::HostSetup desktop;
      desktop.sWinsockName = HostName(i);
      hosts.push_back(*world.Hosts().AddHost(desktop));
      world.Files().MakeFolder(hosts.back(), "C:\\Launch");
      world.Files().AddShare(hosts.back(), "c", "C:\\");
      if (i % kMainAppEvery == 0)
        world.Programs().WriteProgramFile(hosts.back(), "C:\\Launch\\Varno2.exe", "varno",
                                          "window-delay=3");
    }
    for (int i = 0; i < kHosts; ++i) {
      std::vector<std::string> visible = {"\\\\" + HostName(i) + "\\c"};
      for (int d = 1; d <= nNeighbours / 2; ++d) {
        visible.push_back("\\\\" + HostName((i + d) % kHosts) + "\\c");
        visible.push_back("\\\\" + HostName((i + kHosts - d) % kHosts) + "\\c");
      }
      world.Files().SetVisibleShares(hosts[static_cast<std::size_t>(i)], visible);
    }
    for (const sim::HostId host : hosts)
      world.Programs().StartProcess(host, "launch", "C:\\Launch\\Launch.exe");

    world.RunUntil(sim::kHour);
    lngHandled = lngArrivals;
    nLines = nSeen;
    benchmark::DoNotOptimize(nLines);
  }
  state.counters["hosts"] = kHosts;
  state.counters["messages_handled"] = static_cast<double>(lngHandled);
  state.counters["transcript_lines"] = static_cast<double>(nLines);
  state.counters["messages_per_wall_s"] =
      benchmark::Counter(static_cast<double>(lngHandled) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate);
}
BENCHMARK(BM_LanOneVirtualHour)
    ->Arg(4)
    ->Arg(8)
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kSecond);

}  // namespace
