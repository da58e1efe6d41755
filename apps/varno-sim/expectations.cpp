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

namespace {

template <class E>
bool MatchesLine(const E& e, const TranscriptEntry& x) {
  if (e.sHost != "*" && !EqualsIgnoringCase(e.sHost, x.sHost)) return false;
  if (e.sKind != "any" && e.sKind != x.sKind) return false;
  return e.bContains ? x.sText.find(e.sText) != std::string::npos : x.sText == e.sText;
}

// Whether chain[k..] follows the line at `at`; `reached` is the furthest step met.
bool ChainFollows(const std::vector<ChainStep>& chain, std::size_t k,
                  const std::vector<TranscriptEntry>& t, std::size_t at, std::size_t& reached) {
  reached = std::max(reached, k);
  if (k == chain.size()) return true;
  const ChainStep& c = chain[k];
  for (std::size_t i = at + 1; i < t.size(); ++i) {
    if (c.bNext) {
      // The previous match's host's very next line.
      if (t[i].sHost != t[at].sHost) continue;
      return MatchesLine(c, t[i]) && ChainFollows(chain, k + 1, t, i, reached);
    }
    if (MatchesLine(c, t[i]) && ChainFollows(chain, k + 1, t, i, reached)) return true;
  }
  return false;
}

}  // namespace

bool Matches(const Expectation& e, const TranscriptEntry& x) { return MatchesLine(e, x); }

// A line inside the window, followed by the chain's lines in order; why not, or nullopt.
static std::optional<std::string> CheckChain(const Expectation& e,
                                             const std::vector<TranscriptEntry>& t) {
  std::size_t reached = 0;
  bool bHead = false;
  for (std::size_t i = 0; i < t.size(); ++i) {
    if (!Matches(e, t[i]) || t[i].t < e.from || t[i].t > e.to) continue;
    bHead = true;
    if (ChainFollows(e.chain, 0, t, i, reached)) return std::nullopt;
  }
  if (!bHead) return "no matching line " + Window(e);
  const ChainStep& c = e.chain[reached];
  return std::string("no '") + (c.bNext ? "next" : "then") + "' line of line " +
         std::to_string(c.nLine) + " in order";
}

std::vector<Failure> CheckExpectations(const Scenario& scenario,
                                       const std::vector<TranscriptEntry>& transcript) {
  std::vector<Failure> failures;
  for (const Expectation& e : scenario.expectations) {
    if (!e.chain.empty()) {
      if (auto sWhy = CheckChain(e, transcript))
        failures.push_back({e.nLine, "expectation failed: " + e.sSource + ": " + *sWhy});
      continue;
    }
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
