#pragma once
// One seed of a campaign: builds its LAN in a fresh world, injects its faults, heals,
// and checks the invariants all along.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fault_plan.h"
#include "observer.h"
#include "platform/sim/world.h"

namespace launchagent::campaign {

// After everything heals, an agent the share search finds has heard from every agent,
// and every host a copy or a launch site reaches runs Varno, within this bound (docs/simulator.md,
// "Fault campaigns"). A host that was down during a peer's share search is missing from the peer's
// send list until the next search, 600 ticks of 10 s (100 min) plus the search (3 s) later. A
// peer's record may have moved along the six agent ports, three failed rounds of about 31 s each
// per port, so it comes round again within 6 * 3 * 31 s (9.3 min); then one connect timeout (21 s),
// one round (31 s) and an agent's own start (35 s): 111.5 min.
constexpr sim::Nanos kHeardBound = 112 * sim::kMinute;
// Varno: the launch site is known by then; the next watch (30 s) starts it and its
// window shows within 6 s. A check-in close may fall in the window; the watch restarts
// Varno 30 s later, so Varno must be seen running in the two minutes after.
constexpr sim::Nanos kVarnoBound = kHeardBound + 1 * sim::kMinute;
constexpr sim::Nanos kVarnoWindow = 2 * sim::kMinute;

struct SeedResult {
  std::optional<Violation> broken;
  std::vector<std::string> tail;
  std::map<std::string, std::uint64_t> faults;
  std::map<std::string, std::uint64_t> lan;  // hosts of the drawn LAN, by what they share
  std::uint64_t lngChecks = 0;
};

SeedResult RunSeed(std::uint64_t lngSeed, int nMaxHosts, sim::Nanos faultPhase,
                   const std::function<void(const std::string&)>& sink);

}  // namespace launchagent::campaign
