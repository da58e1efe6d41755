#pragma once
// Binds a parsed scenario to the simulated world: builds the hosts, registers the agent
// as the program that "Launch.exe" files run, schedules the actions and runs.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "scenario.h"

namespace launchagent::scenario {

struct RunOptions {
  std::optional<std::uint64_t> lngSeed;  // overrides the scenario's seed
  bool bNetEvents = false;               // on top of the scenario's own setting
  // Every transcript line as it is written; may be empty.
  std::function<void(const std::string&)> sink;
  // RunResult::transcript holds every line; off, it stays empty and a run nobody reads
  // costs no memory per line.
  bool bKeepTranscript = true;
};

struct RunResult {
  std::vector<std::string> transcript;
  // The world refused part of the scenario (a taken address, a full disk...): the run
  // did not take place. Lines of the scenario file.
  std::vector<Diagnostic> setupErrors;
  // Actions that could not be carried out (no agent on the host, no such control...).
  std::vector<Diagnostic> actionErrors;
};

RunResult RunScenario(const Scenario& scenario, const RunOptions& options);

}  // namespace launchagent::scenario
