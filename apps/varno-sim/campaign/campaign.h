#pragma once
// Seeded fault campaigns: each seed builds a LAN, draws its fault rates, injects faults
// for a while, heals everything and checks the agents' invariants all along.
#include <cstdint>
#include <functional>
#include <map>
#include <ostream>
#include <string>

namespace launchagent::campaign {

struct CampaignOptions {
  std::uint64_t lngFirstSeed = 1;
  std::uint64_t lngLastSeed = 200;
  int nHosts = 3;       // upper bound; each seed draws 2..nHosts
  double dHours = 1.0;  // length of the fault phase
  // Every transcript line of every seed as it is written; may be empty.
  std::function<void(const std::string&)> sink;
  // Runs every seed twice and compares the transcripts (by a hash of every line).
  bool bDeterminism = false;
};

struct CampaignSummary {
  std::uint64_t lngSeedsRun = 0;
  std::map<std::string, std::uint64_t> faults;  // injected, by kind
  std::map<std::string, std::uint64_t> lan;     // hosts, by what they share and hold
  std::uint64_t lngChecks = 0;                  // invariant checks made
  bool bFailed = false;
};

// Runs the seeds in order and stops at the first broken invariant, which it reports on
// `out` with the seed, the virtual time, the transcript's tail and the command that
// replays it. The summary goes to `out` as well.
CampaignSummary RunCampaign(const CampaignOptions& options, std::ostream& out);

}  // namespace launchagent::campaign
