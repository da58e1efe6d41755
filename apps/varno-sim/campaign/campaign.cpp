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

// FNV-1a over every line and its end: equal transcripts, equal prints.
struct TranscriptPrint {
  std::uint64_t lngHash = 14695981039346656037ull;
  std::uint64_t lngLines = 0;
  void Add(const std::string& s) {
    for (unsigned char c : s) lngHash = (lngHash ^ c) * 1099511628211ull;
    lngHash = (lngHash ^ '\n') * 1099511628211ull;
    ++lngLines;
  }
  bool operator==(const TranscriptPrint&) const = default;
};

}  // namespace

CampaignSummary RunCampaign(const CampaignOptions& options, std::ostream& out) {
  CampaignSummary summary;
  const auto faultPhase =
      static_cast<sim::Nanos>(options.dHours * static_cast<double>(sim::kHour)) / sim::kSecond *
      sim::kSecond;
  for (std::uint64_t lngSeed = options.lngFirstSeed; lngSeed <= options.lngLastSeed; ++lngSeed) {
    TranscriptPrint first;
    const SeedResult r = RunSeed(lngSeed, options.nHosts, faultPhase, [&](const std::string& s) {
      first.Add(s);
      if (options.sink) options.sink(s);
    });
    if (options.bDeterminism && !r.broken) {
      TranscriptPrint second;
      RunSeed(lngSeed, options.nHosts, faultPhase, [&](const std::string& s) { second.Add(s); });
      if (!(second == first)) {
        summary.bFailed = true;
        out << "determinism: seed " << lngSeed << " wrote " << first.lngLines << " lines, then "
            << second.lngLines << " lines that differ\n"
            << "  reproduce: " << Command(lngSeed, options) << "\n";
        ++summary.lngSeedsRun;
        break;
      }
    }
    ++summary.lngSeedsRun;
    summary.lngChecks += r.lngChecks;
    for (const auto& [sKind, n] : r.faults) summary.faults[sKind] += n;
    for (const auto& [sKind, n] : r.lan) summary.lan[sKind] += n;
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
      << "hosts: " << summary.lan["hosts"] << "\n";
  for (const auto& [sKind, n] : summary.lan)
    if (sKind != "hosts") out << "  " << sKind << ": " << n << "\n";
  out << "faults injected:\n";
  for (const auto& [sKind, n] : summary.faults) out << "  " << sKind << ": " << n << "\n";
  return summary;
}

}  // namespace launchagent::campaign
