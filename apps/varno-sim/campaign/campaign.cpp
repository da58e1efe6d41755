#include "campaign.h"

#include "seed_run.h"

namespace launchagent::campaign {

namespace {

std::string Command(std::uint64_t lngSeed, const CampaignOptions& o) {
  std::string s = "varno-sim --campaign --seeds " + std::to_string(lngSeed) + ".." +
                  std::to_string(lngSeed) + " --hosts " + std::to_string(o.nHosts) + " --hours ";
  std::string sHours = std::to_string(o.dHours);
  while (sHours.size() > 1 && sHours.back() == '0') sHours.pop_back();
  if (sHours.back() == '.') sHours.pop_back();
  return s + sHours;
}

}  // namespace

CampaignSummary RunCampaign(const CampaignOptions& options, std::ostream& out) {
  CampaignSummary summary;
  const auto faultPhase =
      static_cast<sim::Nanos>(options.dHours * static_cast<double>(sim::kHour)) / sim::kSecond *
      sim::kSecond;
  for (std::uint64_t lngSeed = options.lngFirstSeed; lngSeed <= options.lngLastSeed; ++lngSeed) {
    const SeedResult r = RunSeed(lngSeed, options.nHosts, faultPhase, options.sink);
    ++summary.lngSeedsRun;
    summary.lngChecks += r.lngChecks;
    for (const auto& [sKind, n] : r.faults) summary.faults[sKind] += n;
    if (r.broken) {
      summary.bFailed = true;
      out << "invariant broken\n"
          << "  seed:      " << lngSeed << "\n"
          << "  time:      " << sim::FormatElapsed(r.broken->t) << " (faults until "
          << sim::FormatElapsed(faultPhase) << ", then healing)\n"
          << "  invariant: " << r.broken->sInvariant << "\n"
          << "  reproduce: " << Command(lngSeed, options) << "\n"
          << "  transcript tail:\n";
      for (const std::string& s : r.tail) out << "    " << s << "\n";
      break;
    }
    if (lngSeed == options.lngLastSeed) break;  // the last seed may be UINT64_MAX
  }
  out << "campaign: " << summary.lngSeedsRun << " seeds run, " << summary.lngChecks
      << " invariant checks, " << (summary.bFailed ? "FAILED" : "all invariants held") << "\n"
      << "faults injected:\n";
  for (const auto& [sKind, n] : summary.faults) out << "  " << sKind << ": " << n << "\n";
  return summary;
}

}  // namespace launchagent::campaign
