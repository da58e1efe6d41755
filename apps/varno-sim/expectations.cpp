#include "expectations.h"

#include <algorithm>

#include "platform/text.h"

namespace launchagent::scenario {

namespace {

std::string Window(const Expectation& e) {
  if (e.from == 0 && e.to == kEndOfRun) return "during the run";
  if (e.from == 0) return "up to " + FormatTime(e.to);
  if (e.to == kEndOfRun) return "from " + FormatTime(e.from);
  return "between " + FormatTime(e.from) + " and " + FormatTime(e.to);
}

std::string Show(const TranscriptEntry& x) {
  return FormatTime(x.t) + " " + x.sHost + " " + x.sKind + " " + x.sText;
}

}  // namespace

std::vector<TranscriptEntry> ParseTranscript(const std::vector<std::string>& lines) {
  std::vector<TranscriptEntry> out;
  out.reserve(lines.size());
  for (const std::string& s : lines)
    if (auto e = ParseTranscriptLine(s)) out.push_back(std::move(*e));
  return out;
}

bool Matches(const Expectation& e, const TranscriptEntry& x) {
  if (e.sHost != "*" && !EqualsIgnoringCase(e.sHost, x.sHost)) return false;
  if (e.sKind != "any" && e.sKind != x.sKind) return false;
  return e.bContains ? x.sText.find(e.sText) != std::string::npos : x.sText == e.sText;
}

std::vector<Failure> CheckExpectations(const Scenario& scenario,
                                       const std::vector<TranscriptEntry>& transcript) {
  std::vector<Failure> failures;
  for (const Expectation& e : scenario.expectations) {
    std::vector<const TranscriptEntry*> inside;
    const TranscriptEntry* outside = nullptr;
    for (const TranscriptEntry& x : transcript) {
      if (!Matches(e, x)) continue;
      if (x.t >= e.from && x.t <= e.to)
        inside.push_back(&x);
      else if (!outside)
        outside = &x;
    }
    std::string sWhy;
    if (e.bNever) {
      if (!inside.empty()) sWhy = "found " + Show(*inside.front());
    } else if (e.nTimes) {
      if (static_cast<int>(inside.size()) != *e.nTimes) {
        sWhy = "found " + std::to_string(inside.size()) + " matching line" +
               (inside.size() == 1 ? "" : "s") + " " + Window(e);
        if (!inside.empty()) sWhy += ", first " + Show(*inside.front());
      }
    } else if (inside.empty()) {
      sWhy = "no matching line " + Window(e);
      if (outside) sWhy += "; one came at " + FormatTime(outside->t);
    }
    if (!sWhy.empty())
      failures.push_back({e.nLine, "expectation failed: " + e.sSource + ": " + sWhy});
  }
  return failures;
}

std::optional<std::size_t> FirstDifference(const std::vector<std::string>& a,
                                           const std::vector<std::string>& b) {
  const std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i)
    if (a[i] != b[i]) return i;
  if (a.size() != b.size()) return n;
  return std::nullopt;
}

}  // namespace launchagent::scenario
