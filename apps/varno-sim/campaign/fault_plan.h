#pragma once
// What one seed of a campaign does: the LAN it builds and the faults it injects, all
// drawn from the seed before the run starts.
#include <cstdint>
#include <string>
#include <vector>

#include "platform/sim/world.h"

namespace launchagent::campaign {

// A share of a host: \\host\sName reaches sFolder. A hidden share works on every path
// that names it but no share search lists it.
struct SharePlan {
  std::string sName;
  std::string sFolder;
  bool bHidden = false;
};

struct HostPlan {
  std::string sName;
  std::string sAgentFolder = "C:\\Program Files\\Launch";  // the agent, and Varno beside it
  std::vector<SharePlan> shares;                           // in the order they were made
  bool bHoldsVarno = false;  // a local copy of the main application in the agent folder
  int nWindowDelay = 2;      // seconds before Varno's window shows
  int nRefuseClose = 0;      // close requests Varno's window refuses each time
  sim::Nanos agentStart = 0;
};

enum class FaultKind {
  PartitionOneWay,
  PartitionBothWays,
  LoopbackCut,
  HostCrash,
  AgentKill,
  ClockStep,
  ClockSkew,
  LookupFailure,
  DiskFull,
  UnreadableShare,
  MergedSends,
  SplitSend,
  // Faults an agent meets at its start: the campaign starts the host's agent anew so
  // they bite, and again when they end.
  SocketsFailure,  // lngAmount: which SocketsVariant
  ComputerNameFailure,
  RegistryDenied,
  // Faults of the desktop and the share search.
  StrayWindow,  // another program's window titled like the main application; lngAmount:
                // close requests it refuses
  ShareSearchError,
  VisibleSharesChange,  // lngAmount: which SharesVariant
  // A second agent started beside the running one: it must end at once.
  SecondAgent,
};

// The sockets library's failures a campaign draws.
enum SocketsVariant { kStartupFails, kNoSockets, kHostNameFails, kLookupsFail, kSocketsVariants };
// What the share search lists instead of every share.
enum SharesVariant { kNothing, kOwnShareOnly, kBadNames, kAllButPeer, kSharesVariants };
const char* FaultName(FaultKind kind);

struct Fault {
  FaultKind kind{};
  sim::Nanos at = 0;
  sim::Nanos duration = 0;  // how long it lasts, where it lasts
  std::size_t host = 0;
  std::size_t peer = 0;
  // Clock step in seconds, skew in ppm, a kind's variant, the share made unreadable
  // (an index into the host's shares; -1 when it shares nothing).
  std::int64_t lngAmount = 0;
};

struct SeedPlan {
  std::vector<HostPlan> hosts;
  std::vector<Fault> faults;  // in time order
  sim::Nanos faultPhase = 0;  // faults happen before this; then everything heals
};

SeedPlan DrawPlan(std::uint64_t lngSeed, int nMaxHosts, sim::Nanos faultPhase);

}  // namespace launchagent::campaign
