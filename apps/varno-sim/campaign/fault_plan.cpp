#include "fault_plan.h"

#include <algorithm>
#include <cmath>

#include "platform/sim/random.h"

namespace launchagent::campaign {

namespace {

constexpr FaultKind kKinds[] = {
    FaultKind::PartitionOneWay,
    FaultKind::PartitionBothWays,
    FaultKind::LoopbackCut,
    FaultKind::HostCrash,
    FaultKind::AgentKill,
    FaultKind::ClockStep,
    FaultKind::ClockSkew,
    FaultKind::LookupFailure,
    FaultKind::DiskFull,
    FaultKind::UnreadableShare,
    FaultKind::MergedSends,
    FaultKind::SplitSend,
    // Kinds added later come last, so earlier kinds keep their draws for a seed.
    FaultKind::SocketsFailure,
    FaultKind::ComputerNameFailure,
    FaultKind::RegistryDenied,
    FaultKind::StrayWindow,
    FaultKind::ShareSearchError,
    FaultKind::VisibleSharesChange,
    FaultKind::SecondAgent,
};

// Upper bound of a kind's rate, faults per hour; the seed draws the rate below it, or
// leaves the kind out, so seeds differ in what dominates.
constexpr double kMaxPerHour = 12;
constexpr double kChanceOfKind = 0.6;

// Where an agent is installed (Varno, where a host has it, lies beside it); the first
// counts twice.
constexpr const char* kAgentFolders[] = {"C:\\Program Files\\Launch", "C:\\Program Files\\Launch",
                                         "C:\\Apps\\Varno", "D:\\Launch"};
// Names a host gives the share of its agent's folder alone.
constexpr const char* kFolderShareNames[] = {"launch", "varno", "apps"};

// What a host shares: the root of its agent's drive, C: beside a D: install, the agent's
// folder alone, a hidden share of the drive; any of them, all or none.
void DrawShares(sim::Rng& rng, HostPlan& h) {
  const std::string sDrive(1, h.sAgentFolder[0]);
  const std::string sRoot = sDrive + ":\\";
  const std::string sLower(1, static_cast<char>(h.sAgentFolder[0] - 'A' + 'a'));
  if (rng.Chance(0.6)) h.shares.push_back({sLower, sRoot, false});
  if (sDrive != "C" && rng.Chance(0.3)) h.shares.push_back({"c", "C:\\", false});
  if (rng.Chance(0.3))
    h.shares.push_back({kFolderShareNames[rng.UniformInt(0, 2)], h.sAgentFolder, false});
  if (rng.Chance(0.25)) h.shares.push_back({sLower + "$", sRoot, true});
}

sim::Nanos DrawBetween(sim::Rng& rng, sim::Nanos lo, sim::Nanos hi) {
  return rng.UniformInt(lo / sim::kSecond, hi / sim::kSecond) * sim::kSecond;
}

}  // namespace

const char* FaultName(FaultKind kind) {
  switch (kind) {
    case FaultKind::PartitionOneWay:
      return "partition one way";
    case FaultKind::PartitionBothWays:
      return "partition both ways";
    case FaultKind::LoopbackCut:
      return "loopback cut";
    case FaultKind::HostCrash:
      return "host crash and restart";
    case FaultKind::AgentKill:
      return "agent kill and restart";
    case FaultKind::ClockStep:
      return "clock step";
    case FaultKind::ClockSkew:
      return "clock skew";
    case FaultKind::LookupFailure:
      return "look-up failure";
    case FaultKind::DiskFull:
      return "full disk";
    case FaultKind::UnreadableShare:
      return "unreadable share";
    case FaultKind::MergedSends:
      return "merged sends";
    case FaultKind::SplitSend:
      return "split send";
    case FaultKind::SocketsFailure:
      return "sockets-library failure";
    case FaultKind::ComputerNameFailure:
      return "failing computer name";
    case FaultKind::RegistryDenied:
      return "denied registry writes";
    case FaultKind::StrayWindow:
      return "stray Varno window";
    case FaultKind::ShareSearchError:
      return "share-search error";
    case FaultKind::VisibleSharesChange:
      return "changed visible shares";
    case FaultKind::SecondAgent:
      return "second agent";
  }
  return "?";
}

SeedPlan DrawPlan(std::uint64_t lngSeed, int nMaxHosts, sim::Nanos faultPhase) {
  SeedPlan plan;
  plan.faultPhase = faultPhase;
  sim::Rng lan(sim::DeriveSeed(lngSeed, "campaign-lan"));
  const auto nHosts = static_cast<std::size_t>(lan.UniformInt(2, std::max(2, nMaxHosts)));
  const double dRefuseChance = lan.UniformReal();
  for (std::size_t i = 0; i < nHosts; ++i) {
    HostPlan h;
    h.sName = "pc" + std::to_string(10 + i);
    h.bHoldsVarno = lan.Chance(0.4);
    h.nWindowDelay = static_cast<int>(lan.UniformInt(1, 6));
    h.nRefuseClose = lan.Chance(dRefuseChance) ? static_cast<int>(lan.UniformInt(1, 3)) : 0;
    h.agentStart = lan.UniformInt(0, 10) * sim::kSecond;
    plan.hosts.push_back(h);
  }
  // Drawn apart, so the draws above stay those of LANs that shared every C: drive; a
  // quarter of the seeds still do.
  sim::Rng shares(sim::DeriveSeed(lngSeed, "campaign-shares"));
  const bool bEveryC = shares.Chance(0.25);
  for (HostPlan& h : plan.hosts) {
    if (bEveryC) {
      h.shares.push_back({"c", "C:\\", false});
      continue;
    }
    h.sAgentFolder = kAgentFolders[shares.UniformInt(0, 3)];
    DrawShares(shares, h);
  }
  if (std::none_of(plan.hosts.begin(), plan.hosts.end(),
                   [](const HostPlan& h) { return h.bHoldsVarno; }))
    plan.hosts[static_cast<std::size_t>(lan.UniformInt(0, static_cast<std::int64_t>(nHosts) - 1))]
        .bHoldsVarno = true;

  sim::Rng rates(sim::DeriveSeed(lngSeed, "campaign-faults"));
  const auto last = static_cast<std::int64_t>(nHosts) - 1;
  for (FaultKind kind : kKinds) {
    if (!rates.Chance(kChanceOfKind)) continue;
    const double dPerNano = rates.UniformReal() * kMaxPerHour / static_cast<double>(sim::kHour);
    if (dPerNano <= 0) continue;
    // Exponential gaps: a Poisson stream of this kind over the fault phase.
    for (double t = 0;;) {
      t += -std::log(1.0 - rates.UniformReal()) / dPerNano;
      if (t >= static_cast<double>(faultPhase)) break;
      Fault f;
      f.kind = kind;
      f.at = static_cast<sim::Nanos>(t) / sim::kMillisecond * sim::kMillisecond;
      f.host = static_cast<std::size_t>(rates.UniformInt(0, last));
      f.peer = static_cast<std::size_t>(rates.UniformInt(0, last));
      if (kind != FaultKind::LoopbackCut && f.peer == f.host) f.peer = (f.host + 1) % nHosts;
      if (kind == FaultKind::LoopbackCut) f.peer = f.host;
      f.duration = DrawBetween(rates, 10 * sim::kSecond, 15 * sim::kMinute);
      if (kind == FaultKind::ClockStep) f.lngAmount = rates.UniformInt(-3600, 3600);
      if (kind == FaultKind::ClockSkew) f.lngAmount = rates.UniformInt(-5000, 5000);
      if (kind == FaultKind::SocketsFailure)
        f.lngAmount = rates.UniformInt(0, kSocketsVariants - 1);
      if (kind == FaultKind::StrayWindow) f.lngAmount = rates.UniformInt(0, 2);
      if (kind == FaultKind::VisibleSharesChange)
        f.lngAmount = rates.UniformInt(0, kSharesVariants - 1);
      if (kind == FaultKind::UnreadableShare) {
        const auto nShares = static_cast<std::int64_t>(plan.hosts[f.host].shares.size());
        f.lngAmount = nShares == 0 ? -1 : rates.UniformInt(0, nShares - 1);
      }
      plan.faults.push_back(f);
    }
  }
  std::stable_sort(plan.faults.begin(), plan.faults.end(),
                   [](const Fault& a, const Fault& b) { return a.at < b.at; });
  return plan;
}

}  // namespace launchagent::campaign
